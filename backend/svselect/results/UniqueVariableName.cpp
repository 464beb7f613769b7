#include "backend/svselect/results/UniqueVariableName.h"

#include "host/data/KORV_DataSource.h"
#include "host/text/TextConversion.h"

namespace {

constexpr std::size_t kMaxNameSize = 64;  // bytes

}  // namespace

std::string UniqueVariableName(const KORV_DataSource& source, const std::string& name, std::size_t limit) {
  const std::string joint = name.ends_with('_') ? "" : "_";
  std::string candidate = name;
  for (int k = 1; source.FindVarIndex(candidate, 0) >= 0; ++k) {
    const std::string suffix = joint + std::to_string(k) + "_";
    candidate = name + suffix;
    if (candidate.size() <= limit) continue;
    const std::size_t excess = candidate.size() - limit;
    if (excess > name.size()) continue;
    candidate = name.substr(0, KORVMBFindStart_A(name, name.size() - excess)) + suffix;
  }
  return candidate;
}

int FreeVariableName(KORV_DataSource& source, const std::string& name) {
  const int older = source.FindVarIndex(name, 0);
  if (older < 0) return older;
  const std::string unique = UniqueVariableName(source, name, kMaxNameSize);
  if (KORV_DataSource* parent = source.GetParentSource()) parent->GetVariable(older).SetName(unique);
  source.GetVariable(older).SetName(unique);
  return older;
}
