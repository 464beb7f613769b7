#include "cli/ReportKind.h"

#include <CLI/StringTools.hpp>

ReportKind KindOfReport(const std::string& path) {
  const std::string name = CLI::detail::to_lower(path);
  if (name.ends_with(".html")) return ReportKind::kHtml;
  if (name.ends_with(".json")) return ReportKind::kJson;
  return name.ends_with(".txt") ? ReportKind::kText : ReportKind::kUnknown;
}
