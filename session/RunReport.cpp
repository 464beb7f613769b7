#include "session/RunReport.h"

#include "host/render/HtmlReport.h"
#include "host/render/JsonReport.h"
#include "host/render/TextRenderer.h"
#include "host/text/VariableNames.h"
#include "host/text/WrittenText.h"
#include "report/SurveyPage.h"
#include "session/RunSurvey.h"
#include "session/ScriptedSample.h"

ReportKind KindOfReport(const std::string& path) {
  const std::string name = GetUpperString(path);
  if (name.ends_with(".HTML")) return ReportKind::kHtml;
  if (name.ends_with(".JSON")) return ReportKind::kJson;
  if (name.ends_with(".R")) return ReportKind::kScript;
  return name.ends_with(".TXT") ? ReportKind::kText : ReportKind::kUnknown;
}

namespace {

void WriteReport(HostSession& session, const std::string& path, const SurveyOutcome& outcome,
                 std::ostream& out) {
  const ReportKind kind = KindOfReport(path);
  const FinalWeights* const weights = outcome.weights ? &*outcome.weights : nullptr;
  if (kind == ReportKind::kJson) {
    WriteJsonReport(outcome, out);
  } else if (kind == ReportKind::kScript) {
    WriteSampleScript(ScriptOf(session, outcome, path), out);
  } else if (kind == ReportKind::kHtml) {
    WriteHtmlReport(outcome, SurveyAdditions(*outcome.document, weights), out);
  } else {
    WriteTextReport(
        outcome, [&](std::ostream& text) { WriteSurveyText(*outcome.document, weights, text); }, out);
  }
}

}  // namespace

std::string ReportText(HostSession& session, const std::string& path, const SurveyOutcome& outcome) {
  return WrittenText([&](std::ostream& out) { WriteReport(session, path, outcome, out); });
}
