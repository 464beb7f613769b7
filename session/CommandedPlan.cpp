#include "session/CommandedPlan.h"

#include <string>
#include <vector>

#include "backend/svcommon/PlanSource.h"
#include "backend/svcommon/design/MethodTable.h"
#include "host/command/CommandSpec.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/command/UniversalParser.h"
#include "host/files/CheckFileRef.h"
#include "host/numeric/Fuzzy.h"

// The command is read with the generic parser and the plan with the plan reader, both without the checks of
// the procedure: these have passed, or the run ended there.

namespace {

// Null if the command doesn't have that parameter.
const ParamObj* FindParameter(const CommandSpec& command, const char* subcommand, const char* name) {
  for (std::size_t i = 0; i < command.getSubComListSize(); ++i) {
    const SubComObj& candidate = *command.getSubComObj(i);
    if (candidate.getSubComName() != subcommand) continue;
    for (std::size_t k = 0; k < candidate.getParamListSize(); ++k) {
      if (candidate.getParamObj(k)->getParamName() == name) return candidate.getParamObj(k);
    }
  }
  return nullptr;
}

// False if the command has a syntax error.
bool ReadCommand(CommandSpec* command) {
  const KORV_TokenSequence tokens(true);
  return UniversalParser(tokens, *command).getCommandSpecifications() == 0;
}

// The path of the plan file as the procedure resolves it; empty if the command names none.
std::string PlanPath(const CommandSpec& command) {
  const ParamObj* const file = FindParameter(command, "PLAN", "FILE");
  std::string name;
  if (file == nullptr) return name;
  const bool isGeneric = file->getStringGeneric(name);
  if (!isGeneric && !file->getLiteral(name)) return name;
  return CheckFileRef(name, isGeneric, false).Name();
}

// Stages are listed in order, and all are drawn if there is no list.
std::vector<int> DrawnStages(const CommandSpec& command, int stagesOfPlan) {
  const ParamObj* const list = FindParameter(command, "CRITERIA", "STAGES");
  std::vector<double> numbers;
  std::vector<int> stages;
  if (list == nullptr || !list->getNumberList(numbers)) {
    for (int stage = 1; stage <= stagesOfPlan; ++stage) stages.push_back(stage);
  }
  for (const double number : numbers) stages.push_back(TruncateToInt32(number));
  return stages;
}

// The method of the first stage; kNoMethod when the command doesn't draw that.
const SVMethod& FirstMethod(const CommandedPlan& commanded) {
  const std::vector<int>& drawn = commanded.stages;
  if (drawn.empty() || drawn.front() != 1 || commanded.plan.stages.empty()) return kNoMethod;
  return MethodOfType(commanded.plan.stages.front().type);
}

}  // namespace

bool NamesJointFile() {
  CommandSpec command;
  return ReadCommand(&command) && FindParameter(command, "JOINTPROB", "OUTFILE") != nullptr;
}

std::optional<CommandedPlan> ReadCommandedPlan() {
  CommandSpec command;
  if (!ReadCommand(&command)) return std::nullopt;
  CommandedPlan commanded;
  commanded.path = PlanPath(command);
  if (OpenPlan(commanded.path, &commanded.plan)->readSamplePlan(commanded.path) != 0) return std::nullopt;
  commanded.stages = DrawnStages(command, commanded.plan.numStages());
  return commanded;
}

std::optional<std::string> CommandedPlanFile() {
  CommandSpec command;
  if (!ReadCommand(&command)) return std::nullopt;
  std::string path = PlanPath(command);
  return path.empty() ? std::nullopt : std::optional(std::move(path));
}

std::string EndlessDrawAdvice(const CommandedPlan& commanded) {
  const SVMethod& method = FirstMethod(commanded);
  if (!method.mayDrawForever) return "";
  return MethodName(method) +
         " draws anew until no unit comes up twice, which with many units a stratum may never be; "
         "--exact-design draws them at once";
}
