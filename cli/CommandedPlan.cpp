#include "cli/CommandedPlan.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "backend/svcommon/PlanXmlReader.h"
#include "backend/svcommon/design/MethodTable.h"
#include "host/command/CommandSpec.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/command/UniversalParser.h"
#include "host/engine/ActiveFile.h"
#include "host/files/CheckFileRef.h"

namespace {

// A parameter of a subcommand; null when the command hasn't got it.
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

bool ReadCommand(CommandSpec* command) {
  const KORV_TokenSequence tokens(true);
  return UniversalParser(tokens, *command).getCommandSpecifications() == 0;
}

std::string PlanPath(const CommandSpec& command) {
  const ParamObj* const file = FindParameter(command, "PLAN", "FILE");
  std::string name;
  if (file == nullptr) return name;
  const bool isGeneric = file->getStringGeneric(name);
  if (!isGeneric && !file->getLiteral(name)) return name;
  return CheckFileRef(name, isGeneric, false).Name();
}

bool DrawsFirstStage(const CommandSpec& command) {
  const ParamObj* const stages = FindParameter(command, "CRITERIA", "STAGES");
  std::vector<double> numbers;
  return stages == nullptr || !stages->getNumberList(numbers) || numbers.front() == 1.0;
}

bool HasFraction(double number) {
  return number > 0.0 && std::trunc(number) != number;
}

// The bounds of the measure of size can bring fractions in as well.
bool MeasureHasFractions(const SVPlanSpecs& plan) {
  if (plan.mosVariable.IsEmpty()) return false;  // it counts cases, and isn't bounded
  if (HasFraction(plan.mosMin) || HasFraction(plan.mosMax)) return true;
  ActiveFile& file = ActiveFile::Current();
  const int column = file.SharedDictionary()->Find(plan.mosVariable.Text());
  if (column < 0 || column >= file.ServedColumns()) return false;
  const std::unique_ptr<CaseCursor> cursor = file.Engine().Open({column}, 0);
  while (const std::size_t rows = cursor->NextBlock()) {
    const double* const sizes = cursor->Numbers(0);
    if (std::any_of(sizes, sizes + rows, HasFraction)) return true;
  }
  return false;
}

// The method of the first stage; kNoMethod when the command doesn't draw that.
const SVMethod& FirstMethod(const CommandedPlan& commanded) {
  if (!commanded.drawsFirstStage || commanded.plan.stages.empty()) return kNoMethod;
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
  SV_XML::PlanXmlReader reader(&commanded.plan);
  const std::string path = PlanPath(command);
  if (reader.readSamplePlan(path) != 0) return std::nullopt;
  for (const std::string& misread : reader.MisreadNumbers()) {
    commanded.misreadNumbers.push_back(fmt::format("{}: {}", path, misread));
  }
  commanded.drawsFirstStage = DrawsFirstStage(command);
  return commanded;
}

std::string ExactDesignAdvice(const CommandedPlan& commanded) {
  const SVMethod& method = FirstMethod(commanded);
  if (method.statedProbs == StatedProbs::kMet) return "";
  const bool onlyByFractions = method.statedProbs == StatedProbs::kMetByWholeSizes;
  if (onlyByFractions && !MeasureHasFractions(commanded.plan)) return "";
  return MethodName(method) + " comes only near the probabilities that it states" +
         (onlyByFractions ? ", since the measure of size has fractions" : "") +
         "; --exact-design draws with exactly these";
}

std::string EndlessDrawAdvice(const CommandedPlan& commanded) {
  const SVMethod& method = FirstMethod(commanded);
  if (!method.mayDrawForever) return "";
  return MethodName(method) +
         " draws anew until no unit comes up twice, which with many units a stratum may never be; "
         "--exact-design draws them at once";
}
