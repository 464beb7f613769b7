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

namespace MCCommon {

// Status of a record stream.
enum IteratorStatus : int {
  kRecordReady = 0,     // a record is ready
  kCasesExhausted = 1,  // the cases are exhausted
  kSourceFailed = 3,    // the data source can't deliver; Next() gives null from then on
};

// A stream of records. The computation sees its data through this interface only.
class RecordIterator {
public:
  virtual ~RecordIterator();

  // A record can be had.
  virtual bool HasMore() = 0;

  // The next record, null when there is none. It stays intact until the next-but-one call.
  virtual Record* Next() = 0;

  // An IteratorStatus.
  virtual int Status() = 0;
};

// A record stream that can start over. Each pass delivers the same records in the same order.
class MultiPassRecordIter : public RecordIterator {
public:
  ~MultiPassRecordIter() override;

  // Starts a new pass; gives the new status.
  virtual int Reset() = 0;
};

}  // namespace MCCommon
