#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/tabulation/SVSStratumData.h"
#include "host/numeric/RecordIterator.h"
#include "model_components/surveyplans/common/SVHashtable.h"
#include "model_components/surveyplans/common/SVKey.h"
#include "model_components/surveyplans/common/SVStatus.h"

class SVCancelInfo;
class SVSCompSettings;
namespace MCCommonMath {
class MCRandomTwister;
}
namespace MCSV {
class SVSOutJointProbs;
class SVSOutputSummary;
}  // namespace MCSV

// SVSDataTabulator is one stage of a run. It sorts the records of one pass into strata and units, has each
// stratum draw, and then answers for any record what the stage decided about it.
//
// One pass. A stage reads the file once, and keeps no records: of each stratum it keeps the units, of each
// unit its measure of size and later its result (see SVSStratumData.h). Records may come in any order, and a
// unit's records need not be together. Memory grows with the number of units, not with that of records; only
// where the case itself is the unit are the two the same.
//
// Keys. A stratum is identified by the codes of the strata and cluster variables of all earlier stages and of
// the strata variables of its own stage, so the strata of a stage lie within the units of the stage before. A
// unit is identified, within its stratum, by the codes of the stage's cluster variables, or by the case id if
// the stage has none.
//
// One stage feeds the next by being asked. A record enters a stage only if the tabulator of the stage before
// says that its unit was selected. Asking one stage back is enough: a record that was dropped earlier has a
// stratum key there that is in no table.
//
// What decides the sample. Strata are drawn in the order of the hash table, units are listed in the order of
// their first record. Both depend on the order of the records and on nothing else, so the ring described at
// Arrive() must pass records on in the order in which they came.
//
// Use:        construct, SetRandom(), SetOutputStats(), ProcessData() once, SelectSamples() once; then
//             Lookup() and MaySelect() as often as needed.
// Ownership:  owns its strata; borrows everything that it is given, which must outlive it.
// Threads:    the thread of the run only; even Lookup() writes to scratch fields.
// Failures:   a status, which also goes to the collector. After an error the object answers every question
//             with that error.
// Cost:       a record takes one search for its stratum and one for its unit, and the same again in the
//             tabulator of the stage before. Only a new stratum or unit allocates.
//
// Invariants: (1) fTablePairs lists the strata of fDataTable, each once.
//             (2) fEntered <= fArrived <= fEntered + kWaiting; the difference is the number of waiting
//                 records.
class SVSDataTabulator {
public:
  // `prevTabulator` is that of the stage before. It is null for the first selected stage, which takes every
  // record, even if the design has stages before it: an earlier run has drawn those.
  SVSDataTabulator(const SVSCompSettings* settings, std::int32_t stage, SVSDataTabulator* prevTabulator,
                   SVCancelInfo* cancelInfo);

  void SetRandom(MCCommonMath::MCRandomTwister* generator) { fpRandom = generator; }
  void SetOutputStats(SVSOutSamples* outSamples) { fpOutSamples = outSamples; }

  // Tabulates the records that are left in the pass. Errors: 92001 if there are none, 92000 for a second call
  // or a failed source, 92002 to 92004 and 92006 for a faulty record, 1 if the run was cancelled. Warning:
  // 92005, once, if a stratum's records disagree on its rate or size.
  SVStatus ProcessData(MCCommon::MultiPassRecordIter& iterator);

  // Draws in every stratum, in the order of the table; then sends the results to the outputs, either of which
  // may be null. Only stage 1 has joint probabilities. Errors: those of the strata, 92000 if the summary
  // failed, 92012 if the joint output failed while it was written, 92037 if a strict run finds what makes its
  // results wrong or unclear: before the draw, but for what only the draw can show.
  SVStatus SelectSamples(MCSV::SVSOutputSummary* summary, MCSV::SVSOutJointProbs* jointProbs);

  // Reviews the strata in place of SelectSamples(), and draws nothing. Returns the error that the draw would
  // end with: for a missing rate, size or measure of size, or a unit that is too large beyond doubt.
  SVStatus CheckSamples();

  // Fills `values` with the stage's seven results for a record, by OutputKind; all are missing for a record
  // that isn't in the stage. The cumulative weight is the stage's weight times `carriedWeight`; in the first
  // selected stage, which ignores `carriedWeight`, times the weight of an earlier sampling. Errors: 92003 if
  // that weight isn't positive, 92004 and 92006 for a faulty record.
  SVStatus Lookup(const MCCommon::Record& record, double carriedWeight, std::vector<double>* values);

  // A quick test before Lookup(): false means that the stage surely didn't select the record's unit.
  bool MaySelect(const MCCommon::Record& record);

  std::int64_t RecordCount() const { return fRecordCount; }  // records that were read
  // Records that could be tabulated, including those that the stage before didn't select.
  std::int64_t ValidCount() const { return fValidCount; }

private:
  using StrataTable = SVHashtable<SVSStratumData>;
  using StratumEntry = StrataTable::Entry;

  void TakeRecord(MCCommon::MultiPassRecordIter& iterator);
  bool Check(const MCCommon::Record& record, SVStatus& status);
  // A record that waits to be added to its unit.
  struct Arrival {
    SVKey stratumKey;
    SVKey unitKey;
    StratumEntry* stratum = nullptr;  // null if the stratum didn't exist when the record arrived
    std::vector<double> data;
  };
  // Records on their way. A power of two, so that positions wrap by a mask, and enough of them that a unit
  // has been fetched from memory before its record's turn comes.
  static constexpr std::size_t kWaiting = 16;

  void Tabulate(const MCCommon::Record& record);
  bool EntersStage(const MCCommon::Record& record);
  void Arrive(const MCCommon::Record& record);
  void EnterNext();
  void CheckConstant(StratumEntry& entry, const double* data);
  void NoteUnequalSize(const Arrival& arrival, double size);
  Arrival& ArrivalAt(std::size_t number) { return fArrivals[number % kWaiting]; }
  SVSStratumData& NewStratum(const SVKey& key, const double* data);
  void MakeKeys(const double* data, SVKey* stratumKey, SVKey* unitKey) const;
  double IncomingWeight(const double* data) const { return fWeightVar < 0 ? 1.0 : data[fWeightVar]; }

  SVSFindings& Findings() { return fpOutSamples->Findings(); }
  void Review();
  bool LosesHits() const;
  bool RefusesFindings();
  bool DrawStrata(int* maxSelected);
  bool Summarize(MCSV::SVSOutputSummary& summary);
  void WriteJointProbs(MCSV::SVSOutJointProbs& output, int maxSelected);
  bool WriteStratum(MCSV::SVSOutJointProbs& output, StratumEntry& entry);

  const SVSCompSettings* fCompSettings;
  std::int32_t fStageInd;
  SVSDataTabulator* fpPrevTabulator;  // borrowed, null for the first selected stage
  bool fbFirstStage;                  // of the selected ones
  SVSOutSamples* fpOutSamples = nullptr;
  std::vector<std::int32_t> fKeyStrataVars;
  std::vector<std::int32_t> fKeyClusterVars;
  std::int32_t fCaseIdVar;
  std::vector<std::int32_t> fConstVars;  // the stage's rate or size variable, or nothing
  const std::vector<std::int32_t>* fVariableType;
  std::int32_t fWeightVar;
  StrataTable fDataTable;
  std::array<Arrival, kWaiting> fArrivals;  // a ring; arrival k is at k mod kWaiting
  std::size_t fArrived = 0;                 // records that came into the ring
  std::size_t fEntered = 0;                 // records that left it for their units
  SVKey fSVStratumKey;                      // scratch
  SVKey fSVUnitKey;                         // scratch
  std::vector<double> fPrevValues;          // scratch: results of the stage before
  // The strata in order of their first record; sorted by key once joint probabilities are written.
  std::vector<StratumEntry*> fTablePairs;
  std::int64_t fRecordCount = 0;
  std::int64_t fValidCount = 0;
  bool fbSourceProcessed = false;
  SVStatus fStatus;
  bool fbConstStatus = false;  // warning 92005 has been raised; it is raised once per stage
  SVCancelInfo* fpCancelInfo;
  MCCommonMath::MCRandomTwister* fpRandom = nullptr;
};
