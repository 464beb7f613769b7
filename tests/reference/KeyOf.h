#pragma once

#include <vector>

#include "model_components/surveyplans/common/SVKey.h"

// A key of these values, with its hash.
inline SVKey KeyOf(const std::vector<int>& values) {
  SVKey key(static_cast<std::int32_t>(values.size()));
  for (std::int32_t i = 0; i < key.Length(); ++i) key[i] = values[static_cast<std::size_t>(i)];
  key.ComputeHash();
  return key;
}
