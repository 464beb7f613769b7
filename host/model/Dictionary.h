#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Type codes of a format.
inline constexpr std::uint8_t kFormatA = 1;     // text
inline constexpr std::uint8_t kFormatAHex = 2;  // text as hexadecimal digits
inline constexpr std::uint8_t kFormatF = 5;     // number

// How a value is shown. The default is F8.2.
struct KORV_Format {
  std::uint16_t width = 8;
  std::uint8_t type = kFormatF;
  std::uint8_t decimals = 2;

  bool operator==(const KORV_Format&) const = default;
};

// Doubles give back every whole number up to here.
inline constexpr double kExactIntegers = 9007199254740992.0;  // 2^53

// No text of a file gets wider than this, in bytes, by what a dictionary says: a case must fit into memory.
inline constexpr int kWidestByRequest = 1 << 24;

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

// One document of a data file: its lines.
using DocumentLines = std::vector<std::string>;

// Dictionary is what a data file says of its cases: the variables in order, and the documents.
struct Dictionary {
  std::vector<KORV_Variable> variables;
  std::vector<DocumentLines> documents;

  // The index of the variable of that name, without regard to case; -1 when there is none.
  int Find(const std::string& name) const;
};
