#pragma once

#include "host/environment/MCStopProcessor.h"

// Answers yes once, at a question counted from 1.
struct StopAt : MCStopProcessor {
  explicit StopAt(int question) : MCStopProcessor(0.0), at(question) {}
  bool Stopped() override { return ++asked == at; }
  int at, asked = 0;
};
