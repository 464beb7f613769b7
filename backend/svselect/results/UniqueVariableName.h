#pragma once

#include <cstddef>
#include <string>

class KORV_DataSource;

// A name that no variable of `source` has: `name` itself if it is free, else the first free one of name_1_,
// name_2_ and so on; a name that ends with an underscore gets no second one. Where that would be longer than
// `limit` bytes, the name is cut at the start of a character.
std::string UniqueVariableName(const KORV_DataSource& source, const std::string& name, std::size_t limit);
