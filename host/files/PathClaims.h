#pragma once

#include <string>
#include <vector>

// What a session uses a file for.
enum class FileRole { kFrame, kPlan, kSchema, kCommand, kSample, kJoint, kRule, kSaved, kReport };

// "sample", "joint", "rule", "saved", ...
const char* RoleName(FileRole role);

// What the tests of a file found.
struct FileFlags {
  bool exists = false;
  bool valid = false;     // a regular file, or a name that one can be written under
  bool readOnly = false;  // it or its folder can't be written
  bool inUse = false;     // by this session or another process
  std::string why;        // it can't be read or written, in words that follow its name; empty when it can

  bool CanBeRead() const { return exists && valid && !inUse; }
  bool CanBeWritten() const { return valid && !readOnly && !inUse; }
};

// PathClaims knows every path that a session reads or writes, so that none is written twice or over what is
// read. Two paths are the same when they name the same file: through another spelling, a symbolic link or a
// hard link.
class PathClaims {
public:
  // A claim is numbered; kNone is no claim.
  static constexpr int kNone = -1;

  // Tests a file for reading and claims it when it can be read. It is in use when another process holds it
  // for writing, or this session is to write it.
  FileFlags ClaimForReading(FileRole role, const std::string& path);

  // Keeps the path of a file that isn't there free: one written to it would be read with the session's frame.
  void KeepFree(FileRole role, const std::string& path);

  // Tests a file for writing and claims it when it can be written, together with the schema file that is
  // written beside it; `claim` becomes the claim's number or kNone. It is in use when the session has claimed
  // it already or another process holds a lock on it. A sample, joint or rule file claimed twice under the
  // same spelling isn't in use: what asks for both compares their names itself. `spelling` is the name as the
  // command has it, `path` what was made of it.
  FileFlags ClaimForWriting(FileRole role, const std::string& spelling, const std::string& path, int* claim);

  // What was asked for and couldn't be claimed, each file once.
  struct Refusal {
    FileRole role;
    std::string path;
    std::string why;
  };
  const std::vector<Refusal>& Refusals() const { return fvRefusals; }

  // The file won't be written: another took its place in the command, or the run leaves it out. kNone is
  // ignored.
  void Release(int claim);

  // The files that were claimed for the sample, the joint probabilities, the rule or the saved frame, also
  // those that were released, each once.
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
    std::string plain;  // absolute, without symbolic links
    bool isBeside;      // the schema file beside an output
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
  std::vector<Output> fvGivenUp;  // outputs that were released
  std::vector<Refusal> fvRefusals;
  int fNext = 0;
};
