#include "host/data/LeftOutColumns.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "host/environment/ErrorSink.h"

void WarnOfLeftOutColumns(const std::string& file, const std::vector<std::string>& columns) {
  if (columns.empty()) return;
  IssueHostMessage(fmt::format("{}: nested values and blobs can't be variables; left out: {}", file,
                               fmt::join(columns, ", ")),
                   kWarningLevel);
}
