#include "session/RunSurvey.h"

#include <algorithm>
#include <string>
#include <utility>

#include "backend/svselect/results/SummaryTableKind.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/engine/ActiveFile.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/environment/MCStopProcessor.h"
#include "host/files/FileWriter.h"
#include "host/files/ReadableFile.h"
#include "host/files/SessionFiles.h"
#include "host/files/TemporaryFile.h"
#include "host/files/UserCaseFileSpec.h"
#include "host/output/OutputDocument.h"
#include "host/write/SaveActiveFile.h"
#include "session/EarlierSample.h"
#include "session/FileClaims.h"
#include "session/ProcedureLibrary.h"
#include "session/RunFacts.h"
#include "session/RunReport.h"
#include "session/RunReview.h"

// The road of a run:
//
//   ClaimFrame, ClaimOwnFiles   no output may go to a file that is read, or to one twice
//   TakeCommand, OpenRunFrame   the session now has what the procedure fetches from it
//   Draw                        the procedure; all of its files are temporary still
//   SaveFrame                   the last file that holds data
//   Review                      reads back what was written
//   CompleteOutcome             remarks, files, facts
//   Commit                      the reports; then all files take their places, or all are removed
//   WriteReportFile             after a failure: the reports tell of it
//
// The procedure returns nothing and knows nothing of this: it issues messages, raises the host's error flag
// and leaves its results in the session. So a run counts as good if no error was raised, the last pass over
// the cases was reached, and every file that was asked for is there.

namespace {

// One run from the claims to the reports. Single use: construct, Run(), discard. The outcome is filled as the
// run goes on, so that it describes what is known even if an exception ends the run.
class SurveyRun {
public:
  SurveyRun(HostSession& session, const RunRequest& request, const RunSinks& sinks, SurveyOutcome* outcome)
      : fSession(session), fRequest(request), fSinks(sinks), fpOutcome(outcome) {}

  // An exception in the work is reported like any other error: remarks and reports still follow. One after
  // it, or from the document itself, leaves through RunSurvey().
  void Run() {
    OutputDocument& document = fSession.Layer<OutputDocument>();
    document.SetProcedure("SVSelect");
    fpOutcome->document = &document;
    try {
      Work();
    } catch (...) {
      Fail(CaughtException());
      fpOutcome->status = StopRequested() ? RunStatus::kCancelled : RunStatus::kError;
    }
    if (fbCommitted) return;
    fSession.Layer<SessionFiles>().DiscardFiles();
    if (fpOutcome->status == RunStatus::kCancelled) document.DropErrors();
    CompleteOutcome();
    for (const std::string& report : fvReports) WriteReportFile(report);
  }

private:
  // Sinks run on this thread, so that a caller needs no lock.
  void Begin(RunStep step) const {
    if (fSinks.stepBegins) fSinks.stepBegins(step);
  }

  // From the frame to the commit. A status other than kOk stays as it is decided here; kOk can become an
  // error up to the end of the commit, and kCancelled up to its begin.
  void Work() {
    Begin(RunStep::kReadFrame);
    if (Prepare() && !StopRequested()) {
      Begin(RunStep::kDraw);
      CountCases();
      TellReplaced();
      if (ReadsPlanAgain()) fvPlanStamps = StampsOfPlan();
      Draw();
    }
    Begin(RunStep::kWriteFiles);
    SaveFrame();
    if (HasDrawn(fSession) && !StopRequested() && !ErrorRaised()) Review();
    if (!fvReports.empty()) Begin(RunStep::kReport);
    fpOutcome->status = StatusNow();
    if (fpOutcome->status != RunStatus::kCancelled && !IsBroken()) Commit();
  }

  // The order matters: of two uses of one file the later is refused, and that is what the message names.
  bool Prepare() {
    return ClaimFrame(fSession, fRequest.frame) && ClaimOwnFiles() && TakeCommand() && OpenRunFrame();
  }

  // The reports and the saved frame. Tries all files even after one was refused, so that each has its
  // message.
  bool ClaimOwnFiles() {
    bool isGood = true;
    fvReports = ClaimReports(fSession, fRequest.reports, &isGood);
    if (fRequest.save.empty()) return isGood;
    fSave.Init(fRequest.save, true, true);
    const std::string& why = fSave.WhyNotWritten();
    return why.empty() ? isGood : Fail(fRequest.save + ": " + why);
  }

  // Messages about the command name its file, or the source that the caller gave.
  bool TakeCommand() {
    std::string text;
    if (!ReadCommandText(fSession, fRequest, &text)) return false;
    const std::string& file = fRequest.commandFile;
    fSession.Layer<SessionCommand>().SetCommand(std::move(text),
                                                file.empty() ? fRequest.commandSource : file);
    return true;
  }

  bool OpenRunFrame() {
    try {
      OpenFrame(fSession, fRequest.frame);
      AddFrameRemark(fSession);
      return true;
    } catch (const DataError& error) {
      return !StopRequested() && Fail(error.what());  // a stop request makes reading fail too
    }
  }

  void TellReplaced() {
    fReplaced = EarlierSampleRemark(fRequest);
    if (!fReplaced.empty() && fSinks.replaces) fSinks.replaces(fReplaced);
  }

  // For a progress display. Some kinds of file know their number of cases, others must be read for it.
  void CountCases() {
    if (!fSinks.frameCounted) return;
    std::int64_t cases = -1;
    try {
      cases = fSession.Layer<ActiveFile>().Engine().CountCases();
    } catch (const DataError&) {
      // Still unknown; the procedure meets the same fault and reports it.
    }
    fSinks.frameCounted(cases);
  }

  // Errors of the procedure are in the session's messages; what is added here are failures to run it at all.
  static void Draw() {
    if (const std::string failure = RunProcedure(); !failure.empty()) Fail(failure);
  }

  // Written only after a draw that succeeded.
  void SaveFrame() {
    if (!ErrorRaised() && fSave.IsValid() && HasDrawn(fSession)) SaveActiveFile(fSave);
  }

  // Whether the run keeps no file.
  bool IsBroken() const {
    return ErrorRaised() || !HasDrawn(fSession) || fSession.Layer<SessionFiles>().IsBroken();
  }

  // What the run comes to if the commit succeeds.
  RunStatus StatusNow() const {
    if (StopRequested()) return RunStatus::kCancelled;
    return IsBroken() || !MissingFiles(fSession).empty() ? RunStatus::kError : RunStatus::kOk;
  }

  // Composes the reports as they are right after the commit, writes them, and puts all files of the run in
  // their places. A stop request counts up to the moment before that.
  void Commit() {
    CompleteOutcome();
    SessionFiles& files = fSession.Layer<SessionFiles>();
    for (const std::string& report : fvReports) AddReport(report);
    CheckPlan();
    if (StopRequested()) {
      fpOutcome->status = RunStatus::kCancelled;
    } else if (!ErrorRaised() && files.CommitFiles()) {
      fbCommitted = true;
    } else {
      fpOutcome->status = RunStatus::kError;
    }
  }

  // Reports and final weights take the names of variables, the text and the checksum from the plan.
  bool ReadsPlanAgain() const { return !fvReports.empty() || fRequest.summarizeWeights; }

  // Whatever was read again must be the plan of the draw.
  void CheckPlan() const {
    for (const FileStamp& stamp : fvPlanStamps) {
      if (!stamp.IsSame()) Fail(stamp.path + ": the file was changed during the run");
    }
  }

  // Final weights are summed only when somebody will see them: that reads the sample once more. What can't be
  // read back may not be what was drawn, so that a failure is one of the run.
  void Review() {
    Begin(RunStep::kReview);
    const bool isForPeople = std::any_of(fvReports.begin(), fvReports.end(), [](const std::string& report) {
      return KindOfReport(report) != ReportKind::kJson;
    });
    if (!isForPeople && !fRequest.summarizeWeights) return;
    try {
      fpOutcome->weights = ReviewWeights(fSession);
    } catch (const DataError& error) {
      if (!StopRequested()) Fail(error.what());
    }
  }

  // For a run that is going to commit its files, or again for one that has failed.
  void CompleteOutcome() {
    DropResults();
    fpOutcome->files.clear();
    for (const OutputFile* file : fSession.Layer<SessionFiles>().FinishedFiles()) {
      fpOutcome->files.push_back({RoleName(file->role), file->path, file->cases});
    }
    fpOutcome->remarks = RemarksOnRun(fSession, fRequest, fpOutcome->status);
    if (!fReplaced.empty() && fpOutcome->status == RunStatus::kOk) fpOutcome->remarks.push_back(fReplaced);
    // Only a report shows what is in the files, and only that of a draw needs it.
    const bool needsContents = !fvReports.empty() && fpOutcome->status == RunStatus::kOk;
    fpOutcome->facts =
        needsContents ? FactsOfDraw(fSession, fRequest, fFrameStamp) : FactsOf(fSession, fRequest);
  }

  // Of a run that keeps no file, the numbers of units drawn and their weights would look like those of a
  // sample.
  void DropResults() const {
    if (fpOutcome->status == RunStatus::kOk || !fSession.Layer<SessionFiles>().FinishedFiles().empty())
      return;
    fSession.Layer<OutputDocument>().DropTables(SummaryTableKind::kKind);
    fpOutcome->weights.reset();
  }

  // Makes a report one of the files of the run. A failure breaks the run, after a message.
  void AddReport(const std::string& path) const {
    if (ErrorRaised()) return;
    SessionFiles& files = fSession.Layer<SessionFiles>();
    OutputFile* file = nullptr;
    try {
      file = files.Start(FileRole::kReport, path, path);
      FileWriter writer;
      const bool isWritten = writer.Open(file->parts.back()->TemporaryPath()) &&
                             writer.Write(ReportText(fSession, path, *fpOutcome));
      if (!writer.Close() || !isWritten) throw CannotWrite(path, writer.Reason());
      files.Finish(file);
    } catch (const DataError& error) {
      Fail(error.what());
      if (file != nullptr) files.Abandon(file);
    }
  }

  // For a run that keeps no files. Written under a temporary name: a report is whole or the old one stays.
  void WriteReportFile(const std::string& path) {
    std::string why;
    if (WriteWholeFile(path, ReportText(fSession, path, *fpOutcome), &why)) return;
    std::vector<std::string>& problems = fpOutcome->reportProblems;
    const std::string end = " can't be written: " + why;
    const auto same = std::find_if(problems.begin(), problems.end(),
                                   [&](const std::string& problem) { return problem.ends_with(end); });
    if (same == problems.end()) {
      problems.push_back("the report " + path + end);
    } else {
      same->insert(same->size() - end.size(), " and " + path);
    }
  }

  HostSession& fSession;
  const RunRequest& fRequest;
  const RunSinks& fSinks;
  SurveyOutcome* fpOutcome;  // borrowed

  FileStamp fFrameStamp = StampOfFrame(fRequest.frame.path);  // before it is opened
  std::vector<FileStamp> fvPlanStamps;                        // of the plan and its tables, before the draw
  std::string fReplaced;                                      // see TellReplaced(); mostly empty
  std::vector<std::string> fvReports;                         // those of the request that can be written
  UserCaseFileSpec fSave{FileRole::kSaved};
  bool fbCommitted = false;
};

}  // namespace

SurveyOutcome RunSurvey(HostSession& session, const RunRequest& request, const RunSinks& sinks) noexcept {
  SurveyOutcome outcome;
  try {
    SurveyRun(session, request, sinks, &outcome).Run();
  } catch (...) {
    outcome.status = RunStatus::kError;
    try {
      Fail(CaughtException());
    } catch (...) {
      // No memory for the message either: the status has to do.
    }
  }
  return outcome;
}

// Claims the file, so that no output can replace the command while it runs. UTF-16 is what some editors save
// by default; without this test the message would be about its first odd character.
bool ReadCommandText(HostSession& session, const RunRequest& request, std::string* text) {
  const std::string& file = request.commandFile;
  if (file.empty()) {
    *text = request.command;
    return true;
  }
  const FileFlags flags = session.Layer<SessionFiles>().Claims().ClaimForReading(FileRole::kCommand, file);
  if (!flags.CanBeRead()) return Fail(file + ": " + flags.why);
  std::string why;
  if (!ReadWholeFile(file, text, &why)) return Fail(file + ": " + why);
  const bool isUtf16 = text->starts_with("\xFF\xFE") || text->starts_with("\xFE\xFF");
  return !isUtf16 || Fail(file + ": the command file is in UTF-16, expected UTF-8");
}
