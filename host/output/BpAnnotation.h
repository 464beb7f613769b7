#pragma once

#include <utility>

#include "host/output/BpCellText.h"

// A note of a table. The number is a place for its mark; -1, the only one in use, means the table as a whole.
class BpAnnotation {
public:
  BpAnnotation(BpCellTextHandle text, int) : fpText(std::move(text)) {}

  const std::string& Text() const { return fpText->Text(); }

private:
  BpCellTextHandle fpText;  // never null
};
