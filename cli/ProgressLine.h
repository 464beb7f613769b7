#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

class CaseProgress;

// ProgressLine shows on standard error how far a run has come: the task in hand with the time since it began,
// or the pass over the cases with the number of cases done. On a terminal it is one line,
// which is overwritten four times a second and cleared at the end. Elsewhere, as in a log, it is a new line
// now and then, less and less often.
//
// Use:        construct before the work begins; ShowTask() and ShowPasses() as it goes on; Stop() before
//             anything else is written to standard error.
// Threads:    its own thread polls the progress and writes; nothing in the run waits for it. Call the
//             operations from the thread that constructed it.
// Ownership:  borrows the progress, which must outlive it.
class ProgressLine {
public:
  // `when` is "auto" (only on a terminal, and only if the run takes longer than a second), "always" or
  // "never". `task` is shown until the first ShowTask() or ShowPasses().
  ProgressLine(const std::string& when, const std::string& task, const CaseProgress& progress);
  ~ProgressLine() { Stop(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // Whether anything can be shown. If not, there is no thread and the operations have no effect.
  bool IsOn() const { return fThread.joinable(); }

  // Show another task, or the passes over `cases` cases (-1 if their number is unknown), from now on.
  void ShowTask(const std::string& task);
  void ShowPasses(std::int64_t cases);

  // Prints a problem, on a line of its own above.
  void Tell(const std::string& problem);

  // Clears the line. Nothing is shown afterwards. May be called again.
  void Stop();

private:
  using Clock = std::chrono::steady_clock;

  void Run(bool isAtOnce);
  std::string Text() const;
  void Write(const std::string& text);
  void Clear();

  const CaseProgress& fProgress;
  const bool fbTerminal;
  const int fWidth;  // columns that a line may have, without the prefix
  int fWritten = 0;  // columns of the line that is now on the terminal

  std::mutex fMutex;  // guards what follows
  std::condition_variable fWake;
  bool fbStop = false;
  std::string fTask;  // empty while passes are shown
  Clock::time_point fTaskBegin = Clock::now();
  std::int64_t fTotal = 0;  // cases of the frame, or -1

  std::thread fThread;  // last, so that it starts when everything it uses is there
};
