#pragma once

#include <memory>

#include "host/engine/ProcDSIterator.h"
#include "host/numeric/RecordIterator.h"

class ProcedureDataSource;
class SVInputAdapter;

// SVProcDSMultiIter walks the active file as a stream of valid records, in as many passes as a run needs. It
// stays one valid record ahead of its reader, so that HasMore() is known before the last record is given out;
// the adapter's counts are therefore those of what was read ahead. Split groups are read through as one file.
//
// Ownership:  owns the case iterator of the current pass and both records; borrows the data source and the
//             adapter.
// Cost:       the records are filled in turn; a case allocates nothing.
class SVProcDSMultiIter : public MCCommon::MultiPassRecordIter {
public:
  // A new iterator at the start of the cases; null when the source gives none.
  static std::unique_ptr<ProcDSIterator> MakeIterator(ProcedureDataSource* dataSource);

  // Starts the first pass over `iterator`, on which the adapter was built, and reads the first record ahead.
  SVProcDSMultiIter(ProcedureDataSource* dataSource, std::unique_ptr<ProcDSIterator> iterator,
                    SVInputAdapter* adapter);
  ~SVProcDSMultiIter() override;

  bool HasMore() override { return fStatus == MCCommon::kRecordReady; }
  MCCommon::Record* Next() override;
  int Status() override { return fStatus; }
  // Starts a new pass. A record that was handed out is gone.
  int Reset() override;

  // The record read last, that of the case on which CaseIterator() stands; null when there is none.
  MCCommon::Record* Current();
  // Null after a Reset() that failed.
  ProcDSIterator* CaseIterator() { return fpIterator.get(); }

private:
  void ReadAhead();
  bool MoveToNextCase();
  bool ReadCase(double* record);

  ProcedureDataSource* fpDataSource;
  std::unique_ptr<ProcDSIterator> fpIterator;
  SVInputAdapter* fpAdapter;
  MCCommon::Record fRecordFirst;
  MCCommon::Record fRecordSecond;
  bool fbReadSecond = true;  // the next read fills fRecordSecond
  int fStatus = MCCommon::kRecordReady;
};
