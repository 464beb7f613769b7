#include "backend/svselect/records/SVSInputAdapter.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

#include "backend/svcommon/adapters/SVMessages.h"
#include "host/engine/ProcDSIterator.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/model/Values.h"
#include "host/numeric/Obs.h"
#include "host/output/BpText.h"

SVSInputAdapter::SVSInputAdapter(const SVSValidSpecs* validSpecs, ProcedureDataSource* dataSource,
                                 ProcDSIterator* iterator, const SVMessages* messages)
    : SVInputAdapter(validSpecs, dataSource, iterator, messages, !validSpecs->ClassMissingExclude()),
      fpSelectSpecs(validSpecs) {
  for (const auto& [variable, slot] : validSpecs->TextSlots())
    fvTextReaders.push_back({slot, std::make_unique<CaseValueReader>(iterator, variable, true)});
}

SVSInputAdapter::~SVSInputAdapter() = default;

int SVSInputAdapter::RecordSize() const {
  return SVInputAdapter::RecordSize() + static_cast<int>(fvTextReaders.size());
}

void SVSInputAdapter::OnNewIterator(ProcDSIterator* iterator) {
  for (const TextReader& text : fvTextReaders) text.reader->Rebind(iterator, true);
}

std::vector<std::int32_t> SVSInputAdapter::TextRanks(std::int32_t slot) const {
  const auto found = std::find_if(fvTextReaders.begin(), fvTextReaders.end(),
                                  [slot](const TextReader& text) { return text.slot == slot; });
  const CaseValueReader& reader = *found->reader;
  const auto width = static_cast<std::size_t>(fpDataSource->GetVariable(reader.Variable()).GetType());
  std::vector<std::int32_t> codes(reader.CategoryCount());
  std::iota(codes.begin(), codes.end(), 1);
  const auto textOf = [&](std::int32_t code) {
    const std::string_view text(reader.ObsOfCode(code)->text, width);
    return text.substr(0, text.find_last_not_of(' ') + 1);
  };
  std::sort(codes.begin(), codes.end(),
            [&](std::int32_t a, std::int32_t b) { return textOf(a) < textOf(b); });
  std::vector<std::int32_t> ranks(codes.size());
  for (std::size_t rank = 0; rank < codes.size(); ++rank)
    ranks[static_cast<std::size_t>(codes[rank]) - 1] = static_cast<std::int32_t>(rank);
  return ranks;
}

// A case without a stratum or cluster isn't read any further, but may lack the earlier weight as well.
bool SVSInputAdapter::ReadCategorical(double* record) {
  if (SVInputAdapter::ReadCategorical(record)) return true;
  auto contVar = fvContVars.begin();
  for (const auto& [variable, slot] : fpSelectSpecs->ContRecordIndex()) {
    bool invalid = false;
    bool missing = false;
    const bool isWeight = variable == fpSelectSpecs->PreviousWeightVar();
    if (isWeight && (*contVar)->Get(&invalid, &missing) == MCMV::gMissingValue) CountLackOf(variable);
    ++contVar;
  }
  return false;
}

// All variables are read even if the previous weight is missing: a later one may be worth a message. The
// first that isn't allowed ends the case, so that a case has at most one message.
bool SVSInputAdapter::ReadContinuous(double* record) {
  bool ok = true;
  // The readers are in the order of the map, so the two advance together.
  auto contVar = fvContVars.begin();
  for (const auto& [variable, slot] : fpSelectSpecs->ContRecordIndex()) {
    bool invalid = false;
    bool missing = false;  // set for a rate or size, and ignored on purpose: the stratum deals with it
    record[slot] = (*contVar)->Get(&invalid, &missing);
    if (record[slot] == MCMV::gMissingValue && variable == fpSelectSpecs->PreviousWeightVar()) {
      ok = false;
      CountLackOf(variable);
    }
    if (invalid) {
      const bool isSize = fpSelectSpecs->IsSizeSlot(slot);
      RefuseValue(isSize ? RefusedCases::Why::kSize : RefusedCases::Why::kRate, variable);
      return false;
    }
    ++contVar;
  }
  for (const TextReader& text : fvTextReaders)
    record[text.slot] = PassCounter() == 0 ? text.reader->Encode() : text.reader->Lookup();
  return ok;
}

// A table's own number can't be missing; if it were, the case would be rejected without a message.
bool SVSInputAdapter::ReadMatrix(double* record) {
  bool ok = true;
  std::int32_t index = 0;  // counts tables; `position` is that of the stage, which may have none
  for (const auto& [position, slot] : fpSelectSpecs->MatrixRecordIndex()) {
    bool notFound = false;
    record[slot] = fvMatrixSpecs[static_cast<std::size_t>(index)]->Get(&notFound);
    if (record[slot] == MCMV::gMissingValue) ok = false;
    if (notFound) {
      RefuseByTable(fpSelectSpecs->MatrixStageNumber(index), *fpSelectSpecs->MatrixSpec(position)->variables,
                    fpSelectSpecs->IsSizeSlot(slot));
      return false;
    }
    ++index;
  }
  return ok;
}

// The place is the stratum of the first stage that draws by the variable, and the value.
void SVSInputAdapter::RefuseValue(RefusedCases::Why why, std::int32_t variable) {
  const bool isSize = why == RefusedCases::Why::kSize;
  if (!fbSilent) isSize ? fpMessages->InvalidSize(variable) : fpMessages->InvalidRate(variable);
  if (PassCounter() != 0) return;
  for (const DesignStage* stage : fpSelectSpecs->DesignStages()) {
    if ((isSize ? stage->sizeVariable() : stage->rateVariable()) != variable) continue;
    const std::vector<std::int32_t>& strata = stage->strataVariables();
    const std::string place = strata.empty() ? fmt::format("case {}", CasesRead()) : PlaceText(strata);
    fRefused.Note(why, stage->stageNumber(), variable,
                  place + ": " + NumberText(fpIterator->GetNumericValue(variable)));
    return;
  }
}

void SVSInputAdapter::RefuseByTable(std::int32_t stage, const std::vector<std::int32_t>& variables,
                                    bool isSize) {
  if (!fbSilent && isSize) fpMessages->NoSize(stage, variables, fpIterator);
  if (!fbSilent && !isSize) fpMessages->NoRate(stage, variables, fpIterator);
  if (PassCounter() != 0) return;
  fRefused.Note(RefusedCases::Why::kNoRow, stage, -1, PlaceText(variables));
}

// "county = 12, type = public", of the current case.
std::string SVSInputAdapter::PlaceText(const std::vector<std::int32_t>& variables) const {
  std::string text;
  for (const std::int32_t index : variables) {
    const KORV_Variable& variable = fpDataSource->GetVariable(index);
    text += fmt::format("{}{} = {}", text.empty() ? "" : ", ", variable.GetName(),
                        BpDataValue(variable, fpIterator->BindColumn(index), kShowInMessage).FullText());
  }
  return text;
}
