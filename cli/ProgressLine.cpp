#include "cli/ProgressLine.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "cli/Terminal.h"
#include "host/engine/CaseProgress.h"
#include "host/text/DisplayText.h"
#include "host/text/ProgressText.h"

// The thread sleeps on a condition variable with a timeout, so that Stop() ends it at once and a run never
// waits for a display. It reads the passes from CaseProgress, which is atomic; the mutex guards only what the
// caller sets. Text is written while the mutex is held: an update that started before Stop() is complete when
// Stop() returns, and none follows.

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kPatience(1000);   // with "auto", a run that is shorter shows nothing
constexpr milliseconds kOnTerminal(250);  // between two updates
// Elsewhere the time between two lines doubles up to a limit, so that a log isn't flooded.
constexpr milliseconds kElsewhere(500);
constexpr milliseconds kLongestElsewhere(10000);
constexpr std::string_view kPrefix = "svselect: ";

// By a clock that nobody sets: times shown never jump.
double SecondsSince(std::chrono::steady_clock::time_point begin) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

}  // namespace

ProgressLine::ProgressLine(const std::string& when, const std::string& task, const CaseProgress& progress)
    : fProgress(progress),
      fbTerminal(isatty(STDERR_FILENO) != 0),
      // One column less than the terminal has: some terminals wrap after a full line.
      fWidth(TerminalWidth(STDERR_FILENO) - 1 - static_cast<int>(kPrefix.size())),
      fTask(task) {
  // With "always" the first text comes at once, even from a run that ends in a moment.
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
  Clear();
}

// Overwrites the line with blanks and returns to its start. REQUIRES: fMutex is held.
void ProgressLine::Clear() {
  if (fWritten == 0) return;
  Write("");
  std::cerr << '\r' << std::flush;
}

void ProgressLine::Tell(const std::string& problem) {
  const std::lock_guard lock(fMutex);
  Clear();
  TellProblem(problem);
}

// The text to show, without the prefix; empty before the first pass. REQUIRES: fMutex is held.
std::string ProgressLine::Text() const {
  if (!fTask.empty()) {
    const std::string since = ", " + DurationText(SecondsSince(fTaskBegin));
    const int room = std::max(fWidth - DisplayWidth(since), 1);
    return WrapText(PrintableText(fTask), room).front() + since;
  }
  // May be a moment old when a pass has just begun, which is good enough for a display.
  const CaseProgress::State state = fProgress.Get();
  if (state.pass == 0) return "";
  return ProgressText({.pass = state.pass,
                       .isLast = state.isLast,
                       .cases = state.cases,
                       .total = fTotal,
                       .seconds = SecondsSince(state.begin)},
                      fWidth);
}

// On a terminal, blanks cover what is left of a longer line before. Each text goes out in one write, so that
// lines of two processes in one log don't mix.
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
