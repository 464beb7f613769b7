#include "report/PreviewTables.h"

#include <cmath>
#include <utility>

#include "backend/svselect/results/DesignPreview.h"
#include "backend/svselect/results/SummaryTableKind.h"
#include "host/numeric/Obs.h"
#include "host/text/ReadableNumber.h"
#include "model_components/surveyplans/common/SVStatus.h"

namespace {

// A number with as many digits as a reader needs.
class ReadableCell : public BpCellText {
public:
  explicit ReadableCell(double number) {
    SetText(ReadableNumber(number));
    SetNumber(number);
  }
  explicit ReadableCell(std::int64_t number) : ReadableCell(static_cast<double>(number)) {}
};

BpString Text(const std::string& text) {
  return {text, true};
}

// --- the design and the sample ---------------------------------------------------------------------------

// A table of numbers with a label for each row and, if it has several columns, each column.
class NumberTable {
public:
  NumberTable(const std::string& title, bool hidesColumns) : fTable(title, "") {
    fRows = fTable.AddDimension("");
    fTable.Place(fRows, kPlaceRow, 1, true);
    fColumns = fTable.AddDimension("");
    fTable.Place(fColumns, kPlaceColumn, 1, hidesColumns);
  }
  void Add(const std::string& row, const std::string& column, double number) {
    fTable.Category(fRows, Text(row));
    fTable.SetCell(fTable.Category(fColumns, Text(column)), ReadableCell(number));
  }
  OutputTable Take() {
    fTable.Close();
    return std::move(fTable);
  }

private:
  OutputTable fTable;
  int fRows;
  int fColumns;
};

std::string NameOf(const PreviewedStage& stage) {
  const std::string name = "Stage " + std::to_string(stage.numbers.stage);
  return stage.label.empty() ? name : name + ": " + stage.label;
}

// A later stage has units, and so fractions, within the units of the stage before.
OutputTable StagesTable(const DesignPreview& preview) {
  NumberTable table("Stages", false);
  for (const PreviewedStage& stage : preview.stages) {
    const MCSV::SVSStagePreview& numbers = stage.numbers;
    const std::string column = NameOf(stage);
    const auto add = [&](const char* row, double number) { table.Add(row, column, number); };
    add("Strata of the frame", static_cast<double>(numbers.strata));
    add("Units of the frame", static_cast<double>(numbers.units));
    add("Units that can be expected", numbers.expectedUnits);
    add("Units expected, in % of the frame",
        100.0 * numbers.expectedUnits / static_cast<double>(numbers.units));
    add("Cases in them", numbers.expectedCases);
    add("Strata with one unit", static_cast<double>(numbers.singleStrata));
    add("Strata that draw one of several units", static_cast<double>(numbers.drawsOne));
    if (numbers.failing == 0) continue;
    add("Strata that end a run", static_cast<double>(numbers.failing));
    add("How many of them a run comes to", numbers.expectedFailing);
  }
  return table.Take();
}

OutputTable SampleTable(const DesignPreview& preview, const PreviewFigures& figures) {
  NumberTable table("Sample that can be expected", true);
  const MCSV::SVSSamplePreview& sample = preview.sample;
  const auto add = [&](const char* row, double number) { table.Add(row, "Number", number); };
  add("Cases of the frame", static_cast<double>(sample.cases));
  add("Cases of the sample", sample.expectedCases);
  add("The same in % of the frame", 100.0 * sample.expectedCases / static_cast<double>(sample.cases));
  if (preview.hasEarlierWeight) add("Sum of the earlier weights of the frame", sample.frameSum);
  add("Sum of the final weights", sample.expectedSum);
  if (sample.neverDrawn > 0.0)
    add(preview.hasEarlierWeight ? "Earlier weights of cases that are never drawn"
                                 : "Cases that are never drawn",
        sample.neverDrawn);
  if (figures.meanWeight > 0.0) {
    add("Mean final weight", figures.meanWeight);
    add("Smallest final weight", sample.weight.least);
    add("Largest final weight", sample.weight.most);
    add("Design effect due to unequal weighting", figures.designEffect);
  }
  if (figures.cost) add("Cost", *figures.cost);
  return table.Take();
}

// --- the strata of a stage -------------------------------------------------------------------------------

std::string Joined(const std::vector<std::string>& names, std::int64_t count) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : "; ") + name;
  const auto named = static_cast<std::int64_t>(names.size());
  return count > named ? text + "; and " + std::to_string(count - named) + " more" : text;
}

// Builds the table of one stage. Single use: construct, Build(), discard.
class StrataTable {
public:
  explicit StrataTable(const PreviewedStage& stage)
      : fStage(stage),
        fTable("Strata of stage " + std::to_string(stage.numbers.stage), PreviewTableKind::kKind) {}

  // A column that has nothing to say in any stratum is left out.
  OutputTable Build() {
    const bool hasHeaders = !fStage.variables.empty();
    const int strata = hasHeaders ? fTable.AddDimension(Corner()) : OutputTable::kNoNode;
    fColumns = fTable.AddDimension("Value");
    if (hasHeaders) fTable.Place(strata, kPlaceRow, 1, false);
    fTable.Place(fColumns, kPlaceColumn, 1, true);
    FindColumns();
    for (const PreviewedStratum& stratum : fStage.strata) {
      int node = strata;
      for (std::size_t i = 0; i < stratum.values.size(); ++i) {
        const bool isLast = i + 1 == stratum.values.size();
        node = isLast ? fTable.Category(node, stratum.values[i]) : fTable.Group(node, stratum.values[i]);
      }
      AddCells(stratum);
    }
    AddNotes();
    fTable.Close();
    return std::move(fTable);
  }

private:
  std::string Corner() const {
    std::string text;
    for (const std::string& name : fStage.variables) text += (text.empty() ? "" : ", ") + name;
    return text;
  }

  void FindColumns() {
    for (const PreviewedStratum& stratum : fStage.strata) {
      const MCSV::SVSStratumPreview& numbers = stratum.numbers;
      fbDrawsOthers =
          fbDrawsOthers || (numbers.failure == 0 && numbers.drawn != static_cast<double>(numbers.possible));
      fbNamesCertain = fbNamesCertain || numbers.certain.count > 0;
      fbHoldsReserve = fbHoldsReserve || numbers.askedReserve > 0;
      fbLacksSizes = fbLacksSizes || numbers.withoutSize > 0;
      fbDisagrees = fbDisagrees || numbers.disagreeing > 0;
      fbFails = fbFails || numbers.EndsRun();
      fbIsReached = fbIsReached || numbers.reached != 1.0;
    }
  }

  int Column(const char* group, const char* name) {
    return fTable.Category(fTable.Group(fColumns, Text(group)), Text(name));
  }
  template <class Number>
  void Cell(const char* group, const char* name, Number number) {
    fTable.SetCell(Column(group, name), ReadableCell(number));
  }
  void Range(const char* group, const MCSV::SVSRange& range) {
    const int least = Column(group, "smallest");
    const int most = Column(group, "largest");
    if (range.IsEmpty()) return;
    fTable.SetCell(least, ReadableCell(range.least));
    fTable.SetCell(most, ReadableCell(range.most));
  }

  void AddCells(const PreviewedStratum& stratum) {
    const MCSV::SVSStratumPreview& numbers = stratum.numbers;
    Cell(PreviewTableKind::kUnits, "N", numbers.units);
    Cell(PreviewTableKind::kUnits, PreviewTableKind::kAsked, numbers.asked);
    Cell(PreviewTableKind::kUnits, PreviewTableKind::kPossible, numbers.possible);
    if (fbDrawsOthers) Cell(PreviewTableKind::kUnits, "expected", numbers.drawn);
    if (fbHoldsReserve) Cell(PreviewTableKind::kUnits, "in reserve", numbers.reserve);
    Cell("Frame", "cases", numbers.cases);
    if (fStage.bySize) Cell("Frame", "total size", numbers.totalSize);
    if (fbIsReached) Cell("Probability", "of its cluster", numbers.reached);
    Range("Inclusion probability", numbers.probability);
    Range("Weight", numbers.weight);
    if (fbLacksSizes) Cell("Sizes", "none or 0", numbers.withoutSize);
    if (fbDisagrees) Cell("Sizes", "disagreeing cases", numbers.disagreeing);
    AddWords(stratum);
  }

  void AddWords(const PreviewedStratum& stratum) {
    const MCSV::SVSStratumPreview& numbers = stratum.numbers;
    if (fbNamesCertain)
      fTable.SetCell(Column("Units", "certain"), Text(Joined(stratum.certain, numbers.certain.count)));
    if (!fbFails) return;
    std::string why = FailureInWords(numbers);
    if (numbers.tooLarge.count > 0)
      why += "; certain they would have to be: " + Joined(stratum.tooLarge, numbers.tooLarge.count);
    fTable.SetCell(Column("Draw", "fails"), Text(why));
  }

  void AddNotes() {
    const auto shown = static_cast<std::int64_t>(fStage.strata.size());
    if (fStage.numbers.strata > shown)
      fTable.AddNote("The first " + std::to_string(shown) + " of " + std::to_string(fStage.numbers.strata) +
                     " strata are shown; the sums are over all.");
  }

  const PreviewedStage& fStage;
  OutputTable fTable;
  int fColumns = OutputTable::kNoNode;
  bool fbDrawsOthers = false;
  bool fbNamesCertain = false;
  bool fbHoldsReserve = false;
  bool fbLacksSizes = false;
  bool fbDisagrees = false;
  bool fbFails = false;
  bool fbIsReached = false;
};

}  // namespace

PreviewFigures FiguresOf(const DesignPreview& preview, const std::optional<SurveyCost>& cost) {
  const MCSV::SVSSamplePreview& sample = preview.sample;
  PreviewFigures figures;
  if (sample.expectedCases > 0.0) {
    figures.meanWeight = sample.expectedSum / sample.expectedCases;
    figures.designEffect =
        sample.expectedCases * sample.expectedSquares / (sample.expectedSum * sample.expectedSum);
  }
  if (cost && !preview.stages.empty()) {
    figures.cost = cost->fixed + cost->unit * preview.stages.front().numbers.expectedUnits +
                   cost->each * sample.expectedCases;
  }
  return figures;
}

std::vector<OutputTable> DesignTables(const DesignPreview& preview, const PreviewFigures& figures) {
  std::vector<OutputTable> tables;
  if (preview.stages.empty()) return tables;
  tables.push_back(SampleTable(preview, figures));
  tables.push_back(StagesTable(preview));
  return tables;
}

std::vector<OutputTable> StrataTables(const DesignPreview& preview) {
  std::vector<OutputTable> tables;
  for (const PreviewedStage& stage : preview.stages) tables.push_back(StrataTable(stage).Build());
  return tables;
}

// Counts are those of the running sum, rounded.
WeightSummary ExpectedWeights(const DesignPreview& preview) {
  return SummarizeWeights([&](const std::function<void(double)>& take) {
    double cases = 0.0;
    for (const auto& [place, found] : preview.sample.weights.All()) {
      const auto before = std::llround(cases);
      cases += found.cases;
      for (auto i = before; i < std::llround(cases); ++i) take(found.sum / found.cases);
    }
  });
}

std::string FailureInWords(const MCSV::SVSStratumPreview& stratum) {
  switch (stratum.failure) {
    case 0:
      return stratum.isRefused ? "refused, since a strict run wants all clear" : "";
    case kStatusMissingSpec:
      return "no rate or size";
    case kStatusMissingSize:
      return "a unit has no measure of size";
    case kStatusInvalidSize:
      return "a size is above the limit";
    default:
      return "error " + std::to_string(stratum.failure);
  }
}
