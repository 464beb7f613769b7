#pragma once

#include <utility>

#include "host/output/BpCellText.h"

// A plain text. The first flag tells the system's own fixed texts (true) from texts out of the user's data,
// such as file names and labels; both are shown as they are, with no placeholder filled.
class BpString : public BpCellText {
public:
  BpString(std::string text, bool /*isFixed*/, bool /*isTitle*/ = false) { SetText(std::move(text)); }
};
