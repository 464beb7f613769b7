#pragma once

#include "host/model/KORV_DataSource.h"

// ProcedureDataSource is the active file as a procedure sees it. Its dictionary is the active file's: a
// variable made here is added to the active file and holds system-missing values until it is written in the
// last pass.
class ProcedureDataSource : public KORV_DataSource {
public:
  // Attaches to the active file of the session; without an open one there are neither variables nor cases.
  ProcedureDataSource();

  // Announces how many variables the procedure may add, so that their dictionary entries stay where they are.
  void SetMaxObsAdded(unsigned count);

  // The pass that runs now is the last: values set through its iterator stay in the active file.
  void SetLastPass();

  // True once the cases couldn't be read on.
  bool FatalError() const;

  // A ProcDSIterator, or null without an open file.
  KORV_InputCaseIterator* MakeInputCaseIterator(int) override;

  using KORV_DataSource::MakeVariable;
};
