#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "backend/svcommon/adapters/SVInputAdapter.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/records/RefusedCases.h"
#include "host/numeric/RecordIterator.h"

// SVSInputAdapter decides which cases take part in a draw.
//
// A case is rejected if a strata or cluster variable is missing, if the weight of an earlier sampling is
// missing, if a rate or size isn't allowed, or if a table has no number for the case. The last two are the
// user's mistake rather than gaps in the data, so a message is shown as well, in each pass, which ends the
// run. A missing rate, size or measure of size doesn't reject the case: the stratum deals with it, since one
// record with a value is enough.
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

  int RecordSize() const override;
  bool ReadCategorical(double* record) override;
  bool ReadContinuous(double* record) override;
  bool ReadMatrix(double* record) override;

  void OnNewIterator(ProcDSIterator* iterator) override;
  bool HasBlocks() const override;
  const MCCommon::RecordBlock* ReadBlock(std::size_t rows) override;

  // Of the text variable in a slot of the record: by code, the rank of its value among all values. Texts are
  // ordered by their bytes, without blanks at the end.
  std::vector<std::int32_t> TextRanks(std::int32_t slot) const;

  // What the messages were about.
  const RefusedCases& Refused() const { return fRefused; }
  // From now on cases are refused without a message.
  void Silence() { fbSilent = true; }

private:
  // A message about the current case, which is noted in the first pass: the others see the same cases.
  void RefuseValue(RefusedCases::Why why, std::int32_t variable);
  void RefuseByTable(std::int32_t stage, const std::vector<std::int32_t>& variables, bool isSize);
  std::string PlaceText(const std::vector<std::int32_t>& variables) const;

  // Of a block.
  void ReadCodes(std::size_t rows);
  bool ReadNumbers(std::size_t rows);
  bool ReadTables(std::size_t rows);
  void ReadTexts(std::size_t rows);
  void CountLacks(std::size_t rows);
  std::int64_t CountWeightless(std::size_t rows) const;
  double* NumbersOf(std::int32_t slot, std::size_t rows);

  // A text variable that units are ordered by. Every text is a value, also a blank one.
  struct TextReader {
    std::int32_t slot;
    std::unique_ptr<CaseValueReader> reader;
  };

  std::vector<TextReader> fvTextReaders;
  MCCommon::RecordBlock fBlock;
  std::vector<std::uint32_t> fvRecords;            // rows of the block that may become records
  std::vector<std::vector<std::int32_t>> fvCodes;  // parallel to fvCatReaders
  std::vector<std::vector<double>> fvNumbers;      // by slot of the record
  const SVSValidSpecs* fpSelectSpecs;              // the object that fpValidSpecs points to, by its own type
  RefusedCases fRefused;
  bool fbSilent = false;
};
