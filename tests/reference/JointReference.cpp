#include "JointReference.h"

#include <algorithm>
#include <bit>
#include <numeric>
#include <optional>

namespace {

JointMatrix Zeros(std::size_t n) {
  return JointMatrix(n, std::vector<double>(n, 0.0));
}

void AddSample(const std::vector<std::size_t>& sample, double probability, JointMatrix* joint) {
  for (const std::size_t a : sample) {
    for (const std::size_t b : sample) (*joint)[a][b] += probability;
  }
}

std::vector<double> Shares(const std::vector<double>& sizes) {
  const double total = std::accumulate(sizes.begin(), sizes.end(), 0.0);
  std::vector<double> p;
  for (const double size : sizes) p.push_back(size / total);
  return p;
}

// The turns that choose `turns` more units from those after `last` (unit 0 is none), which are numbered
// from 1. z has a leading entry that isn't used.
void Turns(const std::vector<double>& z, std::size_t last, std::size_t turns,
           std::vector<std::size_t>* sample, double probability, JointMatrix* joint) {
  if (turns == 0) return AddSample(*sample, probability, joint);
  const std::size_t end = z.size() - turns;  // the last unit that leaves enough for the turns to come
  std::vector<double> weight;
  double run = 1.0;
  for (std::size_t j = last + 1; j <= end; ++j) {
    weight.push_back(static_cast<double>(turns) * z[j] * run);
    const double beyond = std::accumulate(z.begin() + static_cast<std::ptrdiff_t>(j) + 1, z.end(), 0.0);
    run *= 1.0 - static_cast<double>(turns - 1) * (beyond > 0.0 ? z[j] / beyond : 0.0);
  }
  const double total = std::accumulate(weight.begin(), weight.end(), 0.0);
  for (std::size_t j = last + 1; j <= end; ++j) {
    sample->push_back(j - 1);
    Turns(z, j, turns - 1, sample, probability * weight[j - last - 1] / total, joint);
    sample->pop_back();
  }
}

}  // namespace

JointMatrix EnumeratedSampford(const std::vector<double>& p, int n) {
  JointMatrix joint = Zeros(p.size());
  double total = 0.0;
  for (unsigned set = 0; set < 1U << p.size(); ++set) {
    if (std::popcount(set) != n) continue;
    double product = 1.0;
    double sum = 0.0;
    std::vector<std::size_t> sample;
    for (std::size_t j = 0; j < p.size(); ++j) {
      if ((set >> j & 1U) == 0) continue;
      product *= p[j] / (1.0 - n * p[j]);
      sum += 1.0 - n * p[j];
      sample.push_back(j);
    }
    AddSample(sample, product * sum, &joint);
    total += product * sum;
  }
  for (auto& row : joint) {
    for (double& value : row) value /= total;
  }
  return joint;
}

double LongSampford(const std::vector<double>& p, int n, std::size_t a, std::size_t b) {
  struct Term {
    long double plain = 0, marked = 0;
  };
  const auto product = [&](bool all) {
    std::vector<Term> terms(static_cast<std::size_t>(n) + 1);
    terms[0].plain = 1;
    for (std::size_t j = 0; j < p.size(); ++j) {
      if (!all && (j == a || j == b)) continue;
      const long double pi = n * p[j];
      const long double lambda = pi / (1 - pi);
      for (std::size_t m = terms.size() - 1; m > 0; --m) {
        terms[m].marked += lambda * terms[m - 1].marked + pi * terms[m - 1].plain;
        terms[m].plain += lambda * terms[m - 1].plain;
      }
    }
    return terms;
  };
  const long double pa = n * p[a];
  const long double pb = n * p[b];
  const Term rest = product(false)[static_cast<std::size_t>(n) - 2];
  return static_cast<double>(pa / (1 - pa) * (pb / (1 - pb)) * ((2 - pa - pb) * rest.plain + rest.marked) /
                             product(true).back().marked);
}

JointMatrix EnumeratedMurthy(const std::vector<double>& p) {
  JointMatrix joint = Zeros(p.size());
  for (std::size_t first = 0; first < p.size(); ++first) {
    for (std::size_t second = 0; second < p.size(); ++second) {
      if (first != second) AddSample({first, second}, p[first] * p[second] / (1.0 - p[first]), &joint);
    }
  }
  return joint;
}

std::vector<double> FirstStepValues(const std::vector<double>& sizes, int n) {
  const std::vector<double> p = Shares(sizes);
  const std::size_t rest = p.size() - static_cast<std::size_t>(n);
  const double t = std::accumulate(p.begin(), p.begin() + static_cast<std::ptrdiff_t>(rest), 0.0);
  std::vector<double> a;
  for (std::size_t i = 1; i <= static_cast<std::size_t>(n); ++i) {
    const double next = rest + i < p.size() ? p[rest + i] : 1.0 / n;
    a.push_back(n * (next - p[rest + i - 1]) * (t + static_cast<double>(i) * p[rest]) / t);
  }
  return a;
}

JointMatrix EnumeratedPpsWor(const std::vector<double>& sizes, int n) {
  const std::vector<double> p = Shares(sizes);
  const std::size_t rest = p.size() - static_cast<std::size_t>(n);
  JointMatrix joint = Zeros(p.size());
  std::vector<double> first(static_cast<std::size_t>(n), 0.0);
  if (sizes.back() > sizes[rest]) {
    first = FirstStepValues(sizes, n);
  } else {
    first.back() = 1.0;  // no unit is certain
  }
  const double total = std::accumulate(first.begin(), first.end(), 0.0);
  for (std::size_t i = 1; i <= first.size(); ++i) {
    std::vector<std::size_t> sample;
    for (std::size_t unit = rest + i; unit < p.size(); ++unit) sample.push_back(unit);
    std::vector<double> z = {0.0};
    for (std::size_t unit = 0; unit < rest + i; ++unit) z.push_back(std::min(p[unit], p[rest]));
    Turns(z, 0, i, &sample, first[i - 1] / total, &joint);
  }
  return joint;
}

JointMatrix PlainPpsWor(const std::vector<double>& sizes, int n) {
  const std::vector<double> p = Shares(sizes);
  const std::vector<double> first = FirstStepValues(sizes, n);
  const std::size_t rest = p.size() - static_cast<std::size_t>(n);
  const double t = std::accumulate(p.begin(), p.begin() + static_cast<std::ptrdiff_t>(rest), 0.0);
  JointMatrix joint = Zeros(p.size());
  for (std::size_t i = 1; i <= first.size(); ++i) {
    const std::size_t m = rest + i;
    const double d = static_cast<double>(i) * p[rest] + t;
    std::vector<double> z(m + 1), a(m + 1), b(m + 1, 1.0);  // from 1
    for (std::size_t j = 1; j <= m; ++j) z[j] = (j <= rest + 1 ? p[j - 1] : p[rest]) / d;
    double beyond = 0.0;
    for (std::size_t j = m - 1; j >= 1; --j) {
      beyond += z[j + 1];
      a[j] = z[j] / beyond;
    }
    for (std::size_t j = 1; j < m; ++j) b[j] = a[j] >= 1.0 ? 0.0 : b[j - 1] * (1.0 - a[j]);
    for (std::size_t ia = 1; ia <= p.size(); ++ia) {
      for (std::size_t ib = ia + 1; ib <= p.size(); ++ib) {
        double c = 1.0;
        if (ib <= m) {
          c = static_cast<double>((i - 1) * i) * std::min(z[ib], 1.0) * std::min(a[ia], 1.0) * b[ia - 1];
        } else if (ia <= m) {
          c = static_cast<double>(i) * (ia <= rest ? p[ia - 1] : p[rest]) / d;
        }
        joint[ia - 1][ib - 1] += c * first[i - 1];
        joint[ib - 1][ia - 1] = joint[ia - 1][ib - 1];
      }
    }
  }
  return joint;
}
