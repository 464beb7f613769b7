#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <system_error>

#include "backend/svcommon/PlanAsText.h"
#include "backend/svcommon/PlanInWords.h"
#include "backend/svcommon/design/MethodTable.h"
#include "cli/Subcommands.h"
#include "cli/Terminal.h"
#include "host/output/OutputDocument.h"
#include "host/render/TextRenderer.h"
#include "host/text/DisplayText.h"
#include "host/text/ReadableNumber.h"
#include "session/ConvertPlan.h"
#include "session/DesignPlan.h"

// `svselect design`: a plan from options, written to a file or printed.

namespace {

using Row = std::array<std::string, 5>;

void TellAll(const std::vector<std::string>& problems) {
  for (const std::string& problem : problems) TellProblem(problem);
}

DesignRequest RequestOf(const DesignOptions& options) {
  return {.stages = options.stages,
          .title = options.title,
          .weight = options.weight,
          .previousWeight = options.previousWeight,
          .allocate = options.allocate,
          .frame = options.frame};
}

// Names to the left, numbers to the right.
void PrintRows(const std::vector<Row>& rows) {
  std::array<int, 5> widths{};
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], DisplayWidth(row[i]));
  }
  for (const Row& row : rows) {
    std::string line = "  ";
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (widths[i] == 0) continue;
      const std::string blanks(static_cast<std::size_t>(widths[i] - DisplayWidth(row[i])), ' ');
      line += i == 0 ? row[i] + blanks : "  " + blanks + row[i];
    }
    std::cout << line << '\n';
  }
}

// The strata with what they have and get. The column of deviations is left out if there are none.
void PrintAllocation(const PlannedAllocation& allocation, const std::string& variable) {
  constexpr std::size_t kMostShown = 100;  // strata; the plan has them all
  const bool hasDeviations =
      std::all_of(allocation.strata.begin(), allocation.strata.end(),
                  [](const AllocationStratum& stratum) { return !std::isnan(stratum.deviation); });
  std::vector<Row> rows = {{"Stratum", "Units", hasDeviations ? "SD" : "", "n", "n/Units"}};
  for (std::size_t h = 0; h < std::min(allocation.strata.size(), kMostShown); ++h) {
    const AllocationStratum& stratum = allocation.strata[h];
    const auto size = static_cast<double>(allocation.sizes[h]);
    rows.push_back({PrintableText(stratum.name), GroupedNumber(stratum.units, 15),
                    hasDeviations ? ReadableNumber(stratum.deviation) : "", GroupedNumber(size, 15),
                    ReadableNumber(size / stratum.units * 100, 3) + "%"});
  }
  std::cout << "\nAllocation\n";
  PrintRows(rows);
  if (allocation.strata.size() > kMostShown)
    PrintFolded("  ... and " + std::to_string(allocation.strata.size() - kMostShown) + " more strata");
  if (!hasDeviations) return;
  const double error =
      std::sqrt(TotalVariance(allocation.strata, allocation.sizes, allocation.isWithReplacement));
  PrintFolded("Standard error of an estimated total" + (variable.empty() ? "" : " of " + variable) +
              ", if units are drawn from each stratum with equal probability: " + GroupedNumber(error));
}

// With a frame only names and types were looked at so far.
int WritePlan(HostSession& session, const PlanDesign& design, const DesignOptions& options) {
  const std::string& out = options.out;
  std::error_code ignored;
  const bool replaces = std::filesystem::exists(out, ignored);
  for (const std::string& line : PlanInWords(design.reading.plan)) PrintFolded(line);
  if (!design.allocation.strata.empty()) PrintAllocation(design.allocation, design.variable);
  const std::vector<std::string> problems = ConvertPlan(session, design.reading, out);
  if (problems.empty()) {
    PrintFolded("Written to " + out + (replaces ? ", in place of what was there" : ""));
    if (!options.frame.path.empty())
      PrintFolded("Names were checked; svselect plan " + out + " --data " + options.frame.path +
                  " also checks sizes and units");
  }
  const bool isTold = FinishOutput();
  if (!problems.empty()) RenderMessages(session.Layer<OutputDocument>(), std::cerr);
  TellAll(problems);
  return problems.empty() && isTold ? kExitOk : kExitError;
}

}  // namespace

int MakePlan(const DesignOptions& options) {
  HostSession session;
  CatchInterrupts();
  const PlanDesign design = DesignPlan(session, RequestOf(options));
  if (design.reading.status == RunStatus::kCancelled) {
    TellProblem("interrupted");
    return kExitInterrupted;
  }
  TellAll(design.remarks);
  if (design.reading.status != RunStatus::kOk) {
    RenderMessages(session.Layer<OutputDocument>(), std::cerr);
    TellAll(design.reading.problems);
    return kExitError;
  }
  if (!options.out.empty()) return WritePlan(session, design, options);
  std::cout << PlanAsJson(design.reading.plan);
  return FinishOutput() ? kExitOk : kExitError;
}
