#pragma once

#include "host/data/KORV_Variable.h"
#include "host/numeric/Obs.h"
#include "host/output/BpCellText.h"

// A value of a variable as the dictionary shows it: in its print format without outer blanks, or by its value
// label where it has one and `preference` is kShowInTable.
class BpDataValue : public BpCellText {
public:
  // `cells` are as many as the variable's type says; they are only read here.
  BpDataValue(const KORV_Variable& variable, const OBS* cells, int preference);
};
