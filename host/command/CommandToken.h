#pragma once

#include <cstdint>
#include <string>

enum class CommandTokenKind : std::uint8_t { Word, String, Slash, Equals, LeftParenthesis, RightParenthesis };

struct CommandToken {
  CommandTokenKind kind = CommandTokenKind::Word;
  std::string text;         // as written; of a string what stands between the quotes, doubled ones single
  std::int64_t line = 1;    // where it begins
  std::int64_t column = 1;  // in characters
};
