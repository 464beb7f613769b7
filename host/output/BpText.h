#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "host/model/Dictionary.h"
#include "host/numeric/Obs.h"

// BpCellText is the base of everything that can stand in a cell, a label or a message. A plain value: the
// derived classes only know how to make its text, so that a copy of the base is a whole copy.
class BpCellText {
public:
  const std::string& Text() const { return fText; }

  // The data values shown, as bytes; empty when there are none. Two categories are the same when text and
  // value key are: values that are shown by the same text stay apart.
  const std::string& ValueKey() const { return fValueKey; }

  // The number behind a numeric text; none for other texts and for a missing number.
  const std::optional<double>& Number() const { return fNumber; }

  // A handle to a copy, as a table's annotation wants it.
  std::shared_ptr<const BpCellText> Replicate() const { return std::make_shared<BpCellText>(*this); }

protected:
  BpCellText() = default;
  void SetText(std::string text) { fText = std::move(text); }
  void SetNumber(double number) { fNumber = number; }

  // Adds one value to the value key; lengths keep neighbours apart.
  void AddValue(const std::string& bytes);
  void AddValuesOf(const BpCellText& cell) { fValueKey += cell.fValueKey; }

private:
  std::string fText;
  std::string fValueKey;
  std::optional<double> fNumber;
};

using BpCellTextHandle = std::shared_ptr<const BpCellText>;

// A plain text. The first flag tells the system's own fixed texts (true) from texts out of the user's data,
// such as file names and labels; both are shown as they are, with no placeholder filled.
class BpString : public BpCellText {
public:
  BpString(std::string text, bool /*isFixed*/, bool /*isTitle*/ = false) { SetText(std::move(text)); }
};

// How the host shows a number of its own: with so many decimals, and with a percent sign or without.
struct BpFormatSpec {
  int decimals = 0;
  bool isPercent = false;
};

// A number in a format, independent of the locale. The missing value and what isn't finite are shown as a
// full stop and have no number behind them.
class BpNumber : public BpCellText {
public:
  BpNumber(double value, BpFormatSpec format);
};

// Values of the argument that says where a variable or a data value is shown.
inline constexpr int kShowInTable = 0;    // by its label where there is one
inline constexpr int kShowInMessage = 2;  // a variable by its name, a value by itself

// A variable of the dictionary.
class BpVariable : public BpCellText {
public:
  BpVariable(const KORV_Variable& variable, int show);
};

// A value of a variable as the dictionary shows it: in its print format without outer blanks, or by its value
// label where it has one and `preference` is kShowInTable.
class BpDataValue : public BpCellText {
public:
  // `cells` are as many as the variable's type says; they are only read here.
  BpDataValue(const KORV_Variable& variable, const OBS* cells, int preference);
};
