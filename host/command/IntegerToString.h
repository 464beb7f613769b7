#pragma once

#include <cstdint>
#include <string>

inline std::string IntegerToString(std::int64_t value) {
  return std::to_string(value);
}
