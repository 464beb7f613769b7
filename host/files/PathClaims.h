#pragma once

#include <string>
#include <vector>

// What a session uses a file for.
enum class FileRole {
  kFrame,
  kPlan,
  kSchema,
  kCommand,
  kSample,
  kJoint,
  kRule,
  kSaved,
  kReport,
  kStrata,  // only ever kept in memory
};

// "sample", "joint", "rule", "saved", ...
const char* RoleName(FileRole role);

// What the tests of a file found. Files are tested when a command is checked, long before they are opened: a
// run should fail before the draw, not after it. What changes in between is found when the file is opened.
struct FileFlags {
  bool exists = false;
  bool valid = false;     // a regular file, or a name that one can be written under
  bool readOnly = false;  // it or its folder can't be written
  bool inUse = false;     // by this session or another process
  std::string why;        // why it can't be read or written, worded to follow "name: "; empty when it can

  bool CanBeRead() const { return exists && valid && !inUse; }
  bool CanBeWritten() const { return valid && !readOnly && !inUse; }
};

// PathClaims knows every path that a session reads or writes, so that no file is written twice, and none that
// is read is overwritten. Two paths are the same if they lead to the same file: by another spelling, a
// symbolic link or a hard link.
//
// Use:        claim every file before it is opened. A claim is for reading or for writing, with a role.
//             Release() what won't be written after all.
// Failures:   flags, with a reason in words. Refused files are also kept in Refusals(), since the
//             procedure's own messages don't give the reason.
// Cost:       a few system calls a claim. A session has about ten, so claims are searched one by one.
class PathClaims {
public:
  // Claims are numbered from 0.
  static constexpr int kNone = -1;

  // Tests a file for reading, and claims it if it can be read. Finishes the commit of a killed run that was
  // to put the file in its place, see KilledRun.h. It is in use if another process has locked it for writing
  // or this session is going to write it.
  FileFlags ClaimForReading(FileRole role, const std::string& path);

  // Claims the path of a file that doesn't exist, so that no output goes there: a schema written beside the
  // frame would be read with it the next time.
  void KeepFree(FileRole role, const std::string& path);

  // Tests a file for writing, and claims it if it can be written, together with the schema file that is
  // written beside it. `claim` becomes the claim's number or kNone. It is in use if the session has claimed
  // it already or another process has locked it. One exception is on purpose: a sample, joint or rule file
  // claimed twice under the same spelling isn't in use, because the procedure compares these names itself and
  // has a message of its own for it. `spelling` is the name in the command, `path` what CheckFileRef made of
  // it.
  FileFlags ClaimForWriting(FileRole role, const std::string& spelling, const std::string& path, int* claim);

  // Makes a name that of a table that the session keeps in memory: it can be claimed for writing whatever is
  // on the disk, and no file is written.
  void KeepInMemory(const std::string& name) { fvInMemory.push_back(name); }
  bool IsInMemory(const std::string& name) const;
  // Whether the outputs of the session are such tables, so that no file is to appear that nobody named.
  bool KeepsTables() const { return !fvInMemory.empty(); }

  // What was asked for and couldn't be claimed; each file once for each reason.
  struct Refusal {
    FileRole role;
    std::string path;
    std::string why;
  };
  const std::vector<Refusal>& Refusals() const { return fvRefusals; }

  // Gives up a claim: the command names another file instead, or the run leaves the file out. kNone is
  // ignored.
  void Release(int claim);

  // The data and rule files that were to be written, each once. Those that were released are included: the
  // user did ask for them, and should hear that they are missing.
  struct Output {
    FileRole role;
    std::string path;
  };
  std::vector<Output> Outputs() const;

private:
  struct Claim {
    int number;
    FileRole role;
    bool isForWriting;
    std::string spelling;
    std::string path;
    std::string plain;  // see PlainPath()
    bool isBeside;      // it is the schema file beside an output
  };

  FileFlags TryReading(FileRole role, const std::string& path);
  FileFlags TryWriting(FileRole role, const std::string& spelling, const std::string& path, int* claim);
  FileFlags TestOutput(FileRole role, const std::string& spelling,
                       const std::vector<std::string>& paths) const;
  void NoteRefusal(FileRole role, const std::string& path, const std::string& why);
  bool IsTaken(FileRole role, const std::string& spelling, const std::string& plain, bool isBeside) const;
  bool IsClaimed(const std::string& plain, bool isForWriting) const;

  static bool IsOutput(const Claim& claim);

  std::vector<Claim> fvClaims;
  std::vector<std::string> fvInMemory;  // names of tables, not of files
  std::vector<Output> fvGivenUp;        // outputs that were released
  std::vector<Refusal> fvRefusals;
  int fNext = 0;
};
