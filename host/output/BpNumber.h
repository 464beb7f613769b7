#pragma once

#include "host/output/BpCellText.h"
#include "host/output/BpFormatSpec.h"

// A number in a format, independent of the locale. The missing value and what isn't finite are shown as a
// full stop and have no number behind them.
class BpNumber : public BpCellText {
public:
  BpNumber(double value, BpFormatSpec format);
};
