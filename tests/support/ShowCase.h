#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/engine/ProcedureDataSource.h"
#include "host/model/CaseValue.h"
#include "host/model/Values.h"
#include "host/numeric/Obs.h"

// A cell as a person would write it; a missing number is a full stop.
inline std::string Show(const CaseValue& value) {
  if (value.fWidth > 0)
    return std::string(TrimRight({value.fpObs->text, static_cast<std::size_t>(value.fWidth)}));
  return value.fpObs->number == MCMV::gMissingValue ? "." : NumberText(value.fpObs->number);
}

// All columns of the file that the cases are of.
inline std::vector<CaseValue> AllColumns(KORV_InputCaseIterator* cases) {
  std::vector<CaseValue> columns;
  const auto count = static_cast<int>(cases->GetDataSource().ColumnCount());
  for (int i = 0; i < count; ++i) columns.emplace_back(cases, i);
  return columns;
}
