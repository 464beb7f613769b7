#include "host/files/PathClaims.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

#include "host/files/FileKind.h"
#include "host/files/FileLock.h"
#include "host/files/KilledRun.h"
#include "host/files/TemporaryFile.h"

namespace {

namespace fs = std::filesystem;

constexpr std::array<const char*, 10> kRoleNames = {"frame", "plan", "schema", "command", "sample",
                                                    "joint", "rule", "saved",  "report",  "strata"};

constexpr std::size_t kLongestFileName = 255;  // bytes; the limit of all usual file systems

// Compared as texts first: files that don't exist yet are equivalent to nothing.
bool IsSameFile(const std::string& one, const std::string& other) {
  std::error_code error;
  return one == other || (fs::equivalent(one, other, error) && !error);
}

// What the command asks the procedure to write; the program itself writes the others.
bool IsProcedureOutput(FileRole role) {
  return role == FileRole::kSample || role == FileRole::kJoint || role == FileRole::kRule;
}

bool IsDataOutput(FileRole role) {
  return role == FileRole::kSample || role == FileRole::kJoint || role == FileRole::kSaved;
}

// By the effective user and group, as open(2) would decide.
bool CanWrite(const std::string& path) {
  return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

constexpr const char* kInUse = "the file is in use, by this run or another process";
constexpr const char* kNoFile = "a pipe or device, expected a file";

// Whether a path is a name for a stream of a process, such as /dev/stdout. What is behind it may be a regular
// file that the output was redirected to; replacing that file would lose what else goes there.
bool NamesStream(const std::string& path) {
  const fs::path plain = fs::absolute(path).lexically_normal();
  const std::string folder = plain.parent_path().string();
  return folder == "/dev" || folder == "/dev/fd" || folder == "/proc" || folder.starts_with("/proc/");
}

// Why there can't be a file at a plain path, whatever the permissions; empty if there can be.
std::string WhyNoTarget(const fs::path& path, const fs::file_status& status) {
  std::error_code error;
  if (std::string why = WhyLinkIsRefused(path.string()); !why.empty()) return why;  // of a schema file
  if (fs::is_directory(status)) return "a folder, expected a file";
  if (!fs::is_regular_file(status) && status.type() != fs::file_type::not_found) return kNoFile;
  if (!fs::is_directory(path.parent_path(), error)) return "its folder doesn't exist";
  if (path.filename().string().size() > kLongestFileName - kBesideRoom) return "its name is too long";
  return "";
}

// Tests a plain path for writing. inUse is left to the caller.
FileFlags TestTarget(const std::string& path) {
  FileFlags flags;
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  flags.exists = fs::exists(status);
  flags.why = WhyNoTarget(path, status);
  flags.valid = flags.why.empty();
  flags.readOnly =
      flags.valid && ((flags.exists && !CanWrite(path)) || !CanWrite(fs::path(path).parent_path().string()));
  if (flags.readOnly) flags.why = "the file or its folder can't be written";
  return flags;
}

}  // namespace

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

bool PathClaims::IsInMemory(const std::string& name) const {
  return std::find(fvInMemory.begin(), fvInMemory.end(), name) != fvInMemory.end();
}

FileFlags PathClaims::ClaimForReading(FileRole role, const std::string& path) {
  FileFlags flags = TryReading(role, path);
  if (!flags.CanBeRead()) NoteRefusal(role, path, flags.why);
  return flags;
}

FileFlags PathClaims::ClaimForWriting(FileRole role, const std::string& spelling, const std::string& path,
                                      int* claim) {
  FileFlags flags = TryWriting(role, spelling, path, claim);
  if (!flags.CanBeWritten()) NoteRefusal(role, path, flags.why);
  return flags;
}

void PathClaims::NoteRefusal(FileRole role, const std::string& path, const std::string& why) {
  if (path.empty()) return;  // the command left the name out
  const bool isKnown = std::any_of(fvRefusals.begin(), fvRefusals.end(), [&](const Refusal& refusal) {
    return refusal.path == path && refusal.why == why;
  });
  if (!isKnown) fvRefusals.push_back({role, path, why});
}

FileFlags PathClaims::TryReading(FileRole role, const std::string& path) {
  FileFlags flags;
  if (!FinishKilledRun(path, &flags.why)) {
    flags.exists = flags.valid = flags.inUse = true;
    return flags;
  }
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  flags.exists = fs::exists(status);
  flags.valid = fs::is_regular_file(status);
  if (!flags.valid) {
    flags.why = !flags.exists              ? "there is no such file"
                : fs::is_directory(status) ? "a folder, expected a file"
                                           : kNoFile;
    return flags;
  }
  const std::string plain = PlainPath(path);
  // What the session already reads was tested then, and DuckDB may hold it now: looking again would drop
  // DuckDB's lock, see IsLockedByOthers().
  const bool isRead = IsClaimed(plain, false);
  flags.inUse = IsClaimed(plain, true) || (!isRead && IsLockedByOthers(plain, false));
  if (flags.inUse) flags.why = kInUse;
  if (flags.CanBeRead()) fvClaims.push_back({fNext++, role, false, path, path, plain, false});
  return flags;
}

void PathClaims::KeepFree(FileRole role, const std::string& path) {
  fvClaims.push_back({fNext++, role, false, path, path, PlainPath(path), false});
}

FileFlags PathClaims::TryWriting(FileRole role, const std::string& spelling, const std::string& path,
                                 int* claim) {
  *claim = kNone;
  FileFlags flags;
  if (IsInMemory(path)) {
    flags.valid = true;
    *claim = fNext++;
    fvClaims.push_back({*claim, role, true, spelling, path, path, false});
    return flags;
  }
  if (path.empty() || path.back() == '/' || NamesStream(path)) {
    flags.why = !path.empty() && path.back() == '/' ? "a folder, expected a file" : kNoFile;
    return flags;
  }
  flags.why = WhyLinkIsRefused(path);
  if (!flags.why.empty()) return flags;
  std::vector<std::string> paths = {PlainPath(path)};
  if (IsDataOutput(role) && !CanBeWritten(path)) {
    flags.why = "data files are written as .sav, .parquet, .csv and .tsv";
    return flags;
  }
  if (IsDataOutput(role) && HasSchemaFile(KindOf(path))) paths.push_back(SchemaPath(paths[0]));
  flags = TestOutput(role, spelling, paths);
  if (!flags.CanBeWritten()) return flags;
  *claim = fNext++;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    fvClaims.push_back({*claim, role, true, spelling, path, paths[i], i > 0});
  }
  return flags;
}

// The flags of an output: of the file itself (paths[0]) and of the schema beside it. The reason is the first
// one.
FileFlags PathClaims::TestOutput(FileRole role, const std::string& spelling,
                                 const std::vector<std::string>& paths) const {
  FileFlags flags;
  flags.valid = true;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    FileFlags part = TestTarget(paths[i]);
    part.inUse = part.valid && (IsTaken(role, spelling, paths[i], i > 0) ||
                                (!IsClaimed(paths[i], false) && IsLockedByOthers(paths[i], true)));
    if (part.inUse) part.why = kInUse;
    if (flags.why.empty() && !part.why.empty()) {
      const std::string schema = fs::path(paths[i]).filename().string();
      flags.why = i == 0 ? part.why : "its schema file " + schema + ": " + part.why;
    }
    flags.exists = i == 0 ? part.exists : flags.exists;
    flags.valid = flags.valid && part.valid;
    flags.readOnly = flags.readOnly || part.readOnly;
    flags.inUse = flags.inUse || part.inUse;
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
