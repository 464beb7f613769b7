#pragma once

#include <cstddef>
#include <string_view>

// The place of the first byte that is no UTF-8; npos when all of the text is.
std::size_t FindInvalidUtf8(std::string_view text);
