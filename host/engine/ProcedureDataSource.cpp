#include "host/engine/ProcedureDataSource.h"

#include "host/engine/ActiveFile.h"
#include "host/engine/CaseProgress.h"
#include "host/engine/ProcDSIterator.h"
#include "host/environment/HostSession.h"

namespace {

std::shared_ptr<Dictionary> ActiveDictionary() {
  const ActiveFile& file = ActiveFile::Current();
  return file.IsOpen() ? file.SharedDictionary() : std::make_shared<Dictionary>();
}

}  // namespace

ProcedureDataSource::ProcedureDataSource() : KORV_DataSource(ActiveDictionary()) {}

void ProcedureDataSource::SetMaxObsAdded(unsigned count) {
  GetDictionary().variables.reserve(GetDictionary().variables.size() + count);
}

void ProcedureDataSource::SetLastPass() {
  ActiveFile::Current().SetLastPass();
  HostSession::Current().Layer<CaseProgress>().SetLastPass();
}

bool ProcedureDataSource::FatalError() const {
  return ActiveFile::Current().HasFailed();
}

KORV_InputCaseIterator* ProcedureDataSource::MakeInputCaseIterator(int) {
  ActiveFile& file = ActiveFile::Current();
  return file.IsOpen() ? new ProcDSIterator(*this, file) : nullptr;
}
