#pragma once

#include <memory>

#include "host/engine/ProcDSIterator.h"
#include "host/numeric/RecordIterator.h"

class ProcedureDataSource;
class SVInputAdapter;

// SVProcDSMultiIter walks the active file as a stream of valid records, in as many passes as a run needs.
// Each pass delivers the same records in the same order.
//
// It is always one valid record ahead of its reader: invalid cases are skipped, so only by finding the next
// valid one can it answer HasMore(). There are two records, filled in turn. Next() returns the one that was
// read before, and the case iterator is then already on the case of the other, which Current() returns. The
// last pass uses Current(), because it needs the case beside the record, to copy it.
//
// By blocks. A pass may begin with blocks of cases, which the adapter translates as a whole; the walker is one
// block with valid cases ahead then. At the first block that the adapter can't translate, as one of its cases
// needs a message, the rest of the pass goes case by case.
//
// Split groups are read through as one file: a run ignores the split of the active file.
//
// Use:        construct for the first pass, Reset() for each further one; NextBlock() until it returns null,
//             if that was asked for; Next() while HasMore().
// Ownership:  owns the case iterator of the pass and both records; borrows data source and adapter.
// Threads:    the thread of the run only.
// Failures:   a source that fails ends the stream with status kSourceFailed, also before the first record.
// Cost:       a case allocates nothing.
class SVProcDSMultiIter : public MCCommon::MultiPassRecordIter {
public:
  // A new iterator before the first case; null if no file is open.
  static std::unique_ptr<ProcDSIterator> MakeIterator(ProcedureDataSource* dataSource);

  // Starts the first pass over `iterator`, on which the adapter was built, and reads the first record or
  // block ahead. With `byBlocks` passes begin with blocks where that is possible.
  SVProcDSMultiIter(ProcedureDataSource* dataSource, std::unique_ptr<ProcDSIterator> iterator,
                    SVInputAdapter* adapter, bool byBlocks = false);
  ~SVProcDSMultiIter() override;

  bool HasMore() override { return fStatus == MCCommon::kRecordReady; }
  bool HasBlocks() const override { return fbByBlocks; }
  const MCCommon::RecordBlock* NextBlock() override;
  // REQUIRES, here and for Current(): NextBlock() has returned null, if the pass began with blocks.
  MCCommon::Record* Next() override;
  int Status() override { return fStatus; }
  // Starts a new pass and returns its status. Records that were handed out are overwritten.
  int Reset() override;

  // The record of the case on which CaseIterator() is; null at the end.
  MCCommon::Record* Current();
  // Null after a Reset() that failed.
  ProcDSIterator* CaseIterator() { return fpIterator.get(); }

private:
  void StartPass();
  void ReadBlockAhead();
  void ReadAhead();
  bool MoveToNextCase();
  bool ReadCase(double* record);

  ProcedureDataSource* fpDataSource;
  std::unique_ptr<ProcDSIterator> fpIterator;
  SVInputAdapter* fpAdapter;
  MCCommon::Record fRecordFirst;
  MCCommon::Record fRecordSecond;
  bool fbReadSecond = true;  // the next read fills fRecordSecond
  const bool fbWantsBlocks;
  bool fbByBlocks = false;                         // the pass hasn't gone over to single cases
  const MCCommon::RecordBlock* fpBlock = nullptr;  // the one that was read ahead
  int fStatus = MCCommon::kRecordReady;
};
