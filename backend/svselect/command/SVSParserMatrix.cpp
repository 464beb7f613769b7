#include <algorithm>

#include "backend/svcommon/SVPlanSpecs.h"
#include "backend/svselect/command/SVSParser.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "host/model/KORV_DataSource.h"
#include "host/model/Values.h"

// The table of a stage: category texts of the plan become values of the dictionary's variables.

namespace {

constexpr std::uint16_t kNumberWidth =
    40;  // room for any number that a plan writes, whatever the variable's width

constexpr OBS kBlanks = {.text = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '}};

// The text as the host's reader of numbers wants it: with a decimal character if the format has decimals.
std::string NumberTextForReading(std::string text, const KORV_Format& format, char decimalChar) {
  if (format.decimals > 0 && text.find('.') == std::string::npos) text += '.';
  const std::size_t point = text.find('.');
  if (decimalChar != '.' && point != std::string::npos) text[point] = decimalChar;
  return text;
}

}  // namespace

bool SVSParser::ReadMatrix(const SVPlanStageSpecs& stageSpecs, MatrixTable& table) {
  currentParameter = "MATRIX";
  std::vector<KorvVarName> names;
  std::vector<VarCatList::CatList> rows;
  std::vector<double> values;
  stageSpecs.paramMatrix.copyVarList(names);
  stageSpecs.paramMatrix.copyMapKeyVal(rows, values);

  bool isGood = true;
  for (const KorvVarName& name : names) {
    const std::int32_t index = FindVariable(name.Text(), false);
    isGood = isGood && index >= 0;
    table.indices.push_back(index);
  }
  if (!isGood) return false;

  table.map = std::make_unique<ObsVecMap>(ObsVecMap::MakeKeySpec(*dataSource, table.indices), 1);
  std::vector<OBS> key(table.map->CellSize() - 1);
  for (std::size_t row = 0; row < rows.size(); ++row) {
    if (!ConvertMatrixRow(table.indices, rows[row], static_cast<int>(row) + 1, key, table.formats))
      return false;
    OBS* value = table.map->Contains(key.data());
    if (value == nullptr) value = table.map->Insert(key.data());
    value->number = values[row];  // of rows with equal keys the last stays
  }
  return true;
}

bool SVSParser::ConvertMatrixRow(const std::vector<std::int32_t>& indices,
                                 const std::vector<std::string>& cells, int row, std::vector<OBS>& key,
                                 std::vector<KORV_Format>& formats) {
  formats.clear();
  auto position = key.begin();
  for (std::size_t column = 0; column < indices.size(); ++column) {
    const KORV_Variable& variable = dataSource->GetVariable(indices[column]);
    const std::string& category = cells[column];
    KORV_Format format = variable.GetFormat();
    formats.push_back(format);
    std::string text = category;
    if (variable.GetType() == 0) {
      format.width = kNumberWidth;
      text = NumberTextForReading(std::move(text), format, specs->DecimalChar());
    }
    bool isGood = FormatSuits(format, variable.GetType()) && text.size() <= format.width;
    if (isGood) {
      text.resize(format.width, ' ');
      const auto end = position + static_cast<std::ptrdiff_t>(ObsCells(variable.GetType()));
      std::fill(position, end, kBlanks);  // a format may be narrower than its variable
      isGood = FromString(text, format, &*position) == 0;
    }
    if (!isGood) {
      messages.MatrixValue(variable.GetName().c_str(), category.c_str(), row, static_cast<int>(column) + 1);
      return false;
    }
    position += static_cast<std::ptrdiff_t>(ObsCells(variable.GetType()));
  }
  return true;
}
