#include "session/MemorySurvey.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <utility>

#include "host/engine/ActiveFile.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/environment/MCStopProcessor.h"
#include "host/files/FileWriter.h"
#include "host/files/SessionFiles.h"
#include "host/files/TemporaryFolder.h"
#include "host/files/UserCaseFileSpec.h"
#include "host/output/OutputDocument.h"
#include "host/text/WrittenText.h"
#include "host/write/MemoryTables.h"
#include "session/DrawOptions.h"
#include "session/Inspect.h"
#include "session/PreviewPlan.h"
#include "session/ProcedureLibrary.h"
#include "session/RunReport.h"
#include "session/RunReview.h"

namespace {

using Json = nlohmann::ordered_json;

std::string TextOf(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// The plan of a caller as a file, which is what a procedure reads. It is in a private folder that goes with the
// object. In messages it is called "plan".
class PlanFile {
public:
  explicit PlanFile(const std::string& text) : fPath(fFolder.Path() + "/" + kName) {
    FileWriter writer;
    const bool isWritten = writer.Open(fPath) && writer.Write(text);
    if (!writer.Close() || !isWritten) throw CannotWrite(fPath, writer.Reason());
  }

  const std::string& Path() const { return fPath; }

  std::string Renamed(std::string text) const {
    const std::string escaped = TextOf(fPath);  // as it is within JSON
    for (const std::string& path : {fPath, escaped.substr(1, escaped.size() - 2)}) {
      for (std::size_t at = text.find(path); at != std::string::npos; at = text.find(path, at)) {
        text.replace(at, path.size(), kName);
      }
    }
    return text;
  }

private:
  static constexpr const char* kName = "plan";
  TemporaryFolder fFolder;
  std::string fPath;
};

FrameOptions OptionsOf(const MemoryFrame& frame, const DrawOptions& options) {
  FrameOptions of;
  of.path = frame.path;
  of.schema = frame.schema;
  of.arrow = frame.arrow.get();
  of.sort = options.sort;
  of.serpentine = options.serpentine;
  of.weight = options.weight;
  of.split = options.split;
  return of;
}

// The document first, which collects messages from here on. A frame in memory brings its own database, in which
// the session works as well.
void Prepare(HostSession& session, const MemoryFrame& frame) {
  session.Layer<OutputDocument>();
  if (frame.arrow != nullptr) frame.arrow->Lend(session);
}

void AddMessages(const std::vector<std::string>& texts, const char* level, MemoryOutcome* outcome) {
  for (const std::string& text : texts) outcome->messages.push_back({level, text});
}

void AddMessages(HostSession& session, MemoryOutcome* outcome) {
  for (const OutputMessage& message : session.Layer<OutputDocument>().MessagesByKind()) {
    const std::string of = message.group.empty() ? "" : message.group + " ";
    outcome->messages.push_back({message.level >= kErrorLevel ? "error" : "warning", of + message.text});
  }
}

void RenameAll(const PlanFile& plan, MemoryOutcome* outcome) {
  for (MemoryMessage& message : outcome->messages) message.text = plan.Renamed(std::move(message.text));
  outcome->json = plan.Renamed(std::move(outcome->json));
}

// What made a draw fail, by what it has left in its session.
MemoryFault FaultOf(HostSession& session, RunStatus status) {
  if (status == RunStatus::kOk) return MemoryFault::kNone;
  if (status == RunStatus::kCancelled) return MemoryFault::kCancelled;
  ActiveFile& file = session.Layer<ActiveFile>();
  if (!file.IsOpen() || file.HasFailed()) return MemoryFault::kFrame;
  if (!HasReadCases(session)) return MemoryFault::kPlan;
  try {
    return file.Engine().CountCases() == 0 ? MemoryFault::kFrame : MemoryFault::kDraw;
  } catch (const DataError&) {
    return MemoryFault::kFrame;
  }
}

RunRequest RequestOf(const PlanFile& plan, const MemoryFrame& frame, const DrawOptions& options) {
  CommandParts parts = options.parts;
  parts.plan = plan.Path();
  parts.sample = kSampleTable;
  if (options.joint) parts.joint = kJointTable;
  RunRequest request;
  request.frame = OptionsOf(frame, options);
  request.command = CommandText(parts);
  return request;
}

void KeepTables(HostSession& session, bool joint) {
  PathClaims& claims = session.Layer<SessionFiles>().Claims();
  claims.KeepInMemory(kSampleTable);
  claims.KeepInMemory(kStrataTable);
  if (joint) claims.KeepInMemory(kJointTable);
}

// While it lives, another thread sees how far the session is.
class Followed {
public:
  Followed(HostSession& session, RunWatch* watch) : fpWatch(watch) {
    fpWatch->Follow(&session.Layer<CaseProgress>());
  }
  ~Followed() { fpWatch->Follow(nullptr); }
  Followed(const Followed&) = delete;
  Followed& operator=(const Followed&) = delete;

private:
  RunWatch* fpWatch;
};

MemoryOutcome Draw(const PlanFile& plan, const MemoryFrame& frame, const DrawOptions& options,
                   RunWatch* watch) {
  MemoryOutcome outcome;
  HostSession session(options.settings);
  Prepare(session, frame);
  const Followed followed(session, watch);
  KeepTables(session, options.joint);
  const SurveyOutcome run = RunSurvey(session, RequestOf(plan, frame, options),
                                      {.stepBegins = [&](RunStep step) { watch->Begin(step); },
                                       .frameCounted = [&](std::int64_t cases) { watch->SetTotal(cases); }});
  outcome.fault = FaultOf(session, run.status);
  AddMessages(session, &outcome);
  AddMessages(run.remarks, "remark", &outcome);
  if (run.document != nullptr) outcome.json = ReportText(session, "report.json", run);
  if (outcome.fault != MemoryFault::kNone) return outcome;
  const MemoryTables& tables = session.Layer<MemoryTables>();
  outcome.sample = tables.Get(FileRole::kSample);
  outcome.joint = tables.Get(FileRole::kJoint);
  outcome.strata = tables.Get(FileRole::kStrata);
  return outcome;
}

// What a check or preview has come to. A file that isn't open couldn't be read.
MemoryFault FaultOfCheck(HostSession& session, RunStatus status, bool hasFrame) {
  if (status == RunStatus::kOk) return MemoryFault::kNone;
  if (status == RunStatus::kCancelled) return MemoryFault::kCancelled;
  const ActiveFile& file = session.Layer<ActiveFile>();
  return hasFrame && (!file.IsOpen() || file.HasFailed()) ? MemoryFault::kFrame : MemoryFault::kPlan;
}

void Check(HostSession& session, const PlanFile& plan, const MemoryFrame* frame, const DrawOptions& options,
           MemoryOutcome* outcome) {
  const PlanReading reading = ReadPlan(session, plan.Path());
  std::vector<std::string> remarks = reading.remarks;
  std::vector<std::string> problems = reading.problems;
  RunStatus status = reading.status;
  const bool hasFrame = frame != nullptr && reading.isRead && status == RunStatus::kOk;
  if (hasFrame) {
    const PlanCheck check = CheckPlan(session, reading.plan, OptionsOf(*frame, options));
    status = check.status;
    remarks.insert(remarks.end(), check.remarks.begin(), check.remarks.end());
    problems = check.problems;
  }
  AddMessages(session, outcome);
  AddMessages(problems, "error", outcome);
  AddMessages(remarks, "remark", outcome);
  outcome->fault = FaultOfCheck(session, status, hasFrame);
}

void Preview(HostSession& session, const PlanFile& plan, const MemoryFrame& frame, const DrawOptions& options,
             RunWatch* watch, MemoryOutcome* outcome) {
  const Followed followed(session, watch);
  const PlanReading reading = ReadPlan(session, plan.Path());
  if (reading.status != RunStatus::kOk) {
    AddMessages(session, outcome);
    AddMessages(reading.problems, "error", outcome);
    AddMessages(reading.remarks, "remark", outcome);
    outcome->fault = MemoryFault::kPlan;
    return;
  }
  watch->Begin(RunStep::kDraw);
  const PlanPreview preview =
      PreviewPlan(session, reading.plan, {.frame = OptionsOf(frame, options), .cost = options.cost});
  outcome->fault = FaultOfCheck(session, preview.status, true);
  if (outcome->fault == MemoryFault::kCancelled) return;
  AddMessages(session, outcome);
  AddMessages(preview.problems, "error", outcome);
  AddMessages(preview.remarks, "remark", outcome);
  outcome->json = WrittenText([&](std::ostream& out) { WritePreviewJson(session, preview, out); });
}

// --- the description of a frame --------------------------------------------------------------------------

Json ValueOf(const DictionaryValue& value, bool isNumeric) {
  return isNumeric ? Json(value.number) : Json(value.text);
}

void AddContents(const ColumnContents& contents, bool isNumeric, Json* variable) {
  (*variable)["valid"] = contents.valid;
  (*variable)["missing"] = contents.systemMissing;
  (*variable)["user_missing"] = contents.userMissing;
  (*variable)["different"] = contents.different;
  if (isNumeric && contents.valid > 0) {
    (*variable)["smallest"] = contents.smallest;
    (*variable)["largest"] = contents.largest;
  }
  if (contents.frequent.empty()) return;
  Json& frequent = (*variable)["frequent"] = Json::array();
  for (const ColumnContents::Frequency& one : contents.frequent) {
    frequent.push_back({{"value", ValueOf(one.value, isNumeric)}, {"cases", one.cases}});
  }
}

const char* LevelWord(int level) {
  return level == kLevelNominal ? "nominal" : level == kLevelOrdinal ? "ordinal" : "scale";
}

std::string DescriptionText(const FrameDescription& described) {
  Json variables = Json::array();
  for (std::size_t i = 0; i < described.dictionary->variables.size(); ++i) {
    const KORV_Variable& variable = described.dictionary->variables[i];
    const bool isNumeric = variable.GetType() == 0;
    Json one = {{"name", variable.GetName()},
                {"type", isNumeric ? "number" : "string"},
                {"column_type", variable.ColumnType()},
                {"label", variable.GetLabel()},
                {"level", LevelWord(variable.GetMeasurementLevel())}};
    if (i < described.contents.size()) AddContents(described.contents[i], isNumeric, &one);
    variables.push_back(std::move(one));
  }
  return TextOf(Json{{"cases", described.cases}, {"variables", std::move(variables)}});
}

// Runs `work`, and turns what it throws into a message. `fault` is what a failure is then.
template <class Work>
MemoryOutcome Guard(MemoryFault fault, const Work& work) {
  MemoryOutcome outcome;
  try {
    work(&outcome);
  } catch (...) {
    const bool isStopped = StopRequested();
    outcome = {};
    outcome.fault = isStopped ? MemoryFault::kCancelled : fault;
    if (!isStopped) outcome.messages.push_back({"error", CaughtException()});
  }
  return outcome;
}

// The options, or an outcome that says why they can't be used.
bool TakeOptions(const std::string& text, int threads, DrawOptions* options, MemoryOutcome* outcome) {
  *outcome = Guard(MemoryFault::kOptions, [&](MemoryOutcome*) { *options = ReadDrawOptions(text); });
  options->settings.threads = threads;
  return outcome->fault == MemoryFault::kNone;
}

}  // namespace

RunWatch::State RunWatch::Get() const {
  State state;
  state.step = fStep.load(std::memory_order_relaxed);
  state.total = fTotal.load(std::memory_order_relaxed);
  const std::lock_guard lock(fMutex);
  if (fpProgress != nullptr) {
    const CaseProgress::State progress = fpProgress->Get();
    state.pass = progress.pass;
    state.cases = progress.cases;
  }
  return state;
}

void RunWatch::Follow(const CaseProgress* progress) {
  const std::lock_guard lock(fMutex);
  fpProgress = progress;
}

MemoryOutcome DrawInMemory(const std::string& plan, const MemoryFrame& frame, const std::string& options,
                           int threads, RunWatch* watch) {
  DrawOptions read;
  MemoryOutcome refused;
  if (!TakeOptions(options, threads, &read, &refused)) return refused;
  return Guard(MemoryFault::kDraw, [&](MemoryOutcome* outcome) {
    const PlanFile file(plan);
    *outcome = Draw(file, frame, read, watch);
    RenameAll(file, outcome);
  });
}

MemoryOutcome CheckInMemory(const std::string& plan, const MemoryFrame* frame, const std::string& options,
                            int threads) {
  DrawOptions read;
  MemoryOutcome refused;
  if (!TakeOptions(options, threads, &read, &refused)) return refused;
  return Guard(MemoryFault::kPlan, [&](MemoryOutcome* outcome) {
    const PlanFile file(plan);
    HostSession session(read.settings);
    if (frame != nullptr) Prepare(session, *frame);
    Check(session, file, frame, read, outcome);
    Json messages = Json::array();
    for (const MemoryMessage& message : outcome->messages) {
      messages.push_back({{"level", message.level}, {"text", message.text}});
    }
    outcome->json = TextOf(Json{{"status", outcome->fault == MemoryFault::kNone ? "ok" : "error"},
                                {"messages", std::move(messages)}});
    RenameAll(file, outcome);
  });
}

MemoryOutcome PreviewInMemory(const std::string& plan, const MemoryFrame& frame, const std::string& options,
                              int threads, RunWatch* watch) {
  DrawOptions read;
  MemoryOutcome refused;
  if (!TakeOptions(options, threads, &read, &refused)) return refused;
  return Guard(MemoryFault::kPlan, [&](MemoryOutcome* outcome) {
    const PlanFile file(plan);
    HostSession session(read.settings);
    Prepare(session, frame);
    Preview(session, file, frame, read, watch, outcome);
    RenameAll(file, outcome);
  });
}

MemoryOutcome DescribeInMemory(const MemoryFrame& frame, int threads) {
  return Guard(MemoryFault::kFrame, [&](MemoryOutcome* outcome) {
    HostSession session({.threads = threads});
    Prepare(session, frame);
    const FrameDescription described = DescribeFrame(session, OptionsOf(frame, {}), true);
    AddMessages(session, outcome);
    AddMessages(described.problems, "error", outcome);
    if (described.status == RunStatus::kCancelled) {
      outcome->fault = MemoryFault::kCancelled;
    } else if (described.status != RunStatus::kOk || described.dictionary == nullptr) {
      outcome->fault = MemoryFault::kFrame;
    } else {
      outcome->json = DescriptionText(described);
    }
  });
}
