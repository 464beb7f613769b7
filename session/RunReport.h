#pragma once

#include <string>

class HostSession;
struct SurveyOutcome;

// The reports on a run: a page and a text for people, JSON for programs, and R code that loads the sample.
enum class ReportKind { kHtml, kJson, kText, kScript, kUnknown };

// The kind of a report by the end of its file's name, in upper or lower case: .html, .json, .txt or
// .R.
ReportKind KindOfReport(const std::string& path);

// A report as it is to be in the file `path`. REQUIRES: the outcome is of that session, and the name is that of a
// kind.
std::string ReportText(HostSession& session, const std::string& path, const SurveyOutcome& outcome);
