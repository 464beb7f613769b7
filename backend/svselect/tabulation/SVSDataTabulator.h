#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/tabulation/CaseMasses.h"
#include "backend/svselect/tabulation/CodeNumbers.h"
#include "backend/svselect/tabulation/LateNotes.h"
#include "backend/svselect/tabulation/RecordAsBlock.h"
#include "backend/svselect/tabulation/SVSStratumData.h"
#include "backend/svselect/tabulation/UnitOrder.h"
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
// unit its measure of size and later its result (see SVSUnits.h). Records may come in any order, and a unit's
// records need not be together. Memory grows with the number of units, not with that of records.
//
// Numbers. Records come in blocks, column by column. A stratum is identified by the unit of the stage before
// and the codes of its own strata variables, a unit by its stratum and the codes of the stage's cluster
// variables. Both get numbers in the order of their first record, by the codes alone (see CodeNumbers.h), so a
// record that brings nothing new costs one probe for each variable. Only a new stratum makes a key: it has
// the codes of the strata and cluster variables of all earlier stages and of the strata variables of its own.
//
// Single records are blocks of one row here. There, a stage without cluster variables tells its units apart by
// the case id, so that a record may be asked about at any time.
//
// Cases as units. In blocks each record has a case id of its own. A stage without cluster variables then only
// counts its units, stratum by stratum. Which case a unit is shows when a later pass counts again: the walk
// that KeepSelected() makes.
//
// One stage feeds the next. A row enters a stage only if the stage before has selected its unit, whose number
// is what the stratum of this stage begins with.
//
// What decides the sample. Strata are drawn in the order of the hash table, units are listed in the order of
// their first record. Both depend on the order of the records and on nothing else.
//
// Use:        construct, SetRandom(), SetOutputStats(), ProcessData() once, SelectSamples() once; then
//             Lookup() and MaySelect() for single records, or StartWalk(), and KeepSelected() with each block
//             of a pass.
// Ownership:  owns its strata; borrows everything that it is given, which must outlive it.
// Threads:    the thread of the run only; even Lookup() writes to scratch fields.
// Failures:   a status, which also goes to the collector. After an error the object answers every question
//             with that error.
// Cost:       a record takes one probe for each strata and cluster variable of this stage and of those before
//             it that selected its units. Only a new stratum or unit allocates.
//
// Invariants: (1) fvStrata lists the strata of fDataTable, each once, by number: in order of first record.
//             (2) fvPlaces has the units by number; where cases are counted, the selected ones alone, by
//                 stratum and then by unit.
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

  // --- a preview: in place of SelectSamples(), and without what needs it ---
  // Before ProcessData(), for each stage. `next` is the stage after it, null for the last one: it takes part in
  // the pass of this one as if all units were selected, and gets no ProcessData() of its own.
  void SetForesees(SVSDataTabulator* next) {
    fbForesees = true;
    fpNextTabulator = next;
  }
  // Looks at the strata as SelectSamples() does before the draw. Returns by stratum whether it makes a
  // probability or weight wrong or unclear.
  std::vector<bool> ReviewFrame();
  // What is known after the pass, by number of the stratum or unit.
  std::size_t StrataCount() const { return fvStrata.size(); }
  SVSStratumData& StratumAt(std::size_t stratum) const { return fvStrata[stratum]->value; }
  const SVKey& KeyAt(std::size_t stratum) const { return fvStrata[stratum]->key; }
  std::size_t OuterUnitOf(std::size_t stratum) const {
    return static_cast<std::size_t>(fvOuterUnits[stratum]);
  }
  // Cases that disagree with the first of their unit on its measure of size.
  std::int64_t DisagreeingIn(std::size_t stratum) const {
    const auto found = fDisagreeing.find(static_cast<std::int32_t>(stratum));
    return found == fDisagreeing.end() ? 0 : found->second;
  }
  // A unit by its stratum and its number within it. Empty where cases are counted.
  struct Place {
    std::int32_t stratum;
    std::int32_t unit;
  };
  const std::vector<Place>& UnitPlaces() const { return fvPlaces; }
  // Of the last stage. Null where each unit is a case, and has no weight of an earlier sampling, in strata of
  // equal probabilities or none.
  const CaseMasses* Masses() const { return fpMasses.get(); }
  // Whether a unit that is hit more than once is in the sample once.
  bool LosesHits() const;

  // --- single records: not after a pass of blocks whose cases were counted ---
  // Fills `values` with the stage's seven results for a record, by OutputKind; all are missing for a record
  // that isn't in the stage. The cumulative weight is the stage's weight times `carriedWeight`; in the first
  // selected stage, which ignores `carriedWeight`, times the weight of an earlier sampling. Errors: 92003 if
  // that weight isn't positive, 92004 and 92006 for a faulty record.
  SVStatus Lookup(const MCCommon::Record& record, double carriedWeight, std::vector<double>* values);
  // A quick test before Lookup(): false means that the stage didn't select the record's unit.
  bool MaySelect(const MCCommon::Record& record);

  // --- blocks ---
  // Starts a walk over all blocks of a pass, in this stage and those before it.
  void StartWalk();
  // Keeps the rows whose units this stage and all before it have selected, and sets their numbers to those of
  // the units of this stage. `*rows` has the rows with a positive weight. REQUIRES: the walk has seen all
  // blocks before this one.
  void KeepSelected(const MCCommon::RecordBlock& block, SVSRows* rows);
  // As Lookup(), for a unit by its number. `weight` is the carried one, or that of the earlier sampling. All
  // results are missing where it isn't positive.
  SVStatus ResultsOf(std::int32_t number, double weight, std::vector<double>* values) const;
  // The number, in the stage before, of the unit that contains this one.
  std::int32_t OuterUnit(std::int32_t number) const {
    return fvOuterUnits[static_cast<std::size_t>(fvPlaces[static_cast<std::size_t>(number)].stratum)];
  }
  // The weight of an earlier sampling, 1 without one.
  double IncomingWeight(const MCCommon::RecordBlock& block, std::uint32_t row) const {
    return fWeightVar < 0 ? 1.0 : block.numbers[static_cast<std::size_t>(fWeightVar)][row];
  }
  // The rows of a block with a positive one.
  void ListWeighted(const MCCommon::RecordBlock& block, SVSRows* rows) const;

  // Records that could be tabulated, including those that the stage before didn't select.
  std::int64_t ValidCount() const { return fValidCount; }

private:
  using StrataTable = SVHashtable<SVSStratumData>;
  using StratumEntry = StrataTable::Entry;

  // How far a walk has come with the cases of a stratum.
  struct Turn {
    std::int32_t seen = 0;  // cases
    std::int32_t next = 0;  // the next selected one, as a position in fvPlaces
  };

  // One comparison also rejects the missing value, which is negative.
  static bool IsPositive(double weight) { return weight > 0.0; }

  void TakeBlocks(MCCommon::MultiPassRecordIter& iterator);
  void TakeBlock(const MCCommon::RecordBlock& block);
  bool MayHaveFault(const MCCommon::RecordBlock& block) const;
  void TakeOneByOne(const MCCommon::RecordBlock& block);
  void TakeRecord(MCCommon::MultiPassRecordIter& iterator);
  void Take(const MCCommon::Record& record);
  bool Check(const MCCommon::Record& record, SVStatus& status);
  void Start(bool hasBlocks);
  void MakeMasses();
  void OrderUnits();
  void End();
  void Enter(const MCCommon::RecordBlock& block);
  void EnterNumbered(const MCCommon::RecordBlock& block);
  void PassOn(const MCCommon::RecordBlock& block);
  void EnterRow(const MCCommon::RecordBlock& block, std::size_t place);
  void EnterUnit(const MCCommon::RecordBlock& block, std::size_t place);
  void CountDropped();
  void CheckConstant(std::int32_t stratum, double value);
  void EnterRecord(const MCCommon::RecordBlock& block, std::uint32_t row, const Place& place);
  // `size` is that of the unit before the record.
  void NoteUnequalSize(const Place& place, double size, double value);
  void NewStratum(const MCCommon::RecordBlock& block, std::size_t place);
  std::int32_t NewUnit(const MCCommon::RecordBlock& block, std::uint32_t row, SVSStratumData* stratum);
  std::size_t UnitKeyLength() const;
  SVSStratumData& Stratum(std::int32_t number) const {
    return fvStrata[static_cast<std::size_t>(number)]->value;
  }
  const MCCommon::RecordBlock& BlockOf(const MCCommon::Record& record) {
    return fRecordAsBlock.Show(record.GetAll(), fCaseIdVar < 0 ? 0.0 : record[fCaseIdVar]);
  }
  double SizeIn(const MCCommon::RecordBlock& block, std::uint32_t row) const;
  std::int32_t NumberOf(const MCCommon::RecordBlock& block) const;
  bool IsSelected(std::int32_t number) const {
    return number != CodeNumbers::kNone && fvSelected[static_cast<std::size_t>(number)] != 0;
  }
  void ListSelected();
  bool ComesUp(std::int32_t* number);

  SVSFindings& Findings() { return fpOutSamples->Findings(); }
  void ReviewAll();
  void Review(const StratumEntry& entry);
  bool RefusesFindings();
  bool DrawStrata(int* maxSelected);
  bool Summarize(MCSV::SVSOutputSummary& summary);
  void WriteJointProbs(MCSV::SVSOutJointProbs& output, int maxSelected);
  bool WriteStratum(MCSV::SVSOutJointProbs& output, StratumEntry& entry);

  const SVSCompSettings* fCompSettings;
  std::int32_t fStageInd;
  SVSDataTabulator* fpPrevTabulator;            // borrowed, null for the first selected stage
  SVSDataTabulator* fpNextTabulator = nullptr;  // borrowed, null but in a preview
  bool fbFirstStage;                            // of the selected ones
  SVSOutSamples* fpOutSamples = nullptr;
  std::vector<std::int32_t> fKeyStrataVars;
  std::vector<std::int32_t> fKeyClusterVars;
  std::int32_t fCaseIdVar;
  std::int32_t fSpecVar;  // of the stage's rate or size; -1 if no variable has it
  std::int32_t fSizeVar;  // of the measures of size; -1 if none are read
  const std::vector<std::int32_t>* fVariableType;
  std::int32_t fWeightVar;
  bool fbCountsCases = false;  // the units are cases, of blocks
  bool fbCountsAlone = false;  // and of a unit nothing is kept, so that a pass needs only their numbers
  bool fbDrawsBySize = false;  // a unit's further records matter
  bool fbForesees = false;     // the pass is that of a preview
  CodeNumbers fStrataNumbers;  // unit of the stage before, own strata variables
  CodeNumbers fUnitNumbers;    // stratum, cluster variables
  StrataTable fDataTable;
  std::vector<StratumEntry*> fvStrata;
  std::vector<std::int32_t> fvOuterUnits;  // by stratum: the unit of the stage before that contains it
  std::vector<Place> fvPlaces;
  std::vector<std::uint8_t> fvSelected;  // by number of the unit; after the draw, unless cases are counted
  std::vector<std::int32_t> fvCounts;    // by stratum, while a pass counts alone: the units so far
  std::vector<Turn> fvTurns;             // by stratum, where cases are counted
  // Of the block at hand: its rows that enter, with the numbers of their units; what contains these; and the
  // rows that don't enter for lack of a weight.
  SVSRows fEntering;
  std::vector<std::int32_t> fvEnteringOuter;
  std::vector<std::int32_t> fvEnteringStrata;
  RecordAsBlock fRecordAsBlock;
  std::int64_t fDropped = 0;  // that a remark must still count, from the row below on
  std::uint32_t fFirstDropped = 0;
  std::vector<std::int32_t> fvUnitKey;  // scratch
  std::int64_t fEntered = 0;            // records that entered so far
  LateNotes fLateNotes;
  std::unique_ptr<UnitOrder> fpOrder;                 // null where the units keep the order of the records
  std::unique_ptr<CaseMasses> fpMasses;               // of the last stage of a preview
  std::map<std::int32_t, std::int64_t> fDisagreeing;  // cases by stratum
  std::int64_t fValidCount = 0;
  bool fbSourceProcessed = false;
  SVStatus fStatus;
  bool fbConstStatus = false;  // warning 92005 has been raised; it is raised once per stage
  SVCancelInfo* fpCancelInfo;
  MCCommonMath::MCRandomTwister* fpRandom = nullptr;
};
