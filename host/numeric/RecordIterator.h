#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// The computation's only view of the data: records of doubles, read in repeated passes. An adapter of the
// procedure makes them from cases, so the computation never sees a file, a dictionary or a string. Records
// come one by one, or many at a time as a block.

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

// Up to a few thousand records, column by column. A block is a piece of the source as it is, so some of its
// rows may be no records. Everything is borrowed, and lives until the next block.
struct RecordBlock {
  std::span<const std::uint32_t> records;    // the rows that are records, ascending
  std::int64_t firstCase = 0;                // the case id of row 0; those of further rows ascend by 1
  std::vector<const std::int32_t*> codes{};  // by slot, of the categorical ones; null for others
  std::vector<const double*> numbers{};      // by slot, of the others; null for those and for the case id

  double CaseId(std::uint32_t row) const { return static_cast<double>(firstCase + row); }
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
//
// A pass may begin with blocks. NextBlock() is called until it returns null; what is then left of the pass
// comes from Next().
class MultiPassRecordIter : public RecordIterator {
public:
  ~MultiPassRecordIter() override;

  // Whether passes begin with blocks, until something unusual is met.
  virtual bool HasBlocks() const { return false; }
  // The next records of the pass; null at the end, after a failure, and where single records follow.
  virtual const RecordBlock* NextBlock() { return nullptr; }

  // Starts a new pass and returns its status.
  virtual int Reset() = 0;
};

}  // namespace MCCommon
