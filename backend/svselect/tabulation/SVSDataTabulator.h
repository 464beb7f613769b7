#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "backend/svselect/tabulation/SVSStratumData.h"
#include "host/numeric/RecordIterator.h"
#include "model_components/surveyplans/common/SVHashtable.h"
#include "model_components/surveyplans/common/SVKey.h"
#include "model_components/surveyplans/common/SVStatus.h"

class SVCancelInfo;
class SVSCompSettings;
class SVSOutSamples;
namespace MCCommonMath {
class MCRandomTwister;
}
namespace MCSV {
class SVSOutJointProbs;
class SVSOutputSummary;
}  // namespace MCSV

// SVSDataTabulator is one stage of a run: it sorts the records of one pass into strata and their units, has
// each stratum draw, and then answers for any record what the stage decided about it.
//
// A stratum is told by the strata and cluster variables of all stages before and the strata variables of the
// stage itself, so the strata of a stage nest in the units of the one before. A record enters only if the
// tabulator before says that its unit was selected. Records may come in any order.
//
// Use:        construct, SetRandom(), SetOutputStats(), ProcessData() once, SelectSamples() once, Lookup().
// Ownership:  owns its strata; borrows everything that it is given, which must outlive it.
// Threads:    the thread of the run only. Lookup() writes to scratch fields.
// Cost:       a record is one search for its stratum and one for its unit, and the same in the tabulator
//             before; only a new stratum or a new unit allocates. In a file in random order nearly every unit
//             is out of the processor's caches, so a few records wait while their units are fetched.
class SVSDataTabulator {
public:
  // `prevTabulator` is that of the stage before, null for the first selected stage: it takes every record.
  SVSDataTabulator(const SVSCompSettings* settings, std::int32_t stage, SVSDataTabulator* prevTabulator,
                   SVCancelInfo* cancelInfo);

  void SetRandom(MCCommonMath::MCRandomTwister* generator) { fpRandom = generator; }
  void SetOutputStats(SVSOutSamples* outSamples) { fpOutSamples = outSamples; }

  // Tabulates the records that are left in the pass. Errors: 92001 without any, 92000 for a second call or a
  // failed source, 92002 to 92004 and 92006 for a record at fault, 1 when the run was cancelled.
  SVStatus ProcessData(MCCommon::MultiPassRecordIter& iterator);

  // Draws in every stratum, in the order of the table, which decides the random numbers that a stratum gets;
  // then sends the results to the outputs, either of which may be null. Joint probabilities belong to
  // stage 1. Errors: those of the strata, 92000 when the summary failed, 92012 when the joint output failed
  // while it was written.
  SVStatus SelectSamples(MCSV::SVSOutputSummary* summary, MCSV::SVSOutJointProbs* jointProbs);

  // Makes `values` the seven results of the stage for a record, by OutputKind; all missing for a record that
  // isn't in the stage. The cumulative weight is the stage's weight times `carriedWeight`, in the first
  // selected stage times the weight of an earlier sampling. Errors: 92003 where that isn't positive, 92004
  // and 92006 for a record at fault.
  SVStatus Lookup(const MCCommon::Record& record, double carriedWeight, std::vector<double>* values);

  // Whether the stage may have selected the record's unit: false only where Lookup() would give no weight.
  // For the many records that aren't in a sample this is far cheaper.
  bool MaySelect(const MCCommon::Record& record);

  std::int64_t RecordCount() const { return fRecordCount; }  // records that were looked at
  // Records that were fit for tabulation, also those that the stage before had left out.
  std::int64_t ValidCount() const { return fValidCount; }

private:
  using StrataTable = SVHashtable<SVSStratumData>;
  using StratumEntry = StrataTable::Entry;

  void TakeRecord(MCCommon::MultiPassRecordIter& iterator);
  bool Check(const MCCommon::Record& record, SVStatus& status);
  // A record that waits to be entered under its unit.
  struct Arrival {
    SVKey stratumKey;
    SVKey unitKey;
    StratumEntry* stratum = nullptr;  // null when there was none at the record's arrival
    std::vector<double> data;
  };
  static constexpr std::size_t kWaiting = 16;  // a power of two

  void Tabulate(const MCCommon::Record& record);
  bool EntersStage(const MCCommon::Record& record);
  void Arrive(const MCCommon::Record& record);
  void EnterNext();
  Arrival& ArrivalAt(std::size_t number) { return fArrivals[number % kWaiting]; }
  SVSStratumData& NewStratum(const SVKey& key, const double* data);
  void MakeKeys(const double* data, SVKey* stratumKey, SVKey* unitKey) const;
  double IncomingWeight(const double* data) const { return fWeightVar < 0 ? 1.0 : data[fWeightVar]; }

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
  std::array<Arrival, kWaiting> fArrivals;  // a ring, by the number of the arrival
  std::size_t fArrived = 0;
  std::size_t fEntered = 0;
  SVKey fSVStratumKey;              // scratch
  SVKey fSVUnitKey;                 // scratch
  std::vector<double> fPrevValues;  // scratch: what the stage before says
  std::vector<StratumEntry*>
      fTablePairs;  // the strata by first appearance; sorted for the joint probabilities
  std::int64_t fRecordCount = 0;
  std::int64_t fValidCount = 0;
  bool fbSourceProcessed = false;
  SVStatus fStatus;
  bool fbConstStatus = false;  // 92005 was raised
  SVCancelInfo* fpCancelInfo;
  MCCommonMath::MCRandomTwister* fpRandom = nullptr;
};
