#include "host/files/SessionFiles.h"

#include <fmt/format.h>

#include <algorithm>

#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/files/FileKind.h"

DataError CannotWrite(const std::string& path, const std::string& why) {
  return DataError(fmt::format("{} can't be written: {}", path, why));
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
    if (file->parts.back() == nullptr) throw CannotWrite(part, why);
  }
  return fvFiles.emplace_back(std::move(file)).get();
}

void SessionFiles::Finish(OutputFile* file) {
  for (const auto& part : file->parts) {
    std::string why;
    if (!part->Finish(&why)) throw CannotWrite(file->path, why);
  }
  file->isFinished = true;
}

void SessionFiles::Withdraw(OutputFile* file) {
  std::erase_if(fvFiles, [file](const auto& held) { return held.get() == file; });
}

void SessionFiles::Abandon(OutputFile* file) {
  fbBroken = true;
  Withdraw(file);
}

void SessionFiles::ForEachPart(bool (*step)(TemporaryFile&, std::string*)) {
  for (const auto& file : fvFiles) {
    for (const auto& part : file->parts) {
      std::string why;
      if (!step(*part, &why)) throw CannotWrite(file->path, why);
    }
  }
}

// A file that isn't finished belongs to a store that was never closed: the run ended early.
bool SessionFiles::CommitFiles() {
  const bool isWhole =
      std::all_of(fvFiles.begin(), fvFiles.end(), [](const auto& file) { return file->isFinished; });
  if (fbBroken || !isWhole) {
    DiscardFiles();
    return false;
  }
  try {
    ForEachPart([](TemporaryFile& part, std::string* why) { return part.KeepOldFile(why); });
    ForEachPart([](TemporaryFile& part, std::string* why) { return part.Replace(why); });
    ForEachPart([](TemporaryFile& part, std::string* why) { return part.SyncPlace(why); });
  } catch (const DataError& error) {
    IssueHostMessage(error.what(), kErrorLevel);
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
