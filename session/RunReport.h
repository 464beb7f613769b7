#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "host/output/RunOutcome.h"

class HostSession;
struct RunRequest;
struct SurveyOutcome;

// The reports on a run: a page and a text for people, JSON for programs.
enum class ReportKind { kHtml, kJson, kText, kUnknown };

// The kind of a report by the end of its file's name, in upper or lower case: .html, .json or .txt.
ReportKind KindOfReport(const std::string& path);

// REQUIRES: the session of the outcome is alive; the kind isn't kUnknown.
void WriteReport(ReportKind kind, const SurveyOutcome& outcome, std::ostream& out);

// Everything that it takes to repeat a run, apart from the frame and the plan themselves, and the date.
// Options that weren't used are left out, and so is the command if the run didn't reach it.
std::vector<RunFact> FactsOf(HostSession& session, const RunRequest& request);
