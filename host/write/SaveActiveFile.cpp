#include "host/write/SaveActiveFile.h"

#include <cstring>
#include <memory>
#include <vector>

#include "host/engine/ProcDSIterator.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/environment/HostErrors.h"
#include "host/environment/MCStopProcessor.h"
#include "host/model/KORV_Case.h"
#include "host/write/IndependentDataStore.h"
#include "host/write/UserOutputCaseFile.h"

namespace {

// The cells of a column in the current case, and where they go in the written case. Both addresses stay the
// same for the whole pass.
struct CopiedColumn {
  const OBS* from;
  OBS* to;
  std::size_t bytes;
};

// Gives the store the dictionary of the source.
void DefineStore(const KORV_DataSource& source, IndependentDataStore* store) {
  for (unsigned i = 0; i < source.ColumnCount(); ++i) {
    int index = 0;
    store->MakeVariable(source.GetVariable(static_cast<int>(i)), index);
  }
  store->GetDictionary().documents = source.GetDictionary().documents;
  store->FinishDictionary();
}

// Errors: ErrorText of the store. A failure to read ends the pass early; the source then says so.
void CopyCases(ProcedureDataSource& source, IndependentDataStore* store) {
  const std::unique_ptr<KORV_InputCaseIterator> made(source.MakeInputCaseIterator(0));
  auto& cases = static_cast<ProcDSIterator&>(*made);  // the only kind of iterator that this source makes
  std::vector<OBS> buffer(store->CaseCellCount());
  KORV_Case values(*store, buffer.data());
  std::vector<CopiedColumn> columns;
  for (int i = 0; i < static_cast<int>(source.ColumnCount()); ++i) {
    const std::size_t bytes = ObsCells(source.GetVariable(i).GetType()) * sizeof(OBS);
    columns.push_back({cases.BindColumn(i), values.GetObsPointer(i), bytes});
  }
  while (cases.NextCase() != 0) {
    if (cases.SplitGroupEnd()) continue;  // the stop between two groups isn't a case
    for (const CopiedColumn& column : columns) std::memcpy(column.to, column.from, column.bytes);
    store->AddCase(values);
  }
}

}  // namespace

// A pass that ended early must not leave a file that looks whole, so the store is closed only after a check.
bool SaveActiveFile(const UserCaseFileSpec& spec) {
  const UserOutputCaseFile out(spec);
  IndependentDataStore* store = out.DataSource();
  if (store == nullptr) return false;
  ProcedureDataSource source;
  DefineStore(source, store);
  try {
    CopyCases(source, store);
  } catch (const ErrorText& error) {
    IssueHostMessage(error.message, kErrorLevel);
    return false;
  }
  if (source.FatalError() || StopRequested()) return false;
  store->CloseStore();
  return store->IsClosed();
}
