#pragma once

#include <string>
#include <string_view>
#include <vector>

// The words of an option that describes something in parts, such as
//
//   --stage "strata=region clusters=county n=E:50,'New York':30"
//
// Words are separated by blanks and have the form KEY=VALUE; a value is a list with commas, whose entries can
// have parts with colons. Blanks, commas and colons inside single quotes are ordinary characters, and a
// doubled quote there is a quote.

struct OptionWord {
  std::string key;
  std::string value;  // still with its quotes
};

// A key may be there once. What is wrong is one sentence in `problem`, which is left alone if
// nothing is.
std::vector<OptionWord> SplitOptionWords(std::string_view text, std::string* problem);

// The pieces between separators outside quotes, with their quotes. One piece at least.
std::vector<std::string> SplitOutsideQuotes(std::string_view text, char separator);

// A piece without its quotes.
std::string Unquoted(std::string_view piece);

// The entries of a list without their quotes.
std::vector<std::string> UnquotedList(std::string_view value);

// "'metod' is no word of a stage; did you mean method?" For keys and values from a short list of words.
std::string UnknownWord(const std::string& word, const char* what, const std::vector<std::string>& known);
