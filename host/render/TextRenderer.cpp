#include "host/render/TextRenderer.h"

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "host/environment/HostErrors.h"
#include "host/output/OutputDocument.h"
#include "host/output/RunOutcome.h"
#include "host/render/TablePrinter.h"
#include "host/text/DisplayText.h"

namespace {

constexpr int kGap = 2;              // between the columns of the notes
constexpr int kNarrowestNotes = 40;  // smaller widths are ignored
constexpr int kNarrowestNoteText = 20;

// Two columns: labels, and texts wrapped in the space that remains. A blank line before each group of notes.
// The sort is stable, so notes of a group stay in the order in which they were added.
void PrintNotes(const std::vector<OutputNote>& notes, int width, std::ostream& out) {
  std::vector<OutputNote> ordered = notes;
  std::stable_sort(ordered.begin(), ordered.end(),
                   [](const OutputNote& a, const OutputNote& b) { return a.group < b.group; });
  int labelWidth = 0;
  for (const OutputNote& note : ordered)
    labelWidth = std::max(labelWidth, DisplayWidth(PrintableText(note.label)));
  const int textWidth = std::max(std::max(width, kNarrowestNotes) - labelWidth - kGap, kNarrowestNoteText);

  const OutputNote* previous = nullptr;
  for (const OutputNote& note : ordered) {
    if (previous == nullptr || previous->group != note.group) out << '\n';
    previous = &note;
    std::string label = PrintableText(note.label);
    for (const std::string& line : WrapText(PrintableText(note.text), textWidth)) {
      const int room = labelWidth + kGap - DisplayWidth(label);
      out << label << std::string(static_cast<std::size_t>(room), ' ') << line << '\n';
      label.clear();
    }
  }
}

// Like the notes, but one line of the fact is one line here: a command that was wrapped couldn't be copied.
void PrintFacts(const std::vector<RunFact>& facts, std::ostream& out) {
  int labelWidth = 0;
  for (const RunFact& fact : facts) {
    if (fact.kind == RunFact::Kind::kLong) continue;
    labelWidth = std::max(labelWidth, DisplayWidth(PrintableText(fact.label)));
  }
  for (const RunFact& fact : facts) {
    if (fact.kind == RunFact::Kind::kLong) continue;
    std::string label = PrintableText(fact.label);
    for (const std::string& line : fact.lines) {
      const int room = labelWidth + kGap - DisplayWidth(label);
      out << label << std::string(static_cast<std::size_t>(room), ' ') << PrintableText(line) << '\n';
      label.clear();
    }
  }
}

bool HasOutput(const OutputDocument& document) {
  return !document.Notes().empty() || !document.Tables().empty();
}

}  // namespace

void RenderText(const OutputDocument& document, int width, std::ostream& out) {
  if (!HasOutput(document)) return;
  out << PrintableText(document.Procedure()) << '\n';
  PrintNotes(document.Notes(), width, out);
  for (const auto& table : document.Tables()) {
    out << '\n';
    TablePrinter(*table, width, out).Print();
  }
}

void RenderMessages(const OutputDocument& document, std::ostream& out) {
  for (const OutputMessage& message : document.MessagesByKind()) {
    out << (message.level >= kErrorLevel ? "Error: " : "Warning: ");
    if (!message.group.empty()) out << PrintableText(message.group) << ' ';
    out << PrintableText(message.text);
    if (message.repeats > 0) out << " (" << message.repeats + 1 << " times)";
    out << '\n';
  }
}

void WriteTextReport(const RunOutcome& outcome, const std::function<void(std::ostream& out)>& writeSections,
                     std::ostream& out) {
  const OutputDocument& document = *outcome.document;
  out << "Status: " << StatusWord(outcome.status) << ". " << StatusInWords(outcome) << '\n';
  if (!document.Messages().empty() || !outcome.remarks.empty()) out << '\n';
  RenderMessages(document, out);
  for (const std::string& remark : outcome.remarks) out << PrintableText(remark) << '\n';
  if (HasOutput(document)) out << '\n';
  RenderText(document, kDefaultTextWidth, out);
  if (writeSections) writeSections(out);
  if (!outcome.facts.empty()) out << "\nThe run\n\n";
  PrintFacts(outcome.facts, out);
}
