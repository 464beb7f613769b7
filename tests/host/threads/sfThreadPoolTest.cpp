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
  Job(Tally* tally, sfCompleteTask* task) : fpTally(tally), fpTask(task) { ++fpTally->alive; }
  ~Job() override { --fpTally->alive; }
  int callBack() override {
    std::this_thread::sleep_for(std::chrono::microseconds(200));
    fpTally->mutex.lock(sfMutex::kExclusive, nullptr, 0);
    const bool throws = ++fpTally->done % 3 == 0;
    fpTally->mutex.unlock(nullptr, 0);
    fpTask->callBack();
    if (throws) throw std::runtime_error("a job that fails");
    return 0;
  }

private:
  Tally* fpTally;
  sfCompleteTask* fpTask;
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
        for (int i = 0; i < 20; ++i)
          pool.invoke(new Job(&tally, &task), nullptr, sfThreadPoolBase::kProcessScope);
        if (early) {
          pool.init();
          task.waitAll();
          EXPECT_EQ(tally.done, 20);
        }
      }  // the end of the pool waits as well
      EXPECT_EQ(tally.done, 20);
      EXPECT_EQ(tally.alive, 0);
    }
  }
}

}  // namespace
