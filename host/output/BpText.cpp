#include "host/output/BpText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>

#include "host/model/Values.h"
#include "host/numeric/Obs.h"

namespace {

std::string_view WithoutOuterBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// The value in the form of labels and missing values in the dictionary, for comparison with them.
DictionaryValue ValueOf(const KORV_Variable& variable, const OBS* cells) {
  if (variable.GetType() == 0) return {.number = cells->number, .text = {}};
  const std::string_view text(cells->text, static_cast<std::size_t>(variable.GetType()));
  return {.number = 0.0, .text = std::string(TrimRight(text))};
}

// The buffer has one byte more than the format's width, for the null that ToString() appends.
std::string FormattedText(const KORV_Variable& variable, const OBS* cells) {
  const KORV_Format format = UsableFormat(variable);
  std::string buffer(format.width + std::size_t{1}, '\0');
  if (ToString(cells, format, buffer.data()) != 0) return {};
  return std::string(WithoutOuterBlanks(buffer.c_str()));
}

// The value itself where `shown`, its text in its format, would be read as another one.
std::string FullTextOf(const KORV_Variable& variable, const DictionaryValue& value, std::string shown) {
  if (variable.GetType() > 0) {
    const std::string_view whole = WithoutOuterBlanks(value.text);
    return UsableFormat(variable).type == kFormatA && shown != whole ? std::string(whole) : std::move(shown);
  }
  double read = 0.0;
  const bool isMissing = value.number == MCMV::gMissingValue || !std::isfinite(value.number);
  const bool isSame = isMissing || (ParseNumber(shown, &read) && read == value.number);
  return isSame ? std::move(shown) : NumberText(value.number);
}

// An empty label counts as none: a blank row label would hide the value.
std::optional<std::string> LabelOf(const KORV_Variable& variable, const DictionaryValue& value) {
  const std::vector<ValueLabel>& labels = variable.ValueLabels();
  const auto found = std::find_if(labels.begin(), labels.end(),
                                  [&](const ValueLabel& label) { return label.value == value; });
  if (found == labels.end() || found->label.empty()) return std::nullopt;
  return found->label;
}

// Equal for equal values, and only for them.
std::string KeyOf(const KORV_Variable& variable, const DictionaryValue& value) {
  if (variable.GetType() > 0) return value.text;
  const double number = value.number + 0.0;  // turns -0 into 0
  return std::string(reinterpret_cast<const char*>(&number), sizeof number);
}

}  // namespace

void BpCellText::AddValue(const std::string& bytes) {
  fValueKey += std::to_string(bytes.size());
  fValueKey += ':';
  fValueKey += bytes;
}

BpNumber::BpNumber(double value, BpFormatSpec format) {
  if (!std::isfinite(value) || value == MCMV::gMissingValue) {
    SetText(".");
    return;
  }
  std::string text = fmt::format("{:.{}f}", value, format.decimals);
  // "-0.00" becomes "0.00".
  if (text.find_first_of("123456789") == std::string::npos && text.front() == '-') text.erase(0, 1);
  if (format.isPercent) text += '%';
  SetText(std::move(text));
  SetNumber(value);
}

BpVariable::BpVariable(const KORV_Variable& variable, int show) {
  const bool byLabel = show != kShowInMessage && !variable.GetLabel().empty();
  SetText(byLabel ? variable.GetLabel() : variable.GetName());
}

BpDataValue::BpDataValue(const KORV_Variable& variable, const OBS* cells, int preference) {
  const DictionaryValue value = ValueOf(variable, cells);
  std::optional<std::string> label;
  if (preference != kShowInMessage) label = LabelOf(variable, value);
  SetText(label ? *label : FormattedText(variable, cells));
  if (!label) SetFullText(FullTextOf(variable, value, Text()));
  AddValue(KeyOf(variable, value));
}
