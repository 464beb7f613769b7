#include "backend/svselect/results/NotesAndTables.h"

#include <algorithm>

#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/records/SVSInputAdapter.h"
#include "backend/svselect/results/NoteLabels.h"
#include "backend/svselect/results/OutputVariables.h"
#include "backend/svselect/results/SVSSampleFile.h"
#include "host/model/KORV_DataSource.h"
#include "host/output/BpComposite.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpText.h"

namespace {

// How a dimension's categories are to be ordered: in this host always as they were added.
constexpr int kUnsorted = 0;
constexpr int kAsMade = 2;

// Parts of the notes.
constexpr int kInputNotes = 1;
constexpr int kFileNotes = 2;
constexpr int kVariableNotes = 3;
constexpr int kMissingNotes = 4;

// A text of the program's own.
BpString Fixed(const char* text) {
  return {text, true};
}

// A text from the user: a name or a path.
BpString Given(const std::string& text) {
  return {text, false, false};
}

// Whether user-missing values of strata and clusters are categories. The texts end in dots where a host could
// insert its own sentence; they are shown as they are.
void PrintMissingNotes(const SVSValidSpecs& validSpecs) {
  const bool exclude = validSpecs.ClassMissingExclude();
  AddNotes(
      kMissingNotes, Fixed("Definition of Missing"),
      Fixed(exclude ? "User missing excluded in selection ..." : "User missing included in selection ..."));
  if (exclude) AddNotes(kMissingNotes, Fixed("Cases Used"), Fixed("Cases used selection ..."));
}

// Without a sample file the new variables go to the active file, and the notes list them instead. The joint
// probability file is noted if one will be asked for, even if the draw then writes none.
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

// Opens a table and drops it at once: see the header.
void AnnounceTable(BpHeading& heading, const char* title) {
  heading.PivotTable(BpString(title, true), BpString(title, false), true);
}

// Whether this run draws the stage. Without a list of stages none is drawn.
bool IsSelected(const SVSValidSpecs& validSpecs, int stage) {
  const std::vector<std::int32_t>* stages = validSpecs.SelectStages();
  return stages != nullptr && std::find(stages->begin(), stages->end(), stage) != stages->end();
}

// One row of the table of cases.
void AddRow(const BpDimension& cases, const char* label, std::int64_t count) {
  cases.Category(BpString(label, true)).Cell(BpNumber(static_cast<double>(count), BpProcedure::Count()));
}

}  // namespace

// --- the notes -------------------------------------------------------------------------------------------

void PrintNotes(const SVSValidSpecs& validSpecs, BpHeading& heading) {
  if (!validSpecs.PlanFile().empty()) AddNotes(kInputNotes, Fixed("Plan File"), Given(validSpecs.PlanFile()));
  AddNotes(kInputNotes, Fixed(NoteLabels::kSeed), BpNumber(validSpecs.Seed(), BpProcedure::Count()));
  PrintMissingNotes(validSpecs);
  PrintFileNotes(validSpecs);
  if (validSpecs.RenameVars()) AnnounceTable(heading, "Renamed Variables");
  if (validSpecs.PrintCPS()) AnnounceTable(heading, "Case Processing Summary");
}

// Stages are counted by their position here. The labels are made of the kind's stem and the stage's number:
// "SampleWeight_1_".
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

// --- the tables ------------------------------------------------------------------------------------------

// One column, "Unweighted Cases", and three rows. The counts are those of the adapter, which are reset for
// each pass: the last pass reads all cases, whatever the stages have selected.
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

// A row for each older variable: its former name, which the new variable has now, and its current one.
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
