#include "backend/svcommon/adapters/SVMessages.h"

#include "host/engine/ProcedureDataSource.h"
#include "host/model/KORV_DataSource.h"
#include "host/output/BpComposite.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpText.h"

void SVMessages::NoCasesForSelection() const {
  BpError(BpString("There are no valid cases for selection ...", true), kShowInMessage, kErrorLevel);
}

void SVMessages::NoValidCases() const {
  BpError(BpString("There are no valid cases ...", true), kShowInMessage, kErrorLevel);
}

void SVMessages::InvalidRate(std::int32_t variable) const {
  IssueAboutVariable("Invalid value in rate variable ^1 ...", variable);
}

void SVMessages::InvalidSize(std::int32_t variable) const {
  IssueAboutVariable("Invalid value in sample size variable ^1 ...", variable);
}

void SVMessages::NoRate(std::int32_t stage, const std::vector<std::int32_t>& variables,
                        KORV_InputCaseIterator* iterator) const {
  IssueAboutTable("No sampling rate ^1 [%1 = %2:, ^1 = ^2:]2 ...", stage, variables, iterator);
}

void SVMessages::NoSize(std::int32_t stage, const std::vector<std::int32_t>& variables,
                        KORV_InputCaseIterator* iterator) const {
  IssueAboutTable("No sample size ^1 [%1 = %2:, ^1 = ^2:]2 ...", stage, variables, iterator);
}

void SVMessages::IssueAboutVariable(const char* pattern, std::int32_t variable) const {
  BpComposite text(pattern, true);
  text.Add(BpVariable(fpDataSource->GetVariable(variable), kShowInMessage));
  text.Finish();
  BpError(text, kShowInMessage, kErrorLevel);
}

void SVMessages::IssueAboutTable(const char* pattern, std::int32_t stage,
                                 const std::vector<std::int32_t>& variables,
                                 KORV_InputCaseIterator* iterator) const {
  BpComposite text(pattern, true);
  text.Add(BpNumber(stage, BpProcedure::Count()));
  text.Sublist();
  for (const std::int32_t index : variables) {
    const KORV_Variable& variable = fpDataSource->GetVariable(index);
    text.Add(BpVariable(variable, kShowInMessage));
    text.Add(BpDataValue(variable, iterator->BindColumn(index), kShowInMessage));
  }
  text.EndSublist();
  text.Finish();
  BpError(text, kShowInMessage, kErrorLevel);
}
