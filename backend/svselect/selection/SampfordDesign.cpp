#include "backend/svselect/selection/SampfordDesign.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "backend/svselect/design/SVCancelInfo.h"
#include "host/numeric/MCRandomTwister.h"

namespace {
std::size_t Index(std::int32_t i) {
  return static_cast<std::size_t>(i);
}
}  // namespace

// Where a draw stands: the sample so far and what its probabilities depend on.
struct SampfordDesign::Progress {
  MCCommonMath::MCRandomTwister* random;  // borrowed
  SVCancelInfo* cancelInfo;               // borrowed
  std::int32_t left;                      // units still to take
  double a = 0.0;                         // sum of 1 - w over the units taken
  std::vector<std::int32_t> sample;

  bool Ended() const { return left == 0 || cancelInfo->IsCancelled(); }
};

SampfordDesign::SampfordDesign(std::span<const double> inclProbs, std::int32_t n, std::size_t rowBytes)
    : fInclProbs(inclProbs), fRequested(n), fRowBytes(rowBytes) {
  assert(0 < n && Index(n) <= inclProbs.size());
}

SampfordDesign::Row SampfordDesign::EmptyRow(std::int32_t n) {
  Row row(Index(n) + 1, Cell{0.0, 0.0});
  row[0].r = 1.0;
  return row;
}

void SampfordDesign::PrependUnit(double w, const Cell* after, Cell* row, std::int32_t lowest,
                                 std::int32_t highest) {
  const double out = 1.0 - w;
  if (lowest == 0) row[0] = {out * after[0].r, 0.0};
  for (std::int32_t m = std::max(lowest, 1); m <= highest; ++m) {
    row[m].r = out * after[m].r + w * after[m - 1].r;
    row[m].h = out * after[m].h + w * (after[m - 1].h + out * after[m - 1].r);
  }
}

double SampfordDesign::TakeProbability(double w, double a, const Cell& less, const Cell& same, std::int32_t m,
                                       std::int32_t following) {
  if (m > following) return 1.0;
  const double out = 1.0 - w;
  const double take = w * ((a + out) * less.r + less.h);
  const double leave = out * (a * same.r + same.h);
  // Both vanish only in a state whose own probability is below the range of a double. Any answer will do that
  // keeps the sample size.
  return take + leave > 0.0 ? take / (take + leave) : static_cast<double>(m) / (following + 1.0);
}

std::vector<std::int32_t> SampfordDesign::Draw(MCCommonMath::MCRandomTwister* random,
                                               SVCancelInfo* cancelInfo) const {
  Progress progress{random, cancelInfo, fRequested, 0.0, {}};
  DrawBlock(0, static_cast<std::int32_t>(fInclProbs.size()), EmptyRow(fRequested), &progress);
  return std::move(progress.sample);
}

// Draws from the units begin..end-1, given the row of those from `end` on. Rows that fit the memory are all
// kept. Else the block is cut into as many parts as rows may be kept, their rows formed from the last to the
// first, and the parts drawn in turn. A part of few units needs few entries of a row: with k units still to
// take at its begin, no entry below k less its length is ever asked for.
void SampfordDesign::DrawBlock(std::int32_t begin, std::int32_t end, const Row& afterEnd,
                               Progress* progress) const {
  if (progress->Ended()) return;
  const std::int32_t length = end - begin;
  const std::int32_t most = progress->left;
  const std::size_t rows = std::max<std::size_t>(fRowBytes / (sizeof(Cell) * afterEnd.size()), 2);
  const std::size_t narrow = Index(std::min(length, most)) + 1;
  if (length <= 2 || Index(length) * narrow * sizeof(Cell) <= fRowBytes) {
    DrawUnits(begin, end, afterEnd, progress);
    return;
  }
  const auto step = static_cast<std::int32_t>((Index(length) + rows - 1) / rows);
  std::vector<Row> kept;  // rows at begin + step, begin + 2 step, ..., the last first
  Row row = afterEnd;
  Row next(row.size());
  for (std::int32_t i = end; i > begin + step;) {
    if (progress->cancelInfo->IsCancelled()) return;
    --i;
    PrependUnit(fInclProbs[Index(i)], row.data(), next.data(), std::max(0, most - (i - begin)), most);
    row.swap(next);
    if ((i - begin) % step == 0) kept.push_back(row);
  }
  for (std::int32_t i = begin; i < end; i += std::min(step, end - i)) {
    const bool bLast = kept.empty();
    DrawBlock(i, i + std::min(step, end - i), bLast ? afterEnd : kept.back(), progress);
    if (progress->Ended()) return;
    if (!bLast) kept.pop_back();
  }
}

// The same with a row for each unit, kept from entry `least` on.
void SampfordDesign::DrawUnits(std::int32_t begin, std::int32_t end, const Row& afterEnd,
                               Progress* progress) const {
  const std::int32_t length = end - begin;
  const std::int32_t most = progress->left;
  const std::int32_t least = std::max(0, most - length);
  const std::size_t width = Index(most - least) + 1;
  std::vector<Cell> rows(Index(length) * width);
  const auto rowAfter = [&](std::int32_t i) { return rows.data() + Index(i - begin) * width; };
  std::copy_n(afterEnd.begin() + least, width, rowAfter(end - 1));
  for (std::int32_t i = end - 1; i > begin; --i) {
    const std::int32_t lowest = std::max(least, most - (i - begin));
    // PrependUnit counts entries from 0; with `least` above 0 it is never asked for entry `least` itself.
    PrependUnit(fInclProbs[Index(i)], rowAfter(i), rowAfter(i - 1), lowest - least, most - least);
  }
  const auto count = static_cast<std::int32_t>(fInclProbs.size());
  for (std::int32_t i = begin; i < end && !progress->Ended(); ++i) {
    const double w = fInclProbs[Index(i)];
    const Cell* less = rowAfter(i) + (progress->left - 1 - least);
    const double take = TakeProbability(w, progress->a, less[0], less[1], progress->left, count - i - 1);
    if (!(take > progress->random->GetRealOpen())) continue;
    progress->sample.push_back(i);
    progress->a += 1.0 - w;
    --progress->left;
  }
}
