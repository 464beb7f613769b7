#include "session/DesignPlan.h"

#include <fmt/format.h>

#include <algorithm>

#include "backend/svcommon/PlanGaps.h"
#include "backend/svcommon/PlanRules.h"
#include "backend/svcommon/design/MethodTable.h"
#include "host/engine/ActiveFile.h"
#include "host/environment/HostSession.h"
#include "host/model/Values.h"
#include "host/output/OutputDocument.h"
#include "host/text/NearestWord.h"
#include "host/text/VariableNames.h"
#include "planning/StageWords.h"
#include "session/FileClaims.h"
#include "session/GuardInspection.h"
#include "session/RunReview.h"

namespace {

using Lines = std::vector<std::string>;

bool HasFrame(const FrameOptions& frame) {
  return !frame.path.empty() || !frame.sql.empty();
}

// The weights, whose names must differ from all others of the plan, come last.
void ReadWords(const DesignRequest& request, SVPlanSpecs* plan, Lines* problems) {
  StageWords stages(plan, !request.allocate.empty());
  stages.Read(request.stages);
  *problems = stages.Problems();
  plan->title = request.title;
  plan->isJson = true;
  const auto read = [&](const char* option, const std::string& text, KorvVarName* name) {
    if (text.empty()) return;
    *name = text;
    const std::string what = NameFault(plan, *name).what;
    if (!what.empty()) problems->push_back(fmt::format("{}: {}", option, what));
  };
  read("--previous-weight", request.previousWeight, &plan->previousWeight);
  read("--weight", request.weight, &plan->weight);
}

// A name that the frame lacks.
std::string NoVariable(const std::string& frame, const Dictionary& dictionary, const std::string& name) {
  return fmt::format("{} has no variable {}{}", frame, name, NearestNameHint(name, dictionary.Names()));
}

// Categories that a numeric variable can't have; of each table the first is enough.
void CheckCategories(const Dictionary& dictionary, const SVPlanSpecs& plan, Lines* problems) {
  for (std::size_t number = 0; number < plan.stages.size(); ++number) {
    const VarCatList& table = plan.stages[number].paramMatrix;
    std::vector<KorvVarName> names;
    table.copyVarList(names);
    for (std::size_t i = 0; i < names.size(); ++i) {
      const int column = dictionary.Find(names[i].Text());
      if (column < 0 || dictionary.variables[static_cast<std::size_t>(column)].GetType() != 0) continue;
      const auto row = std::find_if(table.Rows().begin(), table.Rows().end(), [&](const auto& categories) {
        double value = 0.0;
        return !ParseNumber(categories[i], &value);
      });
      if (row == table.Rows().end()) continue;
      problems->push_back(
          fmt::format("stage {}: {} is no value that {} can have, which is numeric in the frame", number + 1,
                      QuotedWord((*row)[i]), names[i].Text()));
    }
  }
}

// A name that no plan can have may be that of a variable.
void AddNameHints(HostSession& session, const FrameOptions& frame, Lines* problems) {
  const auto isOfName = [](const std::string& line) { return line.find(" is no valid name") != line.npos; };
  if (!HasFrame(frame) || std::none_of(problems->begin(), problems->end(), isOfName)) return;
  OpenFrame(session, frame);
  const Lines hints = HintsOnNames(*session.Layer<ActiveFile>().SharedDictionary(), *problems);
  problems->insert(problems->end(), hints.begin(), hints.end());
}

// Opens the frame and looks up all names that it must have.
void CheckNames(HostSession& session, const DesignRequest& request, const AllocationWords& words,
                PlanDesign* design) {
  if (!ClaimFrame(session, request.frame)) return;
  OpenFrame(session, request.frame);
  const ActiveFile& file = session.Layer<ActiveFile>();
  const Dictionary& dictionary = *session.Layer<ActiveFile>().SharedDictionary();
  std::vector<KorvVarName> names = FrameVariablesOf(design->reading.plan);
  if (!words.variable.empty()) names.emplace_back(words.variable);
  for (const KorvVarName& name : names) {
    if (dictionary.Find(name.Text()) < 0)
      design->reading.problems.push_back(NoVariable(file.Name(), dictionary, name.Text()));
  }
  if (design->reading.problems.empty())
    CheckCategories(dictionary, design->reading.plan, &design->reading.problems);
}

// Completes the words by the stage, and checks that they fit it. The sizes of an allocation are those of whole
// strata, so the table needs all of their variables.
std::string FitToStage(const SVPlanStageSpecs& stage, AllocationWords* words) {
  Lines strata;
  for (const KorvVarName& name : stage.strataVariables) strata.push_back(name.Text());
  if (strata.empty()) return "the first stage has no strata to allocate over";
  if (words->by.empty()) words->by = strata;
  const auto sorted = [](Lines names) {
    for (std::string& name : names) name = GetUpperVarName(name);
    std::sort(names.begin(), names.end());
    return names;
  };
  if (sorted(words->by) == sorted(strata)) return "";
  std::string list;
  for (const std::string& name : strata) list += (list.empty() ? "" : ",") + name;
  return fmt::format("by needs the strata of the first stage: by={}", list);
}

// REQUIRES: the frame is open, and has the variables.
StratumCounts CountFrame(ActiveFile& file, const SVPlanStageSpecs& stage, const AllocationWords& words,
                         Lines* problems) {
  const Dictionary& dictionary = *file.SharedDictionary();
  StratumColumns columns;
  for (const std::string& name : words.by) columns.strata.push_back(dictionary.Find(name));
  for (const KorvVarName& name : stage.clusterVariables)
    columns.clusters.push_back(dictionary.Find(name.Text()));
  if (!words.variable.empty()) {
    columns.variable = dictionary.Find(words.variable);
    if (dictionary.variables[static_cast<std::size_t>(columns.variable)].GetType() != 0) {
      problems->push_back(fmt::format("{} isn't numeric in {}", words.variable, file.Name()));
      return {};
    }
  }
  return CountStrata(file.Engine(), dictionary, columns);
}

void AllocateFirstStage(HostSession& session, const DesignRequest& request, const AllocationWords& words,
                        PlanDesign* design) {
  PlanReading& reading = design->reading;
  SVPlanStageSpecs& stage = reading.plan.stages.front();
  const bool hasFrame = HasFrame(request.frame);
  StratumCounts counts;
  if (hasFrame) counts = CountFrame(session.Layer<ActiveFile>(), stage, words, &reading.problems);
  if (!reading.problems.empty()) return;
  const bool isWithReplacement = MethodOfType(stage.type).withReplacement;
  const Dictionary* const dictionary =
      hasFrame ? session.Layer<ActiveFile>().SharedDictionary().get() : nullptr;
  design->allocation = PlanAllocation(words, dictionary, hasFrame ? &counts : nullptr, isWithReplacement);
  design->variable = words.variable;
  const auto add = [](const Lines& lines, Lines* to) {
    for (const std::string& line : lines) to->push_back("--allocate: " + line);
  };
  add(design->allocation.problems, &reading.problems);
  if (counts.leftOut > 0) {
    design->remarks.push_back(
        fmt::format("--allocate: {} of the frame {} left out, since a stratum or cluster is missing",
                    counts.leftOut == 1 ? "1 case" : fmt::format("{} cases", counts.leftOut),
                    counts.leftOut == 1 ? "is" : "are"));
  }
  constexpr std::size_t kMostRemarks = 10;
  Lines remarks = design->allocation.remarks;
  if (remarks.size() > kMostRemarks) {
    const std::size_t further = remarks.size() - kMostRemarks;
    remarks.resize(kMostRemarks);
    remarks.push_back(fmt::format("... and {} more remarks", further));
  }
  add(remarks, &design->remarks);
  if (reading.problems.empty()) SetSizes(design->allocation, &stage);
}

void ReadAllocation(const DesignRequest& request, const SVPlanStageSpecs& stage, AllocationWords* words,
                    Lines* problems) {
  std::string problem = ReadAllocationWords(request.allocate, words);
  if (problem.empty()) problem = FitToStage(stage, words);
  if (problem.empty() && HasFrame(request.frame) == words->Has("units")) {
    problem = HasFrame(request.frame) ? "units has no effect: they are counted in the frame"
                                      : "the units of the strata are needed: --data FRAME, or units=FILE";
  }
  if (!problem.empty()) problems->push_back("--allocate: " + problem);
}

}  // namespace

PlanDesign DesignPlan(HostSession& session, const DesignRequest& request) {
  PlanDesign design;
  PlanReading& reading = design.reading;
  const auto make = [&] {
    session.Layer<OutputDocument>().SetProcedure("SVSelect");
    ReadWords(request, &reading.plan, &reading.problems);
    AllocationWords words;
    const bool allocates = !request.allocate.empty() && reading.problems.empty();
    if (allocates) ReadAllocation(request, reading.plan.stages.front(), &words, &reading.problems);
    if (!reading.problems.empty()) return AddNameHints(session, request.frame, &reading.problems);
    if (HasFrame(request.frame)) CheckNames(session, request, words, &design);
    if (ErrorRaised() || !reading.problems.empty()) return;
    if (allocates) AllocateFirstStage(session, request, words, &design);
  };
  reading.status = GuardInspection(make, &reading.problems);
  reading.isRead = reading.problems.empty();
  if (reading.status == RunStatus::kOk && (ErrorRaised() || !reading.problems.empty()))
    reading.status = RunStatus::kError;
  return design;
}
