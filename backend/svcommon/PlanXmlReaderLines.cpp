#include <fmt/format.h>

#include <charconv>
#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/dom/DOMNodeList.hpp>

#include "backend/svcommon/PlanDomParser.h"
#include "backend/svcommon/PlanElements.h"
#include "backend/svcommon/PlanRules.h"
#include "backend/svcommon/PlanXmlReader.h"
#include "host/text/NearestWord.h"
#include "host/text/VariableNames.h"

// What is said about a plan, with the place in its file: faults, contradictions, and what a caller has found.

namespace SV_XML {

int PlanXmlReader::Fault(int code, const Element* at, const std::string& what) {
  fFaults.Add(fFaults.IsFull() ? "" : LineAbout(at, what));
  return code;
}

int PlanXmlReader::Fault(const PlanFault& fault, const Element* at) {
  return fault.code == 0 ? 0 : Fault(fault.code, at, fault.what);
}

void PlanXmlReader::NoteContradiction(const Element* at, const std::string& what) {
  fContradictions.Add(fContradictions.IsFull() ? "" : LineAbout(at, what));
}

std::string PlanXmlReader::LineAbout(PlanPosition at, const std::string& what) const {
  const std::string place = at.line == 0 ? "" : fmt::format(", line {}, column {}", at.line, at.column);
  const std::string stage = fStage == 0 ? "" : fmt::format("stage {}: ", fStage);
  return fmt::format("{}{}: {}{}", fPath, place, stage, what);
}

std::string PlanXmlReader::LineAbout(const Element* at, const std::string& what) const {
  return LineAbout(fpParser->PlaceOf(at), what);
}

std::string PlanXmlReader::LineAboutName(const KorvVarName& name, const std::string& what) const {
  const std::string upper = GetUpperVarName(name.Text());
  // One walk over the tree: see FindAll() in PlanElements.cpp.
  const xercesc::DOMNodeList* const list = fpDocument->getElementsByTagName(u"Variable");
  for (XMLSize_t i = 0; const xercesc::DOMNode* const node = list->item(i); ++i) {
    const auto* const variable = static_cast<const Element*>(node);
    if (GetUpperVarName(Text(variable, u"name")) == upper) return LineAbout(variable, what);
  }
  return LineAbout(PlanPosition(), what);
}

std::string PlanXmlReader::LineAboutRow(int stage, int row, const std::string& text) const {
  const std::string what = fmt::format("stage {}: {}", stage, text);
  const xercesc::DOMNodeList* const stages = fpDocument->getElementsByTagName(u"SampleStage");
  const xercesc::DOMNode* const found = stages->item(static_cast<XMLSize_t>(stage) - 1);
  const Element* holder = FindChild(found, u"InputSampleSize");
  if (holder == nullptr) holder = FindChild(found, u"InputSampleRate");
  const Element* const matrix = FindChild(holder, u"Matrix");
  if (matrix == nullptr) return LineAbout(PlanPosition(), what);
  const xercesc::DOMNodeList* const rows = matrix->getElementsByTagName(u"MatrixValue");
  const xercesc::DOMNode* const node = rows->item(static_cast<XMLSize_t>(row) - 1);
  if (node == nullptr) return LineAbout(PlanPosition(), what);
  return LineAbout(static_cast<const Element*>(node), what);
}

// A number of elements that the plan gives beside the elements. It isn't used, and may be left out.
void PlanXmlReader::CheckCount(const Element* element, const XMLCh* attribute, std::size_t count,
                               const char* ofWhat) {
  const std::string text = Text(element, attribute);
  const std::size_t begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string::npos) return;
  const char* const end = text.data() + text.find_last_not_of(" \t\r\n") + 1;
  std::size_t given = 0;
  const std::from_chars_result read = std::from_chars(text.data() + begin, end, given);
  if (read.ec == std::errc() && read.ptr == end && given == count) return;
  NoteContradiction(element, fmt::format("the number of {} is given as {}, and is {}, which counts", ofWhat,
                                         QuotedWord(text), count));
}

// Of rows with the same categories the last one counts: see SVSParser::ReadMatrix(), which also finds those
// that are written differently.
void PlanXmlReader::CheckRepeatedRows(const Element* matrix, const VarCatList& table) {
  const xercesc::DOMNodeList* const list = matrix->getElementsByTagName(u"MatrixValue");
  for (const auto& [row, earlier] : RepeatedRows(table)) {
    const auto* const element = static_cast<const Element*>(list->item(row));
    NoteContradiction(element,
                      RepeatedRowText(static_cast<int>(row) + 1, static_cast<int>(earlier) + 1, false));
  }
}

}  // namespace SV_XML
