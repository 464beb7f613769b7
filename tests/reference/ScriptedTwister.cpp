#include <cmath>
#include <sstream>

#include "ScriptedTwister.h"

namespace {
// The state word that the engine tempers to `y`: its four steps undone, the last first.
std::uint32_t Untempered(std::uint32_t y) {
  y ^= y >> 18;
  y ^= (y << 15) & 0xEFC60000U;
  std::uint32_t x = y;
  for (int i = 0; i < 5; ++i) x = y ^ ((x << 7) & 0x9D2C5680U);
  y = x;
  for (int i = 0; i < 3; ++i) x = y ^ (x >> 11);
  return x;
}
}  // namespace

MCCommonMath::MCRandomTwister ScriptedTwister(const std::vector<ScriptedDraw>& draws) {
  std::vector<std::uint32_t> outputs(624);
  for (std::uint32_t i = 0; i < outputs.size(); ++i) outputs[i] = i % 2 == 0 ? i << 4 : 0;  // tells i / 2
  for (std::size_t i = 0; i < draws.size(); ++i) {
    const auto digits =
        static_cast<std::uint64_t>(std::floor(std::ldexp(draws[i].value, draws[i].bOpen ? 52 : 53)));
    const auto high = static_cast<std::uint32_t>(digits >> 26);
    outputs[2 * i] = draws[i].bOpen ? high << 6 | 32U : high << 5;
    outputs[2 * i + 1] = static_cast<std::uint32_t>(digits & ((1U << 26) - 1)) << 6;
  }
  std::stringstream state;
  for (const std::uint32_t output : outputs) state << Untempered(output) << ' ';
  state << 0;
  std::mt19937 engine;
  state >> engine;
  return MCCommonMath::MCRandomTwister(engine);
}

int DrawsTaken(MCCommonMath::MCRandomTwister* scripted) {
  return static_cast<int>(std::ldexp(scripted->GetRealClosedOpen(), 27));
}
