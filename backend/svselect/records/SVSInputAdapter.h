#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "backend/svcommon/adapters/SVInputAdapter.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "host/numeric/RecordIterator.h"

// SVSInputAdapter decides which cases take part in a draw.
//
// A case is rejected if a strata or cluster variable is missing, if the weight of an earlier sampling is
// missing, if a rate or size isn't allowed, or if a table has no number for the case. The last two are the
// user's mistake rather than gaps in the data, so a message is shown as well, which ends the run. A missing
// rate, size or measure of size doesn't reject the case: the stratum deals with it, since one record with a
// value is enough.
//
// Ownership, threads and cost are those of the base class.
class SVSInputAdapter : public SVInputAdapter {
public:
  // Binds the variables of the record to `iterator`. Whether a user-missing value is a category of its own is
  // the command's choice (CLASSMISSING); for numbers it never is a value.
  // REQUIRES: the specifications are validated.
  SVSInputAdapter(const SVSValidSpecs* validSpecs, ProcedureDataSource* dataSource, ProcDSIterator* iterator,
                  const SVMessages* messages);
  ~SVSInputAdapter() override;

  bool ReadContinuous(double* record) override;
  bool ReadMatrix(double* record) override;

  bool HasBlocks() const override;
  const MCCommon::RecordBlock* ReadBlock(std::size_t rows) override;

private:
  void ReadCodes(std::size_t rows);
  bool ReadNumbers(std::size_t rows);
  bool ReadTables(std::size_t rows);
  void CountLacks(std::size_t rows);
  double* NumbersOf(std::int32_t slot, std::size_t rows);

  MCCommon::RecordBlock fBlock;
  std::vector<std::uint32_t> fvRecords;            // rows of the block that may become records
  std::size_t fWeightless = 0;                     // rows that don't, for lack of the previous weight
  std::vector<std::vector<std::int32_t>> fvCodes;  // parallel to fvCatReaders
  std::vector<std::vector<double>> fvNumbers;      // by slot of the record
  const SVSValidSpecs* fpSelectSpecs;              // the object that fpValidSpecs points to, by its own type
};
