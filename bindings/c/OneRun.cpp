#include "bindings/c/OneRun.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>

#include "host/environment/MCStopProcessor.h"

namespace {

constexpr std::chrono::milliseconds kPause(50);  // between two polls

std::timed_mutex gTurn;
std::atomic<pid_t> gRunsIn{0};        // the process of the run that has the turn; 0 without one
thread_local bool gIsInCall = false;  // this thread is in a call

Turn Wait(Poller* poller) {
  while (!gTurn.try_lock_for(kPause)) {
    const pid_t process = gRunsIn.load();
    if (process != 0 && process != getpid()) return Turn::kForked;
    if (poller->Stops()) return Turn::kStopped;
  }
  gRunsIn.store(getpid());
  return Turn::kTaken;
}

// The polls of a call that waits are callbacks too.
Turn TakeTurn(Poller* poller) {
  if (gIsInCall) return Turn::kNested;
  gIsInCall = true;
  const Turn turn = Wait(poller);
  gIsInCall = turn == Turn::kTaken;
  return turn;
}

}  // namespace

bool Poller::Stops() {
  const auto now = std::chrono::steady_clock::now();
  if (fbStopped || !fAsk || now < fNext) return fbStopped;
  fbStopped = fAsk();
  fNext = std::chrono::steady_clock::now() + kPause;
  return fbStopped;
}

OneRun::OneRun(Poller* poller) : fTurn(TakeTurn(poller)) {}

OneRun::~OneRun() {
  if (fTurn != Turn::kTaken) return;
  gRunsIn.store(0);
  gIsInCall = false;
  gTurn.unlock();
}

SignalsBlocked::SignalsBlocked() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &fKept);
}

SignalsBlocked::~SignalsBlocked() {
  pthread_sigmask(SIG_SETMASK, &fKept, nullptr);
}

// The request is repeated: a session that starts after it would have forgotten it.
void RunOnThread(const std::function<void()>& work, Poller* poller) {
  std::mutex mutex;
  std::condition_variable done;
  bool isDone = false;
  std::exception_ptr thrown;
  const auto run = [&] {
    try {
      work();
    } catch (...) {
      thrown = std::current_exception();
    }
    const std::lock_guard lock(mutex);
    isDone = true;
    done.notify_one();
  };
  std::jthread thread;
  {
    const SignalsBlocked blocked;
    thread = std::jthread(run);
  }
  std::unique_lock lock(mutex);
  while (!isDone) {
    lock.unlock();
    if (poller->Stops()) RequestStop();
    lock.lock();
    done.wait_for(lock, kPause, [&] { return isDone; });
  }
  lock.unlock();
  thread.join();
  if (thrown != nullptr) std::rethrow_exception(thrown);
}
