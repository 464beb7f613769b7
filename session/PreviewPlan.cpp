#include "session/PreviewPlan.h"

#include <fmt/format.h>

#include <algorithm>
#include <ostream>

#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/results/DesignPreview.h"
#include "host/environment/HostSession.h"
#include "host/files/SessionFiles.h"
#include "host/files/TemporaryFile.h"
#include "host/output/OutputDocument.h"
#include "host/text/ReadableNumber.h"
#include "host/text/WrittenText.h"
#include "report/PreviewReport.h"
#include "session/CommandText.h"
#include "session/FileClaims.h"
#include "session/Inspect.h"
#include "session/RunReport.h"

namespace {

// A draw that takes more attempts on average is worth a word. That many take seconds in a stratum of a hundred
// thousand units.
constexpr double kManyAttempts = 1000.0;

// About the stratum that takes the most attempts.
void AdviseOnAttempts(const DesignPreview& preview, std::vector<std::string>* remarks) {
  for (const PreviewedStage& stage : preview.stages) {
    const auto most = std::max_element(
        stage.strata.begin(), stage.strata.end(),
        [](const auto& a, const auto& b) { return a.numbers.attempts < b.numbers.attempts; });
    if (most == stage.strata.end() || !(most->numbers.attempts >= kManyAttempts)) continue;
    remarks->push_back(
        fmt::format("stage {}: {} draws anew until no unit comes up twice, in some stratum about {} times; "
                    "--exact-design "
                    "draws them at once",
                    stage.numbers.stage, stage.method, ReadableNumber(most->numbers.attempts, 2)));
  }
}

// What ends a run only if it selects certain clusters. REQUIRES: no run fails for certain.
void AdviseOnFailures(const DesignPreview& preview, std::vector<std::string>* remarks) {
  for (const PreviewedStage& stage : preview.stages) {
    const MCSV::SVSStagePreview& numbers = stage.numbers;
    if (numbers.failing > 0) {
      remarks->push_back(
          fmt::format("stage {}: a run fails if it comes to one of {} strata, see above; it can be expected "
                      "to come to {} of "
                      "them",
                      numbers.stage, numbers.failing, ReadableNumber(numbers.expectedFailing, 2)));
    } else if (numbers.mayBeRefused) {
      remarks->push_back(fmt::format(
          "stage {}: a strict run fails if it selects a cluster with such cases, see above", numbers.stage));
    }
  }
}

PreviewReport ReportOf(HostSession& session, const PlanPreview& preview) {
  PreviewReport report = {*preview.preview, session.Layer<OutputDocument>()};
  report.remarks = preview.remarks;
  report.remarks.insert(report.remarks.end(), preview.problems.begin(), preview.problems.end());
  report.isGood = preview.status == RunStatus::kOk;
  report.figures = preview.figures;
  return report;
}

std::string ReportText(const PreviewReport& report, const std::string& path) {
  return WrittenText([&](std::ostream& text) {
    switch (KindOfReport(path)) {
      case ReportKind::kHtml:
        return WritePreviewPage(report, text);
      case ReportKind::kJson:
        return WritePreviewJson(report, text);
      default:
        return WritePreviewText(report, text);
    }
  });
}

// Errors: false after a message if a report would replace what is read, or can't be written.
bool ClaimAllFiles(HostSession& session, const SVPlanSpecs& plan, const PreviewRequest& request) {
  if (!ClaimFrame(session, request.frame)) return false;
  PathClaims& claims = session.Layer<SessionFiles>().Claims();
  claims.ClaimForReading(FileRole::kPlan, plan.file);
  for (const std::string& table : plan.tableFiles) claims.ClaimForReading(FileRole::kPlan, table);
  bool isGood = true;
  ClaimReports(session, request.reports, &isGood);
  return isGood;
}

void WriteReports(HostSession& session, const std::vector<std::string>& reports, PlanPreview* preview) {
  for (const std::string& path : reports) {
    std::string why;
    if (WriteWholeFile(path, ReportText(ReportOf(session, *preview), path), &why)) continue;
    preview->problems.push_back(fmt::format("the report {} can't be written: {}", path, why));
    preview->status = RunStatus::kError;
  }
}

}  // namespace

// The layer is made before the procedure's library is loaded, which is unloaded before it is destroyed.
PlanPreview PreviewPlan(HostSession& session, const SVPlanSpecs& plan, const PreviewRequest& request) {
  PlanPreview result;
  const DesignPreview& preview = session.Layer<DesignPreview>();
  result.preview = &preview;
  session.Layer<OutputDocument>().SetProcedure("SVSelect");
  if (!ClaimAllFiles(session, plan, request)) return result;
  session.SetPreview();
  CommandParts command;
  command.plan = plan.file;
  command.includeUserMissing = request.includeUserMissing;
  const PlanCheck check = CheckPlanBy(session, plan, request.frame, command);
  result.status = check.status;
  result.remarks = check.remarks;
  result.problems = check.problems;
  AdviseOnAttempts(preview, &result.remarks);
  if (result.status == RunStatus::kOk) AdviseOnFailures(preview, &result.remarks);
  result.figures = FiguresOf(preview, request.cost);
  if (result.status != RunStatus::kCancelled) WriteReports(session, request.reports, &result);
  return result;
}

void WritePreviewTables(const PlanPreview& preview, int width, std::ostream& out) {
  WritePreviewTables(*preview.preview, preview.figures, width, out);
}

void WritePreviewJson(HostSession& session, const PlanPreview& preview, std::ostream& out) {
  WritePreviewJson(ReportOf(session, preview), out);
}
