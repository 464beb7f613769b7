#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

class OutputTable;
struct RunOutcome;

// What a page shows beyond the document and the outcome of the run. The writers put out HTML that is
// well-formed XML, and escape what comes from the data.
struct HtmlAdditions {
  // A section between the notes and the tables. `id` is its identifier in the page, `title` its heading in
  // HTML.
  struct Section {
    std::string id;
    std::string title;
    std::function<void(std::ostream& out)> writeBody;
  };
  std::vector<Section> sections;
  // Called before each table, to put a figure of it there or nothing. `id` begins the figure's identifiers.
  // May be empty.
  std::function<void(const OutputTable& table, const std::string& id, std::ostream& out)> figureBefore;
};

// Writes the report for people: one self-contained page, without scripts and without anything fetched from
// elsewhere, light or dark by the reader's preference, fit for a phone, for print and for a screen reader. It
// is HTML and well-formed XML at once.
// REQUIRES: the outcome has a document.
void WriteHtmlReport(const RunOutcome& outcome, const HtmlAdditions& additions, std::ostream& out);
