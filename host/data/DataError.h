#pragma once

#include <stdexcept>

// A failure of the data layer, as one clear line that names the file at fault and, where there is one, the
// line. Thrown inside the data layer and by OpenFrame(); no case iterator lets one through.
struct DataError : std::runtime_error {
  using std::runtime_error::runtime_error;
};
