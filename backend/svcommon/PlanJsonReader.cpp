#include "backend/svcommon/PlanJsonReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "backend/svcommon/PlanFileSource.h"
#include "backend/svcommon/PlanReadErrors.h"
#include "host/text/NearestWord.h"

using SV_XML::kMaxPlanStages;
using SV_XML::kPlanClustersRequired;
using SV_XML::kPlanInvalidFile;
using SV_XML::kPlanRepeatedInSampleDesign;
using SV_XML::kPlanRepeatedVariable;
using SV_XML::kPlanTooManyStages;
using SV_XML::PlanPosition;

int PlanJsonReader::readSamplePlan(std::string path) {
  fpPlan->mode = kSampleMode;
  fpPlan->isJson = true;
  fpPlan->file = path;
  fPath = std::move(path);
  if (ReadFile(fPath)) {
    if (fJson.Kind(0) == JsonKind::kObject) {
      ReadMembers(0, PlanMembers(), "a plan");
    } else {
      Fault(kPlanInvalidFile, 0, "a plan is an object, { ... }");
    }
  }
  return fCode == kPlanRepeatedVariable ? kPlanRepeatedInSampleDesign : fCode;
}

// Reads a byte more than a plan may have, so that the tree can say where it is too long.
bool PlanJsonReader::ReadFile(const std::string& path) {
  std::string text;
  std::FILE* const file = SV_XML::OpenPlanFile(path);
  bool isRead = file != nullptr;
  for (std::array<char, 1 << 16> block; isRead && text.size() <= JsonTree::kMaxBytes;) {
    const std::size_t count = std::fread(block.data(), 1, block.size(), file);
    text.append(block.data(), count);
    isRead = std::ferror(file) == 0;
    if (count < block.size()) break;
  }
  if (file != nullptr) std::fclose(file);
  if (!isRead) {
    fFaults.Add(Line(fPath, PlanPosition(), "the file can't be read"));
    fCode = kPlanInvalidFile;
    return false;
  }
  const std::optional<JsonTree::Problem> problem = fJson.Parse(std::move(text));
  if (!problem) return true;
  fFaults.Add(Line(fPath, fJson.PlaceOfByte(problem->offset), problem->what));
  fCode = kPlanInvalidFile;
  return false;
}

// --- members ----------------------------------------------------------------------------------------------

bool PlanJsonReader::IsForm(const Member& member, JsonKind kind) {
  return std::find(member.forms.begin(), member.forms.end(), kind) != member.forms.end();
}

bool PlanJsonReader::HasMember(Index object, std::string_view name) const {
  const std::vector<Index> entries = fJson.Entries(object);
  for (std::size_t i = 0; i < entries.size(); i += 2) {
    if (fJson.Text(entries[i]) == name) return true;
  }
  return false;
}

// Nearest words aren't looked for in vain: an object can have a million names.
void PlanJsonReader::FaultUnknown(Index name, const std::vector<std::string>& known, const char* of) {
  if (fFaults.IsFull()) return Fault(kPlanInvalidFile, name, "");
  const std::string word(fJson.Text(name));
  const std::string nearest = NearestWord(word, known);
  Fault(kPlanInvalidFile, name,
        fmt::format("{} has no member {}; {}", of, QuotedWord(word),
                    nearest.empty() ? "its members are " + ListedWords(known, "and")
                                    : "did you mean " + nearest + "?"));
}

PlanJsonReader::Values PlanJsonReader::FindMembers(Index object, Members members, const char* of) {
  Values values(members.size(), 0);
  std::vector<std::string> names;
  for (const Member& member : members) names.emplace_back(member.name);
  const std::vector<Index> entries = fJson.Entries(object);
  for (std::size_t i = 0; i + 1 < entries.size(); i += 2) {
    const std::string name(fJson.Text(entries[i]));
    const auto row = static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
    if (row == names.size()) {
      FaultUnknown(entries[i], names, of);
    } else if (values[row] != 0) {
      Fault(kPlanInvalidFile, entries[i], QuotedWord(name) + " is there twice");
    } else {
      values[row] = entries[i + 1];
    }
  }
  for (std::size_t row = 0; row < members.size(); ++row) {
    const Member& member = members[row];
    if (values[row] == 0) {
      if (member.isRequired)
        Fault(kPlanInvalidFile, object,
              fmt::format("{} needs {}, {}", of, QuotedWord(member.name), member.inWords));
    } else if (!IsForm(member, fJson.Kind(values[row]))) {
      Fault(kPlanInvalidFile, values[row],
            fmt::format("{} must be {}", QuotedWord(member.name), member.inWords));
      values[row] = 0;
    }
  }
  return values;
}

void PlanJsonReader::ReadMembers(Index object, Members members, const char* of) {
  const Values values = FindMembers(object, members, of);
  for (std::size_t row = 0; row < members.size(); ++row) {
    if (values[row] != 0 && members[row].read != nullptr) (this->*members[row].read)(values[row]);
  }
}

// --- the plan as a whole ----------------------------------------------------------------------------------

void PlanJsonReader::ReadVersion(Index value) {
  if (fJson.Number(value) == kVersion) return;
  Fault(kPlanInvalidFile, value,
        fmt::format("{} is no version of plans that can be read here; that is {}",
                    QuotedWord(fJson.Written(value)), kVersion));
}

void PlanJsonReader::ReadTitle(Index value) {
  fpPlan->title = fJson.Text(value);
}

void PlanJsonReader::ReadEstimation(Index value) {
  if (fJson.Boolean(value)) fpPlan->estimation = kSamplingWr;
}

void PlanJsonReader::ReadStages(Index value) {
  std::vector<Index> stages = fJson.Entries(value);
  if (stages.empty()) Fault(kPlanInvalidFile, value, "a plan has 1 to 3 stages");
  if (stages.size() > kMaxPlanStages) {
    Fault(kPlanTooManyStages, stages[kMaxPlanStages], "one stage too many");
    stages.resize(kMaxPlanStages);
  }
  fpPlan->stages.resize(stages.size());
  fvTables.resize(stages.size());
  for (const Index stage : stages) {
    ++fStage;
    Stage().stageNumber = fStage;
    if (fJson.Kind(stage) == JsonKind::kObject) {
      ReadMembers(stage, StageMembers(), "a stage");
      CheckStage(stage);
    } else {
      Fault(kPlanInvalidFile, stage, "a stage is an object, { ... }");
    }
  }
  CheckClusters(stages);
  fStage = 0;
}

// Each stage but the last needs clusters: the next stage draws within them.
void PlanJsonReader::CheckClusters(const std::vector<Index>& stages) {
  for (std::size_t i = 0; i + 1 < stages.size(); ++i) {
    if (!fpPlan->stages[i].designVariableNames.empty()) continue;
    fStage = static_cast<int>(i) + 1;
    Fault(kPlanClustersRequired, stages[i], kNoClustersText);
  }
  if (stages.size() != 1) return;
  Fault(OnlyStageFault(fpPlan->stages.front(), "add \"clusters\""), stages.front());
}

// --- what is said about a plan ----------------------------------------------------------------------------

void PlanJsonReader::Fault(int code, Index at, const std::string& what) {
  if (fCode == 0) fCode = code;
  fFaults.Add(fFaults.IsFull() ? "" : Line(fPath, fJson.PlaceOf(at), what));
}

void PlanJsonReader::Fault(const PlanFault& fault, Index at) {
  if (fault.code != 0) Fault(fault.code, at, fault.what);
}

std::string PlanJsonReader::Line(const std::string& file, PlanPosition at, const std::string& what) const {
  const std::string line = at.line == 0 ? "" : fmt::format(", line {}", at.line);
  const std::string column = at.column == 0 ? "" : fmt::format(", column {}", at.column);
  const std::string stage = fStage == 0 ? "" : fmt::format("stage {}: ", fStage);
  return file + line + column + ": " + stage + what;
}

void PlanJsonReader::NoteUse(Index value, const std::string& name) {
  fFirstUses.emplace(GetUpperVarName(name), value);
}

std::string PlanJsonReader::LineAboutName(const KorvVarName& name, const std::string& what) const {
  const auto use = fFirstUses.find(GetUpperVarName(name.Text()));
  return Line(fPath, use == fFirstUses.end() ? PlanPosition() : fJson.PlaceOf(use->second), what);
}

std::string PlanJsonReader::LineAboutRow(int stage, int row, const std::string& text) const {
  const std::string what = fmt::format("stage {}: {}", stage, text);
  const auto stageIndex = static_cast<std::size_t>(stage) - 1;
  const auto rowIndex = static_cast<std::size_t>(row) - 1;
  if (stageIndex >= fvTables.size() || rowIndex >= fvTables[stageIndex].rows.size())
    return Line(fPath, PlanPosition(), what);
  const TablePlaces& table = fvTables[stageIndex];
  const std::int64_t place = table.rows[rowIndex];
  if (table.file.empty()) return Line(fPath, fJson.PlaceOf(static_cast<Index>(place)), what);
  return Line(table.file, {.line = static_cast<std::uint64_t>(place), .column = 0}, what);
}
