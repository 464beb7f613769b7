#pragma once

#include <vector>

namespace MCCommon {

// A record of doubles of fixed width, held by the record itself.
class Record {
public:
  explicit Record(int width) : fValues(static_cast<std::size_t>(width)) {}

  int Size() const { return static_cast<int>(fValues.size()); }
  double* GetAll() { return fValues.data(); }
  const double* GetAll() const { return fValues.data(); }
  double operator[](int index) const { return fValues[static_cast<std::size_t>(index)]; }

private:
  std::vector<double> fValues;
};

}  // namespace MCCommon
