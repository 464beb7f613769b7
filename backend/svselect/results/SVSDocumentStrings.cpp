#include "backend/svselect/results/SVSDocumentStrings.h"

#include <cassert>

std::int32_t SVSDocumentStrings::Add(const std::string& text) {
  fvStrings.push_back(text);
  return static_cast<std::int32_t>(text.size());
}

std::size_t SVSDocumentStrings::LinesOf(std::size_t index, std::size_t lineLen) const {
  assert(lineLen > 0);
  return index < fvStrings.size() ? (fvStrings[index].size() + lineLen - 1) / lineLen : 0;
}

std::string SVSDocumentStrings::Line(std::size_t index, std::size_t piece, std::size_t lineLen) const {
  if (piece >= LinesOf(index, lineLen)) return {};
  return fvStrings[index].substr(piece * lineLen, lineLen);
}
