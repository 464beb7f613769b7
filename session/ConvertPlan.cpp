#include "session/ConvertPlan.h"

#include <fmt/format.h>

#include "backend/svcommon/PlanAsText.h"
#include "backend/svcommon/PlanSource.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/files/FileWriter.h"
#include "host/files/SessionFiles.h"
#include "host/text/VariableNames.h"
#include "session/ProcedureLibrary.h"

namespace {

using Lines = std::vector<std::string>;

// What keeps a plan from being written in a form, as far as it is known before.
Lines Obstacles(const PlanReading& reading, PlanForm form, const std::string& target) {
  Lines obstacles;
  if (form == PlanForm::kXml) {
    for (const std::string& lack : XmlLacks(reading.plan))
      obstacles.push_back(fmt::format("{}: {}", target, lack));
  } else if (!reading.remarks.empty()) {
    obstacles.push_back(fmt::format(
        "{}: a plan in JSON can't be misread and doesn't contradict itself; correct {} first, see "
        "the remarks",
        target, reading.plan.file));
  }
  return obstacles;
}

// Claims what was read, so that it isn't overwritten, and the target. Errors: DataError.
void ClaimFiles(PathClaims& claims, const SVPlanSpecs& plan, const std::string& target) {
  if (!plan.file.empty()) claims.ClaimForReading(FileRole::kPlan, plan.file);
  for (const std::string& table : plan.tableFiles) claims.ClaimForReading(FileRole::kPlan, table);
  int number = PathClaims::kNone;
  const FileFlags flags = claims.ClaimForWriting(FileRole::kPlan, target, target, &number);
  if (!flags.CanBeWritten()) throw DataError(target + ": " + flags.why);
}

// Why a written plan isn't the one that it was written from; lines name the target, not the temporary file.
Lines ReadBack(const SVPlanSpecs& plan, const std::string& path, const std::string& target) {
  SVPlanSpecs written;
  const std::unique_ptr<PlanSource> source = OpenPlan(path, &written);
  const int code = source->readSamplePlan(path);
  if (code == 0 && SaysTheSame(plan, written)) return {};
  Lines lines = {target + ": the plan can't be written in this form without a change"};
  for (std::string line : source->Faults()) {
    if (line.starts_with(path)) line.replace(0, path.size(), target);
    lines.push_back(std::move(line));
  }
  return lines;
}

Lines WritePlan(HostSession& session, const SVPlanSpecs& plan, const std::string& text,
                const std::string& target) {
  SessionFiles& files = session.Layer<SessionFiles>();
  ClaimFiles(files.Claims(), plan, target);
  OutputFile* const file = files.Start(FileRole::kPlan, target, target);
  const std::string temporary = file->parts.back()->TemporaryPath();
  FileWriter writer;
  const bool isWritten = writer.Open(temporary) && writer.Write(text);
  if (!writer.Close() || !isWritten) throw CannotWrite(target, writer.Reason());
  files.Finish(file);
  Lines problems = ReadBack(plan, temporary, target);
  if (problems.empty() && !files.CommitFiles()) problems.push_back(target + " can't be written");
  return problems;
}

}  // namespace

PlanForm FormOfPlan(const std::string& path) {
  const std::string name = GetUpperString(path);
  if (name.ends_with(".JSON")) return PlanForm::kJson;
  return name.ends_with(".XML") ? PlanForm::kXml : PlanForm::kUnknown;
}

std::vector<std::string> ConvertPlan(HostSession& session, const PlanReading& reading,
                                     const std::string& target) {
  const PlanForm form = FormOfPlan(target);
  Lines problems = Obstacles(reading, form, target);
  try {
    if (problems.empty()) {
      const std::string text = form == PlanForm::kXml ? PlanAsXml(reading.plan) : PlanAsJson(reading.plan);
      problems = WritePlan(session, reading.plan, text, target);
    }
  } catch (...) {
    problems.push_back(CaughtException());
  }
  session.Layer<SessionFiles>().DiscardFiles();
  return problems;
}
