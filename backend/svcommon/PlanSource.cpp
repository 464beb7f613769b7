#include "backend/svcommon/PlanSource.h"

#include <cstdio>
#include <string_view>

#include "backend/svcommon/PlanFileSource.h"
#include "backend/svcommon/PlanJsonReader.h"
#include "backend/svcommon/PlanXmlReader.h"

namespace {

constexpr std::size_t kLookBytes = 4096;  // far more blanks than anyone puts before a plan

bool IsJson(const std::string& path) {
  std::FILE* const file = SV_XML::OpenPlanFile(path);
  if (file == nullptr) return false;
  char bytes[kLookBytes];
  std::string_view text(bytes, std::fread(bytes, 1, sizeof bytes, file));
  std::fclose(file);
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && (text[first] == '{' || text[first] == '[');
}

}  // namespace

std::unique_ptr<PlanSource> OpenPlan(const std::string& path, SVPlanSpecs* plan) {
  if (IsJson(path)) return std::make_unique<PlanJsonReader>(plan);
  return std::make_unique<SV_XML::PlanXmlReader>(plan);
}
