#pragma once

#include <sstream>
#include <string>
#include <utility>

// What `write` puts on a stream, as a text. A stream takes lack of memory for its own failure and writes no more;
// here it comes out as std::bad_alloc, so that there is no text that ends early.
template <class Writer>
std::string WrittenText(Writer&& write) {
  std::ostringstream out;
  out.exceptions(std::ios::badbit);
  std::forward<Writer>(write)(static_cast<std::ostream&>(out));
  return std::move(out).str();
}
