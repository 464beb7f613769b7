#include "host/write/CaseBlock.h"

#include <fmt/format.h>

#include <cmath>

#include "host/engine/DuckAppender.h"
#include "host/engine/WorkDatabase.h"
#include "host/environment/HostErrors.h"
#include "host/model/Dictionary.h"
#include "host/model/KORV_Case.h"
#include "host/model/Values.h"
#include "host/numeric/Obs.h"

CaseBlock::CaseBlock(WorkDatabase& work, const Dictionary& dictionary)
    : fConnection(work.Connect()), fTable(work.UniqueName("output")) {
  // A text file can be without variables, a table can't.
  if (dictionary.variables.empty()) throw DataError("there is no variable to write");
  std::string columns;
  std::vector<duckdb_type> types;
  for (const KORV_Variable& variable : dictionary.variables) {
    const bool isText = variable.GetType() > 0;
    columns +=
        fmt::format("{}c{} {}", columns.empty() ? "" : ", ", types.size(), isText ? "VARCHAR" : "DOUBLE");
    types.push_back(isText ? DUCKDB_TYPE_VARCHAR : DUCKDB_TYPE_DOUBLE);
    fvWidths.push_back(variable.GetType());
  }
  fConnection.Run(fmt::format("CREATE TABLE {} ({})", fTable, columns));
  fpAppender = std::make_unique<DuckAppender>(fConnection, fTable, types);
}

CaseBlock::~CaseBlock() {
  fpAppender.reset();  // as long as it lives, the table can't be dropped
  try {
    fConnection.Run(fmt::format("DROP TABLE IF EXISTS {}", fTable));
  } catch (const DataError&) {
    // The table goes with the session.
  }
}

// A missing value is set and then made null: the number below a null doesn't matter, and nulls are rare.
void CaseBlock::Append(const KORV_Case& values) {
  for (std::size_t i = 0; i < fvWidths.size(); ++i) {
    const OBS* cells = values.GetObsPointer(static_cast<int>(i));
    if (fvWidths[i] == 0) {
      const double number = cells->number;
      fpAppender->SetNumber(i, number);
      if (number == MCMV::gMissingValue || !std::isfinite(number)) fpAppender->SetNull(i);
      continue;
    }
    const std::string_view text =
        TrimRight({reinterpret_cast<const char*>(cells), static_cast<std::size_t>(fvWidths[i])});
    if (text.empty()) {
      fpAppender->SetNull(i);
    } else {
      fpAppender->SetText(i, text);
    }
  }
  fpAppender->EndRow();
}

void CaseBlock::Finish() {
  fpAppender->Close();
}
