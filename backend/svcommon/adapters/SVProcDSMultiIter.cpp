#include "backend/svcommon/adapters/SVProcDSMultiIter.h"

#include <cstddef>
#include <utility>

#include "backend/svcommon/adapters/SVInputAdapter.h"
#include "host/engine/ProcedureDataSource.h"

std::unique_ptr<ProcDSIterator> SVProcDSMultiIter::MakeIterator(ProcedureDataSource* dataSource) {
  std::unique_ptr<KORV_InputCaseIterator> made(dataSource->MakeInputCaseIterator(0));
  auto* iterator = dynamic_cast<ProcDSIterator*>(made.get());
  if (iterator != nullptr) static_cast<void>(made.release());
  return std::unique_ptr<ProcDSIterator>(iterator);
}

SVProcDSMultiIter::SVProcDSMultiIter(ProcedureDataSource* dataSource,
                                     std::unique_ptr<ProcDSIterator> iterator, SVInputAdapter* adapter,
                                     bool byBlocks)
    : fpDataSource(dataSource),
      fpIterator(std::move(iterator)),
      fpAdapter(adapter),
      fRecordFirst(adapter->RecordSize()),
      fRecordSecond(adapter->RecordSize()),
      fbWantsBlocks(byBlocks) {
  StartPass();
}

SVProcDSMultiIter::~SVProcDSMultiIter() = default;

MCCommon::Record* SVProcDSMultiIter::Next() {
  if (fStatus != MCCommon::kRecordReady) return nullptr;
  ReadAhead();
  // The record that was filled by the read before this one.
  return fbReadSecond ? &fRecordSecond : &fRecordFirst;
}

MCCommon::Record* SVProcDSMultiIter::Current() {
  if (fStatus != MCCommon::kRecordReady) return nullptr;
  return fbReadSecond ? &fRecordFirst : &fRecordSecond;
}

int SVProcDSMultiIter::Reset() {
  fpIterator.reset();
  fpIterator = MakeIterator(fpDataSource);
  if (fpIterator == nullptr) {
    fStatus = MCCommon::kSourceFailed;
    return fStatus;
  }
  fpAdapter->SetIterator(fpIterator.get());
  fStatus = MCCommon::kRecordReady;
  StartPass();
  return fStatus;
}

void SVProcDSMultiIter::StartPass() {
  fbByBlocks = fbWantsBlocks && fpAdapter->HasBlocks();
  if (fbByBlocks) {
    ReadBlockAhead();
  } else {
    ReadAhead();
  }
}

// The block that was read ahead isn't valid any more once the next one is read, so that is done as late as it
// is asked for.
const MCCommon::RecordBlock* SVProcDSMultiIter::NextBlock() {
  if (!fbByBlocks || fStatus != MCCommon::kRecordReady) return nullptr;
  if (fpBlock == nullptr) ReadBlockAhead();
  return std::exchange(fpBlock, nullptr);
}

// To the next block that has a record.
void SVProcDSMultiIter::ReadBlockAhead() {
  while (const std::size_t rows = fpIterator->NextCases()) {
    fpBlock = fpAdapter->ReadBlock(rows);
    if (fpBlock == nullptr) {
      fbByBlocks = false;
      fpIterator->GoOnByCases();
      return ReadAhead();
    }
    if (!fpBlock->records.empty()) return;
  }
  fpBlock = nullptr;
  fStatus = fpAdapter->FatalError() ? MCCommon::kSourceFailed : MCCommon::kCasesExhausted;
}

// Fills the other record with the next valid case. A case counts as read before it is known to be valid,
// since the case id is its position among all cases. A case that can't be read counts as read only.
void SVProcDSMultiIter::ReadAhead() {
  double* record = (fbReadSecond ? fRecordSecond : fRecordFirst).GetAll();
  fbReadSecond = !fbReadSecond;
  while (MoveToNextCase()) {
    fpAdapter->CountRead();
    if (ReadCase(record)) {
      fpAdapter->CountValid();
      fpAdapter->SetCaseId(record);
      fpAdapter->CountPassed();
      return;
    }
    if (fpAdapter->FatalError()) break;
    fpAdapter->CountInvalid();
  }
  // A source that failed must not look like one that ended: what was read so far isn't the whole file.
  fStatus = fpAdapter->FatalError() ? MCCommon::kSourceFailed : MCCommon::kCasesExhausted;
}

// The iterator stops once between two split groups, without a case there.
bool SVProcDSMultiIter::MoveToNextCase() {
  if (fpIterator->NextCase() == 0) return false;
  return !fpIterator->SplitGroupEnd() || fpIterator->NextCase() != 0;
}

bool SVProcDSMultiIter::ReadCase(double* record) {
  const bool keep = fpAdapter->KeepIncomplete();
  return fpAdapter->ReadCategorical(record) && fpAdapter->ReadContinuous(record) &&
         (fpAdapter->ReadMatrix(record) || keep) && fpAdapter->ReadFree(record) &&
         (fpAdapter->AcceptRecord(record) || keep);
}
