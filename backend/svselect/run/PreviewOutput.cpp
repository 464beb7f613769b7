#include "backend/svselect/run/PreviewOutput.h"

#include <algorithm>
#include <utility>

#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/records/SVSInputAdapter.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/model/ObsVecMap.h"
#include "host/numeric/Obs.h"
#include "host/output/BpText.h"

namespace {

// The dictionary indices of the variables in these slots of the record.
std::vector<std::int32_t> VariablesOf(const SVSValidSpecs& specs, const std::vector<std::int32_t>& slots) {
  std::vector<std::int32_t> variables(slots.size());
  std::transform(slots.begin(), slots.end(), variables.begin(), [&specs](std::int32_t slot) {
    return specs.DictionaryVars()[static_cast<std::size_t>(slot)];
  });
  return variables;
}

std::vector<std::string> NamesOf(const ProcedureDataSource& source,
                                 const std::vector<std::int32_t>& variables) {
  std::vector<std::string> names(variables.size());
  std::transform(variables.begin(), variables.end(), names.begin(),
                 [&source](std::int32_t variable) { return source.GetVariable(variable).GetName(); });
  return names;
}

}  // namespace

void PreviewOutput::AddStratum(std::int32_t stage, const MCSV::SVSStratumPreview& stratum) {
  fbFailsBySize = fbFailsBySize || stratum.failure == kStatusInvalidSize;
  if (fvStrata.size() == PreviewedStage::kMostStrata) return;
  fvStrata.push_back({.values = {},
                      .numbers = stratum,
                      .certain = NamesOf(stage, stratum.certain),
                      .tooLarge = NamesOf(stage, stratum.tooLarge)});
}

std::vector<std::string> PreviewOutput::NamesOf(std::int32_t stage, const MCSV::SVSNamedUnits& units) const {
  std::vector<std::string> names;
  for (const SVKey& key : units.first) names.push_back(UnitText(fNames, stage, key));
  return names;
}

void PreviewOutput::EndStage(const MCSV::SVSStagePreview& stage) {
  PreviewedStage previewed;
  previewed.numbers = stage;
  const DesignStage& design = *fNames.specs.CompSettings()->GetStage(stage.stage);
  const SVMethod& method = MethodOf(design.methodType());
  previewed.label = fNames.specs.StageLabels()[static_cast<std::size_t>(stage.stage - 1)];
  previewed.method = MethodName(method);
  previewed.bySize = method.IsPps();
  previewed.withReplacement = method.withReplacement;
  SetValues(stage.stage, &previewed);
  fpPreview->stages.push_back(std::move(previewed));
  fvStrata.clear();
}

// The map orders the strata as the summary table does.
void PreviewOutput::SetValues(std::int32_t stage, PreviewedStage* previewed) const {
  std::vector<std::int32_t> strataSlots;
  std::vector<std::int32_t> clusterSlots;
  fNames.specs.CompSettings()->KeyVars(stage, &strataSlots, &clusterSlots);
  const std::vector<std::int32_t> variables = VariablesOf(fNames.specs, strataSlots);
  previewed->variables = ::NamesOf(fNames.dataSource, variables);
  previewed->clusters = ::NamesOf(fNames.dataSource, VariablesOf(fNames.specs, clusterSlots));
  if (variables.empty()) {
    previewed->strata = fvStrata;
    return;
  }
  ObsVecMap order(ObsVecMap::MakeKeySpec(fNames.dataSource, variables), 1);
  std::vector<OBS> key(order.CellSize() - 1);
  for (std::size_t i = 0; i < fvStrata.size(); ++i) {
    auto place = key.begin();
    for (std::size_t k = 0; k < variables.size(); ++k) {
      const OBS* const value =
          fNames.adapter.ObsOfCode(variables[k], fvStrata[i].numbers.key[static_cast<std::int32_t>(k)]);
      place = std::copy_n(value, ObsCells(order.GetKeySpec()[k]), place);
    }
    order.Insert(key.data())->number = static_cast<double>(i);
  }
  for (const OBS* entry : order.Sort()) {
    const auto stratum = static_cast<std::size_t>(entry[key.size()].number);
    PreviewedStratum& added = previewed->strata.emplace_back(fvStrata[stratum]);
    for (std::size_t k = 0; k < variables.size(); ++k) {
      added.values.push_back(
          BpDataValue(fNames.dataSource.GetVariable(variables[k]), entry, kShowInTable).InFull());
      entry += ObsCells(order.GetKeySpec()[k]);
    }
  }
}

void PreviewOutput::EndPreview(const MCSV::SVSSamplePreview& sample) {
  fpPreview->sample = sample;
  fpPreview->hasEarlierWeight = fNames.specs.PreviousWeightVar() >= 0;
  fpPreview->isComplete = true;
}
