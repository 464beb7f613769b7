#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

class CaseProgress;

// ProgressLine shows on standard error how far a run has come: what the program is at, or the pass over the
// cases. On a terminal it is one line that is written over and cleared at the end; elsewhere a line of its
// own now and then.
//
// Use:        make it before the work begins, Stop() it before anything else is told.
// Threads:    has one of its own, which only looks and writes; the operations are for the thread that made
//             it.
// Ownership:  borrows the progress, which must outlive it.
class ProgressLine {
public:
  // `when` is auto (on a terminal, when the run takes longer than a moment), always or never; `task` is what
  // the program begins with.
  ProgressLine(const std::string& when, const std::string& task, const CaseProgress& progress);
  ~ProgressLine() { Stop(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // Whether anything may be shown at all.
  bool IsOn() const { return fThread.joinable(); }

  // From here on the program is at another task, or passes over that many cases.
  void ShowTask(const std::string& task);
  void ShowPasses(std::int64_t cases);

  // Clears the line; nothing is shown from then on.
  void Stop();

private:
  using Clock = std::chrono::steady_clock;

  void Run(bool isAtOnce);
  std::string Text() const;
  void Write(const std::string& text);

  const CaseProgress& fProgress;
  const bool fbTerminal;
  const int fWidth;  // columns that a line may take
  int fWritten = 0;  // columns that are written on the terminal's line

  std::mutex fMutex;  // guards what follows
  std::condition_variable fWake;
  bool fbStop = false;
  std::string fTask;  // empty while the cases are passed over
  Clock::time_point fTaskBegin = Clock::now();
  std::int64_t fTotal = 0;  // cases of the frame

  std::thread fThread;
};
