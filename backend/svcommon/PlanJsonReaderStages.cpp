#include <fmt/format.h>

#include "backend/svcommon/PlanJsonReader.h"
#include "backend/svcommon/PlanReadErrors.h"
#include "backend/svcommon/design/MethodTable.h"
#include "host/numeric/Fuzzy.h"
#include "host/text/NearestWord.h"

// The stages of a JSON plan: methods, variables, bounds, the measure of size and output variables.

using SV_XML::kPlanBadBound;
using SV_XML::kPlanBadSampleSize;
using SV_XML::kPlanInvalidFile;
using SV_XML::kPlanMinAboveMax;
using SV_XML::kPlanNoMos;
using SV_XML::kPlanNoMosSource;
using SV_XML::kPlanNoSizeOrRate;

void PlanJsonReader::ReadLabel(Index value) {
  Stage().label = fJson.Text(value);
}

void PlanJsonReader::ReadMethod(Index value) {
  const std::string word(fJson.Text(value));
  for (const SVMethod& method : kMethods) {
    if (method.word == word) Stage().type = method.type;
  }
  Fault(MethodFault(*fpPlan, fStage, word, "the method is empty"), value);
}

void PlanJsonReader::ReadStrata(Index value) {
  ReadNames(value, &Stage().strataVariables);
}

// A cluster of a stage counts as the stage's own even if its name is faulty or was used before.
void PlanJsonReader::ReadClusters(Index value) {
  ReadNames(value, &Stage().clusterVariables);
  for (const KorvVarName& name : Stage().clusterVariables) fpPlan->addStageVariableName(fStage, name);
}

// Each name becomes a design variable even if it is faulty, so that a table that uses it isn't blamed too.
void PlanJsonReader::ReadNames(Index list, std::vector<KorvVarName>* names) {
  const std::vector<Index> entries = fJson.Entries(list);
  if (entries.size() > kMaxPlanListVariables)
    return Fault(kPlanInvalidFile, entries[kMaxPlanListVariables], "the list has too many variables");
  for (const Index entry : entries) {
    if (fJson.Kind(entry) != JsonKind::kText) {
      Fault(kPlanInvalidFile, entry, "the name of a variable is a text, in quotes");
      continue;
    }
    KorvVarName& name = names->emplace_back();
    ReadName(entry, &name);
    fpPlan->addDesignVariableName(name);
  }
}

void PlanJsonReader::ReadName(Index value, KorvVarName* name) {
  *name = std::string(fJson.Text(value));
  NoteUse(value);
  Fault(NameFault(fpPlan, *name), value);
}

void PlanJsonReader::ReadSize(Index value) {
  Stage().paramKind = kParamSize;
  ReadRequest(value);
}

void PlanJsonReader::ReadRate(Index value) {
  if (Stage().paramKind != kParamNone)
    return Fault(kPlanInvalidFile, value, "'n' and 'rate' exclude each other");
  Stage().paramKind = kParamRate;
  ReadRequest(value);
}

void PlanJsonReader::ReadLeast(Index value) {
  ReadPositive(value, &Stage().minSize);
}

void PlanJsonReader::ReadMost(Index value) {
  ReadPositive(value, &Stage().maxSize);
}

// A bound of 0 or less bounds nothing in the model.
void PlanJsonReader::ReadPositive(Index value, double* bound) {
  *bound = fJson.Number(value);
  if (*bound <= 0.0)
    Fault(kPlanBadBound, value, QuotedWord(fJson.Written(value)) + " isn't a number above 0; leave it out");
}

// `size` is a member of the stage, and of the plan in the model: only the first stage can draw by size.
void PlanJsonReader::ReadMeasure(Index value) {
  if (!MethodOfType(Stage().type).IsPps()) {
    if (Stage().type != kSamplingNoValue)
      Fault(kPlanInvalidFile, value, "'size' has no effect: only a pps_ method draws by size");
    return;
  }
  if (fJson.Kind(value) == JsonKind::kText) {
    fpPlan->mosFromData = fJson.Text(value) == "cases";
    if (!fpPlan->mosFromData) {
      Fault(kPlanNoMosSource, value,
            fmt::format("'size' is \"cases\", the number of cases, or {{\"variable\": {}}}",
                        QuotedWord(fJson.Text(value))));
    }
    return;
  }
  ReadMembers(value, SizeMembers(), "'size'");
  if (fpPlan->mosFromData == !fpPlan->mosVariable.IsEmpty())
    Fault(kPlanNoMosSource, value, "'size' needs either 'variable' or 'cases'");
  if (fpPlan->mosMax > 0.0 && fpPlan->mosMin > fpPlan->mosMax)
    Fault(kPlanMinAboveMax, value,
          fmt::format("'min', {}, is above 'max', {}", fpPlan->mosMin, fpPlan->mosMax));
  if (fpPlan->mosFromData && (fpPlan->mosMin > 0.0 || fpPlan->mosMax > 0.0))
    Fault(kPlanInvalidFile, value,
          "'min' and 'max' have no effect on a number of cases: only the sizes of a variable are bounded");
}

void PlanJsonReader::ReadMeasureCases(Index value) {
  fpPlan->mosFromData = fJson.Boolean(value);
  if (!fpPlan->mosFromData) Fault(kPlanNoMosSource, value, "'cases' is true, or left out");
}

// A variable of the frame may have another use in the plan as well.
void PlanJsonReader::ReadOrder(Index list) {
  const std::vector<Index> entries = fJson.Entries(list);
  if (entries.size() > kMaxPlanListVariables)
    return Fault(kPlanInvalidFile, entries[kMaxPlanListVariables], "the list has too many variables");
  for (const Index entry : entries) {
    if (fJson.Kind(entry) != JsonKind::kText) {
      Fault(kPlanInvalidFile, entry, "the name of a variable is a text, in quotes");
      continue;
    }
    const PlanFault fault = AddOrderKey(std::string(fJson.Text(entry)), &Stage().order);
    NoteUse(entry, Stage().order.back().variable.Text());
    Fault(fault, entry);
  }
  if (!Stage().order.empty() || entries.empty()) Fault(OrderFault(Stage()), list);
}

void PlanJsonReader::ReadSerpentine(Index value) {
  Stage().isSerpentine = fJson.Boolean(value);
  if (Stage().isSerpentine && Stage().order.size() < 2) Fault(kPlanInvalidFile, value, kNoRunsText);
}

void PlanJsonReader::ReadCertainty(Index value) {
  const bool isNumber = fJson.Kind(value) == JsonKind::kNumber;
  const double share = isNumber ? fJson.Number(value) : fJson.Boolean(value) ? 1.0 : 0.0;
  Stage().certainty = share;
  if (isNumber) Fault(CertaintyShareFault(share, std::string(fJson.Written(value))), value);
  if (share > 0.0) Fault(CertaintyFault(Stage()), value);
}

void PlanJsonReader::ReadCertain(Index value) {
  ReadName(value, &Stage().certainName);
  if (!(Stage().certainty > 0.0)) Fault(kPlanInvalidFile, value, kNoCertaintyText);
}

void PlanJsonReader::ReadReserve(Index value) {
  Stage().reserve = fJson.Number(value);
  const PlanFault fault = ReserveFault(Stage(), std::string(fJson.Written(value)));
  Fault(fault, value);
}

void PlanJsonReader::ReadWrite(Index value) {
  ReadMembers(value, WriteMembers(), "'write'");
}

// What a stage as a whole lacks or has in vain. The place is that of the stage.
void PlanJsonReader::CheckStage(Index stage) {
  const SVMethod& method = MethodOfType(Stage().type);
  if (method.code == kMethodNone) return;  // that has been said
  if (!method.twoUnits && !HasMember(stage, "n") && !HasMember(stage, "rate"))
    Fault(kPlanNoSizeOrRate, stage, "the stage has neither 'n' nor 'rate'");
  if (method.twoUnits && !AsksForTwo(Stage())) {
    Fault(kPlanBadSampleSize, stage,
          QuotedWord(method.word) + " draws two units of each stratum: leave 'n' and 'rate' out");
  }
  if (method.IsPps() && !HasMember(stage, "size"))
    Fault(kPlanNoMos, stage, "the stage draws by size, and has no 'size'");
  Fault(ReserveNameFault(Stage()), stage);
  CheckBounds(stage);
}

// Bounds of the number of units that a rate gives.
void PlanJsonReader::CheckBounds(Index stage) {
  const double least = Stage().minSize;
  const double most = Stage().maxSize;
  if (least == 0.0 && most == 0.0) return;
  if (Stage().paramKind != kParamRate)
    Fault(kPlanInvalidFile, stage, "'min' and 'max' have no effect: they bound what a 'rate' gives");
  for (const double bound : {least, most}) {
    if (!IsValidInteger(bound))
      Fault(kPlanBadBound, stage, fmt::format("'min' and 'max' are whole numbers, and {} isn't", bound));
  }
  if (most > 0.0 && least > most)
    Fault(kPlanMinAboveMax, stage, fmt::format("'min', {}, is above 'max', {}", least, most));
}
