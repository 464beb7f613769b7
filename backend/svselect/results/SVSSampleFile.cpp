#include "backend/svselect/results/SVSSampleFile.h"

#include <algorithm>
#include <numeric>
#include <optional>

#include "backend/svcommon/adapters/SVProcDSMultiIter.h"
#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/component/SVSComponent.h"
#include "backend/svselect/records/SVSInputAdapter.h"
#include "backend/svselect/results/OutputVariables.h"
#include "backend/svselect/results/SVSSelectRuleFile.h"
#include "backend/svselect/results/SampleDocument.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/environment/HostErrors.h"
#include "host/environment/MessageCatalogue.h"
#include "host/model/CaseValue.h"
#include "host/model/KORV_Case.h"
#include "host/numeric/Fuzzy.h"
#include "host/numeric/Obs.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpText.h"
#include "host/write/IndependentDataStore.h"

namespace {

constexpr std::int32_t kFinalWeightStage = -1;  // in place of a stage number
constexpr int kNoRepeats = -1;                  // in place of a position
constexpr int kNewVariableWidth = 10;           // characters, of the format

}  // namespace

// Writes selected cases to the sample file: the copied columns, then the new values. It is bound to the
// columns of the pass, so it can only be made once the pass has started.
class SVSSampleFile::CaseWriter {
public:
  // With a repeat position, a case is written as often as the new value at that position says, and the copies
  // are numbered there from 1.
  CaseWriter(IndependentDataStore* store, KORV_InputCaseIterator* cases,
             const std::vector<std::int32_t>& columns, int repeatPosition)
      : fpStore(store),
        fCells(store->CaseCellCount()),
        fCase(*store, fCells.data()),
        fRepeatPosition(repeatPosition) {
    fvCopied.reserve(columns.size());
    for (const std::int32_t column : columns) fvCopied.emplace_back(cases, column);
  }

  // Throws ErrorText if the file can't be written.
  void Write(const std::vector<double>& newValues) {
    int column = 0;
    for (const CaseValue& value : fvCopied) {
      std::copy_n(value.fpObs, ObsCells(value.fWidth), fCase.GetObsPointer(column++));
    }
    const int repeatColumn = column + fRepeatPosition;
    for (const double value : newValues) fCase.SetColumnValue(column++, value);
    if (fRepeatPosition == kNoRepeats) {
      fpStore->AddCase(fCase);
      return;
    }
    const std::int32_t repeats = TruncateToInt32(newValues[static_cast<std::size_t>(fRepeatPosition)]);
    for (std::int32_t k = 1; k <= repeats; ++k) {
      fCase.SetColumnValue(repeatColumn, k);
      fpStore->AddCase(fCase);
    }
  }

private:
  IndependentDataStore* fpStore;
  std::vector<OBS> fCells;
  KORV_Case fCase;
  std::vector<CaseValue> fvCopied;
  int fRepeatPosition;
};

// Passes selected cases to the selection rule file until that fails. A rule file that fails doesn't stop the
// pass: it has shown its message, and the sample is still good.
class SVSSampleFile::RuleWriter {
public:
  RuleWriter(const SVSValidSpecs* validSpecs, ProcedureDataSource* dataSource, SVSInputAdapter* inputAdapter)
      : fFile(validSpecs, dataSource, inputAdapter), fKey(fFile.KeyLength()) {
    fFile.Open();
  }

  void Take(KORV_InputCaseIterator& cases) {
    if (fFile.IsGood()) fFile.AddCase(cases, fKeys, fKey);
  }
  void Finish() {
    if (fFile.IsGood()) fFile.Finish();
  }

private:
  SVSSelectRuleFile fFile;
  SVSSelectRuleFile::KeySet fKeys;
  SVKey fKey;
};

// No name for a sample file isn't a failure; a name whose file couldn't be opened is, and was reported.
SVSSampleFile::SVSSampleFile(const SVSValidSpecs* validSpecs, ProcedureDataSource* dataSource,
                             SVSInputAdapter* inputAdapter)
    : fpValidSpecs(validSpecs),
      fpDataSource(dataSource),
      fOutFile(validSpecs->SampleFile()),
      fpInputAdapter(inputAdapter) {
  if (!validSpecs->SampleFile().IsValid()) return;
  fpOutStore = fOutFile.DataSource();
  if (fpOutStore == nullptr) fState = kFailed;
}

SVSSampleFile::~SVSSampleFile() {
  if (fpOutStore != nullptr && fState != kClosed && fState != kFailed) fpOutStore->CloseStore();
}

// SetLastPass() tells the host to keep what is set through the iterator; earlier passes leave no trace.
std::int32_t SVSSampleFile::Write(SVSComponent& component, SVProcDSMultiIter& multiPassIter) {
  if (fState != kCreated) return fState = kFailed;
  DefineVariables();
  // The pass can start only now: which columns it has to read depends on the variables.
  if (multiPassIter.Reset() != MCCommon::kRecordReady) return fState = kFailed;
  fpDataSource->SetLastPass();
  MakePass(component, multiPassIter);
  if (fState == kFailed) return fState;
  if (fpOutStore != nullptr) fpOutStore->CloseStore();
  return fState = kClosed;
}

const std::map<std::int32_t, std::int32_t>& SVSSampleFile::RenamedVariables(
    const KORV_DataSource** target) const {
  *target = &Target();
  return fRenamed;
}

// --- the variables ---------------------------------------------------------------------------------------

// The file that gets the new variables.
KORV_DataSource& SVSSampleFile::Target() const {
  if (fpOutStore != nullptr) return *fpOutStore;
  return *fpDataSource;
}

// Copied variables, new variables stage by stage, the final weight last. The document is saved before the
// dictionary is finished, as it is part of it.
void SVSSampleFile::DefineVariables() {
  if (fpOutStore != nullptr && !fpValidSpecs->DropAll()) CopyVariables();
  for (const DesignStage* stage : fpValidSpecs->DesignStages()) {
    if (!IsLeftOut(*stage)) AddStageVariables(*stage);
  }
  if (!fpValidSpecs->FinalWeightName().IsEmpty()) AddFinalWeight();
  SaveDocument();
  if (fpOutStore != nullptr) fpOutStore->FinishDictionary();
  fState = kDefined;
}

// In the order of KEEP, or of the active file without it, less the variables of DROP. DROP removes one
// occurrence of a variable, which suffices: KEEP can't repeat one.
void SVSSampleFile::CopyVariables() {
  if (fpValidSpecs->KeepCount() > 0) {
    fKeepColumns = *fpValidSpecs->KeepList();
  } else {
    fKeepColumns.resize(fpDataSource->ColumnCount());
    std::iota(fKeepColumns.begin(), fKeepColumns.end(), 0);
  }
  if (fpValidSpecs->DropCount() > 0) {
    for (const std::int32_t dropped : *fpValidSpecs->DropList()) {
      const auto found = std::find(fKeepColumns.begin(), fKeepColumns.end(), dropped);
      if (found != fKeepColumns.end()) fKeepColumns.erase(found);
    }
  }
  int index = 0;
  for (const std::int32_t column : fKeepColumns) {
    fpOutStore->MakeVariable(fpDataSource->GetVariable(column), index);
  }
}

// Whether this run doesn't draw the stage. Without a list of stages all are drawn.
bool SVSSampleFile::IsLeftOut(const DesignStage& stage) const {
  if (fpValidSpecs->SelectStageCount() == 0) return false;
  const std::vector<std::int32_t>& selected = *fpValidSpecs->SelectStages();
  return std::find(selected.begin(), selected.end(), stage.stageNumber()) == selected.end();
}

// Labels come from the host's catalogue, with the stage's number put in.
void SVSSampleFile::AddStageVariables(const DesignStage& stage) {
  for (const std::int32_t kind : stage.requestedOutputs()) {
    const std::string name = stage.outputName(kind);
    if (name.empty()) continue;
    const OutputKindTraits& traits = TraitsOfKind(kind);
    char label[kCatalogueTextSize];
    GETTXM(traits.labelMessage, std::to_string(stage.stageNumber()).c_str(), label);
    MakeVariable(name, traits.decimals, label);
    fNewKinds.push_back(kind);
    fNewStages.push_back(stage.stageNumber());
    fNewMethods.push_back(stage.methodType());
  }
}

// Its kind is that of a stage's weight, which is never used: FillNewValues() looks at the stage first.
void SVSSampleFile::AddFinalWeight() {
  char label[kCatalogueTextSize];
  ERRTXN(kFinalWeightTraits.labelMessage, label);
  MakeVariable(fpValidSpecs->FinalWeightName().Text(), kFinalWeightTraits.decimals, label);
  fNewKinds.push_back(kOutWeight);
  fNewStages.push_back(kFinalWeightStage);
  fNewMethods.push_back(kMethodNone);
}

// The older variable is renamed before the new one is made: a dictionary never has two equal names.
void SVSSampleFile::MakeVariable(const std::string& name, int decimals, const char* label) {
  KORV_DataSource& target = Target();
  const int older = FreeVariableName(target, name);
  int index = 0;
  KORV_Variable& variable = target.MakeVariable(0, index);
  variable.SetName(name);
  variable.SetFormat(kFormatF, kNewVariableWidth, decimals);
  variable.SetWriteFormat(kFormatF, kNewVariableWidth, decimals);
  variable.SetMeasurementLevel(kLevelScale);
  variable.SetLabel(label, static_cast<int>(std::char_traits<char>::length(label)));
  if (older >= 0) fRenamed[index] = older;
}

// The active file keeps its documents, and gets one more. A sample file starts with this one only.
void SVSSampleFile::SaveDocument() {
  std::vector<DSDocument> documents;
  if (fpOutStore == nullptr) documents = GetDocuments(*fpDataSource);
  documents.push_back(MakeSampleDocument(DescribeDesign(*fpValidSpecs, *fpDataSource)));
  SaveDocuments(documents, Target());
}

// --- the pass --------------------------------------------------------------------------------------------

// A file that can't be written ends the pass with a warning, not an error, so that the tables and statuses of
// the draw still appear.
void SVSSampleFile::MakePass(SVSComponent& component, SVProcDSMultiIter& multiPassIter) {
  KORV_InputCaseIterator& cases = *multiPassIter.CaseIterator();
  std::optional<CaseWriter> writer;
  if (fpOutStore != nullptr) writer.emplace(fpOutStore, &cases, fKeepColumns, FindRepeatPosition());
  std::optional<RuleWriter> rule;
  if (!fpValidSpecs->SelectRuleFile().empty()) rule.emplace(fpValidSpecs, fpDataSource, fpInputAdapter);
  std::vector<double> values(fNewStages.size());
  // Used only without a sample file: the active file's last columns are the new ones then.
  const auto firstNew = static_cast<int>(fpDataSource->ColumnCount() - values.size());

  const auto takeCase = [&](double finalWeight) {
    FillNewValues(finalWeight, &values);
    if (writer) {
      writer->Write(values);
    } else {
      int column = firstNew;
      for (const double value : values) cases.SetColumnValue(column++, value);
    }
    if (rule && finalWeight != MCMV::gMissingValue) rule->Take(cases);
  };
  try {
    if (multiPassIter.HasBlocks()) {
      WalkBlocks(component, multiPassIter, takeCase);
    } else {
      WalkCases(component, multiPassIter, takeCase);
    }
    // Records behind the blocks of the last pass mean that the source has changed.
    const bool isRead = multiPassIter.Status() == MCCommon::kCasesExhausted;
    fState = isRead ? kWritten : kFailed;
  } catch (const ErrorText& error) {
    BpError(BpString(error.message, false), kShowInMessage, kWarningLevel);
    fState = kFailed;
  }
  if (rule) rule->Finish();
}

// Cases of the sample, and those of reserve units, which have no weight. Only the last stage has such units, and a
// case gets there by the units that the stages before selected.
bool SVSSampleFile::IsWritten(double finalWeight) const {
  if (finalWeight != MCMV::gMissingValue) return true;
  const auto last = std::find_if(fStageValues.rbegin(), fStageValues.rend(),
                                 [](const std::vector<double>& values) { return !values.empty(); });
  return last != fStageValues.rend() && (*last)[kOutReserve] > 0.0;
}

template <class TakeCase>
void SVSSampleFile::WalkBlocks(SVSComponent& component, SVProcDSMultiIter& multiPassIter,
                               const TakeCase& takeCase) {
  if (!component.StartWalk()) return;
  SVSRows selected;
  while (const MCCommon::RecordBlock* block = multiPassIter.NextBlock()) {
    component.KeepSelected(*block, &selected);
    for (std::size_t place = 0; place < selected.rows.size(); ++place) {
      double finalWeight = MCMV::gMissingValue;
      if (component.RowStats(*block, selected, place, &fStageValues, &finalWeight).IsError() ||
          !IsWritten(finalWeight)) {
        continue;
      }
      multiPassIter.CaseIterator()->ShowCase(selected.rows[place]);
      takeCase(finalWeight);
    }
  }
}

// Next() is called at the end of each round because the stream is one record ahead: the record of the case
// under the iterator is Current(). A case is asked about in two steps, the quick test first.
template <class TakeCase>
void SVSSampleFile::WalkCases(SVSComponent& component, SVProcDSMultiIter& multiPassIter,
                              const TakeCase& takeCase) {
  while (multiPassIter.HasMore()) {
    double finalWeight = MCMV::gMissingValue;
    const MCCommon::Record* record = multiPassIter.Current();
    if (record != nullptr && component.MaySelect(*record) &&
        !component.CaseStats(*record, &fStageValues, &finalWeight).IsError() && IsWritten(finalWeight)) {
      takeCase(finalWeight);
    }
    multiPassIter.Next();
  }
}

// The position of the new variable that numbers the copies of a case: see the header. The final weight counts
// as stage -1, so it is never the last stage unless there is no other new variable.
int SVSSampleFile::FindRepeatPosition() const {
  if (fNewStages.empty()) return kNoRepeats;
  const std::int32_t maxStage = *std::max_element(fNewStages.begin(), fNewStages.end());
  for (std::size_t i = 0; i < fNewStages.size(); ++i) {
    if (fNewStages[i] == maxStage && fNewKinds[i] == kOutIndex && MethodOf(fNewMethods[i]).withReplacement) {
      return static_cast<int>(i);
    }
  }
  return kNoRepeats;
}

// The component's answer, rearranged to the order of the new variables. A stage that wasn't drawn has no new
// variables, so its empty list of results is never read.
void SVSSampleFile::FillNewValues(double finalWeight, std::vector<double>* values) const {
  for (std::size_t i = 0; i < values->size(); ++i) {
    const std::int32_t stage = fNewStages[i];
    (*values)[i] =
        stage == kFinalWeightStage
            ? finalWeight
            : fStageValues[static_cast<std::size_t>(stage - 1)][static_cast<std::size_t>(fNewKinds[i])];
  }
}
