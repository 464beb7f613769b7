#pragma once

#include <memory>
#include <optional>
#include <string>

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
