#include "backend/svselect/command/SVSParser.h"

#include "backend/svcommon/PlanReadErrors.h"
#include "backend/svcommon/PlanSource.h"
#include "backend/svcommon/SVPlanSpecs.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "host/command/CommandSpec.h"
#include "host/command/UniversalParser.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/HostSession.h"
#include "host/output/BpProcedure.h"
#include "host/text/VariableNames.h"

// The order of things: command, plan, files, host settings. See the header for the grammar.

SVSParser::SVSParser(const KORV_TokenSequence& commandTokens, SVSValidSpecs* validSpecs,
                     KORV_DataSource* source)
    : tokens(commandTokens), specs(validSpecs), dataSource(source) {}

SVSParser::~SVSParser() = default;

// The plan's records live only inside this function: what the run needs of them has been translated by then.
bool SVSParser::Parse() {
  currentStage = 0;
  messages.SetCommandName("SVSELECT");
  messages.SetProcedureTitle("SVSelect");
  if (!ReadCommand()) return false;

  // `plan` must not outlast planSpecs, whichever way the steps below end; hence the lambda.
  SVPlanSpecs planSpecs;
  plan = &planSpecs;
  const bool isGood = [&] {
    const std::unique_ptr<PlanSource> source = OpenPlan(planFile, plan);
    planReader = source.get();
    PlanSource& reader = *source;
    const int code = reader.readSamplePlan(planFile);
    if (plan->isJson) specs->SetJsonPlan();
    Remark(reader.MisreadNumbers());
    Remark(reader.Contradictions());
    if (code != 0) {
      SV_XML::PlanReadErrors().report(code);
      Remark(reader.Faults());
      return false;
    }
    const bool isPlain = reader.MisreadNumbers().empty() && reader.Contradictions().empty();
    if (!isPlain && RefusesPlan()) return false;
    if (!plan->isSampleMode()) {
      messages.NoPlanSpecifications();
      return false;
    }
    return ClaimTables() && CheckPlan() && CheckOutputFiles();
  }();
  plan = nullptr;
  planReader = nullptr;
  if (isGood) LeaveSplitAndWeight();
  return isGood;
}

void SVSParser::Remark(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) BpRemark(line);
}

// Whether the run ends here with an error, which a strict run does after a remark that the plan can be misread
// or contradicts itself.
bool SVSParser::RefusesPlan() {
  if (!specs->Strict()) return false;
  BpError(BpString("A strict run refuses a plan that can be misread or contradicts itself; see the remarks",
                   true),
          kShowInMessage, kErrorLevel);
  return true;
}

// A command that the generic parser can't cut up has been reported by it, with line and column.
bool SVSParser::ReadCommand() {
  CommandSpec command;
  if (UniversalParser(tokens, command).getCommandSpecifications() != 0) return false;
  const bool isGood = WalkSubcommands(command);
  currentSubcommand = nullptr;
  return isGood;
}

// A missing PLAN is reported after all other subcommands were read. SetSeed(-1) without a seed looks
// redundant: it is made for its effect, the seed from the clock. A seed that RANDOM asked for is therefore
// drawn twice.
bool SVSParser::WalkSubcommands(const CommandSpec& command) {
  const std::size_t count = command.getSubComListSize();
  if (count == 0) {
    messages.NoSubcommands();
    return false;
  }
  for (std::size_t i = 0; i < count; ++i) {
    currentSubcommand = command.getSubComObj(i);
    if (currentSubcommand == nullptr) {
      messages.NoSubcommandInformation();
      return false;
    }
    if (!ReadSubcommand(*currentSubcommand)) return false;
  }
  if (specs->SeedNotGiven()) specs->SetSeed(-1);
  if (seenPlan == 0) {
    messages.SubcommandRequired("PLAN");
    return false;
  }
  // Settings of the session, not of the command: none changes what a command means.
  if (const int threads = GETTHREADS(); threads != 0) specs->SetThreads(threads);
  specs->SetExactDesign(GETEXACTDESIGN());
  specs->SetStrict(GETSTRICT());
  specs->SetCheckOnly(GETCHECKONLY());
  return true;
}

// Parentheses around the parameters are refused, but only after the parameters were read: a fault in them is
// reported first.
bool SVSParser::ReadSubcommand(const SubComObj& subcommand) {
  const std::string& name = subcommand.getSubComName();
  if (name.empty()) {  // text before the first slash
    messages.InvalidSubComName("");
    return false;
  }
  if (subcommand.getParamListSize() == 0) {
    messages.SubcommandEmpty(name.c_str());
    return false;
  }
  if (!RunHandler(name)) return false;
  if (subcommand.areParenUsed()) {
    messages.ParenthesisNotAllowed(name.c_str());
    return false;
  }
  return true;
}

// Subcommands are matched by their full names; the host has put them in upper case. One that fails counts as
// seen too, which makes no difference, as the first failure ends the command.
bool SVSParser::RunHandler(const std::string& name) {
  // The counter and the reader of each subcommand.
  struct Handler {
    const char* name;
    std::int64_t SVSParser::*seen;
    bool (SVSParser::*read)();
  };
  static constexpr Handler kHandlers[] = {
      {"PLAN", &SVSParser::seenPlan, &SVSParser::ReadPlan},
      {"CRITERIA", &SVSParser::seenCriteria, &SVSParser::ReadCriteria},
      {"CLASSMISSING", &SVSParser::seenClassMissing, &SVSParser::ReadClassMissing},
      {"DATA", &SVSParser::seenData, &SVSParser::ReadData},
      {"SAMPLEFILE", &SVSParser::seenSampleFile, &SVSParser::ReadSampleFile},
      {"JOINTPROB", &SVSParser::seenJointProb, &SVSParser::ReadJointProb},
      {"SELECTRULE", &SVSParser::seenSelectRule, &SVSParser::ReadSelectRule},
      {"PRINT", &SVSParser::seenPrint, &SVSParser::ReadPrint},
  };
  for (const Handler& handler : kHandlers) {
    if (name != handler.name) continue;
    if (this->*handler.seen > 0) {
      messages.SubcommandRepeated(name.c_str());
      return false;
    }
    const bool isGood = (this->*handler.read)();
    ++(this->*handler.seen);
    return isGood;
  }
  messages.SubcommandUnknown(name.c_str());
  return false;
}

// Compares the names of the output files without regard to case, and as they were written: two spellings of
// one path are found by the claims on paths, not here.
bool SVSParser::CheckOutputFiles() {
  const std::string sample = GetUpperString(sampleFile);
  const std::string joint = GetUpperString(jointProbFile);
  const std::string rule = GetUpperString(selectRuleFile);
  if (!sample.empty() && sample == joint) {
    messages.FileUsedTwice(sampleFile.c_str(), "SAMPLEFILE", "JOINTPROB");
    return false;
  }
  if (!sample.empty() && sample == rule) {
    messages.FileUsedTwice(sampleFile.c_str(), "SAMPLEFILE", "SELECTRULE");
    return false;
  }
  if (!joint.empty() && joint == rule) {
    messages.FileUsedTwice(jointProbFile.c_str(), "JOINTPROB", "SELECTRULE");
    return false;
  }
  return true;
}

// A draw ignores split groups and case weights of the active file, and warns about it. SVSELECT() restores
// both settings after the run.
void SVSParser::LeaveSplitAndWeight() {
  CommonGlobalBlock& host = *pvGetCmnGlb();
  if (host.errorFlag != 0) return;
  if (host.splitCount > 0) {
    messages.NoSplitFile();
    host.splitCount = 0;
  }
  if (host.weightVariable > 0) {
    messages.NoWeight();
    host.weightVariable = 0;
  }
}

// A group is set only after the last subcommand was read.
const char* SVSParser::SubcommandForMessage() const {
  return messages.GetGroupIndex() < 0 && currentSubcommand != nullptr
             ? currentSubcommand->getSubComName().c_str()
             : nullptr;
}
