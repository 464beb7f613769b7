#include "backend/svselect/results/PrintTables.h"

#include <algorithm>

#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/records/SVSInputAdapter.h"
#include "backend/svselect/results/OutputVariables.h"
#include "backend/svselect/results/SVSSampleFile.h"
#include "host/model/KORV_DataSource.h"
#include "host/output/BpComposite.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpText.h"

namespace {

// Parts of the notes.
constexpr int kInputNotes = 1;
constexpr int kFileNotes = 2;
constexpr int kVariableNotes = 3;
constexpr int kMissingNotes = 4;

BpString Fixed(const char* text) {
  return {text, true};
}

BpString Given(const std::string& text) {
  return {text, false, false};
}

void PrintMissingNotes(const SVSValidSpecs& validSpecs) {
  const bool exclude = validSpecs.ClassMissingExclude();
  AddNotes(
      kMissingNotes, Fixed("Definition of Missing"),
      Fixed(exclude ? "User missing excluded in selection ..." : "User missing included in selection ..."));
  if (exclude) AddNotes(kMissingNotes, Fixed("Cases Used"), Fixed("Cases used selection ..."));
}

void PrintFileNotes(const SVSValidSpecs& validSpecs) {
  if (validSpecs.SampleFile().IsValid()) {
    AddNotes(kFileNotes, Fixed("Sample File"), Given(validSpecs.SampleFile().DocumentationString()));
  } else {
    PrintOutputVariableNotes(validSpecs);
  }
  if (validSpecs.JointProbFile().IsValid()) {
    AddNotes(kFileNotes, Fixed("Joint Inclusion Probabilities File"),
             Given(validSpecs.JointProbFile().DocumentationString()));
  }
  if (!validSpecs.SelectRuleFile().empty()) {
    AddNotes(kFileNotes, Fixed("Selection Rule File"), Given(validSpecs.SelectRuleFile()));
  }
}

void AnnounceTable(BpHeading& heading, const char* title) {
  heading.PivotTable(BpString(title, true), BpString(title, false), true);
}

bool IsSelected(const SVSValidSpecs& validSpecs, int stage) {
  const std::vector<std::int32_t>* stages = validSpecs.SelectStages();
  return stages != nullptr && std::find(stages->begin(), stages->end(), stage) != stages->end();
}

}  // namespace

void PrintNotes(const SVSValidSpecs& validSpecs, BpHeading& heading) {
  if (!validSpecs.PlanFile().empty()) AddNotes(kInputNotes, Fixed("Plan File"), Given(validSpecs.PlanFile()));
  AddNotes(kInputNotes, Fixed("Random Number Seed"), BpNumber(validSpecs.Seed(), BpProcedure::Count()));
  PrintMissingNotes(validSpecs);
  PrintFileNotes(validSpecs);
  if (validSpecs.RenameVars()) AnnounceTable(heading, "Renamed Variables");
  if (validSpecs.PrintCPS()) AnnounceTable(heading, "Case Processing Summary");
}

void PrintOutputVariableNotes(const SVSValidSpecs& validSpecs) {
  int position = 0;
  for (const DesignStage* stage : validSpecs.DesignStages()) {
    ++position;
    if (!IsSelected(validSpecs, position)) continue;
    for (const std::int32_t kind : stage->requestedOutputs()) {
      BpComposite label("^1_^2_", false);
      label.Add(Given(TraitsOfKind(kind).stem));
      label.Add(BpNumber(position, BpProcedure::Count()));
      label.Finish();
      AddNotes(kVariableNotes, label, Given(stage->outputName(kind)));
    }
  }
  const KorvVarName& finalWeight = validSpecs.FinalWeightName();
  if (!finalWeight.IsEmpty())
    AddNotes(kVariableNotes, Given(kFinalWeightTraits.stem), Given(finalWeight.Text()));
}

namespace {

constexpr int kAsMade = 2;

void AddRow(const BpDimension& cases, const char* label, std::int64_t count) {
  cases.Category(BpString(label, true)).Cell(BpNumber(static_cast<double>(count), BpProcedure::Count()));
}

}  // namespace

void PrintCaseProcessing(const SVSInputAdapter& adapter, BpHeading& heading) {
  BpPivotTable table = heading.PivotTable(BpString("Case Processing Summary", true),
                                          BpString("Case Processing Summary", false), true);
  const BpDimension cases = table.Dimension(BpString("Cases", true), kAsMade);
  cases.Position(kPlaceRow, 1, true, false);
  const BpDimension value = table.Dimension(BpString("Value", true), kAsMade);
  value.Position(kPlaceColumn, 1, true, false);
  value.Category(BpString("Unweighted Cases", true));
  AddRow(cases, "Valid", adapter.ValidCases());
  AddRow(cases, "Invalid", adapter.InvalidCases());
  AddRow(cases, "Total", adapter.ValidCases() + adapter.InvalidCases());
}

namespace {

constexpr int kUnsorted = 0;

}  // namespace

void PrintRenamedVariables(BpHeading& heading, const SVSSampleFile& sampleFile) {
  const KORV_DataSource* target = nullptr;
  const auto& renamed = sampleFile.RenamedVariables(&target);
  if (renamed.empty()) return;
  BpPivotTable table =
      heading.PivotTable(BpString("Renamed Variables", true), BpString("Renamed Variables", false), true);
  const BpDimension names = table.Dimension(BpString("Original Name", true), kUnsorted);
  names.Position(kPlaceRow, 1, false, false);
  const BpDimension information = table.Dimension(BpString("Information", true), kAsMade);
  information.Position(kPlaceColumn, 1, true, false);
  information.Category(BpString("Current Name", true));
  for (const auto& [taker, older] : renamed) {
    names.Category(BpString(target->GetVariable(taker).GetName(), false))
        .Cell(BpString(target->GetVariable(older).GetName(), false));
  }
}
