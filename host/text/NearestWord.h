#pragma once

#include <string>
#include <string_view>
#include <vector>

// Words of a user in messages: how to quote one, and what may have been meant by one that isn't known.

// A word of the user for use in a message: in quotes, printable, cut after 60 bytes.
std::string QuotedWord(std::string_view word);

// The candidate that `word` is most likely a typo or an abbreviation of; empty if none is close. One typo is
// allowed for every three letters. On equal terms the first candidate wins.
std::string NearestWord(const std::string& word, const std::vector<std::string>& candidates);

// "; did you mean X?", with that of the variables whose name is nearest; capitals don't count. Empty if none is
// near.
std::string NearestNameHint(const std::string& name, const std::vector<std::string>& variables);
