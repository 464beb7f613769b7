#include "report/StageTables.h"

#include <cmath>
#include <map>
#include <optional>

#include "backend/svselect/results/SummaryTableKind.h"
#include "host/output/OutputDocument.h"
#include "host/render/PivotLayout.h"
#include "host/text/ReadableNumber.h"
#include "report/FinalWeights.h"

const char* const kAboutStageTables =
    "N and n count units: those of the stratum in the frame, and those drawn from it; with replacement, n "
    "counts hits. Probabilities and weights are the smallest and largest among the units that have a case in "
    "the sample. A certain unit has the inclusion probability 1.";

namespace {

using Path = std::vector<RowLabel>;

// A cell with as many digits as a reader needs, however small the number.
class ReadableCell : public BpCellText {
public:
  explicit ReadableCell(double number) {
    SetText(ReadableNumber(number));
    SetNumber(number);
  }
};

BpString Text(const std::string& text) {
  return {text, true};
}

class LabelCell : public BpCellText {
public:
  explicit LabelCell(const RowLabel& label) {
    SetText(label.text);
    AddValue(label.key);
  }
};

// A row of the table: a stratum by the labels of its row in the summary table.
struct Row {
  Path path;
  std::optional<double> inFrame;
  std::optional<double> drawn;
  StratumReview review;  // its path isn't used
};

class RowList {
public:
  Row& At(const Path& path) {
    const auto [known, isNew] = fRowOfPath.emplace(path, fvRows.size());
    if (isNew) fvRows.push_back({.path = path, .inFrame = {}, .drawn = {}, .review = {}});
    return fvRows[known->second];
  }
  const std::vector<Row>& All() const { return fvRows; }

private:
  std::vector<Row> fvRows;
  std::map<Path, std::size_t> fRowOfPath;
};

void Add(std::optional<double>* sum, double number) {
  *sum = sum->value_or(0.0) + number;
}

// What a stratum's row of the summary table says.
struct SummaryRow {
  double drawn = 0.0;
  double percent = 0.0;  // of the units in the frame that were drawn
};

// The member that a column of the summary table fills; null for what was requested.
double SummaryRow::*FieldOf(const OutputTable& table, const PivotLayout::Header& header) {
  if (header.size() != 2 || table.NodeAt(header[1]).text != SummaryTableKind::kActual) return nullptr;
  const std::string& statistic = table.NodeAt(header[0]).text;
  if (statistic == SummaryTableKind::kUnitsSampled) return &SummaryRow::drawn;
  return statistic == SummaryTableKind::kProportionSampled ? &SummaryRow::percent : nullptr;
}

// The number of units in the frame isn't in the table, but follows from the share that was drawn; unless
// nothing was drawn.
void AddSummary(const OutputTable& table, RowList* rows) {
  const PivotLayout layout(table);
  std::vector<SummaryRow> found(layout.Rows().size());
  for (const PivotLayout::Entry& entry : layout.Entries()) {
    double SummaryRow::*const field = FieldOf(table, layout.Columns()[entry.column]);
    if (field != nullptr) found[entry.row].*field = table.Cells()[entry.cell].number.value_or(0.0);
  }
  for (std::size_t r = 0; r < found.size(); ++r) {
    Path path;
    for (const int node : layout.Rows()[r])
      path.push_back({table.NodeAt(node).fullText, table.NodeAt(node).valueKey});
    Row& row = rows->At(path);
    Add(&row.drawn, found[r].drawn);
    if (found[r].percent > 0.0) Add(&row.inFrame, std::round(found[r].drawn / (found[r].percent / 100.0)));
  }
}

void Join(const NumberRange& from, NumberRange* to) {
  if (from.isEmpty) return;
  to->Add(from.smallest);
  to->Add(from.largest);
}

void AddReview(const StageReview& stage, bool hasSummary, RowList* rows) {
  for (const StratumReview& stratum : stage.strata) {
    Row& row = rows->At(stratum.path);
    row.review.certain += stratum.certain;
    Join(stratum.probability, &row.review.probability);
    Join(stratum.weight, &row.review.weight);
    if (!hasSummary && stage.hasUnits) Add(&row.drawn, static_cast<double>(stratum.units));
  }
}

// Builds the table of one stage. Single use: construct, Build(), discard.
class TableBuilder {
public:
  TableBuilder(const StageReview& stage, const OutputTable* summary)
      : fStage(stage), fTable(Title(stage), "Stage") {
    if (summary != nullptr) AddSummary(*summary, &fRows);
    AddReview(stage, !fRows.All().empty(), &fRows);
  }

  // A stage without strata is one row without a header.
  OutputTable Build() {
    const std::vector<Row>& rows = fRows.All();
    const bool hasHeaders = rows.size() > 1 || (rows.size() == 1 && !rows.front().path.empty());
    const int strata = hasHeaders ? fTable.AddDimension("Stratum") : OutputTable::kNoNode;
    fColumns = fTable.AddDimension("Value");
    if (hasHeaders) fTable.Place(strata, kPlaceRow, 1, true);
    fTable.Place(fColumns, kPlaceColumn, 1, true);
    MakeColumns();
    for (const Row& row : rows) {
      int node = strata;
      for (std::size_t i = 0; hasHeaders && i < row.path.size(); ++i) {
        const bool isLast = i + 1 == row.path.size();
        const LabelCell label(row.path[i]);
        node = isLast ? fTable.Category(node, label) : fTable.Group(node, label);
      }
      AddCells(row);
    }
    AddNotes();
    fTable.Close();
    return std::move(fTable);
  }

private:
  static std::string Title(const StageReview& stage) {
    const std::string title = "Stage " + std::to_string(stage.variables.number);
    return stage.variables.label.empty() ? title : title + ": " + stage.variables.label;
  }

  // In their order, although the first row may lack some.
  void MakeColumns() {
    Column("Units", "N");
    Column("Units", "n");
    if (ShowsCertain()) Column("Units", "certain");
    if (fStage.hasProbability) {
      Column("Inclusion probability", "smallest");
      Column("Inclusion probability", "largest");
    }
    if (!fStage.hasStrata) return;
    Column("Final weight", "smallest");
    Column("Final weight", "largest");
  }
  int Column(const char* group, const char* name) {
    return fTable.Category(fTable.Group(fColumns, Text(group)), Text(name));
  }
  bool ShowsCertain() const {
    return fStage.hasProbability && fStage.hasUnits && !fStage.variables.withReplacement;
  }

  void AddCells(const Row& row) {
    const auto cell = [&](const char* group, const char* name, std::optional<double> number) {
      if (number) fTable.SetCell(Column(group, name), ReadableCell(*number));
    };
    const auto range = [&](const char* group, const NumberRange& numbers) {
      if (numbers.isEmpty) return;
      cell(group, "smallest", numbers.smallest);
      cell(group, "largest", numbers.largest);
    };
    cell("Units", "N", row.inFrame);
    cell("Units", "n", row.drawn);
    if (ShowsCertain()) cell("Units", "certain", static_cast<double>(row.review.certain));
    range("Inclusion probability", row.review.probability);
    range("Final weight", row.review.weight);
  }

  void AddNotes() {
    if (!fStage.hasStrata) {
      fTable.AddNote(
          "The sample lacks a variable that identifies the strata of this stage (it was dropped), so that "
          "probabilities and weights aren't known by stratum.");
    } else if (!fStage.hasProbability) {
      fTable.AddNote("The plan asks for no inclusion probability of this stage (" +
                     fStage.variables.probabilityWord + ").");
    } else if (!fStage.hasUnits) {
      fTable.AddNote("The sample lacks a cluster variable of this stage (it was dropped).");
    }
  }

  const StageReview& fStage;
  OutputTable fTable;
  RowList fRows;
  int fColumns = OutputTable::kNoNode;
};

}  // namespace

// The procedure makes a summary table for each stage that it draws, in their order, or none at all.
std::vector<OutputTable> StageTables(const OutputDocument& document, const FinalWeights& weights) {
  std::vector<const OutputTable*> summaries;
  for (const auto& table : document.Tables()) {
    if (table->Kind() == SummaryTableKind::kKind) summaries.push_back(table.get());
  }
  std::vector<OutputTable> tables;
  for (std::size_t i = 0; i < weights.stages.size(); ++i) {
    tables.push_back(TableBuilder(weights.stages[i], i < summaries.size() ? summaries[i] : nullptr).Build());
  }
  return tables;
}

std::string DrawnClusters(const StageReview& stage) {
  if (stage.clusterCount == 0) return "";
  std::string text = ReadableNumber(static_cast<double>(stage.clusterCount)) +
                     (stage.clusterCount == 1 ? " cluster was drawn: " : " clusters were drawn: ");
  const char* separator = "";
  for (const std::string& name : stage.clusters) {
    text += separator + name;
    separator = "; ";
  }
  const auto listed = static_cast<std::int64_t>(stage.clusters.size());
  if (stage.clusterCount > listed)
    text += "; and " + ReadableNumber(static_cast<double>(stage.clusterCount - listed)) + " more";
  return text;
}
