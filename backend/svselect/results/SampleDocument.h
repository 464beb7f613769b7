#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/model/DSDocument.h"

// SVSDocumentStrings is a list of texts that can be had in pieces of a fixed number of bytes. A cut heeds
// neither words nor characters.
class SVSDocumentStrings {
public:
  // Appends a copy; gives its length.
  std::int32_t Add(const std::string& text);

  std::size_t Count() const { return fvStrings.size(); }

  // How many pieces a text makes; none when it is empty or there is no such text. REQUIRES: lineLen > 0.
  std::size_t LinesOf(std::size_t index, std::size_t lineLen) const;

  // One piece; the last one holds what is left. Empty when there is none. REQUIRES: lineLen > 0.
  std::string Line(std::size_t index, std::size_t piece, std::size_t lineLen) const;

private:
  std::vector<std::string> fvStrings;
};

class KORV_DataSource;
class SVSValidSpecs;

// The design in words, for whoever works with the sample later: plan, final weight, and each stage with its
// variables, its method and its sizes. Variables go by their names in `activeFile`.
SVSDocumentStrings DescribeDesign(const SVSValidSpecs& specs, const KORV_DataSource& activeFile);

// The texts as a document of today, in lines of at most 80 bytes.
DSDocument MakeSampleDocument(const SVSDocumentStrings& texts);
