#include "host/output/BpVariable.h"

BpVariable::BpVariable(const KORV_Variable& variable, int show) {
  const bool byLabel = show != kShowInMessage && !variable.GetLabel().empty();
  SetText(byLabel ? variable.GetLabel() : variable.GetName());
}
