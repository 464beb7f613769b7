#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "backend/svcommon/design/DesignStage.h"
#include "host/model/Dictionary.h"
#include "host/model/ObsVecMap.h"

class MCStopProcessor;

// The table that gives a stage its rate or size: one number for each combination of values of some variables.
// All pointers are null for a stage without a table; the command parser owns what they point to.
struct SVMatrixSpec {
  // The value cells of an entry of the map: the number; and its row in the plan, from 1, until a case has
  // used it, which makes that 0.
  enum : std::size_t { kNumber, kUnusedRow, kCells };

  const std::vector<std::int32_t>* variables = nullptr;  // dictionary indices, in the order of the key
  const ObsVecMap* map = nullptr;                        // from their values to the cells above
  const std::vector<KORV_Format>* formats = nullptr;     // of each variable
};

// SVPlanValidSpecs is what any procedure that works from a plan has settled before it reads a case: the
// stages of the design in terms of the dictionary, their tables, and the layout of the numeric record, that
// is, which variable is in which slot.
//
// Use:        add the stages, then Validate() once; it is read-only from then on.
// Ownership:  borrows the stages and tables from the parser; owns the stop processor.
// Threads:    const methods may run in parallel.
//
// Invariants after Validate():
//   (1) slots run from 0 without gaps. Categorical variables, continuous variables, tables and the case id
//       share one counter, so a variable that is both categorical and continuous has two slots.
//   (2) DictionaryVars() has one entry for each slot, -1 for a table and for the case id.
//   (3) a stratum or cluster variable has one slot, however many stages use it.
class SVPlanValidSpecs {
public:
  using SlotMap = std::map<std::int32_t, std::int32_t>;

  SVPlanValidSpecs();
  virtual ~SVPlanValidSpecs();
  SVPlanValidSpecs(const SVPlanValidSpecs&) = delete;
  SVPlanValidSpecs& operator=(const SVPlanValidSpecs&) = delete;

  // Lays out the record.
  virtual void Validate() = 0;

  // Appends a stage and returns how many there are now. The last three are null for a stage without a table.
  // REQUIRES: designStage isn't null, and it outlives this object.
  int AddDesignStage(const std::string& label, const DesignStage* designStage,
                     const std::vector<std::int32_t>* variables, const ObsVecMap* map,
                     const std::vector<KORV_Format>* formats);
  // The line about a stage's table up to what is said, with its place in the plan: "PLAN, line 9, column 1: stage 1: ".
  void SetTableLine(std::int32_t stage, std::string start) { fTableLines[stage] = std::move(start); }
  void SetPlanFile(const std::string& name) { fPlanFile = name; }
  void SetThreads(std::int32_t threads) { fMaxThreads = threads; }

  // The slot of a variable, or of the table of the stage at a position (from 0). If it has none yet, it gets
  // `next`; a result equal to `next` therefore means a new slot, and the caller has to count up.
  std::int32_t RecordIndex(std::int32_t variable, std::int32_t next, bool categorical);
  std::int32_t MatrixRecordIndex(std::int32_t position, std::int32_t next);
  // The slot of the case id. Unlike above, a new one counts `*next` up here.
  std::int32_t CaseIdRecordIndex(std::int32_t* next);

  int StageCount() const { return static_cast<int>(fDesignStages.size()); }
  const std::vector<const DesignStage*>& DesignStages() const { return fDesignStages; }
  const std::vector<std::string>& StageLabels() const { return fStageLabels; }
  const std::string& PlanFile() const { return fPlanFile; }
  // Null for an index out of range.
  const SVMatrixSpec* MatrixSpec(std::int32_t index) const;
  std::string TableLine(std::int32_t stage) const {
    const auto found = fTableLines.find(stage);
    return found == fTableLines.end() ? "" : found->second;
  }
  // The number of the stage that has the table at `index`, counting tables, not stages; -1 if out of range.
  std::int32_t MatrixStageNumber(std::int32_t index) const;

  const SlotMap& CatRecordIndex() const { return fCatRecordIndex; }
  const SlotMap& ContRecordIndex() const { return fContRecordIndex; }
  const SlotMap& MatrixRecordIndex() const { return fMatrixRecordIndex; }
  std::int32_t CaseIdRecordIndex() const { return fCaseIdRecordIndex; }
  bool IsRateSlot(std::int32_t slot) const;
  bool IsSizeSlot(std::int32_t slot) const;
  const std::vector<std::int32_t>& SizeRecordIndices() const { return fSizeRecordIndices; }
  const std::vector<std::int32_t>& RateRecordIndices() const { return fRateRecordIndices; }
  const std::vector<std::int32_t>& MatrixStages() const { return fMatrixStages; }
  const std::vector<std::int32_t>& DictionaryVars() const { return fDictionaryVars; }
  const std::vector<std::int32_t>& FirstStageStrata() const { return fFirstStageStrata; }
  const std::vector<std::int32_t>& FirstStageClusters() const { return fFirstStageClusters; }

  // The character that the host writes between the digits of 1.1; numbers in a plan's tables are read with
  // it.
  char DecimalChar() const { return fDecimalChar; }

protected:
  std::vector<const DesignStage*> fDesignStages;                  // borrowed
  std::vector<std::string> fStageLabels;                          // parallel to fDesignStages
  std::vector<std::unique_ptr<const SVMatrixSpec>> fMatrixSpecs;  // parallel to fDesignStages, never null
  std::string fPlanFile;                                          // after resolving
  std::map<std::int32_t, std::string> fTableLines;                // by the number of the stage
  SlotMap fCatRecordIndex;                                        // dictionary index to slot
  SlotMap fContRecordIndex;
  SlotMap fMatrixRecordIndex;                    // position of the stage, from 0, to slot
  std::vector<std::int32_t> fSizeRecordIndices;  // slots that hold a sample size
  std::vector<std::int32_t> fRateRecordIndices;  // slots that hold a rate
  std::vector<std::int32_t> fMatrixStages;       // stage numbers in the order of the table slots
  std::vector<std::int32_t> fDictionaryVars;     // dictionary index by slot
  std::vector<std::int32_t> fFirstStageStrata;   // dictionary indices
  std::vector<std::int32_t> fFirstStageClusters;
  std::int32_t fCaseIdRecordIndex = -1;
  std::int32_t fMaxThreads = 1;
  std::unique_ptr<MCStopProcessor> fpStopProcessor;
  char fDecimalChar;
};
