#pragma once

#include "host/threads/sfThreadPoolBase.h"

// The pool that is at hand: `threadCount` threads; the options are always 0.
class sfThreadPool : public sfThreadPoolBase {
public:
  sfThreadPool(int threadCount, int /*options*/) : sfThreadPoolBase(threadCount) {}
};
