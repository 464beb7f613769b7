#include "cli/RunCommand.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <optional>
#include <sstream>

#include "cli/CommandText.h"
#include "cli/CommandedPlan.h"
#include "cli/InputFiles.h"
#include "cli/ProcedureLibrary.h"
#include "cli/ProgressLine.h"
#include "cli/ReportKind.h"
#include "cli/RunFacts.h"
#include "cli/Terminal.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/engine/CaseProgress.h"
#include "host/environment/HostErrors.h"
#include "host/environment/MCStopProcessor.h"
#include "host/files/ReadableFile.h"
#include "host/files/SessionFiles.h"
#include "host/files/TemporaryFile.h"
#include "host/files/UserCaseFileSpec.h"
#include "host/output/OutputDocument.h"
#include "host/output/RunOutcome.h"
#include "host/render/HtmlReport.h"
#include "host/render/JsonReport.h"
#include "host/render/TextRenderer.h"
#include "host/write/SaveActiveFile.h"
#include "report/FinalWeights.h"
#include "report/SurveyPage.h"

namespace {

// The text of the command, from wherever the options have it. False when its file can't be read.
bool ReadCommand(const RunOptions& options, std::string* text) {
  if (options.commandFile.empty()) {
    *text = options.command.empty() ? CommandText(options.parts) : options.command;
    return true;
  }
  const FileFlags flags =
      SessionFiles::Current().Claims().ClaimForReading(FileRole::kCommand, options.commandFile);
  if (!flags.CanBeRead()) return Fail(options.commandFile + ": " + flags.why);
  std::string why;
  if (!ReadWholeFile(options.commandFile, text, &why)) return Fail(options.commandFile + ": " + why);
  const bool isUtf16 = text->starts_with("\xFF\xFE") || text->starts_with("\xFE\xFF");
  return !isUtf16 || Fail(options.commandFile + ": the command file is in UTF-16, expected UTF-8");
}

bool TakeCommand(const RunOptions& options) {
  std::string text;
  if (!ReadCommand(options, &text)) return false;
  const std::string source = options.commandFile.empty() ? "Command" : options.commandFile;
  HostSession::Current().Layer<SessionCommand>().SetCommand(std::move(text), source);
  return true;
}

// What the program itself writes.
struct OwnFiles {
  std::vector<std::string> reports;
  UserCaseFileSpec save{FileRole::kSaved};
};

// Claims these, so that no output of the procedure goes there. The reports that can be written are in `own`.
bool ClaimOwnFiles(const RunOptions& options, OwnFiles* own) {
  bool isGood = true;
  for (const std::string& report : options.reports) {
    int number = PathClaims::kNone;
    const FileFlags flags =
        SessionFiles::Current().Claims().ClaimForWriting(FileRole::kReport, report, report, &number);
    if (flags.CanBeWritten()) {
      own->reports.push_back(report);
    } else {
      isGood = Fail(report + ": " + flags.why);
    }
  }
  if (options.save.empty()) return isGood;
  own->save.Init(options.save, true, true);
  const std::string& why = own->save.WhyNotWritten();
  return why.empty() ? isGood : Fail(options.save + ": " + why);
}

bool OpenRunFrame(const FrameOptions& frame) {
  try {
    OpenFrame(HostSession::Current(), frame);
    return true;
  } catch (const DataError& error) {
    return !StopRequested() && Fail(error.what());  // what a stop request breaks off has no fault to tell
  }
}

// Runs the procedure on the session's frame and command. False when it couldn't be run.
bool CallProcedure() {
  std::string why;
  const ProcedureEntry entry = LoadProcedure(&why);
  if (entry == nullptr) return Fail("the procedure can't be loaded: " + why);
  try {
    entry();
    return true;
  } catch (const std::bad_alloc&) {
    return Fail("out of memory");
  } catch (const std::exception& error) {
    return Fail(std::string("the procedure failed: ") + error.what());
  }
}

// Whether the run came to the point of writing its sample: the last pass over the cases has begun.
bool HasDrawn() {
  return HostSession::Current().Layer<CaseProgress>().Get().isLast;
}

// The files that were asked for and haven't come into being.
std::vector<std::string> MissingFiles() {
  std::vector<std::string> missing;
  for (const PathClaims::Output& output : SessionFiles::Current().MissingFiles()) {
    if (output.role != FileRole::kJoint || NamesJointFile()) missing.push_back(output.path);
  }
  return missing;
}

// Puts the files of the run in their places, or removes them. Gives the status of the run.
std::string SettleFiles(const UserCaseFileSpec& save) {
  if (!ErrorRaised() && save.IsValid() && HasDrawn()) SaveActiveFile(save);
  if (StopRequested()) {
    DiscardFiles();
    return "cancelled";
  }
  if (ErrorRaised() || !HasDrawn() || !CommitFiles()) {
    DiscardFiles();
    return "error";
  }
  return MissingFiles().empty() ? "ok" : "error";
}

bool IsHtml(const std::string& path) {
  return KindOfReport(path) == ReportKind::kHtml;
}

// What is found out about a sample beyond the output of its run.
struct Findings {
  std::vector<std::string> lines;  // for the person at the terminal
  std::optional<FinalWeights> weights;
};

Findings LookBack(const RunOptions& options, const OwnFiles& own) {
  Findings findings;
  const std::optional<CommandedPlan> commanded = ReadCommandedPlan();
  if (!commanded) return findings;
  findings.lines = commanded->misreadNumbers;
  try {
    const std::string advice = options.settings.exactDesign ? "" : ExactDesignAdvice(*commanded);
    if (!advice.empty()) findings.lines.push_back(advice);
    if (std::any_of(own.reports.begin(), own.reports.end(), IsHtml)) {
      findings.weights = ReadFinalWeights(commanded->plan.weight.Text());
    }
  } catch (const DataError& error) {
    if (!StopRequested()) findings.lines.emplace_back(error.what());
  }
  return findings;
}

using Lines = std::vector<std::string>;

// Why files that the command names can't be used: the messages of the procedure say no more than that.
void AddRefusals(Lines* remarks) {
  for (const PathClaims::Refusal& refusal : SessionFiles::Current().Claims().Refusals()) {
    const bool isOfCommand = refusal.role == FileRole::kPlan || refusal.role == FileRole::kSample ||
                             refusal.role == FileRole::kJoint || refusal.role == FileRole::kRule;
    if (isOfCommand) remarks->push_back(refusal.path + ": " + refusal.why);
  }
}

// What a run that ended without an error has to say beyond its messages.
void AddAdvice(const RunOptions& options, const std::string& status, Lines* remarks) {
  if (ErrorRaised()) return;
  if (!HasDrawn() && status == "error") {
    const bool hasRead = HostSession::Current().Layer<CaseProgress>().Get().pass > 0;
    remarks->emplace_back(
        hasRead
            ? "nothing was drawn: a case has a size that isn't a whole number up to 2147483647, or a rate "
              "that isn't above 0"
            : "nothing was drawn: the plan names no final weight, or its design can't be run (a stage "
              "without size, rate or clusters, or stages out of order)");
  }
  if (HasDrawn() && status == "error") {
    if (SessionFiles::Current().IsBroken()) {
      remarks->emplace_back("no file of the run was kept");
    } else {
      for (const std::string& missing : MissingFiles()) {
        remarks->push_back(missing + ": the file didn't come into being");
      }
    }
  }
  const auto& files = SessionFiles::Current().CommittedFiles();
  const bool isKept = std::any_of(files.begin(), files.end(), [](const OutputFile& file) {
    return file.role == FileRole::kSample || file.role == FileRole::kSaved;
  });
  if (status == "ok" && !isKept && options.save.empty()) {
    remarks->emplace_back("the draw isn't kept: name a file with --sample (SAMPLEFILE) or --save");
  }
}

// To whom has interrupted a draw that may never have ended.
void AddEndlessDraw(const RunOptions& options, Lines* remarks) {
  const bool hasRead = HostSession::Current().Layer<CaseProgress>().Get().pass > 0;
  if (!hasRead || HasDrawn() || options.settings.exactDesign) return;
  const std::optional<CommandedPlan> commanded = ReadCommandedPlan();
  const std::string advice = commanded ? EndlessDrawAdvice(*commanded) : "";
  if (!advice.empty()) remarks->push_back(advice);
}

RunOutcome OutcomeOf(const RunOptions& options, const std::string& status, const Findings& findings) {
  RunOutcome outcome{status, {}};
  for (const OutputFile& file : SessionFiles::Current().CommittedFiles()) {
    outcome.files.push_back({RoleName(file.role), file.path, file.cases});
  }
  if (status == "cancelled") {
    AddEndlessDraw(options, &outcome.remarks);
  } else {
    AddRefusals(&outcome.remarks);
    AddAdvice(options, status, &outcome.remarks);
  }
  outcome.remarks.insert(outcome.remarks.end(), findings.lines.begin(), findings.lines.end());
  outcome.facts = FactsOf(options);
  return outcome;
}

// On standard error.
void TellOutcome(const RunOutcome& outcome) {
  if (outcome.status == "cancelled") {
    TellProblem("interrupted; no sample was written");
  } else {
    TellMessages();
  }
  for (const std::string& remark : outcome.remarks) TellProblem(remark);
}

bool WriteReport(const std::string& path, const RunOutcome& outcome, const Findings& findings) {
  std::ostringstream text;
  const OutputDocument& document = OutputDocument::Current();
  if (KindOfReport(path) == ReportKind::kJson) {
    WriteJsonReport(document, outcome, text);
  } else if (IsHtml(path)) {
    WriteHtmlReport(document, outcome, SurveyAdditions(findings.weights ? &*findings.weights : nullptr),
                    text);
  } else {
    WriteTextReport(document, outcome, text);
  }
  std::string why;
  if (WriteWholeFile(path, text.view(), &why)) return true;
  TellProblem("the report " + path + " can't be written: " + why);
  return false;
}

// Makes a count of the cases for who watches the run, which costs a look into the file.
std::int64_t CasesToPass() {
  try {
    return ActiveFile::Current().Engine().CountCases();
  } catch (const DataError&) {
    return -1;  // the run itself will tell what is wrong
  }
}

}  // namespace

int ExplainCommand(const RunOptions& options) {
  HostSession session;
  OpenDocument();
  std::string text;
  const bool isGood = ReadCommand(options, &text);
  TellMessages();
  if (isGood) std::cout << text << '\n';
  return FinishOutput() && isGood ? kExitOk : kExitError;
}

int RunSample(const RunOptions& options) {
  HostSession session(options.settings);
  OpenDocument();
  CatchInterrupts();
  ProgressLine progress(options.progress,
                        "reading " + (options.frame.path.empty() ? "the query" : options.frame.path),
                        session.Layer<CaseProgress>());
  OwnFiles own;
  const bool isReady = ClaimFrame(options.frame) && ClaimOwnFiles(options, &own) && TakeCommand(options) &&
                       OpenRunFrame(options.frame);
  if (isReady && !StopRequested()) {
    if (progress.IsOn()) progress.ShowPasses(CasesToPass());
    CallProcedure();
  }
  progress.ShowTask(options.save.empty() ? "finishing the files" : "saving " + options.save);
  const std::string status = SettleFiles(own.save);
  progress.ShowTask("looking back on the sample");
  const bool hasSample = status != "cancelled" && HasDrawn() && !ErrorRaised();
  const Findings findings = hasSample ? LookBack(options, own) : Findings();
  progress.Stop();

  if (status == "cancelled") OutputDocument::Current().DropErrors();
  const RunOutcome outcome = OutcomeOf(options, status, findings);
  TellOutcome(outcome);
  if (!options.quiet) RenderText(OutputDocument::Current(), TerminalWidth(STDOUT_FILENO), std::cout);
  bool isTold = FinishOutput();
  for (const std::string& report : own.reports) isTold = WriteReport(report, outcome, findings) && isTold;
  if (status == "cancelled") return kExitInterrupted;
  return status == "ok" && isTold ? kExitOk : kExitError;
}
