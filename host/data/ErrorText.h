#pragma once

#include <string>

// What a store throws when it can't take a case.
struct ErrorText {
  std::string message;
};
