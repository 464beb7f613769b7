#include "session/EarlierSample.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string_view>

#include "host/files/ReadableFile.h"
#include "session/RunSurvey.h"
#include "session/SeededCommand.h"

namespace {

namespace fs = std::filesystem;

// The number behind the first SEED= of a text: every report has the command with the seed that was used.
// Empty if the text has no seed.
std::string SeedIn(std::string_view text) {
  constexpr std::string_view kWord = "SEED";
  const auto isSame = [](char a, char b) { return std::toupper(static_cast<unsigned char>(a)) == b; };
  const auto skip = [](auto at, auto end, bool (*isSkipped)(char)) {
    return std::find_if_not(at, end, isSkipped);
  };
  const auto isBlank = [](char c) { return c == ' ' || c == '='; };
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  for (auto at = text.begin();; ++at) {
    at = std::search(at, text.end(), kWord.begin(), kWord.end(), isSame);
    if (at == text.end()) return "";
    const auto begin = skip(at + kWord.size(), text.end(), isBlank);
    const auto end = skip(begin, text.end(), isDigit);
    if (begin != end && begin != at + kWord.size()) return {begin, end};
  }
}

// A report of the run that drew the sample is written after it.
std::string SeedOfReport(const std::string& report, const fs::path& sample) {
  std::error_code error;
  const auto written = fs::last_write_time(report, error);
  if (error || !fs::is_regular_file(report, error)) return "";
  const auto drawn = fs::last_write_time(sample, error);
  std::string text;
  std::string why;
  if (error || written < drawn || !ReadWholeFile(report, &text, &why)) return "";
  return text.find(sample.filename().string()) == std::string::npos ? "" : SeedIn(text);
}

}  // namespace

std::string EarlierSampleRemark(const RunRequest& request) {
  constexpr const char* kAnySeed = "1";
  if (!CommandWithSeed(kAnySeed).isChanged) return "";  // it names one
  const std::string named = CommandedSample();
  const std::string& sample = named.empty() ? request.save : named;
  if (sample.empty()) return "";
  const fs::path file = fs::path(sample).has_extension() ? sample : sample + ".sav";
  std::error_code error;
  if (!fs::is_regular_file(file, error)) return "";
  const std::string line =
      sample + ": without a seed the run draws another sample, which would replace this one; ";
  for (const std::string& report : request.reports) {
    const std::string seed = SeedOfReport(report, file);
    if (!seed.empty()) return line + fmt::format("its seed was {} ({})", seed, report);
  }
  return line + "no report that this run names tells its seed";
}
