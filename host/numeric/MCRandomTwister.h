#pragma once

#include <cstdint>
#include <random>

namespace MCCommonMath {

// The generator of a run: the 32-bit Mersenne Twister. The sequence for a seed is fixed, on every machine.
class MCRandomTwister {
public:
  MCRandomTwister() = default;
  // Goes on with the sequence of `engine`.
  explicit MCRandomTwister(const std::mt19937& engine) : fEngine(engine) {}

  // Starts the sequence of `seed`.
  void Initialize(std::uint32_t seed) { fEngine.seed(seed); }

  // Uniform in [0, 1), a multiple of 2^-53; takes two 32-bit outputs.
  double GetRealClosedOpen() {
    const double high = static_cast<double>(fEngine() >> 5);
    const double low = static_cast<double>(fEngine() >> 6);
    return (high * 0x1p26 + low) / 0x1p53;
  }

  // Uniform in the open interval (0, 1), an odd multiple of 2^-53; takes two 32-bit outputs.
  double GetRealOpen() {
    const double high = static_cast<double>(fEngine() >> 6);
    const double low = static_cast<double>(fEngine() >> 6);
    return (high * 0x1p26 + low + 0.5) / 0x1p52;
  }

private:
  std::mt19937 fEngine;
};

}  // namespace MCCommonMath
