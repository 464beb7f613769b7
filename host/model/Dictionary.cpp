#include "host/model/Dictionary.h"

#include <algorithm>
#include <limits>

#include "host/text/VariableNames.h"

namespace {
// A string may be wider than the 16 bits of a format's width. Such a string is displayed cut off; a width
// that wrapped around would instead display garbage.
KORV_Format MakeFormat(int type, int width, int decimals) {
  KORV_Format format;
  format.type = static_cast<std::uint8_t>(type);
  format.width =
      static_cast<std::uint16_t>(std::clamp(width, 0, int{std::numeric_limits<std::uint16_t>::max()}));
  format.decimals = static_cast<std::uint8_t>(decimals);
  return format;
}
}  // namespace

KORV_Variable::KORV_Variable() = default;

KORV_Variable::KORV_Variable(const std::string& name, int type) : fType(type) {
  SetName(name);
  if (type > 0) {
    SetFormat(kFormatA, type, 0);
    SetWriteFormat(kFormatA, type, 0);
    fLevel = kLevelNominal;
    fColumnType = "VARCHAR";
  }
}

void KORV_Variable::SetName(const std::string& name) {
  fName = name;
  fUpperName = GetUpperVarName(name);
}

void KORV_Variable::SetFormat(int type, int width, int decimals) {
  fPrint = MakeFormat(type, width, decimals);
}

void KORV_Variable::SetWriteFormat(int type, int width, int decimals) {
  fWrite = MakeFormat(type, width, decimals);
}

int Dictionary::Find(const std::string& name) const {
  const std::string upper = GetUpperVarName(name);
  const auto found = std::find_if(variables.begin(), variables.end(),
                                  [&](const KORV_Variable& v) { return v.UpperName() == upper; });
  return found == variables.end() ? -1 : static_cast<int>(found - variables.begin());
}

std::vector<std::string> Dictionary::Names() const {
  std::vector<std::string> names;
  for (const KORV_Variable& variable : variables) names.push_back(variable.GetName());
  return names;
}
