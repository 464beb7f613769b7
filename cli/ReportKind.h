#pragma once

#include <string>

// What a report is, by the end of its name without regard to case.
enum class ReportKind { kHtml, kJson, kText, kUnknown };

ReportKind KindOfReport(const std::string& path);
