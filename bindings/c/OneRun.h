#pragma once

#include <chrono>
#include <csignal>
#include <functional>
#include <utility>

// How a call at the border gets its turn, its thread and its polls. The host has one session at a time in a
// process, so that the calls of different threads take turns.

// Asks the caller, at most every so often, whether to go on. Once it has answered no, it isn't asked again.
class Poller {
public:
  // `ask` returns true to stop; empty if nobody wants to be asked.
  explicit Poller(std::function<bool()> ask) : fAsk(std::move(ask)) {}

  // Whether the call is to stop.
  bool Stops();

private:
  std::function<bool()> fAsk;
  std::chrono::steady_clock::time_point fNext;  // when to ask again; at once at first
  bool fbStopped = false;
};

enum class Turn {
  kTaken,
  kStopped,  // by the poller, while it waited
  kNested,   // called from within a callback of the library
  kForked,   // the process was forked in the middle of a run, which will never end here
};

// The turn of a call. While it is kTaken no other call runs; it ends with the object.
class OneRun {
public:
  explicit OneRun(Poller* poller);
  ~OneRun();
  OneRun(const OneRun&) = delete;
  OneRun& operator=(const OneRun&) = delete;

  Turn Get() const { return fTurn; }

private:
  Turn fTurn;
};

// Blocks all signals on this thread while it lives: the threads that are started meanwhile never take a signal
// away from the caller's own.
class SignalsBlocked {
public:
  SignalsBlocked();
  ~SignalsBlocked();
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
  sigset_t fKept;
};

// Runs `work` on a thread of its own, and polls on this one until it is done. A stop becomes a stop request.
// An exception of the work leaves from here.
// Errors: std::system_error if no thread is available.
void RunOnThread(const std::function<void()>& work, Poller* poller);
