#pragma once

#include <vector>

// The computation's only view of the data: records of doubles, read in repeated passes. An adapter of the
// procedure makes them from cases, so the computation never sees a file, a dictionary or a string.

namespace MCCommon {

// A fixed number of doubles, owned by the record.
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

// Values of RecordIterator::Status(). There is no 2.
enum IteratorStatus : int {
  kRecordReady = 0,     // Next() will return a record
  kCasesExhausted = 1,  // the pass ended normally
  kSourceFailed = 3,    // the source can't deliver; from now on Next() returns null
};

// A stream of records.
class RecordIterator {
public:
  virtual ~RecordIterator();

  virtual bool HasMore() = 0;

  // The next record, null at the end. Borrowed; it survives one further call, as the stream fills two in
  // turn.
  virtual Record* Next() = 0;

  // An IteratorStatus, of the record after the one last returned: streams read one ahead. On kSourceFailed
  // drop the record just received as well, since its pass is incomplete.
  virtual int Status() = 0;
};

// A stream that can start over. Every pass delivers the same records in the same order.
class MultiPassRecordIter : public RecordIterator {
public:
  ~MultiPassRecordIter() override;

  // Starts a new pass and returns its status.
  virtual int Reset() = 0;
};

}  // namespace MCCommon
