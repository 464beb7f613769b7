#include <fmt/format.h>

#include <algorithm>

#include "backend/svcommon/PlanLines.h"
#include "backend/svcommon/PlanRules.h"
#include "backend/svcommon/PlanSource.h"
#include "backend/svcommon/SVPlanSpecs.h"
#include "backend/svselect/command/SVSParser.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "host/model/KORV_DataSource.h"
#include "host/model/Values.h"
#include "host/output/BpProcedure.h"
#include "host/text/NearestWord.h"

// The table of a stage. A plan writes categories as texts; here each becomes a value of its variable, so that
// the record layer can look the values of a case up without converting anything.
//
// A text is read by the variable's own format, with two changes. A number gets a width of kNumberWidth,
// because the width of a print format says how a number is shown and not how a plan writes it. And its
// decimal character becomes the host's. If the format has decimals and the text has no such character, one is
// appended: a reader that implies decimals would take "12" with two of them as 0.12. A number that is blank
// or a single dot is the missing value; no case finds its row.
//
// A text that can't be converted is refused with its variable, row and column. That each row has a category
// for each variable was checked by the plan reader. That the variables exist was checked too, when the strata
// and clusters that a table may use were looked up; the test that remains here can't fail.

namespace {

// Wide enough for any number that a plan sensibly writes: 17 digits, sign, exponent, and room to spare.
constexpr std::uint16_t kNumberWidth = 40;

constexpr OBS kBlanks = {.text = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '}};

// The text of a number as the host's reader expects it.
std::string NumberTextForReading(std::string text, const KORV_Format& format, char decimalChar) {
  if (format.decimals > 0 && text.find('.') == std::string::npos) text += '.';
  const std::size_t point = text.find('.');
  if (decimalChar != '.' && point != std::string::npos) text[point] = decimalChar;
  return text;
}

// Why a text is no value of a variable: it is longer than any.
std::string LengthHint(const std::string& category, const KORV_Variable& variable) {
  if (variable.GetType() == 0 || category.size() <= variable.GetFormat().width) return "";
  return fmt::format(", of at most {} {}", variable.GetFormat().width,
                     variable.GetFormat().width == 1 ? "byte" : "bytes");
}

}  // namespace

// All variables are looked up before the first failure counts, so that each missing one is reported.
bool SVSParser::ReadMatrix(const SVPlanStageSpecs& stageSpecs, MatrixTable& table) {
  currentParameter = "MATRIX";
  std::vector<KorvVarName> names;
  stageSpecs.paramMatrix.copyVarList(names);

  bool isGood = true;
  for (const KorvVarName& name : names) {
    const std::int32_t index = FindVariable(name.Text(), false);
    isGood = isGood && index >= 0;
    table.indices.push_back(index);
  }
  return isGood && FillMatrix(stageSpecs.paramMatrix, table);
}

// Enters the rows into the table's map, in their order: of rows with equal categories the last counts.
bool SVSParser::FillMatrix(const VarCatList& matrix, MatrixTable& table) {
  std::vector<VarCatList::CatList> rows;
  std::vector<double> values;
  matrix.copyMapKeyVal(rows, values);
  table.map =
      std::make_unique<ObsVecMap>(ObsVecMap::MakeKeySpec(*dataSource, table.indices), SVMatrixSpec::kCells);
  std::vector<OBS> key(table.map->CellSize() - SVMatrixSpec::kCells);
  SV_XML::PlanLines repeats;
  for (std::size_t row = 0; row < rows.size(); ++row) {
    const int number = static_cast<int>(row) + 1;
    if (!ConvertMatrixRow(table.indices, rows[row], number, key, table.formats)) return false;
    OBS* cells = table.map->Contains(key.data());
    if (cells == nullptr) {
      cells = table.map->Insert(key.data());
    } else {
      const auto earlier = static_cast<std::size_t>(cells[SVMatrixSpec::kUnusedRow].number);
      // The plan reader has noted rows that are the same to the letter.
      if (rows[earlier - 1] != rows[row]) {
        const std::string what = RepeatedRowText(number, static_cast<int>(earlier), plan->isJson);
        repeats.Add(repeats.IsFull() ? "" : LineAboutRow(number, what));
      }
    }
    cells[SVMatrixSpec::kNumber].number = values[row];
    cells[SVMatrixSpec::kUnusedRow].number = number;
  }
  Remark(repeats.All());
  return repeats.IsEmpty() || !RefusesPlan();
}

std::string SVSParser::LineAboutRow(int row, const std::string& what) const {
  return planReader->LineAboutRow(static_cast<int>(currentStage), row, what);
}

// One row: fills `key` with the values of the categories, and `formats` with the variables' own formats,
// which are the same for each row. Stops at the first category that can't be converted.
bool SVSParser::ConvertMatrixRow(const std::vector<std::int32_t>& indices,
                                 const std::vector<std::string>& cells, int row, std::vector<OBS>& key,
                                 std::vector<KORV_Format>& formats) {
  formats.clear();
  auto position = key.begin();
  for (std::size_t column = 0; column < indices.size(); ++column) {
    const KORV_Variable& variable = dataSource->GetVariable(indices[column]);
    const std::string& category = cells[column];
    KORV_Format format = variable.GetFormat();
    formats.push_back(format);  // before the width is changed
    std::string text = category;
    if (variable.GetType() == 0) {
      format.width = kNumberWidth;
      text = NumberTextForReading(std::move(text), format, specs->DecimalChar());
    }
    // The length is that of the text with an appended decimal character, so a number of exactly kNumberWidth
    // digits is refused if its format has decimals.
    bool isGood = FormatSuits(format, variable.GetType()) && text.size() <= format.width;
    if (isGood) {
      text.resize(format.width, ' ');
      const auto end = position + static_cast<std::ptrdiff_t>(ObsCells(variable.GetType()));
      // The cells of a string are filled with blanks first: a format may be narrower than its variable.
      std::fill(position, end, kBlanks);
      isGood = FromString(text, format, &*position) == 0;
    }
    if (!isGood) {
      messages.MatrixValue(variable.GetName().c_str(), category.c_str(), row, static_cast<int>(column) + 1);
      BpRemark(LineAboutRow(
          row, fmt::format("{} is no value that {} can have, which is {} in the frame{}",
                           QuotedWord(category), QuotedWord(variable.GetName()),
                           variable.GetType() == 0 ? "numeric" : "text", LengthHint(category, variable))));
      return false;
    }
    position += static_cast<std::ptrdiff_t>(ObsCells(variable.GetType()));
  }
  return true;
}
