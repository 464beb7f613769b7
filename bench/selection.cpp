// Drawing the sample of one stratum, the units being tabulated already.
#include <benchmark/benchmark.h>

#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/selection/SVSelectSamples.h"
#include "backend/svselect/selection/SizeOrder.h"
#include "host/environment/MCStopProcessor.h"
#include "host/numeric/MCRandomTwister.h"

namespace {

// Whole sizes from 100 to about 100 (1 + skew); n p stays below 1 by far.
void Draw(benchmark::State& state, MethodType method, std::int32_t units, std::int32_t n, std::int32_t skew,
          bool exact) {
  SVSCompSettings settings;
  settings.FindStage(1).setMethodType(method);
  settings.SetExactDesign(exact);
  MCStopProcessor stop(0.0);
  SVCancelInfo cancelInfo(&stop);
  SVSOutSamples outSamples;
  MCCommonMath::MCRandomTwister random;
  random.Initialize(4711);
  SVSUnits all(1);
  for (std::int32_t i = 0; i < units; ++i) {
    const auto spread = static_cast<std::int32_t>(static_cast<std::int64_t>(i) * 7919 % 100);
    const double size = 100 + spread * skew;
    all.Add(&i, size);
  }
  std::vector<std::int32_t> selected;
  for (auto _ : state) {
    SVSUnits drawn = all;
    if (MethodOf(method).ordersBySize) SortBySize(&drawn, exact);
    SVSelectSamples engine(&settings, 1, &cancelInfo);
    engine.SetRandom(&random);
    engine.Prepare(&drawn, &selected, &outSamples, n, 0.0);
    if (engine.SelectSamples().IsError() || engine.GetNumSelected() == 0)
      state.SkipWithError("nothing drawn");
  }
}

constexpr std::int32_t kMillion = 1000000;

}  // namespace

#define SV_DRAW(method, ...) \
  BENCHMARK_CAPTURE(Draw, method, kMethod##method, __VA_ARGS__)->Unit(benchmark::kMillisecond)

SV_DRAW(SimpleWor, kMillion, 10000, 0, false);
SV_DRAW(SimpleWr, kMillion, 10000, 0, false);
SV_DRAW(SimpleSystematic, kMillion, 10000, 0, false);
SV_DRAW(SimpleChromy, kMillion, 10000, 0, false);
SV_DRAW(PpsSystematic, kMillion, 10000, 9, false);
SV_DRAW(PpsWr, kMillion, 10000, 9, false);
SV_DRAW(PpsChromy, kMillion, 10000, 9, false);
SV_DRAW(PpsWor, 10000, 200, 9, false);
SV_DRAW(PpsSampford, 10000, 60, 9, false);
BENCHMARK_CAPTURE(Draw, ExactSampford, kMethodPpsSampford, 100000, 1000, 9, true)
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
