#include "cli/RunFacts.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <sstream>
#include <string>

#include "host/command/KORV_TokenSequence.h"
#include "host/environment/Clocks.h"
#include "host/environment/HostSession.h"

namespace {

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

}  // namespace

std::vector<RunFact> FactsOf(const RunOptions& options) {
  std::vector<RunFact> facts;
  const auto add = [&](const char* label, const std::string& text) {
    if (!text.empty()) facts.push_back({label, LinesOf(text)});
  };
  const FrameOptions& frame = options.frame;
  add("Frame", frame.path);
  add("Query", frame.sql);
  add("Schema", frame.schema);
  add("Sorted by", fmt::format("{}", fmt::join(frame.sort, ", ")));
  add("Weighted by", frame.weight);
  add("Split by", fmt::format("{}", fmt::join(frame.split, ", ")));
  add("Command", HostSession::Current().Layer<SessionCommand>().Text());
  add("Exact design", options.settings.exactDesign ? "yes" : "");
  add("Program", "svselect " SV_VERSION);
  const CalendarDay today = BCLOCK();
  add("Day", fmt::format("{:04}-{:02}-{:02}", today.year, today.month, today.day));
  return facts;
}
