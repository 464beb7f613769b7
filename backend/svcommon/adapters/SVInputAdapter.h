#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "backend/svcommon/adapters/CaseReaders.h"
#include "backend/svcommon/adapters/SVPlanValidSpecs.h"
#include "host/numeric/RecordIterator.h"

class ProcDSIterator;
class ProcedureDataSource;
class SVMessages;

// The record layer: how cases of the host become records of the computation.
//
//   ProcDSIterator -> SVProcDSMultiIter -> SVInputAdapter -> Record -> SVSDataTabulator
//   (cases)           (walks, ahead)       (translates)      (doubles)
//
// The computation knows neither variables nor texts. It sees records: arrays of doubles, in which each slot
// has a meaning that SVPlanValidSpecs fixes once per run. A block of cases becomes a block of records, column
// by column. SVProcDSMultiIter walks the cases and asks the
// adapter to translate each one; the adapter also decides which cases are valid. Anything the computation
// reports about a category it reports as a code, and the adapter translates back.
//
// SVInputAdapter fills one record per case: a category code, a number, the number that a table has for the
// case, or the position of the case in the file; the missing value where the case has none. A procedure
// derives from it and says what makes a case invalid.
//
// Codes are assigned in the first pass only, in the order in which values appear in all its cases, including
// rejected ones. In a later pass a value that the first one didn't see rejects its case, which can't happen
// unless the source changes its mind; so all passes see the same records.
//
// Use:        construct on the first iterator; the walker calls the Read...() functions for each case, in the
//             order in which they are declared, and the Count...() functions; SetIterator() before each
//             further pass.
// Ownership:  owns the readers of the variables; borrows everything else. An iterator must outlive its pass.
// Threads:    the thread of the run only.
// Failures:   a value that isn't allowed is shown to the user at once by SVMessages, which raises the host's
//             error flag; the case is rejected and reading goes on.
// Cost:       one hash probe for each categorical variable and each table of a case; nothing is allocated.
class SVInputAdapter {
public:
  virtual ~SVInputAdapter();
  SVInputAdapter(const SVInputAdapter&) = delete;
  SVInputAdapter& operator=(const SVInputAdapter&) = delete;

  // Doubles in a record.
  virtual int RecordSize() const;

  // Each fills its slots of the record from the current case. False rejects the case.
  virtual bool ReadCategorical(double* record);
  virtual bool ReadContinuous(double* record) = 0;
  virtual bool ReadMatrix(double* record) = 0;
  // Hooks for procedures other than a draw; the draw leaves them as they are. ReadFree() is for variables
  // outside the design, AcceptRecord() may reject a record that is complete but for the case id, and
  // KeepIncomplete() keeps a record that ReadMatrix() or AcceptRecord() rejected.
  virtual bool ReadFree(double* record);
  virtual bool AcceptRecord(const double* record);
  virtual bool KeepIncomplete() const;
  // Called when a further pass starts, after the readers have moved.
  virtual void OnNewIterator(ProcDSIterator* iterator);

  // Whether ReadBlock() can read the cases of the iterator. Not unless a procedure says so.
  virtual bool HasBlocks() const { return false; }
  // Translates the block of `rows` cases that the iterator has moved to, and counts them. Null if a case is to
  // be reported or rejected with a message: then nothing is counted, and the cases must be read one by one.
  virtual const MCCommon::RecordBlock* ReadBlock(std::size_t) { return nullptr; }

  // Starts a further pass: `iterator` is before the first of the same cases. Resets the counts.
  void SetIterator(ProcDSIterator* iterator);

  // Counts of the current pass, kept by SVProcDSMultiIter. Each case is counted as read, then as valid or
  // invalid; a valid one is also counted as passed. The walker is one record ahead, and so are the counts.
  void CountRead() { ++fCasesRead; }
  void CountValid() { ++fValidCases; }
  void CountInvalid() { ++fInvalidCases; }
  void CountPassed() { ++fRecordsPassed; }
  std::int64_t CasesRead() const { return fCasesRead; }
  std::int64_t ValidCases() const { return fValidCases; }
  std::int64_t InvalidCases() const { return fInvalidCases; }
  std::int64_t RecordsPassed() const { return fRecordsPassed; }
  int PassCounter() const { return fPassCounter; }  // 0 in the first pass

  // Cases that the first pass has read, and how many of them it rejected, for whatever reason.
  std::int64_t FirstPassRead() const { return fPassCounter == 0 ? fCasesRead : fFirstRead; }
  std::int64_t FirstPassInvalid() const { return fPassCounter == 0 ? fInvalidCases : fFirstInvalid; }

  // The cases that the first pass rejected because they have no value of a variable, or a user-missing one:
  // how many of how many, and by dictionary index how many lack that variable. A case that lacks several
  // strata or cluster variables counts for each.
  struct LeftOut {
    std::int64_t cases = 0;
    std::int64_t of = 0;
    std::vector<std::pair<std::int32_t, std::int64_t>> byVariable{};
  };
  LeftOut CasesLeftOut() const;

  // Writes the position of the current case in the file, from 0, if the record has a slot for it.
  void SetCaseId(double* record) const;

  // The value that a variable's category code represents, valid as long as the adapter; null for an unknown
  // variable or code. Variables are dictionary indices here.
  const OBS* ObsOfCode(std::int32_t variable, std::int32_t code) const;
  // The opposite, as CaseValueReader::CodeOfObs(); 0 for an unknown variable.
  std::int32_t CodeOfObs(std::int32_t variable, const OBS* obs);

  const std::vector<std::unique_ptr<CaseValueReader>>& CatReaders() const { return fvCatReaders; }
  // Dictionary indices.
  const std::vector<std::int32_t>& FirstStageStrata() const { return fpValidSpecs->FirstStageStrata(); }
  const std::vector<std::int32_t>& FirstStageClusters() const { return fpValidSpecs->FirstStageClusters(); }

  // Whether the data source has failed. Once true it stays true.
  bool FatalError() const;

protected:
  // Counts a case that the first pass rejects for a continuous variable, by its dictionary index.
  void CountLackOf(std::int32_t variable, std::int64_t cases = 1) {
    if (fPassCounter == 0 && cases > 0) fLacking[variable] += cases;
  }
  // Counts all cases of a block: those of which it has records are valid.
  void CountBlock(std::size_t rows, std::size_t records) {
    fCasesRead += static_cast<std::int64_t>(rows);
    fValidCases += static_cast<std::int64_t>(records);
    fRecordsPassed += static_cast<std::int64_t>(records);
    fInvalidCases += static_cast<std::int64_t>(rows - records);
  }

  SVInputAdapter(const SVPlanValidSpecs* validSpecs, ProcedureDataSource* dataSource,
                 ProcDSIterator* iterator, const SVMessages* messages, bool includeUserMissing);

  const SVPlanValidSpecs* fpValidSpecs;
  ProcDSIterator* fpIterator;  // of the current pass
  ProcedureDataSource* fpDataSource;
  const SVMessages* fpMessages;
  // One reader for each entry of the specifications' three maps of slots, in the order of the maps' keys.
  // This order, not that of the slots, decides which message comes first when a case has several faults.
  std::vector<std::unique_ptr<CaseValueReader>> fvCatReaders;
  std::vector<std::unique_ptr<SVAdaptContVar>> fvContVars;
  std::vector<std::unique_ptr<SVAdaptMatrixSpec>> fvMatrixSpecs;
  std::vector<std::int32_t> fvCatSlots;  // of the record, parallel to fvCatReaders

private:
  CaseValueReader* ReaderOf(std::int32_t variable) const;

  std::map<std::int32_t, std::int32_t> fCatReaderIndex;  // dictionary index to position in fvCatReaders
  std::int64_t fCasesRead = 0;
  std::int64_t fRecordsPassed = 0;
  std::int64_t fValidCases = 0;
  std::int64_t fInvalidCases = 0;
  std::map<std::int32_t, std::int64_t> fLacking;  // of the first pass: cases by the variable that they lack
  std::int64_t fFirstRead = 0;                    // cases of the first pass, once it is over
  std::int64_t fFirstInvalid = 0;
  int fPassCounter = 0;
  bool fbIncludeUserMissing;  // for categorical variables and tables; continuous ones never include them
};
