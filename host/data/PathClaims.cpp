#include "host/data/PathClaims.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

#include "host/data/FileKind.h"
#include "host/data/FileLock.h"
#include "host/data/TemporaryFile.h"

namespace {

namespace fs = std::filesystem;

constexpr std::array<const char*, 9> kRoleNames = {"frame", "plan", "schema", "command", "sample",
                                                   "joint", "rule", "saved",  "report"};

constexpr std::size_t kLongestFileName = 255;  // bytes, on the file systems that we know

bool IsSameFile(const std::string& one, const std::string& other) {
  std::error_code error;
  return one == other || (fs::equivalent(one, other, error) && !error);
}

bool IsProcedureOutput(FileRole role) {
  return role == FileRole::kSample || role == FileRole::kJoint || role == FileRole::kRule;
}

bool IsDataOutput(FileRole role) {
  return role == FileRole::kSample || role == FileRole::kJoint || role == FileRole::kSaved;
}

bool CanWrite(const std::string& path) {
  return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

// Everything but inUse, for a file that is to be written at a plain path.
FileFlags TestTarget(const std::string& path) {
  FileFlags flags;
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  const fs::path folder = fs::path(path).parent_path();
  const std::size_t length = fs::path(path).filename().string().size();
  flags.exists = fs::exists(status);
  flags.valid = (fs::is_regular_file(status) || status.type() == fs::file_type::not_found) &&
                fs::is_directory(folder, error) && 0 < length && length <= kLongestFileName - kBesideRoom;
  flags.readOnly = flags.valid && ((flags.exists && !CanWrite(path)) || !CanWrite(folder.string()));
  return flags;
}

bool NamesFolder(const std::string& path) {
  return path.empty() || path.back() == '/';
}

constexpr const char* kInUse = "the file is in use, by this run or another process";

std::string WhyNotRead(const FileFlags& flags) {
  if (!flags.exists) return "there is no such file";
  return flags.inUse ? kInUse : "a folder, pipe or device, expected a file";
}

}  // namespace

std::string WhyNotWritten(const FileFlags& flags) {
  if (flags.inUse) return kInUse;
  if (flags.readOnly) return "the file or its folder can't be written";
  return "its folder doesn't exist, or it is no file that can be written";
}

const char* RoleName(FileRole role) {
  return kRoleNames[static_cast<std::size_t>(role)];
}

bool PathClaims::IsClaimed(const std::string& plain, bool isForWriting) const {
  return std::any_of(fvClaims.begin(), fvClaims.end(), [&](const Claim& claim) {
    return claim.isForWriting == isForWriting && IsSameFile(claim.plain, plain);
  });
}

bool PathClaims::IsTaken(FileRole role, const std::string& spelling, const std::string& plain,
                         bool isBeside) const {
  return std::any_of(fvClaims.begin(), fvClaims.end(), [&](const Claim& claim) {
    const bool isSameSpelling = IsProcedureOutput(role) && IsProcedureOutput(claim.role) &&
                                claim.spelling == spelling && claim.isBeside == isBeside;
    return !isSameSpelling && IsSameFile(claim.plain, plain);
  });
}

FileFlags PathClaims::ClaimForReading(FileRole role, const std::string& path) {
  const FileFlags flags = TryReading(role, path);
  if (!flags.CanBeRead()) NoteRefusal(role, path, WhyNotRead(flags));
  return flags;
}

FileFlags PathClaims::ClaimForWriting(FileRole role, const std::string& spelling, const std::string& path,
                                      int* claim) {
  const FileFlags flags = TryWriting(role, spelling, path, claim);
  if (!flags.CanBeWritten()) NoteRefusal(role, path, WhyNotWritten(flags));
  return flags;
}

void PathClaims::NoteRefusal(FileRole role, const std::string& path, const std::string& why) {
  if (path.empty()) return;  // nobody asked for it
  const bool isKnown = std::any_of(fvRefusals.begin(), fvRefusals.end(), [&](const Refusal& refusal) {
    return refusal.path == path && refusal.why == why;
  });
  if (!isKnown) fvRefusals.push_back({role, path, why});
}

FileFlags PathClaims::TryReading(FileRole role, const std::string& path) {
  FileFlags flags;
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  flags.exists = fs::exists(status);
  flags.valid = fs::is_regular_file(status);
  if (!flags.valid) return flags;
  const std::string plain = PlainPath(path);
  // What the session reads already was tested then. DuckDB may hold it, and looking again would drop its
  // lock.
  const bool isRead = IsClaimed(plain, false);
  flags.inUse = IsClaimed(plain, true) || (!isRead && IsLockedByOthers(plain, false));
  if (flags.CanBeRead()) fvClaims.push_back({fNext++, role, false, path, path, plain, false});
  return flags;
}

FileFlags PathClaims::TryWriting(FileRole role, const std::string& spelling, const std::string& path,
                                 int* claim) {
  *claim = kNone;
  if (NamesFolder(path)) return FileFlags();
  std::vector<std::string> paths = {PlainPath(path)};
  FileFlags flags = TestTarget(paths[0]);
  if (IsDataOutput(role)) {
    const FileKind kind = KindOf(path);
    flags.valid = flags.valid && CanBeWritten(kind);
    if (HasSchemaFile(kind)) paths.push_back(SchemaPath(paths[0]));
  }
  if (paths.size() > 1) {
    const FileFlags beside = TestTarget(paths[1]);
    flags.valid = flags.valid && beside.valid;
    flags.readOnly = flags.readOnly || beside.readOnly;
  }
  if (!flags.valid) return flags;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    flags.inUse = flags.inUse || IsTaken(role, spelling, paths[i], i > 0) ||
                  (!IsClaimed(paths[i], false) && IsLockedByOthers(paths[i], true));
  }
  if (!flags.CanBeWritten()) return flags;
  *claim = fNext++;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    fvClaims.push_back({*claim, role, true, spelling, path, paths[i], i > 0});
  }
  return flags;
}

void PathClaims::Release(int claim) {
  for (const Claim& held : fvClaims) {
    if (held.number == claim && IsOutput(held)) fvGivenUp.push_back({held.role, held.path});
  }
  std::erase_if(fvClaims, [claim](const Claim& held) { return held.number == claim; });
}

bool PathClaims::IsOutput(const Claim& claim) {
  return (IsDataOutput(claim.role) || claim.role == FileRole::kRule) && !claim.isBeside;
}

std::vector<PathClaims::Output> PathClaims::Outputs() const {
  std::vector<Output> outputs;
  for (const Claim& claim : fvClaims) {
    if (IsOutput(claim)) outputs.push_back({claim.role, claim.path});
  }
  for (const Output& released : fvGivenUp) {
    const bool isListed = std::any_of(outputs.begin(), outputs.end(),
                                      [&](const Output& output) { return output.path == released.path; });
    if (!isListed) outputs.push_back(released);
  }
  return outputs;
}
