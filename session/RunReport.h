#pragma once

#include <iosfwd>
#include <string>

struct SurveyOutcome;

// The reports on a run: a page and a text for people, JSON for programs.
enum class ReportKind { kHtml, kJson, kText, kUnknown };

// The kind of a report by the end of its file's name, in upper or lower case: .html, .json or .txt.
ReportKind KindOfReport(const std::string& path);

// REQUIRES: the session of the outcome is alive; the kind isn't kUnknown.
void WriteReport(ReportKind kind, const SurveyOutcome& outcome, std::ostream& out);
