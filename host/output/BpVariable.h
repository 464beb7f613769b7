#pragma once

#include "host/data/KORV_Variable.h"
#include "host/output/BpCellText.h"

// Values of the argument that says where a variable or a data value is shown.
inline constexpr int kShowInTable = 0;    // by its label where there is one
inline constexpr int kShowInMessage = 2;  // a variable by its name, a value by itself

// A variable of the dictionary.
class BpVariable : public BpCellText {
public:
  BpVariable(const KORV_Variable& variable, int show);
};
