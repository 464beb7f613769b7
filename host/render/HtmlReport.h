#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

class OutputDocument;
class OutputTable;
struct RunOutcome;

// The report for people: one HTML page. What must stay true when it is changed:
//
// - It is one file. No scripts, no images, fonts or style sheets from elsewhere; a reader can archive it,
//   send it by mail, and open it in ten years. The Content-Security-Policy in the head enforces this even if
//   something slips through the escaping.
// - It is HTML and well-formed XML at once, so it can be read by either kind of parser; the tests read it as
//   XML. Hence <meta .../>, quoted attributes, the xmlns attribute, and no &nbsp; or other named entities of
//   HTML.
// - Every text from the user or the data goes through HtmlText(). Literals of our own are written as HTML.
//   If a function takes HTML rather than text, its comment says so.
// - It works without colour, without a mouse and without sight: sections have headings and labels, tables
//   have captions and scopes, pictures have titles and descriptions, and boxes that scroll can get the
//   focus.
// - Light or dark by the reader's preference, for a phone's width, and for print. All of that is in the
//   style sheet, HtmlText.cpp.
// - The same document and outcome give the same bytes: no time of writing, no random identifiers.
//
// This folder knows about documents, not about surveys. What the page shows about the sample itself
// (weights, design effect, pictures of stages) is written by report/ and handed in as HtmlAdditions.

// Parts of the page that somebody else writes. The functions must write well-formed XML that is also HTML,
// escape what comes from the data, and use only identifiers that start with the section's or figure's `id`.
struct HtmlAdditions {
  // A section between the notes and the tables, in the list of contents as well.
  struct Section {
    std::string id;     // of the heading, unique in the page
    std::string title;  // HTML, not text
    std::function<void(std::ostream& out)> writeBody;
  };
  std::vector<Section> sections;
  // Called before each table to draw a figure of it, or nothing if it isn't the right kind of table. The
  // function may be empty.
  std::function<void(const OutputTable& table, const std::string& id, std::ostream& out)> figureBefore;
};

// Order of the page: status, contents, messages, notes, additional sections, tables, files, facts. Parts
// that would be empty are omitted, along with their entry in the contents.
void WriteHtmlReport(const OutputDocument& document, const RunOutcome& outcome,
                     const HtmlAdditions& additions, std::ostream& out);
