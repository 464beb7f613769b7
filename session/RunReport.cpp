#include "session/RunReport.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <sstream>

#include "host/command/KORV_TokenSequence.h"
#include "host/environment/Clocks.h"
#include "host/environment/HostSession.h"
#include "host/render/HtmlReport.h"
#include "host/render/JsonReport.h"
#include "host/render/TextRenderer.h"
#include "host/text/VariableNames.h"
#include "report/SurveyPage.h"
#include "session/RunSurvey.h"

namespace {

// A fact is shown line by line, so that a command or query reads as it was written.
std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

}  // namespace

ReportKind KindOfReport(const std::string& path) {
  const std::string name = GetUpperString(path);
  if (name.ends_with(".HTML")) return ReportKind::kHtml;
  if (name.ends_with(".JSON")) return ReportKind::kJson;
  return name.ends_with(".TXT") ? ReportKind::kText : ReportKind::kUnknown;
}

void WriteReport(ReportKind kind, const SurveyOutcome& outcome, std::ostream& out) {
  if (kind == ReportKind::kJson) {
    WriteJsonReport(outcome, out);
  } else if (kind == ReportKind::kHtml) {
    WriteHtmlReport(outcome, SurveyAdditions(outcome.weights ? &*outcome.weights : nullptr), out);
  } else {
    WriteTextReport(outcome, out);
  }
}

std::vector<RunFact> FactsOf(HostSession& session, const RunRequest& request) {
  std::vector<RunFact> facts;
  // Labels are those that a reader of the report understands, not names of options.
  const auto add = [&](const char* label, const std::string& text) {
    if (!text.empty()) facts.push_back({label, LinesOf(text)});
  };
  const FrameOptions& frame = request.frame;
  add("Frame", frame.path);
  add("Query", frame.sql);
  add("Schema", frame.schema);
  add("Sorted by", fmt::format("{}", fmt::join(frame.sort, ", ")));
  add("Weighted by", frame.weight);
  add("Split by", fmt::format("{}", fmt::join(frame.split, ", ")));
  add("Command", session.Layer<SessionCommand>().Text());
  add("Exact design", session.Settings().exactDesign ? "yes" : "");
  add("Strict", session.Settings().strict ? "yes" : "");
  // The same program draws the same sample for ever; another version may not know an option.
  add("Program", "svselect " SV_VERSION);
  const CalendarDay today = BCLOCK();
  add("Day", fmt::format("{:04}-{:02}-{:02}", today.year, today.month, today.day));
  return facts;
}
