#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/model/DSDocument.h"

class KORV_DataSource;
class SVSValidSpecs;

// The design in words, stored inside the sample as a document of its dictionary. It shows
// how the sample was drawn even years later, when the plan is lost.

// SVSDocumentStrings is a list of texts that can be read in pieces of a fixed number of bytes, as the lines
// of a document are limited. A cut ignores words and even characters: the pieces put together give the text
// again.
class SVSDocumentStrings {
public:
  // Appends a copy. Returns its length, which nobody needs.
  std::int32_t Add(const std::string& text);

  std::size_t Count() const { return fvStrings.size(); }

  // The number of pieces of a text; 0 if it is empty or doesn't exist. REQUIRES: lineLen > 0.
  std::size_t LinesOf(std::size_t index, std::size_t lineLen) const;

  // One piece; the last one holds the rest. Empty if it doesn't exist. REQUIRES: lineLen > 0.
  std::string Line(std::size_t index, std::size_t piece, std::size_t lineLen) const;

private:
  std::vector<std::string> fvStrings;
};

// Describes the design: plan, final weight, and each stage with its variables, method and sizes. Variables
// are named as in `activeFile` at the time of the call, that is, by their new names if the run has renamed
// some.
SVSDocumentStrings DescribeDesign(const SVSValidSpecs& specs, const KORV_DataSource& activeFile);

// A document with these texts and today's date, in lines of at most 80 bytes.
DSDocument MakeSampleDocument(const SVSDocumentStrings& texts);
