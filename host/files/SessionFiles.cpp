#include "host/files/SessionFiles.h"

#include <fmt/format.h>

#include <algorithm>

#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/files/FileKind.h"

void IssueFileError(const std::string& path, const std::string& why) {
  IssueHostMessage(fmt::format("{} can't be written: {}", path, why), kErrorLevel);
}

SessionFiles& SessionFiles::Current() {
  return HostSession::Current().Layer<SessionFiles>();
}

SessionFiles::~SessionFiles() {
  DiscardFiles();
}

OutputFile* SessionFiles::Start(FileRole role, const std::string& path, const std::string& target) {
  std::vector<std::string> paths = {target};
  const bool isData = role != FileRole::kRule;
  if (isData && HasSchemaFile(KindOf(target))) paths.insert(paths.begin(), SchemaPath(target));
  auto file = std::make_unique<OutputFile>();
  file->role = role;
  file->path = path;
  file->target = target;
  for (const std::string& part : paths) {
    std::string why;
    file->parts.push_back(TemporaryFile::Open(part, &why));
    if (file->parts.back() == nullptr) {
      IssueFileError(part, why);
      return nullptr;
    }
  }
  return fvFiles.emplace_back(std::move(file)).get();
}

bool SessionFiles::Finish(OutputFile& file) {
  for (const auto& part : file.parts) {
    std::string why;
    if (!part->Finish(&why)) {
      IssueFileError(file.path, why);
      return false;
    }
  }
  file.isFinished = true;
  return true;
}

void SessionFiles::Withdraw(OutputFile* file) {
  std::erase_if(fvFiles, [file](const auto& held) { return held.get() == file; });
}

void SessionFiles::Abandon(OutputFile* file) {
  fbBroken = true;
  Withdraw(file);
}

bool SessionFiles::CommitFiles() {
  const bool isWhole =
      std::all_of(fvFiles.begin(), fvFiles.end(), [](const auto& file) { return file->isFinished; });
  if (fbBroken || !isWhole) {
    DiscardFiles();
    return false;
  }
  // Nothing but the renames stands between the first file in its place and the last, so that a kill has next
  // to no time to come in between.
  const auto isDone = [this](bool (*step)(TemporaryFile&, std::string*)) {
    for (const auto& file : fvFiles) {
      for (const auto& part : file->parts) {
        std::string why;
        if (step(*part, &why)) continue;
        IssueFileError(file->path, why);
        return false;
      }
    }
    return true;
  };
  const bool areInPlace =
      isDone([](TemporaryFile& part, std::string* why) { return part.KeepOldFile(why); }) &&
      isDone([](TemporaryFile& part, std::string* why) { return part.Replace(why); }) &&
      isDone([](TemporaryFile& part, std::string* why) { return part.SyncPlace(why); });
  if (!areInPlace) {
    DiscardFiles();
    return false;
  }
  for (const auto& file : fvFiles) {
    for (const auto& part : file->parts) part->Settle();
    file->parts.clear();
    fvCommitted.push_back(std::move(*file));
  }
  fvFiles.clear();
  return true;
}

void SessionFiles::DiscardFiles() {
  fvFiles.clear();
}

std::vector<PathClaims::Output> SessionFiles::MissingFiles() const {
  std::vector<PathClaims::Output> missing;
  for (const PathClaims::Output& output : fClaims.Outputs()) {
    const bool isThere = std::any_of(fvCommitted.begin(), fvCommitted.end(),
                                     [&](const OutputFile& file) { return file.target == output.path; });
    if (!isThere) missing.push_back(output);
  }
  return missing;
}

bool CommitFiles() {
  return SessionFiles::Current().CommitFiles();
}
void DiscardFiles() {
  SessionFiles::Current().DiscardFiles();
}
