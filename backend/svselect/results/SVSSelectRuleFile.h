#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/files/ExtNameStr.h"
#include "model_components/surveyplans/common/SVHashtable.h"
#include "model_components/surveyplans/common/SVKey.h"

class KORV_InputCaseIterator;
class KORV_DataSource;
class SVSInputAdapter;
class SVSValidSpecs;

// SVSSelectRuleFile writes the sample as a logical expression over the design variables, by which the
// selected units can be found again in another file of the same population:
//
//   ( ( region EQ 1 ) AND
//     ( school EQ 17 ) ) OR
//   ( ( region EQ 1 ) AND
//     ( school EQ 23 ) )
//
// There is one clause for each combination of values among the selected cases, in the order in which the
// combinations first appear. The last line of a clause is held back until another one comes.
//
// Use:        construct, Open(), AddCase() for each selected case, Finish(). Each returns the state; a call
//             out of order leads to kFailed, which is final.
// Ownership:  owns its stream; borrows everything else.
// Threads:    the thread of the run only.
// Failures:   a plan without design variables has no rule: a warning says so, and the state is kFailed. The
//             host reports a file that can't be opened or written; text written from then on is lost.
// Cost:       a case whose combination already has its clause costs one search.
class SVSSelectRuleFile {
public:
  enum State : std::int32_t { kCreated = 0, kOpened = 1, kWriting = 2, kClosed = 3, kFailed = 4 };
  // The combinations that have a clause already; the value is of no use.
  using KeySet = SVHashtable<std::int32_t>;

  SVSSelectRuleFile(const SVSValidSpecs* validSpecs, const KORV_DataSource* dataSource,
                    SVSInputAdapter* inputAdapter);
  // Finishes the file unless that was done.
  ~SVSSelectRuleFile();
  SVSSelectRuleFile(const SVSSelectRuleFile&) = delete;
  SVSSelectRuleFile& operator=(const SVSSelectRuleFile&) = delete;

  std::int32_t Open();
  // Takes the iterator's current case. The caller keeps `keys` for the length of the pass; `key` is scratch.
  // REQUIRES: the key's length is KeyLength().
  std::int32_t AddCase(KORV_InputCaseIterator& caseIterator, KeySet& keys, SVKey& key);
  std::int32_t Finish();

  std::int32_t KeyLength() const { return static_cast<std::int32_t>(fKeyVars.size()); }
  bool IsGood() const { return fState == kOpened || fState == kWriting; }

private:
  void WriteClause(KORV_InputCaseIterator& caseIterator);
  std::string ValueText(KORV_InputCaseIterator& caseIterator, std::int32_t variable) const;

  const SVSValidSpecs* fpValidSpecs;
  const KORV_DataSource* fpDataSource;  // the active file
  SVSInputAdapter* fpInputAdapter;
  std::unique_ptr<ExtOutputStream> fpStream;  // null until opened
  std::int64_t fClauseCount = 0;              // clauses that are complete, hence all but the newest
  std::vector<std::int32_t> fKeyVars;         // all strata and cluster variables, stage by stage
  std::string fPendingLine;                   // the last line of the newest clause, not yet written
  std::int32_t fState = kCreated;
};
