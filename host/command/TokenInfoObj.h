#pragma once

#include "host/command/CommandToken.h"

inline constexpr int kOperatorNone = 0;
inline constexpr int kOperatorAll = 35;

// One token of a parameter's value.
class TokenInfoObj {
public:
  TokenInfoObj(const CommandToken& token);

  // kOperatorAll for the word ALL in any case, kOperatorNone for every other token, a quoted 'ALL' among
  // them.
  int getOperatorCode() const { return fOperator; }

private:
  int fOperator = kOperatorNone;
};
