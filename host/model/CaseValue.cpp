#include "host/model/CaseValue.h"

#include "host/model/KORV_DataSource.h"
#include "host/model/Values.h"

CaseValue::CaseValue(KORV_InputCaseIterator* iterator, int column) : fpObs(iterator->BindColumn(column)) {
  const KORV_Variable& variable = iterator->GetDataSource().GetVariable(column);
  fWidth = variable.GetType();
  fbUserMissing = !variable.MissingValues().empty();
  for (const DictionaryValue& value : variable.MissingValues()) {
    if (fWidth > 0) {
      fvMissingTexts.push_back(value.text);
    } else {
      fvMissingNumbers.push_back(value.number);
    }
  }
}

bool CaseValue::SearchMissing() const {
  if (fWidth == 0) return IsMissingNumber(fpObs->number);
  return IsMissingText(TrimRight({fpObs->text, static_cast<std::size_t>(fWidth)}));
}
