#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "host/numeric/RecordIterator.h"

// Records held in memory, one after the other in a flat list, with the faults that a source can have.
class MemoryRecords : public MCCommon::MultiPassRecordIter {
public:
  static constexpr std::size_t kNever = static_cast<std::size_t>(-1);

  MemoryRecords(int width, std::vector<double> values)
      : fWidth(static_cast<std::size_t>(width)),
        fValues(std::move(values)),
        fBuffers{MCCommon::Record(width), MCCommon::Record(width)} {}

  std::size_t Count() const { return fWidth == 0 ? 0 : fValues.size() / fWidth; }
  // A record at a position; two of them stand at a time, as in a pass.
  MCCommon::Record& At(std::size_t position) {
    MCCommon::Record& record = fBuffers[position % 2];
    std::copy_n(fValues.begin() + static_cast<std::ptrdiff_t>(position * fWidth), fWidth, record.GetAll());
    return record;
  }

  bool HasMore() override { return !fbFailed && fNext < Count(); }
  MCCommon::Record* Next() override {
    const std::size_t position = fNext++;
    fbFailed = fbFailed || position == fFailAt;
    return fbFailed ? nullptr : &At(position);
  }
  int Status() override {
    if (fbFailed) return MCCommon::kSourceFailed;
    return HasMore() ? MCCommon::kRecordReady : MCCommon::kCasesExhausted;
  }
  int Reset() override {
    fNext = 0;
    ++fPasses;
    fbFailed = fbFailed || fPasses == fFailReset;
    return Status();
  }

  std::size_t fFailAt = kNever;     // the record at which the source fails
  std::size_t fFailReset = kNever;  // the call of Reset() that fails, from 1

private:
  std::size_t fWidth;
  std::vector<double> fValues;
  MCCommon::Record fBuffers[2];
  std::size_t fNext = 0;
  std::size_t fPasses = 0;
  bool fbFailed = false;
};
