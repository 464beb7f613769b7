#pragma once

#include <string>
#include <vector>

#include "host/data/KORV_Format.h"

// Codes of a measurement level.
inline constexpr int kLevelNominal = 1;
inline constexpr int kLevelOrdinal = 2;
inline constexpr int kLevelScale = 3;

// A value of a variable in its dictionary: the number of a numeric variable, the text (without trailing
// blanks) of a string variable; the other member is unused.
struct DictionaryValue {
  double number = 0.0;
  std::string text;

  bool operator==(const DictionaryValue&) const = default;
};

struct ValueLabel {
  DictionaryValue value;
  std::string label;

  bool operator==(const ValueLabel&) const = default;
};

// KORV_Variable is the dictionary entry of one variable. A plain value, copied freely.
class KORV_Variable {
public:
  KORV_Variable();
  KORV_Variable(const std::string& name, int type);

  const std::string& GetName() const { return fName; }
  void SetName(const std::string& name);
  // The name in upper case, by which names are compared.
  const std::string& UpperName() const { return fUpperName; }

  // 0 numeric, else the width of the string in bytes.
  int GetType() const { return fType; }
  void SetType(int type) { fType = type; }

  const KORV_Format& GetFormat() const { return fPrint; }
  const KORV_Format& GetWriteFormat() const { return fWrite; }
  void SetFormat(int type, int width, int decimals);
  void SetWriteFormat(int type, int width, int decimals);

  int GetMeasurementLevel() const { return fLevel; }
  void SetMeasurementLevel(int level) { fLevel = level; }

  const std::string& GetLabel() const { return fLabel; }
  void SetLabel(const char* text, int length) { fLabel.assign(text, static_cast<std::size_t>(length)); }

  const std::vector<ValueLabel>& ValueLabels() const { return fValueLabels; }
  void SetValueLabels(std::vector<ValueLabel> labels) { fValueLabels = std::move(labels); }

  const std::vector<DictionaryValue>& MissingValues() const { return fMissingValues; }
  void SetMissingValues(std::vector<DictionaryValue> values) { fMissingValues = std::move(values); }

  // The SQL type of the column in the variable's file. A copied column keeps it in the file that it is copied
  // to; a new variable's is DOUBLE.
  const std::string& ColumnType() const { return fColumnType; }
  void SetColumnType(const std::string& type) { fColumnType = type; }

private:
  std::string fName;
  std::string fUpperName;
  int fType = 0;
  KORV_Format fPrint;
  KORV_Format fWrite;
  int fLevel = kLevelScale;
  std::string fLabel;
  std::vector<ValueLabel> fValueLabels;
  std::vector<DictionaryValue> fMissingValues;  // user-missing values
  std::string fColumnType = "DOUBLE";
};
