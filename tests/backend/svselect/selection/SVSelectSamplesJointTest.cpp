#include <algorithm>
#include <atomic>
#include <memory>

#include "backend/svcommon/design/DesignStage.h"
#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/selection/SVSCallBackJointProb.h"
#include "backend/svselect/selection/SVSelectSamples.h"
#include "host/environment/MCStopProcessor.h"
#include "host/numeric/MCRandomTwister.h"
#include "host/threads/sfCompleteTask.h"
#include "host/threads/sfThreadPool.h"

namespace {

// Answers yes once, at one of the questions of worker threads; the run itself is never stopped.
class StopOnce : public MCStopProcessor {
public:
  explicit StopOnce(int at) : MCStopProcessor(0.0), fAt(at) {}
  bool Stopped() override { return false; }
  bool Tick() override { return fTicks++ == fAt; }
  int Ticks() const { return fTicks; }

private:
  int fAt;
  std::atomic<int> fTicks{0};
};

struct Outcome {
  SVStatus status;
  bool hasMatrix = false;
  std::vector<double> matrix;
  int ticks = 0;
  std::size_t statuses = 0;  // that the stage was told of
};

// Draws from units of the given sizes, in list order, and computes the joint probabilities.
Outcome Compute(std::int32_t method, const std::vector<double>& sizes, std::int32_t n, std::int32_t threads,
                int stopAt = -1) {
  StopOnce stop(stopAt);
  SVCancelInfo cancel(&stop);
  SVSCompSettings settings;
  EXPECT_TRUE(settings.SetMethod(method, 1));
  settings.SetNumThreads(threads);
  ClusterTable table;
  ClusterPairs all;
  ClusterPairs selected;
  for (const double size : sizes) {
    SVKey key(1);
    key[0] = static_cast<std::int32_t>(all.size()) + 1;
    key.ComputeHash();
    all.push_back(table.Insert(key, size));
  }
  MCCommonMath::MCRandomTwister random;
  random.Initialize(11);
  SVSOutSamples out;
  SVSelectSamples engine(&settings, 1, &cancel);
  engine.SetRandom(&random);
  engine.Prepare(&all, &selected, &out, n, 0.0);
  EXPECT_EQ(engine.SelectSamples().code, 0);

  Outcome outcome;
  const std::vector<double>* matrix = nullptr;
  std::int32_t count = 0;
  outcome.status = engine.PrepareThreads(&count);
  EXPECT_LE(count, std::max(threads, 1));
  if (!outcome.status.IsError() && count == 1) {
    outcome.status = engine.JointProbs(&matrix);
  } else if (!outcome.status.IsError()) {
    sfCompleteTask task(count);
    sfThreadPool pool(count, 0);
    pool.init();
    for (std::int32_t i = 0; i < count; ++i) {
      pool.invoke(new SVSCallBackJointProb(&engine, i, &task), nullptr, sfThreadPool::kProcessScope);
    }
    task.waitAll();
    outcome.status = engine.FinishThreads(&matrix);
  }
  outcome.hasMatrix = matrix != nullptr;
  if (matrix != nullptr) outcome.matrix = *matrix;
  outcome.ticks = stop.Ticks();
  outcome.statuses = out.Statuses().size();
  return outcome;
}

const std::vector<double> kRising = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13};

TEST(SVSelectSamplesJoint, FillsTheMatrixOfTheSelected) {
  const struct {
    const char* aim;
    std::int32_t method;
    std::vector<double> sizes;
    std::int32_t n;
    std::vector<double> matrix;
  } kCases[] = {
      {"nothing selected", kMethodPpsWor, {1, 2, 3}, 0, {}},
      {"one unit", kMethodPpsSampford, {2}, 1, {1}},
      {"Brewer takes both", kMethodPpsBrewer, {3, 3}, 2, {1, 1, 1, 1}},
      {"Sampford's census", kMethodPpsSampford, {3, 3, 3}, 3, std::vector<double>(9, 1.0)},
      {"PPS_WOR, all of one size", kMethodPpsWor, {2, 2}, 2, {1, 1, 1, 1}},
      {"Murthy, both", kMethodPpsMurthy, {1, 1}, 2, {1, 1, 1, 1}},
      {"a method without joint probabilities", kMethodSimpleWor, {1, 1}, 1, {}},
  };
  for (const auto& c : kCases) {
    for (const std::int32_t threads : {-1, 0, 1, 4}) {
      SCOPED_TRACE(testing::Message() << c.aim << ", threads " << threads);
      const Outcome outcome = Compute(c.method, c.sizes, c.n, threads);
      EXPECT_EQ(outcome.status.code, 0);
      EXPECT_TRUE(outcome.hasMatrix);
      EXPECT_EQ(outcome.matrix, c.matrix);
    }
  }
}

TEST(SVSelectSamplesJoint, ThreadsDontChangeADigit) {
  for (const std::int32_t method : {kMethodPpsWor, kMethodPpsBrewer, kMethodPpsMurthy, kMethodPpsSampford}) {
    const Outcome one = Compute(method, kRising, 6, 1);
    ASSERT_FALSE(one.matrix.empty());
    for (const std::int32_t threads : {2, 3, 7, 100}) {
      EXPECT_EQ(Compute(method, kRising, 6, threads).matrix, one.matrix) << method << ',' << threads;
    }
  }
}

// Goal: whichever question is answered yes, the computation ends, with the status of a cancelled run.
TEST(SVSelectSamplesJoint, EndsInOrderWhenCancelled) {
  for (const std::int32_t method : {kMethodPpsWor, kMethodPpsBrewer, kMethodPpsSampford}) {
    for (const std::int32_t threads : {1, 2, 3}) {
      const int ticks = Compute(method, kRising, 5, threads).ticks;
      EXPECT_GT(ticks, 0);
      for (int at = 0; at < ticks; ++at) {
        const Outcome outcome = Compute(method, kRising, 5, threads, at);
        EXPECT_TRUE(outcome.status.IsError());
        EXPECT_EQ(outcome.status.code, kStatusCancelled) << method << ',' << threads << ',' << at;
        EXPECT_FALSE(outcome.hasMatrix);
      }
    }
  }
}

TEST(SVSelectSamplesJoint, RefusesMoreUnitsThanEntriesCanBeCounted) {
  for (const std::int32_t threads : {1, 2}) {
    const Outcome outcome = Compute(kMethodPpsSampford, std::vector<double>(46341, 1.0), 46341, threads);
    EXPECT_EQ(outcome.status.code, kStatusNoMemory);
    EXPECT_FALSE(outcome.hasMatrix);
    EXPECT_EQ(outcome.statuses, 1U);
  }
}

}  // namespace
