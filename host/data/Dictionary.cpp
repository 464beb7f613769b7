#include "host/data/Dictionary.h"

#include <algorithm>

#include "host/text/VariableNames.h"

int Dictionary::Find(const std::string& name) const {
  const std::string upper = GetUpperVarName(name);
  const auto found = std::find_if(variables.begin(), variables.end(),
                                  [&](const KORV_Variable& v) { return v.UpperName() == upper; });
  return found == variables.end() ? -1 : static_cast<int>(found - variables.begin());
}
