#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "host/model/Dictionary.h"
#include "host/numeric/Obs.h"

// The texts of the output. Whatever a procedure wants to show, a string, a number, a variable or a data
// value, it wraps in one of these classes, and the constructor turns it into the text that will be displayed.
// There is no later formatting: renderers only escape, align and wrap.

// Base of everything that can be a cell, a label or a message. A plain value without virtual functions:
// derived classes add constructors and nothing else, so copying only this base loses nothing.
class BpCellText {
public:
  const std::string& Text() const { return fText; }

  // Text(), but with data values in full that their format rounds or cuts: F8.2 shows .0031 as "0.00".
  const std::string& FullText() const { return fFullText ? *fFullText : fText; }
  // The same cell with FullText() as its text.
  BpCellText InFull() const {
    BpCellText full = *this;
    full.fText = FullText();
    return full;
  }

  // Identifies the data values behind the text, empty if there are none. Two labels with the same text but
  // different keys are different categories: F8.2 shows 1.001 and 1.002 as "1.00", but they are two strata.
  const std::string& ValueKey() const { return fValueKey; }

  // The unrounded number that the text shows; empty for texts and missing numbers. Goes into JSON reports,
  // and decides how a column is aligned.
  const std::optional<double>& Number() const { return fNumber; }

  // A copy on the heap, for BpAnnotation.
  std::shared_ptr<const BpCellText> Replicate() const { return std::make_shared<BpCellText>(*this); }

protected:
  BpCellText() = default;
  void SetText(std::string text) { fText = std::move(text); }
  void SetFullText(std::string text) {
    if (text != fText) fFullText = std::move(text);
  }
  void SetNumber(double number) { fNumber = number; }

  // Appends a value to the key. Its length is written in front, so ("a", "bc") and ("ab", "c") differ.
  void AddValue(const std::string& bytes);
  void AddValuesOf(const BpCellText& cell) { fValueKey += cell.fValueKey; }

private:
  std::string fText;
  std::optional<std::string> fFullText;  // only where it differs
  std::string fValueKey;
  std::optional<double> fNumber;
};

using BpCellTextHandle = std::shared_ptr<const BpCellText>;

// A plain text. `isFixed` is true for the system's own texts and false for text from the user, such as a file
// name. Neither flag has an effect here: all texts are shown unchanged, and placeholders are not filled.
class BpString : public BpCellText {
public:
  BpString(std::string text, bool /*isFixed*/, bool /*isTitle*/ = false) { SetText(std::move(text)); }
};

// Display of a number that doesn't come from the data: fixed decimals, and a percent sign if wanted. The
// number isn't multiplied by 100.
struct BpFormatSpec {
  int decimals = 0;
  bool isPercent = false;
};

// A number, shown with a full stop as the decimal character in every locale. System-missing, infinities and
// NaN are shown as "." and have no Number().
class BpNumber : public BpCellText {
public:
  BpNumber(double value, BpFormatSpec format);
};

// Where a variable or a data value appears. In a table labels are shown if the dictionary has them; in a
// message always the variable's name and the bare value, because the user must find them in the file.
inline constexpr int kShowInTable = 0;
inline constexpr int kShowInMessage = 2;

class BpVariable : public BpCellText {
public:
  BpVariable(const KORV_Variable& variable, int show);
};

// A data value: its value label if it is shown in a table and has one, else the value in the variable's print
// format, without outer blanks.
class BpDataValue : public BpCellText {
public:
  // `cells` are ObsCells(variable.GetType()) cells, read in the constructor and not kept.
  BpDataValue(const KORV_Variable& variable, const OBS* cells, int preference);
};
