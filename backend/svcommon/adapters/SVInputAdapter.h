#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "backend/svcommon/adapters/CaseValueReader.h"
#include "backend/svcommon/adapters/SVAdaptSpecs.h"
#include "backend/svcommon/adapters/SVPlanValidSpecs.h"

class ProcDSIterator;
class ProcedureDataSource;
class SVMessages;

// SVInputAdapter turns the cases of the host into records of doubles, laid out as the validated
// specifications say: a category code, a number, the number that a table holds for the case, or the place of
// the case in the file; the missing value where the case has none.
//
// Codes are given in the first pass, in the order in which values appear among all its cases, also those that
// are rejected. Later passes give none: a value that the first pass didn't see rejects its case.
//
// Ownership:  owns the readers of the variables; borrows all else. The iterator outlives its pass.
// Cost:       one hash probe for each categorical variable and table of a case; a case allocates nothing.
class SVInputAdapter {
public:
  virtual ~SVInputAdapter();
  SVInputAdapter(const SVInputAdapter&) = delete;
  SVInputAdapter& operator=(const SVInputAdapter&) = delete;

  // Doubles in a record.
  virtual int RecordSize() const;

  // Each fills its slots of a record with the current case; false rejects the case.
  virtual bool ReadCategorical(double* record);
  virtual bool ReadContinuous(double* record) = 0;
  virtual bool ReadMatrix(double* record) = 0;
  // For procedures with variables outside the design.
  virtual bool ReadFree(double* record);
  // The last word on a record that is filled but for the case id.
  virtual bool AcceptRecord(const double* record);
  // Whether a record that ReadMatrix() or AcceptRecord() rejects is kept all the same.
  virtual bool KeepIncomplete() const;
  // A pass over a new iterator starts.
  virtual void OnNewIterator(ProcDSIterator* iterator);

  // Starts a further pass over a new iterator, at the start of the same cases.
  void SetIterator(ProcDSIterator* iterator);

  // The counts of the pass, kept by whoever walks the cases. A case is counted as read, then as valid or as
  // invalid; a valid one also as passed once its record is on its way.
  void CountRead() { ++fCasesRead; }
  void CountValid() { ++fValidCases; }
  void CountInvalid() { ++fInvalidCases; }
  void CountPassed() { ++fRecordsPassed; }
  std::int64_t CasesRead() const { return fCasesRead; }
  std::int64_t ValidCases() const { return fValidCases; }
  std::int64_t InvalidCases() const { return fInvalidCases; }
  std::int64_t RecordsPassed() const { return fRecordsPassed; }
  int PassCounter() const { return fPassCounter; }  // 0 in the first pass

  // Writes the place in the file, from 0, of the case read last, if the record has a slot for it.
  void SetCaseId(double* record) const;

  // The value of a category code of a variable, valid while the adapter lives; null for an unknown variable
  // or code.
  const OBS* ObsOfCode(std::int32_t variable, std::int32_t code) const;
  // The code of a value, as CaseValueReader::CodeOfObs(); 0 for an unknown variable.
  std::int32_t CodeOfObs(std::int32_t variable, const OBS* obs, bool* wasNew, bool addIfNew);

  const std::vector<std::unique_ptr<CaseValueReader>>& CatReaders() const { return fvCatReaders; }
  // Dictionary indices.
  const std::vector<std::int32_t>& FirstStageStrata() const { return fpValidSpecs->FirstStageStrata(); }
  const std::vector<std::int32_t>& FirstStageClusters() const { return fpValidSpecs->FirstStageClusters(); }

  // The data source can't go on.
  bool FatalError() const;

protected:
  SVInputAdapter(const SVPlanValidSpecs* validSpecs, ProcedureDataSource* dataSource,
                 ProcDSIterator* iterator, const SVMessages* messages, bool includeUserMissing);

  const SVPlanValidSpecs* fpValidSpecs;
  ProcDSIterator* fpIterator;  // of the current pass
  ProcedureDataSource* fpDataSource;
  const SVMessages* fpMessages;
  // One for each entry of the specifications' maps of slots, in the order of their keys.
  std::vector<std::unique_ptr<CaseValueReader>> fvCatReaders;
  std::vector<std::unique_ptr<SVAdaptContVar>> fvContVars;
  std::vector<std::unique_ptr<SVAdaptMatrixSpec>> fvMatrixSpecs;

private:
  CaseValueReader* ReaderOf(std::int32_t variable) const;

  std::vector<std::int32_t> fvCatSlots;                  // of the record, parallel to fvCatReaders
  std::map<std::int32_t, std::int32_t> fCatReaderIndex;  // dictionary index to position in fvCatReaders
  std::int64_t fCasesRead = 0;
  std::int64_t fRecordsPassed = 0;
  std::int64_t fValidCases = 0;
  std::int64_t fInvalidCases = 0;
  int fPassCounter = 0;
  bool fbIncludeUserMissing;  // of categorical variables and tables; continuous ones never include them
};
