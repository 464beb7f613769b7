#pragma once

// How the host shows a number of its own: with so many decimals, and with a percent sign or without.
struct BpFormatSpec {
  int decimals = 0;
  bool isPercent = false;
};
