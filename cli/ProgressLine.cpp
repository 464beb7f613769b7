#include "cli/ProgressLine.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "cli/Terminal.h"
#include "host/engine/CaseProgress.h"
#include "host/text/DisplayText.h"
#include "host/text/ProgressText.h"

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kPatience(1000);   // a run that takes no longer shows nothing unasked
constexpr milliseconds kOnTerminal(250);  // between two looks
// Elsewhere each look comes after twice the time: what is kept in a file shouldn't be flooded.
constexpr milliseconds kElsewhere(500);
constexpr milliseconds kLongestElsewhere(10000);
constexpr std::string_view kPrefix = "svselect: ";

double SecondsSince(std::chrono::steady_clock::time_point begin) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

}  // namespace

ProgressLine::ProgressLine(const std::string& when, const std::string& task, const CaseProgress& progress)
    : fProgress(progress),
      fbTerminal(isatty(STDERR_FILENO) != 0),
      // A full line would move the cursor on to the next one.
      fWidth(TerminalWidth(STDERR_FILENO) - 1 - static_cast<int>(kPrefix.size())),
      fTask(task) {
  const bool isAlways = when == "always";
  if (isAlways || (when == "auto" && fbTerminal)) fThread = std::thread([this, isAlways] { Run(isAlways); });
}

void ProgressLine::ShowTask(const std::string& task) {
  const std::lock_guard lock(fMutex);
  fTask = task;
  fTaskBegin = Clock::now();
}

void ProgressLine::ShowPasses(std::int64_t cases) {
  const std::lock_guard lock(fMutex);
  fTask.clear();
  fTotal = cases;
}

void ProgressLine::Stop() {
  if (!fThread.joinable()) return;
  {
    const std::lock_guard lock(fMutex);
    fbStop = true;
  }
  fWake.notify_one();
  fThread.join();
}

void ProgressLine::Run(bool isAtOnce) {
  std::unique_lock lock(fMutex);
  milliseconds wait = isAtOnce ? milliseconds(0) : kPatience;
  while (!fWake.wait_for(lock, wait, [this] { return fbStop; })) {
    Write(Text());
    wait = fbTerminal ? kOnTerminal : std::clamp(2 * wait, kElsewhere, kLongestElsewhere);
  }
  if (fWritten > 0) {
    Write("");
    std::cerr << '\r' << std::flush;
  }
}

// What there is to show, without the prefix; REQUIRES: fMutex is held.
std::string ProgressLine::Text() const {
  if (!fTask.empty()) {
    const std::string since = ", " + DurationText(SecondsSince(fTaskBegin));
    const int room = std::max(fWidth - DisplayWidth(since), 1);
    return WrapText(PrintableText(fTask), room).front() + since;
  }
  const CaseProgress::State state = fProgress.Get();
  if (state.pass == 0) return "";
  return ProgressText({.pass = state.pass,
                       .isLast = state.isLast,
                       .cases = state.cases,
                       .total = fTotal,
                       .seconds = SecondsSince(state.begin)},
                      fWidth);
}

void ProgressLine::Write(const std::string& text) {
  const std::string line = text.empty() ? text : std::string(kPrefix) + text;
  if (!fbTerminal) {
    if (!line.empty()) std::cerr << line + '\n';
    return;
  }
  const int width = DisplayWidth(line);
  std::cerr << '\r' + line + std::string(static_cast<std::size_t>(std::max(fWritten - width, 0)), ' ')
            << std::flush;
  fWritten = width;
}
