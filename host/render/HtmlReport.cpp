#include "host/render/HtmlReport.h"

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "host/environment/HostErrors.h"
#include "host/output/OutputDocument.h"
#include "host/output/OutputTable.h"
#include "host/output/RunOutcome.h"
#include "host/render/HtmlTable.h"
#include "host/render/HtmlText.h"
#include "host/text/ReadableNumber.h"

namespace {

// Writes one page. Single use: construct, Write(), discard. Each method writes one part, or nothing if that
// part would be empty; the conditions in WriteContents() must be the same ones.
class PageWriter {
public:
  PageWriter(const RunOutcome& outcome, const HtmlAdditions& additions, std::ostream& out)
      : fDocument(*outcome.document), fOutcome(outcome), fAdditions(additions), fOut(out) {}

  void Write() {
    WriteHead();
    WriteStatus();
    WriteContents();
    WriteMessages();
    WriteNotes();
    WriteSections();
    WriteTables();
    WriteFiles();
    WriteFacts();
    fOut << "</main>\n</body>\n</html>\n";
  }

private:
  // The policy allows inline styles and nothing else: no script runs and nothing is loaded, whatever the page
  // contains.
  void WriteHead() {
    fOut << "<!DOCTYPE html>\n<html xmlns=\"http://www.w3.org/1999/xhtml\" lang=\"en\" "
            "xml:lang=\"en\">\n<head>\n"
            "<meta charset=\"utf-8\"/>\n"
            "<meta http-equiv=\"Content-Security-Policy\" "
            "content=\"default-src 'none'; style-src 'unsafe-inline'\"/>\n"
            "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n<title>"
         << HtmlText(fDocument.Procedure()) << ": " << StatusInWords(fOutcome) << "</title>\n<style>"
         << kHtmlStyle << "</style>\n</head>\n<body>\n<main>\n<h1>" << HtmlText(fDocument.Procedure())
         << "</h1>\n";
  }

  // The status is also the class by which the style sheet colours the line.
  void WriteStatus() {
    fOut << "<p class=\"status " << StatusWord(fOutcome.status) << "\">Status: <strong>"
         << StatusWord(fOutcome.status) << "</strong>. " << StatusInWords(fOutcome) << "</p>\n";
  }

  void WriteContents() {
    std::string entries;
    const auto entry = [&](bool isThere, const std::string& id, const std::string& title) {
      if (isThere) entries += "<li><a href=\"#" + id + "\">" + title + "</a></li>\n";
    };
    entry(HasMessages(), "messages", "Messages");
    entry(!fDocument.Notes().empty(), "notes", "Notes");
    for (const HtmlAdditions::Section& section : fAdditions.sections) entry(true, section.id, section.title);
    entry(!fDocument.Tables().empty(), "tables", "Tables");
    entry(!fOutcome.files.empty(), "files", "Files");
    entry(!fOutcome.facts.empty(), "run", "The run");
    if (!entries.empty()) fOut << "<nav aria-label=\"Contents\">\n<ul>\n" << entries << "</ul>\n</nav>\n";
  }

  bool HasMessages() const { return !fDocument.Messages().empty() || !fOutcome.remarks.empty(); }

  void WriteMessages() {
    if (!HasMessages()) return;
    fOut << "<section aria-labelledby=\"messages\">\n<h2 id=\"messages\">Messages</h2>\n<ul "
            "class=\"messages\">\n";
    for (const OutputMessage& message : fDocument.MessagesByKind()) {
      const bool isError = message.level >= kErrorLevel;
      fOut << (isError ? "<li class=\"error\"><strong>Error:</strong> "
                       : "<li class=\"warning\"><strong>Warning:</strong> ");
      if (!message.group.empty()) fOut << HtmlText(message.group) << ' ';
      fOut << HtmlText(message.text);
      if (message.repeats > 0) fOut << " (" << message.repeats + 1 << " times)";
      fOut << "</li>\n";
    }
    for (const std::string& remark : fOutcome.remarks) {
      fOut << "<li class=\"remark\">" << HtmlText(remark) << "</li>\n";
    }
    fOut << "</ul>\n</section>\n";
  }

  // One list per group of notes. Stable, so that notes of a group keep their order.
  void WriteNotes() {
    if (fDocument.Notes().empty()) return;
    std::vector<OutputNote> notes = fDocument.Notes();
    std::stable_sort(notes.begin(), notes.end(),
                     [](const OutputNote& a, const OutputNote& b) { return a.group < b.group; });
    fOut << "<section aria-labelledby=\"notes\">\n<h2 id=\"notes\">Notes</h2>\n<dl>\n";
    int group = notes.front().group;
    for (const OutputNote& note : notes) {
      if (note.group != group) fOut << "</dl>\n<dl>\n";
      group = note.group;
      fOut << "<dt>" << HtmlText(note.label) << "</dt><dd>" << HtmlText(note.text) << "</dd>\n";
    }
    fOut << "</dl>\n</section>\n";
  }

  void WriteSections() {
    for (const HtmlAdditions::Section& section : fAdditions.sections) {
      fOut << "<section aria-labelledby=\"" << section.id << "\">\n<h2 id=\"" << section.id << "\">"
           << section.title << "</h2>\n";
      section.writeBody(fOut);
      fOut << "</section>\n";
    }
  }

  // The identifiers are table-1, table-2 and so on, by position in the document.
  void WriteTables() {
    if (fDocument.Tables().empty()) return;
    fOut << "<section aria-labelledby=\"tables\">\n<h2 id=\"tables\">Tables</h2>\n";
    int number = 0;
    for (const auto& table : fDocument.Tables()) {
      const std::string id = "table-" + std::to_string(++number);
      if (fAdditions.figureBefore) fAdditions.figureBefore(*table, id + "-figure", fOut);
      WriteHtmlTable(*table, id, fOut);
    }
    fOut << "</section>\n";
  }

  void WriteFiles() {
    if (fOutcome.files.empty()) return;
    fOut << "<section aria-labelledby=\"files\">\n<h2 id=\"files\">Files</h2>\n"
            "<div class=\"scroll\" role=\"region\" tabindex=\"0\" aria-labelledby=\"files-table\">\n"
            "<table class=\"plain\">\n<caption id=\"files-table\">What the run has written</caption>\n"
            "<thead>\n<tr><th scope=\"col\">Role</th><th scope=\"col\">File</th><th scope=\"col\" "
            "class=\"number\">Cases or clauses</th></tr>\n</thead>\n<tbody>\n";
    for (const ReportFile& file : fOutcome.files) {
      fOut << "<tr><th scope=\"row\">" << HtmlText(file.role) << "</th><td>" << HtmlText(file.path)
           << "</td><td class=\"number\">" << ReadableNumber(static_cast<double>(file.cases))
           << "</td></tr>\n";
    }
    fOut << "</tbody>\n</table>\n</div>\n</section>\n";
  }

  // The style sheet keeps the line breaks of facts (white-space: pre-wrap), so that commands can be copied.
  // Long ones come behind the list, folded.
  void WriteFacts() {
    if (fOutcome.facts.empty()) return;
    fOut << "<section aria-labelledby=\"run\">\n<h2 id=\"run\">The run</h2>\n<dl class=\"facts\">\n";
    for (const RunFact& fact : fOutcome.facts) {
      if (fact.kind == RunFact::Kind::kLong) continue;
      fOut << "<dt>" << HtmlText(fact.label) << "</dt><dd>";
      WriteLines(fact);
      fOut << "</dd>\n";
    }
    fOut << "</dl>\n";
    for (const RunFact& fact : fOutcome.facts) {
      if (fact.kind != RunFact::Kind::kLong) continue;
      fOut << "<details>\n<summary>" << HtmlText(fact.label) << "</summary>\n<pre>";
      WriteLines(fact);
      fOut << "</pre>\n</details>\n";
    }
    fOut << "</section>\n";
  }

  void WriteLines(const RunFact& fact) {
    const char* separator = "";
    for (const std::string& line : fact.lines) {
      fOut << separator << HtmlText(line);
      separator = "\n";
    }
  }

  const OutputDocument& fDocument;
  const RunOutcome& fOutcome;
  const HtmlAdditions& fAdditions;
  std::ostream& fOut;
};

}  // namespace

void WriteHtmlReport(const RunOutcome& outcome, const HtmlAdditions& additions, std::ostream& out) {
  PageWriter(outcome, additions, out).Write();
}
