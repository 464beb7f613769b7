#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The dictionary: everything a data file says about its cases. Each reader builds one, whatever the kind of
// file, and each writer takes one, so this file is where the kinds of files meet. Plain values: copied
// freely, compared member by member, no access to files.
//
// A variable has a type (numeric, or a string of fixed width in bytes) and independently of it a print
// format. Nothing here keeps the two consistent: a file may bring a format that doesn't suit the type, and
// SetType() leaves the formats alone. Before a value is formatted, ask UsableFormat() in Values.h.

// Format types. The codes are the host's own numbering, of which only these three are used.
inline constexpr std::uint8_t kFormatA = 1;     // text
inline constexpr std::uint8_t kFormatAHex = 2;  // text as hexadecimal digits, two per byte
inline constexpr std::uint8_t kFormatF = 5;     // number

// How a value is displayed. The default is F8.2.
struct KORV_Format {
  std::uint16_t width = 8;  // characters
  std::uint8_t type = kFormatF;
  std::uint8_t decimals = 2;  // for kFormatF

  bool operator==(const KORV_Format&) const = default;
};

// Measurement levels. Carried from file to file; no computation depends on them.
inline constexpr int kLevelNominal = 1;
inline constexpr int kLevelOrdinal = 2;
inline constexpr int kLevelScale = 3;

// 2^53: every whole number of at most this size is exact in a double. Larger whole numbers in a file can't be
// read as numbers without loss.
inline constexpr double kExactIntegers = 9007199254740992.0;

// Largest string width, in bytes, that a dictionary may ask for. Wider ones must be justified by actual
// texts: otherwise one line of a dictionary could make every case too large for memory.
inline constexpr int kWidestByRequest = 1 << 24;

// A value as the dictionary stores it, for labels and missing values. Which member is used depends on the
// variable's type; the other has its default. Texts have no trailing blanks.
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

// KORV_Variable is the dictionary entry of one variable.
class KORV_Variable {
public:
  // A numeric variable without a name: format F8.2, scale.
  KORV_Variable();
  // `type` as in GetType(). A string gets format A of its own width, and is nominal.
  KORV_Variable(const std::string& name, int type);

  const std::string& GetName() const { return fName; }
  void SetName(const std::string& name);
  // The name in upper case. Names that agree in this form are the same name.
  const std::string& UpperName() const { return fUpperName; }

  // 0: numeric. Otherwise the width of the string in bytes.
  int GetType() const { return fType; }
  void SetType(int type) { fType = type; }

  // The print format is used to display values. The write format is only carried from file to file.
  const KORV_Format& GetFormat() const { return fPrint; }
  const KORV_Format& GetWriteFormat() const { return fWrite; }
  void SetFormat(int type, int width, int decimals);
  void SetWriteFormat(int type, int width, int decimals);

  int GetMeasurementLevel() const { return fLevel; }
  void SetMeasurementLevel(int level) { fLevel = level; }

  const std::string& GetLabel() const { return fLabel; }
  // `length` bytes of `text`, which need not be null-terminated.
  void SetLabel(const char* text, int length) { fLabel.assign(text, static_cast<std::size_t>(length)); }

  const std::vector<ValueLabel>& ValueLabels() const { return fValueLabels; }
  void SetValueLabels(std::vector<ValueLabel> labels) { fValueLabels = std::move(labels); }

  const std::vector<DictionaryValue>& MissingValues() const { return fMissingValues; }
  void SetMissingValues(std::vector<DictionaryValue> values) { fMissingValues = std::move(values); }

  // SQL type of the column in the file that the variable was read from, so that a copy of the column in
  // another file gets the same type. A new numeric variable is DOUBLE, a new string VARCHAR.
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

// One document of a data file. See DSDocument.h.
using DocumentLines = std::vector<std::string>;

// All of a data file's dictionary. A variable's index is its position here.
struct Dictionary {
  std::vector<KORV_Variable> variables;
  std::vector<DocumentLines> documents;

  // Index of the first variable with this name in any case; -1 if not found. O(variables).
  int Find(const std::string& name) const;

  // The names of all variables, in their order.
  std::vector<std::string> Names() const;
};
