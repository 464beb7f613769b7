#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "model_components/surveyplans/common/AbstractPreview.h"

// Cases that have the same probability in all stages, with their weights of an earlier sampling; each has the
// weight 1 without one. A preview needs no more of them to foresee the final weights.
struct CaseMass {
  std::int64_t cases = 0;
  double sum = 0.0;      // of the weights
  double squares = 0.0;  // of their squares
  MCSV::SVSRange weight{};

  // So many cases of weight 1.
  static CaseMass Of(std::int64_t count) {
    const auto all = static_cast<double>(count);
    return {.cases = count, .sum = all, .squares = all, .weight = {.least = 1.0, .most = 1.0}};
  }

  void Add(double weightOfCase) {
    ++cases;
    sum += weightOfCase;
    squares += weightOfCase * weightOfCase;
    weight.Add(weightOfCase);
  }
};

// The masses of the last stage of a design: of each stratum where all its units have the same probability, else
// of each unit. Cases that are units of their own have no number then, and are listed by stratum in their order.
class CaseMasses {
public:
  enum class Place { kStratum, kUnit, kCase };

  explicit CaseMasses(Place place) : fPlace(place) {}

  void Add(std::int32_t stratum, std::int32_t unit, double weight) {
    switch (fPlace) {
      case Place::kStratum:
        return At(&fvMasses, stratum).Add(weight);
      case Place::kUnit:
        return At(&fvMasses, unit).Add(weight);
      case Place::kCase:
        return At(&fvWeights, stratum).push_back(weight);
    }
  }

  Place By() const { return fPlace; }
  const CaseMass& Of(std::size_t number) const { return fvMasses[number]; }
  CaseMass OfCase(std::size_t stratum, std::size_t unit) const {
    CaseMass mass;
    mass.Add(fvWeights[stratum][unit]);
    return mass;
  }

private:
  // Numbers come in order of first appearance, so a list grows by one element at a time.
  template <class Element>
  static Element& At(std::vector<Element>* list, std::int32_t number) {
    if (static_cast<std::size_t>(number) == list->size()) list->emplace_back();
    return (*list)[static_cast<std::size_t>(number)];
  }

  Place fPlace;
  std::vector<CaseMass> fvMasses;              // by number of the stratum or unit
  std::vector<std::vector<double>> fvWeights;  // by stratum: of each case
};
