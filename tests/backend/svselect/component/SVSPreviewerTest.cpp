// Goal: what a preview expects is what draws give on average, and its rows are what each draw does.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>

#include "MemoryRecords.h"
#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/component/SVSComponent.h"
#include "host/numeric/Obs.h"
#include "model_components/surveyplans/common/AbstractOutputs.h"

namespace {

using MCMV::gMissingValue;

enum Slot { kRegion, kPsu, kType, kHousehold, kEarlier, kSize, kSpec, kCase, kWidth };

struct Preview : MCSV::SVSOutPreview {
  void AddStratum(std::int32_t stage, const MCSV::SVSStratumPreview& stratum) override {
    std::vector<std::int32_t> codes;
    for (std::int32_t i = 0; i < stratum.key.Length(); ++i) codes.push_back(stratum.key[i]);
    strata[{stage, codes}] = stratum;
  }
  void EndStage(const MCSV::SVSStagePreview& stage) override { stages.push_back(stage); }
  void EndPreview(const MCSV::SVSSamplePreview& whole) override { sample = whole; }

  std::map<std::pair<int, std::vector<std::int32_t>>, MCSV::SVSStratumPreview> strata;
  std::vector<MCSV::SVSStagePreview> stages;
  MCSV::SVSSamplePreview sample;
};

// Holds the rows of a draw against those of the preview, and sums up the units of each stage.
struct Summary : MCSV::SVSOutputSummary {
  explicit Summary(const Preview& foreseen, std::size_t stages) : preview(foreseen), units(stages) {}
  int StartStage(int stage) override { return current = stage, 0; }
  int AddStratum(const std::vector<std::int32_t>& codes, const MCSV::SVSDrawnStratum& drawn) override {
    const auto row = preview.strata.find({current, codes});
    if (row == preview.strata.end()) return ADD_FAILURE() << "no row", 0;
    EXPECT_EQ(row->second.asked, drawn.requestedSize);
    EXPECT_EQ(row->second.askedRate, drawn.requestedRate);
    if (drawn.certain > 0 && drawn.requestedSize < row->second.units) {
      EXPECT_EQ(row->second.certain.count, drawn.certain);
    }
    if (std::trunc(row->second.drawn) == row->second.drawn) {
      EXPECT_EQ(row->second.drawn, drawn.actualSize);
    }
    units[static_cast<std::size_t>(current - 1)] += drawn.actualSize;
    return 0;
  }
  int EndStage() override { return 0; }
  int Status() override { return 0; }

  const Preview& preview;
  int current = 0;
  std::vector<double> units;
};

// A frame of nested categories, and a design of one to three stages over it.
class RandomDesign {
public:
  explicit RandomDesign(unsigned seed) : fEngine(seed), fStages(1 + static_cast<int>(Below(3))) {
    const int psus = 3 + static_cast<int>(Below(5));
    for (int i = 0; i < 60; ++i) {
      const unsigned region = Below(2), psu = Below(static_cast<unsigned>(psus));
      const double size = fFractions ? 1.0 + 0.37 * psu : 1.0 + psu % 3;
      const double ofPsu = psu == 0 && OneIn(2) ? 0.0 : size;
      values.insert(values.end(),
                    {1.0 + region, 1.0 + psu, 1.0 + Below(2), 1.0 + Below(4), 0.5 * (1 + Below(3)),
                     fSizes.emplace(10 * region + psu, ofPsu).first->second,
                     fSpecs.emplace(region, 1.0 + Below(3)).first->second, 1.0 * i});
    }
    const bool casesAreUnits = OneIn(2);
    for (int stage = 1; stage <= fStages; ++stage) AddStage(stage, casesAreUnits);
    settings.SetCaseIdVar(kCase);
    if (OneIn(2)) settings.SetWeightVar(kEarlier);
    settings.SetExactDesign(OneIn(3));
  }

  MemoryRecords Source() const { return MemoryRecords(kWidth, values); }
  int Stages() const { return fStages; }

  SVSCompSettings settings;
  std::vector<double> values;
  bool keepsHits = false;

private:
  unsigned Below(unsigned n) { return static_cast<unsigned>(fEngine() % n); }
  bool OneIn(unsigned n) { return Below(n) == 0; }

  void AddStage(int stage, bool casesAreUnits) {
    const bool isLast = stage == fStages;
    constexpr int kClusters[] = {kPsu, kHousehold};
    if (stage == 1) settings.AddDesignVar(kRegion, kRoleStrata, stage);
    if (stage == 2 && OneIn(2)) settings.AddDesignVar(kType, kRoleStrata, stage);
    if (stage < 3 && !(isLast && casesAreUnits))
      settings.AddDesignVar(kClusters[stage - 1], kRoleCluster, stage);
    const SVMethod* method = &kNoMethod;
    do {
      method = &kMethods[Below(static_cast<unsigned>(std::size(kMethods)))];
    } while ((stage > 1 && !method->equalProbability) || (!isLast && method->withReplacement));
    settings.SetMethod(method->code, stage);
    if (stage == 1) settings.SetEstimator(kEstimatorWr, stage);
    if (method->IsPps() && OneIn(4))
      settings.SetMOSFromData(true);
    else if (method->IsPps())
      settings.SetMOSVar(kSize);
    if (method->IsPps() && OneIn(3)) settings.SetMOSMin(1.5);
    if (method->TakesCertain() && OneIn(2)) settings.SetCertaintyShare(OneIn(2) ? 1.0 : 0.8, stage);
    if (!method->ordersBySize && OneIn(3)) settings.SetOrder({{.variable = kRegion}}, false, stage);
    AddRequest(stage);
    settings.AddSelectStage(stage);
    if (!method->withReplacement || OneIn(3)) return;
    settings.AddRequestedOutput(kOutIndex, stage, "hits");
    keepsHits = true;
  }

  void AddRequest(int stage) {
    if (stage == 1 && OneIn(3)) {
      settings.AddSpecVar(kSpec, kSizeVariable, stage);
    } else if (OneIn(2)) {
      settings.SetSpecValue(0.1 * (2 + Below(4)), kRateValue, stage);
      settings.SetMinSize(1.0 + Below(2), stage);
    } else {
      settings.SetSpecValue(1.0 + Below(3), kSizeValue, stage);
    }
  }

  std::mt19937 fEngine;
  int fStages;
  bool fFractions = OneIn(2);
  std::map<unsigned, double> fSizes, fSpecs;
};

// The mean of some numbers against what was expected, in standard errors.
struct Mean {
  void Add(double value) { ++n, sum += value, squares += value * value; }
  void Expect(double expected, const char* what) const {
    const double mean = sum / n;
    const double variance = std::max(squares / n - mean * mean, 0.0) / n;
    EXPECT_NEAR(mean, expected, 4.5 * std::sqrt(variance) + 1e-6 * (1.0 + expected)) << what;
  }
  double n = 0.0, sum = 0.0, squares = 0.0;
};

void AddDraw(const RandomDesign& design, std::uint32_t seed, const Preview& preview, Mean* cases, Mean* sum,
             Mean* squares, std::vector<Mean>* units) {
  SVSCompSettings settings = design.settings;
  settings.SetSeed(static_cast<std::int32_t>(seed));
  SVSComponent component(settings, nullptr);
  MemoryRecords source = design.Source();
  Summary summary(preview, units->size());
  ASSERT_TRUE(component.Run(source, &summary)) << component.GetStatus().code;
  for (std::size_t i = 0; i < units->size(); ++i) (*units)[i].Add(summary.units[i]);
  std::vector<std::vector<double>> values;
  double weight = gMissingValue, n = 0.0, w = 0.0, w2 = 0.0;
  for (std::size_t i = 0; i < source.Count(); ++i) {
    ASSERT_FALSE(component.CaseStats(source.At(i), &values, &weight).IsError());
    if (weight == gMissingValue) continue;
    const double copies = design.keepsHits ? values.back()[kOutIndex] : 1.0;
    n += copies, w += copies * weight, w2 += copies * weight * weight;
    EXPECT_GE(weight, preview.sample.weight.least * (1 - 1e-9));
    EXPECT_LE(weight, preview.sample.weight.most * (1 + 1e-9));
  }
  cases->Add(n), sum->Add(w), squares->Add(w2);
}

TEST(SVSPreviewer, ExpectsWhatDrawsGive) {
  constexpr std::uint32_t kDraws = 2000;
  int drawn = 0;
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(testing::Message() << "design " << seed);
    const RandomDesign design(seed);
    Preview preview;
    SVSCompSettings checked = design.settings;
    checked.SetCheckOnly(true);
    SVSComponent component(checked, nullptr);
    MemoryRecords source = design.Source();
    const bool isGood = component.Preview(source, &preview);
    if (!isGood) {  // only the first stage can fail here, whatever is drawn
      SVSComponent run(design.settings, nullptr);
      MemoryRecords again = design.Source();
      EXPECT_FALSE(run.Run(again, nullptr));
      EXPECT_EQ(run.GetStatus().code, component.GetStatus().code);
      continue;
    }
    ++drawn;
    Mean cases, sum, squares;
    std::vector<Mean> units(static_cast<std::size_t>(design.Stages()));
    for (std::uint32_t draw = 1; draw <= kDraws && !testing::Test::HasFailure(); ++draw) {
      AddDraw(design, 7919 * seed + draw, preview, &cases, &sum, &squares, &units);
    }
    cases.Expect(preview.sample.expectedCases, "cases");
    sum.Expect(preview.sample.expectedSum, "sum of weights");
    squares.Expect(preview.sample.expectedSquares, "squares of weights");
    for (std::size_t i = 0; i < units.size(); ++i) {
      units[i].Expect(preview.stages[i].expectedUnits, "units");
    }
    ASSERT_FALSE(testing::Test::HasFailure())
        << "method " << design.settings.DesignStages().front().methodType();
  }
  EXPECT_GT(drawn, 35);
}

}  // namespace
