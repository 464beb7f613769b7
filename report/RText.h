#pragma once

#include <string>
#include <vector>

// Texts of a file as R reads them.

// A text in quotes: "a\"b". Control characters are escaped, other bytes kept: the file is in UTF-8.
std::string RString(const std::string& text);

// A name in code, in backticks unless R's grammar takes it as it is: region, `my region`.
std::string RName(const std::string& name);

// One line as a comment, whatever it holds.
std::string RComment(const std::string& text);
