#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <set>
#include <string_view>
#include <unordered_map>
#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/dom/DOMNamedNodeMap.hpp>

#include "backend/svcommon/PlanElements.h"
#include "backend/svcommon/PlanRules.h"
#include "backend/svcommon/PlanXmlReader.h"
#include "host/text/NearestWord.h"
#include "host/text/TextConversion.h"

// Elements and attributes that nothing reads. A document with a DOCTYPE can't have them; in one without, a
// misspelt name looks to the reader as if it weren't there. Likewise what is there twice, or beside something
// that counts instead of it.

namespace SV_XML {

namespace {

using Names = std::vector<std::string>;

// What the grammar allows in a sample design.
struct Grammar {
  std::string name;
  Names children;
  Names attributes;
  std::string repeats{};  // the child of which there may be several
};

const std::vector<Grammar>& Elements() {
  static const std::vector<Grammar> kElements = {
      {"SampleDesign",
       {"SampleStage", "PreviousWeight", "Weight"},
       {"wrEstimation", "numberOfStages"},
       "SampleStage"},
      {"SampleStage",
       {"StrataVarList", "ClusterVarList", "InputSampleSize", "InputSampleRate", "MOS", "Index", "IncProb",
        "PopulationSize", "OutputSampleSize", "OutputSampleRate", "Weight", "CumulativeWeight"},
       {"stageNumber", "label", "selectionMethod"}},
      {"StrataVarList", {"Variable"}, {"numberOfVariables"}, "Variable"},
      {"ClusterVarList", {"Variable"}, {"numberOfVariables"}, "Variable"},
      {"InputSampleSize", {"SingleValue", "Variable", "Matrix"}, {}},
      {"InputSampleRate", {"SingleValue", "Variable", "Matrix", "MinSize", "MaxSize"}, {}},
      {"Matrix", {"MatrixVarList", "MatrixValue"}, {"numberOfValues"}, "MatrixValue"},
      {"MatrixVarList", {"Variable"}, {"numberOfVariables"}, "Variable"},
      {"MatrixValue", {"Category"}, {"sizeValue"}, "Category"},
      {"Category", {}, {"value"}},
      {"MOS", {"Variable", "MinSize", "MaxSize"}, {"fromData"}},
      {"MinSize", {"SingleValue"}, {}},
      {"MaxSize", {"SingleValue"}, {}},
      {"Index", {"Variable"}, {}},
      {"IncProb", {"Variable"}, {}},
      {"PopulationSize", {"Variable"}, {}},
      {"OutputSampleSize", {"Variable"}, {}},
      {"OutputSampleRate", {"Variable"}, {}},
      {"Weight", {"Variable"}, {}},
      {"CumulativeWeight", {"Variable"}, {}},
      {"PreviousWeight", {"Variable"}, {}},
      {"SingleValue", {}, {"value"}},
      {"Variable", {}, {"name"}},
  };
  return kElements;
}

const Grammar* GrammarOf(const std::string& name) {
  static const auto kOfName = [] {
    std::unordered_map<std::string_view, const Grammar*> map;
    for (const Grammar& element : Elements()) map.emplace(element.name, &element);
    return map;
  }();
  const auto found = kOfName.find(name);
  return found == kOfName.end() ? nullptr : found->second;
}

bool Has(const Names& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

std::string PlanXmlReader::NameOf(const xercesc::DOMNode* node) const {
  std::string name;
  KORVMBU16ToGeneric(fpConverter, name, node->getNodeName());
  return name;
}

// Stages are children of the design, and the only elements that have a number. Behind a name that isn't known
// nothing is looked at.
void PlanXmlReader::CheckWords(const Element* element) {
  const Grammar& grammar = *GrammarOf(NameOf(element));
  CheckAttributes(element, grammar.attributes);
  std::set<std::string> seen;
  int stages = 0;
  for (const Element* child = ElementFrom(element->getFirstChild()); child != nullptr;
       child = ElementFrom(child->getNextSibling())) {
    const std::string name = NameOf(child);
    if (grammar.name == "SampleDesign") fStage = name == "SampleStage" ? ++stages : 0;
    if (!Has(grammar.children, name)) {
      NoteUnknownWord(child, fmt::format("{} isn't known in {}", QuotedWord(name), grammar.name), name,
                      grammar.children);
      continue;
    }
    if (!seen.insert(name).second && name != grammar.repeats)
      NoteContradiction(child, fmt::format("{} is there twice; the first counts", name));
    CheckWords(child);
  }
  if (grammar.name == "SampleStage") CheckStageWords(element, fStage);
  if (grammar.name == "InputSampleSize" || grammar.name == "InputSampleRate") CheckForms(element);
  if (grammar.name == "SampleDesign") fStage = 0;
}

void PlanXmlReader::CheckAttributes(const Element* element, const std::vector<std::string>& known) {
  const xercesc::DOMNamedNodeMap* const attributes = element->getAttributes();
  for (XMLSize_t i = 0; i < attributes->getLength(); ++i) {
    const std::string name = NameOf(attributes->item(i));
    if (Has(known, name) || name.starts_with("xml")) continue;
    NoteUnknownWord(element,
                    fmt::format("{} isn't known as an attribute of {}", QuotedWord(name), NameOf(element)),
                    name, known);
  }
}

// Nearest words aren't looked for in vain: a plan can have a million of them.
void PlanXmlReader::NoteUnknownWord(const Element* at, const std::string& what, const std::string& name,
                                    const std::vector<std::string>& known) {
  NoteContradiction(at, fContradictions.IsFull() ? "" : what + NearestNameHint(name, known));
}

// Of two ways to say a thing only one counts.
void PlanXmlReader::CheckStageWords(const Element* stage, int number) {
  const Element* const rate = FindChild(stage, u"InputSampleRate");
  if (rate != nullptr && FindChild(stage, u"InputSampleSize") != nullptr)
    NoteContradiction(rate, "InputSampleRate is beside InputSampleSize, which counts");
  const Element* const mos = FindChild(stage, u"MOS");
  if (mos != nullptr && IsWord(mos, u"fromData", u"yes") && FindChild(mos, u"Variable") != nullptr)
    NoteContradiction(mos, "MOS has a Variable, which doesn't count, since fromData is 'yes'");
  if (mos != nullptr && IsWord(mos, u"fromData", u"yes") && (fpPlan->mosMin > 0.0 || fpPlan->mosMax > 0.0))
    NoteContradiction(mos, "the bounds of MOS don't count, since fromData is 'yes'");
  const std::string text = Text(stage, u"stageNumber");
  int given = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), given);
  if (!text.empty() && (read.ec != std::errc() || read.ptr != text.data() + text.size() || given != number)) {
    NoteContradiction(stage, fmt::format("stageNumber is {}, and this is stage {} by its place, which counts",
                                         QuotedWord(text), number));
  }
}

void PlanXmlReader::CheckForms(const Element* holder) {
  const Element* const value = FindChild(holder, u"SingleValue");
  const Element* const variable = FindChild(holder, u"Variable");
  const Element* const matrix = FindChild(holder, u"Matrix");
  const Element* const counts = matrix != nullptr ? matrix : variable;
  for (const Element* const form : {value, variable}) {
    if (form == nullptr || counts == nullptr || form == counts) continue;
    NoteContradiction(form, fmt::format("{} is beside {}, which counts", NameOf(form), NameOf(counts)));
  }
}

}  // namespace SV_XML
