#include "host/command/TokenInfoObj.h"

#include "host/text/VariableNames.h"

TokenInfoObj::TokenInfoObj(const CommandToken& token) {
  if (token.kind == CommandTokenKind::Word && token.text.size() == 3 && GetUpperString(token.text) == "ALL") {
    fOperator = kOperatorAll;
  }
}
