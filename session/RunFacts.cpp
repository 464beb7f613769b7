#include "session/RunFacts.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <sstream>
#include <utility>

#include "backend/svselect/results/NoteLabels.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/environment/Clocks.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/files/ReadableFile.h"
#include "host/files/Sha256.h"
#include "host/output/OutputDocument.h"
#include "host/read/TextSource.h"
#include "host/text/TextConversion.h"
#include "session/CommandedPlan.h"
#include "session/RunSurvey.h"
#include "session/SeededCommand.h"

namespace {

constexpr std::int64_t kMostUnusedPlanBytes = 16 << 20;
constexpr std::size_t kMostPlanBytes = 1 << 20;  // more of a plan isn't copied into a report

// A fact is shown line by line, so that a command or query reads as it was written.
std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  stream.exceptions(std::ios::badbit);  // no line is lost for lack of memory
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// The text of a plan that was read from a file, whose bytes may be in another encoding than UTF-8.
std::string AsUtf8(const std::string& path, std::string bytes) {
  if (bytes.empty()) return bytes;
  TextForm form = FindTextForm(path);
  const bool isInvalid = FindInvalidUtf8(bytes) != std::string::npos;
  if (form == TextForm() && !isInvalid) return bytes;
  if (form == TextForm() && IsWindows1252(path, false)) form.encoding = TextEncoding::kWindows1252;
  if (form == TextForm() || form.isGzip)
    return "The plan isn't in UTF-8, UTF-16 or Windows-1252, so that its text is left out.";
  TextSource source(path, form);
  return std::string(std::istreambuf_iterator<char>(&source), {});
}

// The facts in the order of the report. Labels are those that a reader of it understands, not names of
// options. Single use: construct, Collect(), discard.
class FactList {
public:
  // `frame` is null for a run that drew nothing; then no file is read.
  FactList(HostSession& session, const RunRequest& request, const FileStamp* frame)
      : fSession(session), fRequest(request), fpFrame(frame) {
    if (fpFrame == nullptr) return;
    fCommanded = ReadCommandedPlan();
    if (!fCommanded) throw DataError("the plan can't be read a second time");
  }

  std::vector<RunFact> Collect() {
    const FrameOptions& frame = fRequest.frame;
    Add("Frame", frame.path);
    Add("Query", frame.sql);
    AddCases();
    AddFrameSum();
    Add("Schema", frame.schema);
    Add("Sorted by",
        fmt::format("{}{}", fmt::join(frame.sort, ", "), frame.serpentine ? " (serpentine)" : ""));
    Add("Weighted by", frame.weight);
    Add("Split by", fmt::format("{}", fmt::join(frame.split, ", ")));
    AddCommand();
    Add("Exact design", fSession.Settings().exactDesign ? "yes" : "");
    const bool isJson = fCommanded && fCommanded->plan.isJson;
    Add("Strict", fSession.Settings().strict || isJson ? "yes" : "");
    if (fCommanded) AddPlanSums();
    if (fpFrame == nullptr) AddUnusedPlanSum();
    // The same program draws the same sample for ever; another version may not know an option.
    Add("Program", "svselect " SV_VERSION, RunFact::Kind::kVarying);
    const CalendarDay today = BCLOCK();
    Add("Day", fmt::format("{:04}-{:02}-{:02}", today.year, today.month, today.day), RunFact::Kind::kVarying);
    AddPlan();
    return std::move(fvFacts);
  }

private:
  void Add(const char* label, const std::string& text, RunFact::Kind kind = RunFact::Kind::kPlain) {
    if (!text.empty()) fvFacts.push_back({label, LinesOf(text), kind});
  }

  void AddCases() {
    const std::optional<FrameCases>& cases = fSession.Layer<OutputDocument>().Cases();
    if (!cases) return;
    Add("Cases of the frame", cases->leftOut == 0
                                  ? fmt::format("{}, none left out", cases->read)
                                  : fmt::format("{}, {} of them left out", cases->read, cases->leftOut));
  }

  // A report without the sum would look like one of a run that had no file.
  static std::string SumOf(const std::string& path) {
    const std::optional<std::string> sum = Sha256OfFile(path);
    if (!sum) throw DataError(path + " can't be read a second time");
    return *sum;
  }

  // A table of the plan in a file of its own is a part of the plan.
  void AddPlanSums() {
    Add("SHA-256 of the plan", SumOf(fCommanded->path));
    std::string sums;
    for (const std::string& table : fCommanded->plan.tableFiles)
      sums += fmt::format("{}{} {}", sums.empty() ? "" : "\n", SumOf(table), table);
    Add("SHA-256 of its tables", sums);
  }

  // Of a run that drew nothing the plan is all that explains it. It may be what failed, so that whatever can't be
  // read, or is no plan by its size, is left out.
  void AddUnusedPlanSum() {
    const std::optional<std::string> path = CommandedPlanFile();
    std::string why;
    try {
      if (!path) return;
      CheckReadableFile(*path);
      if (FileState::Of(*path).bytes > kMostUnusedPlanBytes) return;
      const std::optional<std::string> sum = Sha256OfFile(*path);
      if (!sum || !ReadWholeFile(*path, &fUnusedPlan, &why)) return fUnusedPlan.clear();
      fUnusedPlan = AsUtf8(*path, std::move(fUnusedPlan));
      Add("SHA-256 of the plan", *sum);
    } catch (const DataError&) {
      fUnusedPlan.clear();
    }
  }

  // A text file is read as a whole when it is opened, so that nobody notices when it changes afterwards.
  void AddFrameSum() {
    if (fpFrame == nullptr || fRequest.frame.path.empty()) return;
    if (fpFrame->path.empty()) throw DataError(fRequest.frame.path + " can't be read a second time");
    const std::string sum = SumOf(fpFrame->path);
    Add("SHA-256 of the frame", fpFrame->IsSame() ? sum : "unknown: the file was changed during the run");
  }

  // Without a seed of the user the command alone would draw another sample.
  void AddCommand() {
    const std::string& given = fSession.Layer<SessionCommand>().Text();
    const std::vector<OutputNote>& notes = fSession.Layer<OutputDocument>().Notes();
    const auto seed = std::find_if(notes.begin(), notes.end(),
                                   [](const OutputNote& note) { return note.label == NoteLabels::kSeed; });
    if (seed == notes.end()) return Add("Command", given);
    const SeededCommand seeded = CommandWithSeed(seed->text);
    Add("Command", seeded.text);
    if (seeded.isChanged) {
      Add("Seed",
          fmt::format("{}, drawn at random; the command above has it, to repeat the run", seed->text));
    }
  }

  void AddPlan() {
    std::string text = fUnusedPlan;
    std::string why;
    if (fCommanded) {
      if (!ReadWholeFile(fCommanded->path, &text, &why)) throw DataError(fCommanded->path + ": " + why);
      text = AsUtf8(fCommanded->path, std::move(text));
    }
    const std::size_t bytes = text.size();
    if (bytes > kMostPlanBytes) {
      text.resize(kMostPlanBytes);
      text += fmt::format("\n... and {} more bytes", bytes - kMostPlanBytes);
    }
    Add("Text of the plan", text, RunFact::Kind::kLong);
  }

  HostSession& fSession;
  const RunRequest& fRequest;
  const FileStamp* fpFrame;  // borrowed
  std::optional<CommandedPlan> fCommanded;
  std::string fUnusedPlan;  // text of the plan of a run that drew nothing
  std::vector<RunFact> fvFacts;
};

}  // namespace

FileStamp::FileStamp(std::string file) : path(std::move(file)) {
  try {
    if (!path.empty()) state = FileState::Of(path);
  } catch (const DataError&) {
    // Treated like a missing file. Opening it will fail, and gives the reason.
  }
  if (state == FileState()) path.clear();
}

bool FileStamp::IsSame() const {
  return FileStamp(path).state == state;
}

FileStamp StampOfFrame(const std::string& name) {
  try {
    return FileStamp(name.empty() ? "" : PathToRead(name));
  } catch (const DataError&) {
    return FileStamp("");
  }
}

// The plan's stamp is taken before the names of its tables are read in it, so that it covers them.
std::vector<FileStamp> StampsOfPlan() {
  const std::optional<std::string> path = CommandedPlanFile();
  if (!path) return {};
  std::vector<FileStamp> stamps = {FileStamp(*path)};
  const std::optional<CommandedPlan> commanded = ReadCommandedPlan();
  if (!commanded) return {};
  for (const std::string& table : commanded->plan.tableFiles) stamps.emplace_back(table);
  return stamps;
}

std::vector<RunFact> FactsOf(HostSession& session, const RunRequest& request) {
  return FactList(session, request, nullptr).Collect();
}

std::vector<RunFact> FactsOfDraw(HostSession& session, const RunRequest& request, const FileStamp& frame) {
  return FactList(session, request, &frame).Collect();
}
