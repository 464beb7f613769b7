#include "host/files/SessionFiles.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <set>

#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/files/CommitJournal.h"
#include "host/files/FileKind.h"

namespace {

// From the back, see DiscardFiles().
void DropParts(OutputFile* file) {
  while (!file->parts.empty()) file->parts.pop_back();
}

}  // namespace

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
  std::vector<std::string> paths;
  if (!fClaims.IsInMemory(target)) paths.push_back(target);
  const bool isData =
      !paths.empty() && role != FileRole::kRule && role != FileRole::kReport && role != FileRole::kPlan;
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

void SessionFiles::ForEachPart(const Step& step) {
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
  fvCommitted.reserve(fvFiles.size());  // nothing may fail after the renames
  try {
    ForEachPart([](TemporaryFile& part, std::string* why) { return part.KeepOldFile(why); });
    WriteJournalOfAll();
    ForEachPart([](TemporaryFile& part, std::string* why) { return part.Replace(why); });
    SyncFolders();
  } catch (const DataError& error) {
    const char* const rest =
        TakeBack() ? "" : "; the next run that uses one of the files finishes the commit";
    IssueHostMessage(error.what() + std::string(rest), kErrorLevel);
    DiscardFiles();
    return false;
  } catch (...) {  // out of memory
    TakeBack();
    throw;
  }
  ForEachPart([](TemporaryFile& part, std::string*) {
    part.Settle();
    return true;
  });
  for (auto file = fvFiles.rbegin(); file != fvFiles.rend(); ++file) DropParts(file->get());
  for (const auto& file : fvFiles) fvCommitted.push_back(std::move(*file));
  fvFiles.clear();
  return true;
}

// One file is put in its place by one rename, and needs no journal.
void SessionFiles::WriteJournalOfAll() {
  std::vector<JournalPart> parts;
  ForEachPart([&](TemporaryFile& part, std::string*) {
    parts.push_back(part.Part());
    return true;
  });
  if (parts.size() < 2) return;
  ForEachPart([&](TemporaryFile& part, std::string* why) { return part.NoteJournal(parts.front(), why); });
  SyncFolders();  // with the names of locks and private folders
  std::string why;
  const OutputFile& first = *FirstOnDisk();
  if (!WriteJournal(first.parts.front()->Folder(), parts, &why)) throw CannotWrite(first.path, why);
}

const OutputFile* SessionFiles::FirstOnDisk() const {
  const auto first =
      std::find_if(fvFiles.begin(), fvFiles.end(), [](const auto& file) { return !file->parts.empty(); });
  return first == fvFiles.end() ? nullptr : first->get();
}

// Each folder once.
void SessionFiles::SyncFolders() {
  std::set<std::string> done;
  ForEachPart([&](TemporaryFile& part, std::string* why) {
    return !done.insert(FolderOf(part.Part().target)).second || part.SyncPlace(why);
  });
}

// The journal goes last: until then a kill leaves a commit that can be finished.
bool SessionFiles::TakeBack() {
  bool isGood = true;
  for (const auto& file : fvFiles) {
    for (const auto& part : file->parts) isGood = part->Restore() && isGood;
  }
  const OutputFile* const onDisk = FirstOnDisk();
  if (onDisk == nullptr) return isGood;
  const FileDescriptor& first = onDisk->parts.front()->Folder();
  isGood = isGood && (unlinkat(first.Get(), kJournalName, 0) == 0 || errno == ENOENT);
  if (isGood) return true;
  for (const auto& file : fvFiles) {
    for (const auto& part : file->parts) part->Leave();
  }
  return false;
}

// From the back, so that the helpers of the first part go last: the journal is with them.
void SessionFiles::DiscardFiles() {
  for (; !fvFiles.empty(); fvFiles.pop_back()) DropParts(fvFiles.back().get());
}

std::vector<const OutputFile*> SessionFiles::FinishedFiles() const {
  std::vector<const OutputFile*> finished;
  for (const auto& file : fvFiles) {
    if (file->isFinished) finished.push_back(file.get());
  }
  return finished;
}

std::vector<PathClaims::Output> SessionFiles::MissingFiles() const {
  std::vector<PathClaims::Output> missing;
  for (const PathClaims::Output& output : fClaims.Outputs()) {
    const auto isIt = [&](const OutputFile& file) { return file.target == output.path; };
    const auto isFinished = [&](const auto& file) { return file->isFinished && isIt(*file); };
    const bool isThere = std::any_of(fvCommitted.begin(), fvCommitted.end(), isIt) ||
                         std::any_of(fvFiles.begin(), fvFiles.end(), isFinished);
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
