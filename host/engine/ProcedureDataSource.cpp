#include "host/engine/ProcedureDataSource.h"

#include "host/engine/ActiveFile.h"
#include "host/engine/ProcDSIterator.h"

ProcedureDataSource::ProcedureDataSource() : ProcedureDataSource(ActiveFile::Current()) {}

ProcedureDataSource::ProcedureDataSource(ActiveFile& file)
    : KORV_DataSource(file.IsOpen() ? file.SharedDictionary() : std::make_shared<Dictionary>()),
      fFile(file) {}

// MakeVariable() hands out references into this vector.
void ProcedureDataSource::SetMaxObsAdded(unsigned count) {
  GetDictionary().variables.reserve(GetDictionary().variables.size() + count);
}

void ProcedureDataSource::SetLastPass() {
  fFile.SetLastPass();
}

bool ProcedureDataSource::FatalError() const {
  return fFile.HasFailed();
}

KORV_InputCaseIterator* ProcedureDataSource::MakeInputCaseIterator(int) {
  return fFile.IsOpen() ? new ProcDSIterator(*this, fFile) : nullptr;
}
