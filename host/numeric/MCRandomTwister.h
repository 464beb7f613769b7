#pragma once

#include <cstdint>
#include <random>

namespace MCCommonMath {

// The random number generator of a run: the 32-bit Mersenne Twister [MatsumotoNishimura98].
//
// A sample is a function of its seed, so the sequence can never change. That is why doubles are made here and
// not by std::uniform_real_distribution, whose results differ between standard libraries, and why each call
// takes two 32-bit outputs: how many were taken determines all later draws.
class MCRandomTwister {
public:
  MCRandomTwister() = default;
  // Continues the sequence of `engine` from its current state.
  explicit MCRandomTwister(const std::mt19937& engine) : fEngine(engine) {}

  // Restarts the sequence that belongs to `seed`.
  void Initialize(std::uint32_t seed) { fEngine.seed(seed); }

  // Uniform in [0, 1): k / 2^53, with 27 bits of k from the first output and 26 from the second.
  double GetRealClosedOpen() {
    const double high = static_cast<double>(fEngine() >> 5);
    const double low = static_cast<double>(fEngine() >> 6);
    return (high * 0x1p26 + low) / 0x1p53;
  }

  // Uniform in (0, 1): (k + 1/2) / 2^52, with 26 bits of k from each output. k + 1/2 is exact in a double.
  double GetRealOpen() {
    const double high = static_cast<double>(fEngine() >> 6);
    const double low = static_cast<double>(fEngine() >> 6);
    return (high * 0x1p26 + low + 0.5) / 0x1p52;
  }

private:
  std::mt19937 fEngine;
};

}  // namespace MCCommonMath
