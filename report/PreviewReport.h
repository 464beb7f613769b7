#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "report/PreviewTables.h"

class OutputDocument;
struct DesignPreview;

// What a preview is written with.
struct PreviewReport {
  const DesignPreview& preview;
  const OutputDocument& document;      // messages
  std::vector<std::string> remarks{};  // sentences beside them
  bool isGood = false;                 // a draw can't fail
  PreviewFigures figures{};
};

// For programs: one JSON object. Numbers in full; a missing one is left out.
void WritePreviewJson(const PreviewReport& report, std::ostream& out);

// For people: a page with the tables and pictures of the strata and of the weights.
void WritePreviewPage(const PreviewReport& report, std::ostream& out);

// For people: how the preview ended, messages and remarks, and the tables.
void WritePreviewText(const PreviewReport& report, std::ostream& out);

// The tables alone, for a terminal.
void WritePreviewTables(const DesignPreview& preview, const PreviewFigures& figures, int width,
                        std::ostream& out);

// How the preview ended, in a sentence.
std::string PreviewInWords(const PreviewReport& report);
