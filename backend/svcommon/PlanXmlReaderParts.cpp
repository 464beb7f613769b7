#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <locale>
#include <sstream>
#include <utility>
#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/dom/DOMNodeList.hpp>

#include "backend/svcommon/PlanElements.h"
#include "backend/svcommon/PlanReadErrors.h"
#include "backend/svcommon/PlanRules.h"
#include "backend/svcommon/PlanXmlReader.h"
#include "host/text/NearestWord.h"
#include "host/text/TextConversion.h"
#include "host/text/VariableNames.h"

// The parts of a stage: lists of variables, quantities in their three forms, names, numbers.
//
// What is remembered about names. SVPlanSpecs keeps three sets. allVariableNames holds every name that was
// read through ReadName(), so that a name can't be used twice in a plan. designVariableNames, of the plan,
// holds the strata and cluster variables of the stages so far: a table may use these. designVariableNames, of
// a stage, holds that stage's clusters: a table of the same stage may not. The variables of a table are not
// added to any set: they are used there a second time on purpose.
namespace SV_XML {

namespace {

constexpr const char* kTooManyVariables = "the list has too many variables";

}  // namespace

int PlanXmlReader::ReadStrata(const Element* element, int number) {
  const Element* const list = FindChild(element, u"StrataVarList");
  return list == nullptr ? 0 : ReadVariableList(list, &fpPlan->getStage(number)->strataVariables);
}

// A cluster of a stage counts as the stage's own even if its name is faulty or was used before.
int PlanXmlReader::ReadClusters(const Element* element, int number) {
  const Element* const list = FindChild(element, u"ClusterVarList");
  if (list == nullptr) return 0;
  std::vector<KorvVarName>& clusters = fpPlan->getStage(number)->clusterVariables;
  const int code = ReadVariableList(list, &clusters);
  for (const KorvVarName& name : clusters) fpPlan->addStageVariableName(number, name);
  return code;
}

// Each name becomes a design variable even if it is faulty, so that a table that uses it isn't blamed too.
int PlanXmlReader::ReadVariableList(const Element* list, std::vector<KorvVarName>* names) {
  const std::vector<const Element*> variables = FindAll(list, u"Variable", kMaxPlanListVariables + 1);
  if (variables.size() > kMaxPlanListVariables) return Fault(kPlanInvalidFile, list, kTooManyVariables);
  CheckCount(list, u"numberOfVariables", variables.size(), "variables");
  int code = 0;
  for (const Element* const variable : variables) {
    KorvVarName& name = names->emplace_back();
    code = LastFault(code, ReadName(variable, &name));
    fpPlan->addDesignVariableName(name);
  }
  return code;
}

// A quantity in one of its forms. If a plan gives several, the last of value, variable and table wins, and
// its code with it: a table's code replaces the others', even by 0. The kind must have been set before.
int PlanXmlReader::ReadHolder(const Element* holder, int number) {
  SVPlanStageSpecs* const stage = fpPlan->getStage(number);
  int code = 0;
  if (const Element* const value = FindChild(holder, u"SingleValue"); value != nullptr) {
    stage->paramSource = kParamByValue;
    stage->paramValue = Number(value, u"value");
    code = CheckValue(value, u"value", stage->paramKind, stage->paramValue);
  }
  if (const Element* const variable = FindChild(holder, u"Variable"); variable != nullptr) {
    stage->paramSource = kParamByVarName;
    code = LastFault(code, ReadName(variable, &stage->paramVariable));
  }
  if (const Element* const matrix = FindChild(holder, u"Matrix"); matrix != nullptr) {
    stage->paramSource = kParamByVarCatList;
    code = ReadMatrix(matrix, number);
  }
  return code;
}

// A table: its variables, then as many rows as numberOfValues says. Further rows are ignored; missing ones
// are code 1. The rows are read even if a variable was faulty, unless there are too many variables.
int PlanXmlReader::ReadMatrix(const Element* matrix, int number) {
  const int rows = std::max(0, Integer(matrix, u"numberOfValues"));
  int code = ReadMatrixVariables(matrix, number);
  if (code == kPlanInvalidFile) return code;
  // One walk over the tree: see FindAll() in PlanElements.cpp.
  const xercesc::DOMNodeList* const list = matrix->getElementsByTagName(u"MatrixValue");
  SVPlanStageSpecs* const stage = fpPlan->getStage(number);
  int found = 0;
  while (const xercesc::DOMNode* const row = list->item(static_cast<XMLSize_t>(found))) {
    if (found++ >= rows) continue;
    code = LastFault(code, ReadMatrixRow(static_cast<const Element*>(row), stage));
  }
  if (found < rows) {
    return Fault(kPlanInvalidFile, matrix,
                 fmt::format("numberOfValues is {}, and the table has fewer rows: {}", rows, found));
  }
  if (found > rows) {
    const std::string given = Text(matrix, u"numberOfValues");
    NoteContradiction(matrix,
                      fmt::format("numberOfValues is {}, and the number of rows is {}; those beyond it "
                                  "are ignored",
                                  given.empty() ? "missing" : QuotedWord(given), found));
  }
  CheckRepeatedRows(matrix, stage->paramMatrix);
  return code;
}

int PlanXmlReader::ReadMatrixVariables(const Element* matrix, int number) {
  const Element* const list = FindChild(matrix, u"MatrixVarList");
  if (list == nullptr) return 0;
  int code = 0;
  std::size_t count = 0;
  for (const Element* variable = ElementFrom(list->getFirstChild()); variable != nullptr;
       variable = ElementFrom(variable->getNextSibling())) {
    if (++count > kMaxPlanListVariables) return Fault(kPlanInvalidFile, list, kTooManyVariables);
    const KorvVarName name = Text(variable, u"name");
    if (ValidateKORVName(name.Text()) != 0) code = kPlanInvalidVariable;
    fpPlan->getStage(number)->paramMatrix.addVarName(name);
    const PlanFault fault = TableVariableFault(*fpPlan, number, name);
    if (fault.code != 0) code = Fault(fault, variable);
  }
  CheckCount(list, u"numberOfVariables", count, "variables");
  return code;
}

// A row with too many or too few categories is kept: the plan is refused, but can still be shown.
int PlanXmlReader::ReadMatrixRow(const Element* row, SVPlanStageSpecs* stage) {
  VarCatList::CatList categories;
  for (const Element* category = ElementFrom(row->getFirstChild()); category != nullptr;
       category = ElementFrom(category->getNextSibling())) {
    VarCatList::addStringToCatList(categories, Text(category, u"value"));
  }
  int code = 0;
  if (!stage->paramMatrix.isCatListOK(categories)) {
    code = Fault(kPlanBadCategoryList, row,
                 fmt::format("the row needs a Category for each variable of its table, {}, and has {}",
                             stage->paramMatrix.VariableCount(), categories.size()));
  }
  const double value = Number(row, u"sizeValue");
  stage->paramMatrix.addCatList(std::move(categories), value);
  return LastFault(code, CheckValue(row, u"sizeValue", stage->paramKind, value));
}

int PlanXmlReader::ReadName(const Element* variable, KorvVarName* name) {
  *name = Text(variable, u"name");
  return Fault(NameFault(fpPlan, *name), variable);
}

// A bound that is absent keeps its 0. Its value is judged by the caller.
int PlanXmlReader::ReadBound(const Element* parent, const XMLCh* name, double* bound) {
  const Element* const holder = FindChild(parent, name);
  if (holder == nullptr) return 0;
  const Element* const value = FindChild(holder, u"SingleValue");
  if (value == nullptr) return Fault(kPlanInvalidFile, holder, "the bound has no SingleValue");
  *bound = Number(value, u"value");
  return 0;
}

int PlanXmlReader::CheckValue(const Element* element, const XMLCh* attribute, std::int32_t paramKind,
                              double value) {
  return Fault(ValueFault(paramKind, value, Text(element, attribute)), element);
}

// The code if the least is above the most, which is given.
int PlanXmlReader::CheckCrossedBounds(const Element* parent, double least, double most) {
  if (least <= most || most <= 0.0) return 0;
  return Fault(kPlanMinAboveMax, parent, fmt::format("MinSize, {}, is above MaxSize, {}", least, most));
}

std::string PlanXmlReader::Text(const Element* element, const XMLCh* name) const {
  std::string text;
  KORVMBU16ToGeneric(fpConverter, text, element->getAttribute(name));
  return text;
}

int PlanXmlReader::Integer(const Element* element, const XMLCh* name) {
  return Extract<int>(element, Text(element, name));
}

double PlanXmlReader::Number(const Element* element, const XMLCh* name) {
  return Extract<double>(element, Text(element, name));
}

// Extracts a number as a fresh stream does: blanks before it and anything after it are ignored, a text
// without a number gives 0, a number out of range the nearest one that the type has. Only a text that isn't
// read to its end is noted as misread; an empty one is a missing attribute.
template <class Value>
Value PlanXmlReader::Extract(const Element* element, const std::string& text) {
  std::istringstream stream(text);
  stream.exceptions(std::ios::badbit);  // a number isn't read as 0 for lack of memory
  stream.imbue(std::locale::classic());
  Value value = 0;
  const bool isWhole = (stream >> value) && (stream >> std::ws).eof();
  if (isWhole || text.empty() || fvMisread.size() == kMaxMisread) return value;
  const std::string misread = fmt::format("\"{}\" is read as {}", text, value);
  const bool isKnown = std::any_of(fvMisread.begin(), fvMisread.end(),
                                   [&](const std::string& line) { return line.ends_with(": " + misread); });
  if (!isKnown) fvMisread.push_back(LineAbout(element, misread));
  return value;
}

}  // namespace SV_XML
