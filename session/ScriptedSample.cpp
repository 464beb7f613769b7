#include "session/ScriptedSample.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "backend/svcommon/design/MethodTable.h"
#include "host/engine/ActiveFile.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/files/FileKind.h"
#include "host/files/PathClaims.h"
#include "host/output/OutputDocument.h"
#include "host/text/VariableNames.h"
#include "session/CommandedPlan.h"
#include "session/RunSurvey.h"

namespace {

namespace fs = std::filesystem;

// A file of the run, as R finds it from the script's folder; no path if the run has written none.
ScriptFile FileOf(const SurveyOutcome& outcome, FileRole role, const std::string& script) {
  const auto file = std::find_if(outcome.files.begin(), outcome.files.end(),
                                 [&](const ReportFile& written) { return written.role == RoleName(role); });
  if (file == outcome.files.end()) return {};
  const FileKind kind = KindOf(file->path);
  const std::string name = fs::path(file->path).has_extension() ? file->path : file->path + ".sav";
  const fs::path folder = fs::absolute(script).lexically_normal().parent_path();
  return {.path = fs::absolute(name).lexically_normal().lexically_relative(folder).string(),
          .kind = kind == FileKind::kTsv       ? ScriptFile::Kind::kTsv
                  : kind == FileKind::kParquet ? ScriptFile::Kind::kParquet
                  : kind == FileKind::kNative  ? ScriptFile::Kind::kNative
                                               : ScriptFile::Kind::kCsv};
}

ScriptStage::Draw DrawOf(const SVMethod& method) {
  if (method.hasJointProbs) return ScriptStage::Draw::kJoint;
  return method.estimator == MethodTexts::kEqualWor ? ScriptStage::Draw::kSimple : ScriptStage::Draw::kOther;
}

// Fills one script: construct, Fill(), discard. Borrows its arguments.
class ScriptFiller {
public:
  ScriptFiller(const CommandedPlan& commanded, SampleScript* script)
      : fCommanded(commanded), fpScript(script) {}

  // Without what identifies strata and units there is no design at all.
  void Fill() {
    const SVPlanSpecs& plan = fCommanded.plan;
    fpScript->weight = Needed(plan.weight);
    fpScript->fromEarlierSampling = !plan.previousWeight.IsEmpty();
    fpScript->estimatesAsReplaced = plan.estimation == kSamplingWr;
    const int last = fCommanded.stages.empty() ? 0 : fCommanded.stages.back();
    for (int number = 1; number <= last; ++number) AddStage(*plan.getStage(number));
    if (last == 0) fpScript->whyNone = "the plan has no stage";
  }

private:
  void AddStage(const SVPlanStageSpecs& stage) {
    ScriptStage described{.draw = DrawOf(MethodOfType(stage.type))};
    for (const KorvVarName& name : stage.strataVariables) described.strata.push_back(Needed(name));
    for (const KorvVarName& name : stage.clusterVariables) described.clusters.push_back(Needed(name));
    described.populationSize = Column(stage.popSizeName);
    described.probability = Column(stage.inclProbName);
    described.index = Column(stage.indexName);
    described.reserve = Column(stage.reserveName);
    fpScript->stages.push_back(std::move(described));
  }

  // The column of a variable; empty if the sample has none.
  std::string Column(const KorvVarName& name) const {
    const std::string upper = GetUpperVarName(name.Text());
    const auto found =
        std::find_if(fpScript->columns.begin(), fpScript->columns.end(),
                     [&](const ScriptColumn& column) { return GetUpperVarName(column.name) == upper; });
    return name.IsEmpty() || found == fpScript->columns.end() ? "" : found->name;
  }

  std::string Needed(const KorvVarName& name) {
    std::string column = Column(name);
    if (column.empty() && fpScript->whyNone.empty()) {
      fpScript->whyNone = "the sample lacks the variable " + name.Text() + ", which the design takes";
    }
    return column;
  }

  const CommandedPlan& fCommanded;
  SampleScript* fpScript;
};

bool HasLoneUnit(const StageReview& stage) {
  return stage.hasUnits && std::any_of(stage.strata.begin(), stage.strata.end(),
                                       [](const StratumReview& h) { return h.units == 1 && h.certain == 0; });
}

// Why there can't be a design; empty if there can.
std::string WhyNone(const SurveyOutcome& outcome, const SampleScript& script) {
  const bool isGood = outcome.status == RunStatus::kOk;
  if (script.sample.path.empty())
    return isGood ? "the run wrote no sample file" : "the run didn't end well, and no sample was written";
  if (!outcome.weights) return "the sample has no final weight";
  return outcome.weights->summary.count == 0 ? "the sample is empty" : "";
}

}  // namespace

SampleScript ScriptOf(HostSession& session, const SurveyOutcome& outcome, const std::string& script) {
  SampleScript described;
  described.notes = {StatusInWords(outcome)};
  for (const OutputMessage& message : session.Layer<OutputDocument>().Messages())
    described.notes.push_back(message.text);
  described.notes.insert(described.notes.end(), outcome.remarks.begin(), outcome.remarks.end());
  described.sample = FileOf(outcome, FileRole::kSample, script);
  described.joint = FileOf(outcome, FileRole::kJoint, script);
  described.whyNone = WhyNone(outcome, described);
  const std::optional<CommandedPlan> commanded = ReadCommandedPlan();
  if (!described.whyNone.empty()) return described;
  if (!commanded) throw DataError("the plan can't be read a second time");
  const FinalWeights& weights = *outcome.weights;
  for (const FinalWeights::Column& column : weights.columns)
    described.columns.push_back({column.name, column.isString});
  ScriptFiller(*commanded, &described).Fill();
  const bool hasFirst = !weights.stages.empty() && weights.stages.front().variables.number == 1;
  if (hasFirst) described.hasLoneUnit = HasLoneUnit(weights.stages.front());
  described.areUnitsCases = hasFirst && weights.stages.front().clusterCount == weights.summary.count;
  return described;
}
