// What a stage hands to the outputs of a run: its summary, and the joint probabilities of its strata.

#include <algorithm>

#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/tabulation/SVSDataTabulator.h"
#include "model_components/surveyplans/common/AbstractOutputs.h"

namespace {

// The first `count` codes of a key.
std::vector<std::int32_t> Codes(const SVKey& key, std::size_t count) {
  std::vector<std::int32_t> codes(count);
  for (std::size_t i = 0; i < count; ++i) codes[i] = key[static_cast<int>(i)];
  return codes;
}

}  // namespace

// EndStage() is called whatever StartStage() and AddStratum() answered, so that the output can close what it
// opened.
bool SVSDataTabulator::Summarize(MCSV::SVSOutputSummary& summary) {
  int result = summary.StartStage(fStageInd);
  for (auto entry = fDataTable.begin(); entry != fDataTable.end() && result == MCSV::kSummaryGoOn; ++entry) {
    SVSStratumData& stratum = entry->value;
    result = summary.AddStratum(Codes(entry->key, fKeyStrataVars.size()),
                                {.requestedSize = stratum.GetRequestSize(),
                                 .actualSize = stratum.GetNumSelected(),
                                 .requestedRate = stratum.GetRequestRate(),
                                 .actualRate = stratum.GetSelectRate(),
                                 .certain = stratum.CertainCount()});
  }
  const int end = summary.EndStage();
  if (result != MCSV::kSummaryFailed && end != MCSV::kSummaryFailed) return true;
  fStatus = ErrorStatus(kStatusUserError);
  return false;
}

// An output that can't be opened is closed again and ignored: the sample doesn't depend on it. Strata are
// sorted by their keys, so that the file has a stable order.
void SVSDataTabulator::WriteJointProbs(MCSV::SVSOutJointProbs& output, int maxSelected) {
  const int state = output.Open(maxSelected);
  std::vector<StratumEntry*> strata = fvStrata;
  std::sort(strata.begin(), strata.end(),
            [](const StratumEntry* a, const StratumEntry* b) { return a->key < b->key; });
  if (state != MCSV::kJointFailed) {
    for (StratumEntry* entry : strata) {
      if (!WriteStratum(output, *entry)) break;
    }
  }
  output.Close();
}

// False if nothing more is to be written. A stratum without selected units writes nothing, but can still
// report an error.
bool SVSDataTabulator::WriteStratum(MCSV::SVSOutJointProbs& output, StratumEntry& entry) {
  SVSStratumData& stratum = entry.value;
  const std::vector<std::int32_t>& units = stratum.SelectedUnits();
  const std::vector<double>* matrix = nullptr;
  fStatus = stratum.ComputeJointProbs(&matrix);
  fpOutSamples->AddStatus(fStatus);
  if (fStatus.IsError()) return false;

  const std::size_t n = units.size();
  bool failed = n > 0 && output.StartStratum(static_cast<int>(n), Codes(entry.key, fKeyStrataVars.size())) ==
                             MCSV::kJointFailed;
  for (std::size_t i = 0; i < n && !failed; ++i) {
    const auto row = matrix->begin() + static_cast<std::ptrdiff_t>(i * n);
    failed = output.WriteRow(Codes(stratum.Units().KeyOf(units[i]), fKeyClusterVars.size()),
                             {row, row + static_cast<std::ptrdiff_t>(n)}) == MCSV::kJointFailed;
  }
  stratum.ClearWork();
  if (failed) fStatus = ErrorStatus(kStatusNoJointOutput);
  return !failed;
}
