#include "backend/svselect/component/SVSPreviewer.h"

#include <utility>

#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/tabulation/CaseMasses.h"
#include "backend/svselect/tabulation/SVSStratumData.h"

namespace {

constexpr double kCertain = 1.0 - 1e-12;  // a probability of 1 can be less by rounding

bool HasMassByUnit(const SVSDataTabulator& tabulator) {
  const CaseMasses* const masses = tabulator.Masses();
  return masses != nullptr && masses->By() == CaseMasses::Place::kUnit;
}

// Of a stratum of the last stage. Units without masses by stratum are cases.
std::int64_t CasesOf(const SVSDataTabulator& tabulator, std::size_t stratum) {
  const CaseMasses* const masses = tabulator.Masses();
  const bool isByStratum = masses != nullptr && masses->By() == CaseMasses::Place::kStratum;
  return isByStratum ? masses->Of(stratum).cases : tabulator.StratumAt(stratum).Units().Count();
}

}  // namespace

SVSPreviewer::SVSPreviewer(const SVSCompSettings* settings, SVCancelInfo* cancelInfo,
                           SVSOutSamples* outSamples)
    : fpSettings(settings), fpCancelInfo(cancelInfo), fpOutSamples(outSamples) {
  SVSDataTabulator* previous = nullptr;
  for (std::int32_t number = settings->FirstStage(); number <= settings->LastStage(); ++number) {
    Stage& stage = fvStages.emplace_back();
    stage.number = number;
    stage.tabulator = std::make_unique<SVSDataTabulator>(settings, number, previous, cancelInfo);
    stage.tabulator->SetOutputStats(outSamples);
    stage.tabulator->SetForesees(nullptr);
    if (previous != nullptr) previous->SetForesees(stage.tabulator.get());
    previous = stage.tabulator.get();
  }
  fbLosesHits = previous != nullptr && previous->LosesHits();
}

SVStatus SVSPreviewer::Run(MCCommon::MultiPassRecordIter& recordIterator, MCSV::SVSOutPreview* output) {
  fpOutSamples->SetStage(fpSettings->FirstStage());
  const SVStatus read = fvStages.front().tabulator->ProcessData(recordIterator);
  if (read.IsError()) return read;
  CountCases();
  for (std::size_t place = 0; place < fvStages.size(); ++place) {
    if (fpCancelInfo->IsCancelled()) return ErrorStatus(kStatusCancelled);
    fpOutSamples->SetStage(fvStages[place].number);
    Foresee(place, output);
  }
  output->EndPreview(fSample);
  return fStatus;
}

// From the last stage, whose masses count cases, to the first: a unit has the cases of the strata in it.
void SVSPreviewer::CountCases() {
  for (std::size_t place = fvStages.size(); place-- > 0;) {
    Stage& stage = fvStages[place];
    const SVSDataTabulator& tabulator = *stage.tabulator;
    const bool isLast = place + 1 == fvStages.size();
    stage.casesOfStratum.assign(tabulator.StrataCount(), 0);
    if (isLast && !HasMassByUnit(tabulator)) {
      for (std::size_t stratum = 0; stratum < tabulator.StrataCount(); ++stratum) {
        stage.casesOfStratum[stratum] = CasesOf(tabulator, stratum);
      }
    } else {
      for (std::size_t unit = 0; unit < tabulator.UnitPlaces().size(); ++unit) {
        stage.casesOfStratum[static_cast<std::size_t>(tabulator.UnitPlaces()[unit].stratum)] +=
            isLast ? tabulator.Masses()->Of(unit).cases : stage.units[unit].cases;
      }
    }
    if (place == 0) return;
    Stage& before = fvStages[place - 1];
    before.units.resize(before.tabulator->UnitPlaces().size());
    for (std::size_t stratum = 0; stratum < tabulator.StrataCount(); ++stratum) {
      before.units[tabulator.OuterUnitOf(stratum)].cases += stage.casesOfStratum[stratum];
    }
  }
}

void SVSPreviewer::Foresee(std::size_t place, MCSV::SVSOutPreview* output) {
  Stage& stage = fvStages[place];
  SVSDataTabulator& tabulator = *stage.tabulator;
  SVSFindings& findings = fpOutSamples->Findings();
  const Strictness strictness = fpSettings->HowStrict();
  const bool isFoundInPass = findings.RefusedCount(stage.number, strictness) > 0;
  const std::vector<bool> isRefused = tabulator.ReviewFrame();
  const bool isLast = place + 1 == fvStages.size();
  const bool needsUnits = !isLast || HasMassByUnit(tabulator);
  MCSV::SVSStagePreview whole;
  whole.stage = stage.number;
  whole.mayBeRefused = isFoundInPass;
  if (whole.mayBeRefused && place == 0) Keep(ErrorStatus(kStatusNotStrict));
  SVStatus end;
  std::vector<StratumOutlook> outlooks;
  for (std::size_t stratum = 0; stratum < tabulator.StrataCount(); ++stratum) {
    MCSV::SVSStratumPreview row;
    row.key = tabulator.KeyAt(stratum);
    row.reached = OuterOf(place, stratum).reach;
    row.cases = stage.casesOfStratum[stratum];
    row.disagreeing = tabulator.DisagreeingIn(stratum);
    const std::int64_t refused = findings.RefusedCount(stage.number, strictness);
    StratumOutlook outlook = tabulator.StratumAt(stratum).Foresee(&row, &findings);
    row.isRefused = isRefused[stratum] || findings.RefusedCount(stage.number, strictness) > refused;
    whole.Add(row);
    if (row.EndsRun()) end = ErrorStatus(row.isRefused ? kStatusNotStrict : row.failure);
    if (row.EndsRun() && row.reached >= kCertain) Keep(end);
    output->AddStratum(stage.number, row);
    if (needsUnits) {
      outlooks.push_back(std::move(outlook));
    } else {
      AddStratum(place, stratum, outlook);
    }
  }
  if (whole.failing == whole.strata) Keep(end);  // whichever are reached
  if (needsUnits) whole.expectedCases = ForeseeUnits(place, outlooks);
  if (isLast) whole.expectedCases = fSample.expectedCases;
  output->EndStage(whole);
}

// The unit of the stage before that contains a stratum.
SVSPreviewer::Reached SVSPreviewer::OuterOf(std::size_t place, std::size_t stratum) const {
  if (place == 0) return {};
  return fvStages[place - 1].units[fvStages[place].tabulator->OuterUnitOf(stratum)];
}

// Sets what the next stage has to know about the units of this one; of the last stage, adds their cases to the
// sample. Returns the cases that can be expected in selected units.
double SVSPreviewer::ForeseeUnits(std::size_t place, const std::vector<StratumOutlook>& outlooks) {
  Stage& stage = fvStages[place];
  const bool isLast = place + 1 == fvStages.size();
  const std::vector<SVSDataTabulator::Place>& units = stage.tabulator->UnitPlaces();
  double expectedCases = 0.0;
  for (std::size_t number = 0; number < units.size(); ++number) {
    const auto stratum = static_cast<std::size_t>(units[number].stratum);
    const StratumOutlook::Unit& unit = outlooks[stratum].Of(units[number].unit);
    const Reached outer = OuterOf(place, stratum);
    if (isLast) {
      AddMass(outer, unit, stage.tabulator->Masses()->Of(number));
    } else {
      Reached& reached = stage.units[number];
      reached.reach = outer.reach * unit.prob;
      reached.weight = outer.weight * unit.weight;
      expectedCases += reached.reach * static_cast<double>(reached.cases);
    }
  }
  return expectedCases;
}

// Adds a stratum of the last stage to the sample. Units without masses are cases of weight 1.
void SVSPreviewer::AddStratum(std::size_t place, std::size_t stratum, const StratumOutlook& outlook) {
  const SVSDataTabulator& tabulator = *fvStages[place].tabulator;
  const CaseMasses* const masses = tabulator.Masses();
  const Reached outer = OuterOf(place, stratum);
  const std::int32_t units = tabulator.StratumAt(stratum).Units().Count();
  if (masses != nullptr && masses->By() == CaseMasses::Place::kStratum) {
    return AddMass(outer, outlook.Of(0), masses->Of(stratum));
  }
  if (masses == nullptr && (outlook.IsSame() || outlook.IsEmpty())) {
    return AddMass(outer, outlook.Of(0), CaseMass::Of(units));
  }
  for (std::int32_t unit = 0; unit < units; ++unit) {
    const auto number = static_cast<std::size_t>(unit);
    AddMass(outer, outlook.Of(unit), masses == nullptr ? CaseMass::Of(1) : masses->OfCase(stratum, number));
  }
}

void SVSPreviewer::AddMass(const Reached& outer, const StratumOutlook::Unit& unit, const CaseMass& mass) {
  const double copies = outer.reach * (fbLosesHits ? unit.prob : unit.hits);
  fSample.cases += mass.cases;
  fSample.frameSum += mass.sum;
  if (!(copies > 0.0)) {
    fSample.neverDrawn += mass.sum;
    return;
  }
  const double weight = outer.weight * unit.weight;
  fSample.expectedCases += copies * static_cast<double>(mass.cases);
  fSample.weights.Add(weight, copies * static_cast<double>(mass.cases));
  fSample.expectedSum += copies * weight * mass.sum;
  fSample.expectedSquares += copies * weight * weight * mass.squares;
  fSample.weight.Add(weight * mass.weight.least);
  fSample.weight.Add(weight * mass.weight.most);
}
