#pragma once

#include "host/model/KORV_DataSource.h"

class ActiveFile;

// ProcedureDataSource is the active file as a procedure sees it: it shares the active file's dictionary, so a
// variable made here is added to the active file. Such a variable holds system-missing values until it is
// written in the last pass.
//
// Use:        construct once the frame is open. SetMaxObsAdded(), MakeVariable() for what is added; then any
//             number of passes, each with an iterator of its own; SetLastPass() before the one that writes.
// Ownership:  borrows the session's active file; iterators borrow this source.
// Failures:   reported through the host's messages; FatalError() is true from then on.
class ProcedureDataSource : public KORV_DataSource {
public:
  // Attaches to the active file of the living session. Without an open one there are neither variables nor
  // cases.
  ProcedureDataSource();

  // Makes room for the variables that the procedure may add, so that references to dictionary entries stay
  // valid.
  void SetMaxObsAdded(unsigned count);

  // The pass that runs now is the last: values set through its iterator stay in the active file.
  void SetLastPass();

  // True once the cases couldn't be read on.
  bool FatalError() const;

  // A ProcDSIterator, or null without an open file.
  KORV_InputCaseIterator* MakeInputCaseIterator(int) override;

  using KORV_DataSource::MakeVariable;

private:
  explicit ProcedureDataSource(ActiveFile& file);

  ActiveFile& fFile;
};
