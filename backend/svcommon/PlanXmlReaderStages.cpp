#include <fmt/format.h>

#include <xercesc/dom/DOMElement.hpp>

#include "backend/svcommon/PlanElements.h"
#include "backend/svcommon/PlanReadErrors.h"
#include "backend/svcommon/PlanRules.h"
#include "backend/svcommon/PlanXmlReader.h"
#include "backend/svcommon/design/MethodTable.h"
#include "host/numeric/Fuzzy.h"
#include "host/text/NearestWord.h"

// The stages of a plan.
//
// Each stage is read to its end whatever is found, and the running code keeps the first fault. The order of
// the calls is therefore the order of the checks and may not be changed. Sample and analysis designs share
// head, strata, clusters and quantities; they differ in their methods and in what else a stage may hold.
namespace SV_XML {

namespace {

// A word of an analysis stage's method and what it means. The rows of kMethods have these two members as
// well.
struct EstimationMethod {
  std::string_view word;
  SamplingType type;
};
constexpr EstimationMethod kEstimationMethods[] = {
    {"equal_wor", kSamplingEqualWor},
    {"unequal_wor", kSamplingUnequalWor},
    {"wr", kSamplingWr},
};

// The type for the attribute's word; kSamplingNoValue for any other word, and for a missing attribute.
template <class Rows>
SamplingType TypeOf(const xercesc::DOMElement* element, const XMLCh* attribute, const Rows& rows) {
  for (const auto& row : rows) {
    if (IsWord(element, attribute, row.word)) return row.type;
  }
  return kSamplingNoValue;
}

}  // namespace

// Makes the records for all stages that are read, also for those beyond the limit: the plan is refused, but
// each stage needs a record to be read into.
int PlanXmlReader::MakeStages(const std::vector<const Element*>& elements) {
  fpPlan->stages.resize(fpPlan->stages.size() + elements.size());
  constexpr auto kMost = static_cast<std::size_t>(kMaxPlanStages);
  if (elements.size() <= kMost) return 0;
  return Fault(kPlanTooManyStages, elements[kMost], "one stage too many");
}

// A single stage and several have different rules: a single one may do without clusters.
int PlanXmlReader::ReadSampleStages(const Element* design) {
  const std::vector<const Element*> elements = FindAll(design, u"SampleStage", kMaxStagesRead);
  int code = MakeStages(elements);
  for (std::size_t i = 0; i < elements.size(); ++i) {
    code = ReadSampleStage(elements[i], static_cast<int>(i) + 1, code);
  }
  if (elements.size() < kMaxStagesRead) {
    fStage = 0;
    CheckCount(design, u"numberOfStages", elements.size(), "stages");
  }
  return FirstFault(code, elements.size() == 1 ? CheckOnlyStage(elements.front()) : CheckClusters(elements));
}

// The method comes first: whether a size or rate is required, and whether there is a measure of size, depends
// on it. A MOS element of a stage that doesn't draw by size is ignored.
int PlanXmlReader::ReadSampleStage(const Element* element, int number, int runningCode) {
  SVPlanStageSpecs* const stage = fpPlan->getStage(number);
  fStage = number;
  ReadStageHead(element, stage);
  int code = FirstFault(runningCode, ReadSelectionMethod(element, number, stage));
  code = FirstFault(code, ReadStrata(element, number));
  code = FirstFault(code, ReadClusters(element, number));
  code = ReadSizeOrRate(element, number, code);
  if (MethodOfType(stage->type).IsPps()) code = FirstFault(code, ReadMos(element));
  return FirstFault(code, ReadOutputs(element, stage));
}

// The number that the plan writes is kept and never used: stages count by their order in the file.
void PlanXmlReader::ReadStageHead(const Element* element, SVPlanStageSpecs* stage) {
  stage->label = Text(element, u"label");
  stage->stageNumber = Integer(element, u"stageNumber");
}

int PlanXmlReader::ReadSelectionMethod(const Element* element, int number, SVPlanStageSpecs* stage) {
  stage->type = TypeOf(element, u"selectionMethod", kMethods);
  const std::string word = Text(element, u"selectionMethod");
  return Fault(MethodFault(*fpPlan, number, word, "selectionMethod is missing"), element);
}

// If a plan gives both, the size counts and the rate isn't read.
int PlanXmlReader::ReadSizeOrRate(const Element* element, int number, int runningCode) {
  SVPlanStageSpecs* const stage = fpPlan->getStage(number);
  if (const Element* const size = FindChild(element, u"InputSampleSize"); size != nullptr) {
    stage->paramKind = kParamSize;
    const int code = FirstFault(runningCode, ReadHolder(size, number));
    CheckTwoUnits(size, *stage);
    return code;
  }
  if (const Element* const rate = FindChild(element, u"InputSampleRate"); rate != nullptr) {
    stage->paramKind = kParamRate;
    const int code = FirstFault(runningCode, ReadHolder(rate, number));
    CheckTwoUnits(rate, *stage);
    return ReadRateBounds(rate, stage, code);
  }
  if (MethodOfType(stage->type).twoUnits) return runningCode;
  const int code =
      Fault(kPlanNoSizeOrRate, element, "the stage has neither InputSampleSize nor InputSampleRate");
  return FirstFault(runningCode, code);
}

// What a stage asks for in vain.
void PlanXmlReader::CheckTwoUnits(const Element* request, const SVPlanStageSpecs& stage) {
  const SVMethod& method = MethodOfType(stage.type);
  if (!method.twoUnits || AsksForTwo(stage)) return;
  NoteContradiction(request, fmt::format("{} draws two units of each stratum, whatever is asked for here",
                                         QuotedWord(method.word)));
}

// Bounds of the number of units that a rate gives. Both are whole; 0 means none.
int PlanXmlReader::ReadRateBounds(const Element* rate, SVPlanStageSpecs* stage, int runningCode) {
  int code = runningCode;
  // Here the first fault counts; in ReadMos() the last.
  const auto read = [&](const XMLCh* name, double* bound) {
    code = FirstFault(code, ReadBound(rate, name, bound));
    if (*bound >= 0.0 && IsValidInteger(*bound)) return;
    const std::string what = fmt::format("the bound {} isn't a whole number of 0 or more", *bound);
    code = FirstFault(code, Fault(kPlanBadBound, FindChild(rate, name), what));
  };
  read(u"MinSize", &stage->minSize);
  read(u"MaxSize", &stage->maxSize);
  return FirstFault(code, CheckCrossedBounds(rate, stage->minSize, stage->maxSize));
}

// The measure of size. A fromData word that is neither yes nor no is accepted and leaves the plan without a
// measure of size. Crossed bounds replace any other code of this part.
int PlanXmlReader::ReadMos(const Element* stage) {
  const Element* const mos = FindChild(stage, u"MOS");
  if (mos == nullptr) return Fault(kPlanNoMos, stage, "the stage draws by size, and has no MOS");
  int code = 0;
  if (IsWord(mos, u"fromData", u"yes")) {
    fpPlan->mosFromData = true;
  } else if (IsWord(mos, u"fromData", u"no")) {
    const Element* const variable = FindChild(mos, u"Variable");
    code = variable == nullptr ? Fault(kPlanNoMosSource, mos, "fromData is 'no', and MOS has no Variable")
                               : ReadName(variable, &fpPlan->mosVariable);
  }
  const auto read = [&](const XMLCh* name, double* bound) {
    code = LastFault(code, ReadBound(mos, name, bound));
    if (*bound >= 0.0) return;
    code = Fault(kPlanBadBound, FindChild(mos, name), fmt::format("the bound {} is below 0", *bound));
  };
  read(u"MinSize", &fpPlan->mosMin);
  read(u"MaxSize", &fpPlan->mosMax);
  return LastFault(code, CheckCrossedBounds(mos, fpPlan->mosMin, fpPlan->mosMax));
}

// The names of the output variables, in the order in which the grammar has them: it decides which of two
// equal names is the repeated one. It isn't the order of OutputKind.
int PlanXmlReader::ReadOutputs(const Element* element, SVPlanStageSpecs* stage) {
  const struct {
    const XMLCh* element;
    KorvVarName* name;
  } outputs[] = {
      {u"Index", &stage->indexName},
      {u"IncProb", &stage->inclProbName},
      {u"PopulationSize", &stage->popSizeName},
      {u"OutputSampleSize", &stage->sampSizeName},
      {u"OutputSampleRate", &stage->rateName},
      {u"Weight", &stage->weightName},
      {u"CumulativeWeight", &stage->cumWeightName},
  };
  int code = 0;
  for (const auto& output : outputs) {
    const Element* const holder = FindChild(element, output.element);
    if (holder == nullptr) continue;
    const Element* const variable = FindChild(holder, u"Variable");
    code = FirstFault(code, variable == nullptr
                                ? Fault(kPlanInvalidFile, holder, "the output variable has no Variable")
                                : ReadName(variable, output.name));
  }
  return code;
}

int PlanXmlReader::CheckOnlyStage(const Element* element) {
  const PlanFault fault = OnlyStageFault(fpPlan->stages.front(), "add a ClusterVarList");
  if (fault.code != 0) fStage = 1;
  return Fault(fault, element);
}

// Each stage but the last needs clusters: the next stage draws within them.
int PlanXmlReader::CheckClusters(const std::vector<const Element*>& elements) {
  for (std::size_t i = 0; i + 1 < elements.size(); ++i) {
    if (!fpPlan->stages[i].designVariableNames.empty()) continue;
    fStage = static_cast<int>(i) + 1;
    return Fault(kPlanClustersRequired, elements[i], kNoClustersText);
  }
  return 0;
}

int PlanXmlReader::ReadAnalysisStages(const Element* design) {
  const std::vector<const Element*> elements = FindAll(design, u"AnalysisStage", kMaxStagesRead);
  int code = MakeStages(elements);
  for (std::size_t i = 0; i < elements.size(); ++i) {
    code = ReadAnalysisStage(elements[i], static_cast<int>(i) + 1, code);
  }
  return FirstFault(code, CheckClusters(elements));
}

// Only estimation of equal probability without replacement needs a population size or a probability; for
// other methods they are skipped, even if present.
int PlanXmlReader::ReadAnalysisStage(const Element* element, int number, int runningCode) {
  SVPlanStageSpecs* const stage = fpPlan->getStage(number);
  fStage = number;
  ReadStageHead(element, stage);
  int code = FirstFault(runningCode, ReadEstimationMethod(element, number, stage));
  code = FirstFault(code, ReadStrata(element, number));
  code = FirstFault(code, ReadClusters(element, number));
  if (stage->type != kSamplingEqualWor) return code;
  if (const Element* const size = FindChild(element, u"PopulationSize"); size != nullptr) {
    stage->paramKind = kParamPopSize;
    code = FirstFault(code, ReadHolder(size, number));
  } else if (const Element* const probability = FindChild(element, u"IncProb"); probability != nullptr) {
    stage->paramKind = kParamInclProb;
    code = FirstFault(code, ReadHolder(probability, number));
  }
  return code;
}

// An unknown word is accepted and means no method.
int PlanXmlReader::ReadEstimationMethod(const Element* element, int number, SVPlanStageSpecs* stage) {
  stage->type = TypeOf(element, u"estimationMethod", kEstimationMethods);
  if (stage->type != kSamplingUnequalWor || number < 2) return 0;
  return Fault(kPlanIllegalEstimation, element, "only the first stage can be estimated as 'unequal_wor'");
}

}  // namespace SV_XML
