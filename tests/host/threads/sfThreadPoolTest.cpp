#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

#include "host/threads/sfLocks.h"
#include "host/threads/sfThreadPool.h"

namespace {

struct Tally {
  std::atomic<int> alive{0};
  int done = 0;  // guarded by mutex
  sfMutex mutex;
};

class Job : public CallBackObject {
public:
  Job(Tally* tally, sfCompleteTask* task, bool throws) : fpTally(tally), fpTask(task), fbThrows(throws) {
    ++fpTally->alive;
  }
  ~Job() override { --fpTally->alive; }
  int callBack() override {
    std::this_thread::sleep_for(std::chrono::microseconds(200));
    fpTally->mutex.lock(sfMutex::kExclusive, nullptr, 0);
    ++fpTally->done;
    fpTally->mutex.unlock(nullptr, 0);
    if (fpTask != nullptr) fpTask->callBack();
    if (fbThrows) throw std::runtime_error("a job that fails");
    return 0;
  }

private:
  Tally* fpTally;
  sfCompleteTask* fpTask;
  bool fbThrows;
};

// Each job runs once and is destroyed, whatever the number of threads and whichever job throws; -1 is a
// system that grants no thread.
TEST(sfThreadPool, RunsAndDestroysEachJob) {
  for (const int threads : {-1, 1, 2, 7}) {
    for (const bool early : {false, true}) {  // handed over before the pool is started
      SCOPED_TRACE(testing::Message() << threads << " threads, early " << early);
      Tally tally;
      sfCompleteTask task(20);
      {
        sfThreadPool pool(threads, 0);
        if (!early) pool.init();
        pool.invoke(nullptr, nullptr, sfThreadPoolBase::kProcessScope);
        for (int i = 0; i < 20; ++i) {
          pool.invoke(new Job(&tally, &task, i % 3 == 0), nullptr, sfThreadPoolBase::kProcessScope);
        }
        if (early) pool.init();
        task.waitAll();
        EXPECT_EQ(tally.done, 20);
      }
      EXPECT_EQ(tally.alive, 0);
    }
  }
}

TEST(sfThreadPool, DestructionWaitsForTheJobs) {
  for (const int done : {9, 0}) {  // of a pool that was started, and of one that wasn't
    Tally tally;
    {
      sfThreadPool pool(2, 0);
      if (done > 0) pool.init();
      for (int i = 0; i < 9; ++i) pool.invoke(new Job(&tally, nullptr, false), nullptr, 1);
    }
    EXPECT_EQ(tally.done, done);
    EXPECT_EQ(tally.alive, 0);
  }
}

}  // namespace
