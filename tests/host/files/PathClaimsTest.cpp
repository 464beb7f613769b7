#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "FrameFixture.h"
#include "TmpfsMount.h"
#include "host/files/CheckFileRef.h"
#include "host/files/FileLock.h"
#include "host/files/PathClaims.h"
#include "host/files/SessionFiles.h"
#include "host/files/UserCaseFileSpec.h"

namespace fs = std::filesystem;

namespace {

class Claims : public FrameFixture {
protected:
  // "ok", or what is against a file: e(xists not), v(alid not), r(ead-only), u(sed).
  static std::string Show(bool exists, bool valid, bool readOnly, bool inUse) {
    const std::string against =
        std::string(exists ? "" : "e") + (valid ? "" : "v") + (readOnly ? "r" : "") + (inUse ? "u" : "");
    return against.empty() ? "ok" : against;
  }
  std::string ForWriting(FileRole role, const std::string& name) {
    fClaims.Release(fLast);
    const FileFlags flags = fClaims.ClaimForWriting(role, name, Path(name), &fLast);
    return Show(true, flags.valid, flags.readOnly, flags.inUse);
  }
  std::string ForReading(FileRole role, const std::string& name) {
    const FileFlags flags = fClaims.ClaimForReading(role, Path(name));
    return Show(flags.exists, flags.valid, false, flags.inUse);
  }
  // What `test` says while another process has done `hold`.
  static std::string While(const std::function<bool()>& hold, const std::function<std::string()>& test) {
    int ready[2];
    if (pipe(ready) != 0) return "no pipe";
    const pid_t child = fork();
    if (child == 0) {
      const char done = hold() ? 'y' : 'n';
      if (write(ready[1], &done, 1) == 1) pause();
      _exit(0);
    }
    char done = 'n';
    const bool held = read(ready[0], &done, 1) == 1 && done == 'y';
    std::string said = held ? test() : "not held";
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(ready[0]);
    close(ready[1]);
    return said;
  }

  PathClaims fClaims;
  int fLast = PathClaims::kNone;  // what ForWriting() claimed, given up at the next
};

}  // namespace

TEST_F(Claims, NamesOfFilesToWrite) {
  fs::create_directory(Path("folder"));
  Write("old.csv", "x");
  fs::create_directory(Path("beside.schema.json"));
  mkfifo(Path("pipe").c_str(), 0600);
  struct Case {
    const char* aim;
    FileRole role;
    std::string name;
    const char* says;
  };
  const Case kCases[] = {
      {"an old file", FileRole::kSample, "old.csv", "ok"},
      {"a new one", FileRole::kSaved, "new.PARQUET", "ok"},
      {"a rule of any extension", FileRole::kRule, "rule.txt", "ok"},
      {"no kind of ours", FileRole::kSample, "s.txt", "v"},
      {"a kind that is only read", FileRole::kJoint, "s.json", "v"},
      {"a folder", FileRole::kSample, "folder", "v"},
      {"a pipe", FileRole::kRule, "pipe", "v"},
      {"nothing but a folder", FileRole::kSample, "folder/", "v"},
      {"in no folder", FileRole::kSample, "none/s.sav", "v"},
      {"a schema that can't be", FileRole::kSample, "beside.csv", "v"},
      {"a name too long", FileRole::kSample, std::string(240, 'n') + ".csv", "v"},
  };
  for (const Case& c : kCases) EXPECT_EQ(ForWriting(c.role, c.name), c.says) << c.aim;
  EXPECT_EQ(ForReading(FileRole::kPlan, "old.csv"), "ok");
  EXPECT_EQ(ForReading(FileRole::kPlan, "none"), "ev");
  EXPECT_EQ(ForReading(FileRole::kPlan, "pipe"), "v");
}

TEST_F(Claims, OneFileHasOneUse) {
  Write("frame.csv", "x");
  fs::create_hard_link(Path("frame.csv"), Path("hard.csv"));
  fs::create_symlink("frame.csv", Path("soft.csv"));
  fs::create_symlink("later.csv", Path("early.csv"));
  fs::create_directory(Path("sub"));
  ASSERT_EQ(ForReading(FileRole::kFrame, "frame.csv"), "ok");
  ASSERT_EQ(ForReading(FileRole::kCommand, "frame.csv"), "ok") << "reading twice is fine";
  int sample = PathClaims::kNone;
  ASSERT_TRUE(fClaims.ClaimForWriting(FileRole::kSample, "s.csv", Path("s.csv"), &sample).CanBeWritten());
  int later = PathClaims::kNone;
  fClaims.ClaimForWriting(FileRole::kSaved, "later.csv", Path("later.csv"), &later);
  struct Case {
    const char* aim;
    FileRole role;
    const char* name;
    const char* says;
  };
  const Case kCases[] = {
      {"what is read", FileRole::kSample, "frame.csv", "u"},
      {"by a hard link", FileRole::kSample, "hard.csv", "u"},
      {"by a symbolic link", FileRole::kSample, "soft.csv", "u"},
      {"by a link to a file that isn't yet", FileRole::kSample, "early.csv", "u"},
      {"another output, same spelling: the command tells", FileRole::kJoint, "s.csv", "ok"},
      {"another output, other spelling", FileRole::kJoint, "sub/../s.csv", "u"},
      {"another role, same spelling", FileRole::kSaved, "s.csv", "u"},
      {"the schema beside an output", FileRole::kRule, "s.schema.json", "u"},
      {"two outputs with one schema", FileRole::kJoint, "s.tsv", "u"},
      {"case tells names apart", FileRole::kJoint, "S.sav", "ok"},
  };
  for (const Case& c : kCases) EXPECT_EQ(ForWriting(c.role, c.name), c.says) << c.aim;
  Write("s.csv", "x");
  EXPECT_EQ(ForReading(FileRole::kPlan, "s.csv"), "u") << "this session is to write it";
  fClaims.Release(sample);
  EXPECT_EQ(ForReading(FileRole::kPlan, "s.csv"), "ok");
}

TEST_F(Claims, LocksOfOtherProcesses) {
  Write("f.sav", "x");
  const auto fcntlLock = [&](int type) {
    return [&, type] {
      struct flock lock {};
      lock.l_type = static_cast<short>(type);
      lock.l_whence = SEEK_SET;
      return fcntl(open(Path("f.sav").c_str(), O_RDWR), F_SETLK, &lock) == 0;
    };
  };
  const auto flockLock = [&](int type) {
    return [&, type] { return flock(open(Path("f.sav").c_str(), O_RDWR), type) == 0; };
  };
  const auto ours = [&] {
    std::string why;
    return FileLock::Take(Path("f.sav"), "", &why).release() != nullptr;
  };
  const auto both = [&] {
    const std::string writing = ForWriting(FileRole::kSample, "f.sav");
    fClaims.Release(fLast);
    return writing + ' ' + ForReading(FileRole::kPlan, "f.sav");
  };
  EXPECT_EQ(While(fcntlLock(F_WRLCK), both), "u u");
  EXPECT_EQ(While(flockLock(LOCK_EX), both), "u u");
  EXPECT_EQ(While(ours, both), "u u");
  EXPECT_EQ(While(fcntlLock(F_WRLCK), [&] { return ErrorOf({.path = Path("f.sav")}); }),
            "f.sav: in use by another process");
  const auto taken = [&] {
    std::string why;
    return FileLock::Take(Path("f.sav"), "", &why) == nullptr ? why : "taken";
  };
  EXPECT_EQ(While(ours, taken), "another process is writing it");
  EXPECT_TRUE(fs::exists(Path(".f.sav.svselect-lock"))) << "of the killed process";
  EXPECT_EQ(taken(), "taken");
  EXPECT_FALSE(fs::exists(Path(".f.sav.svselect-lock")));
  const auto writing = [&] { return ForWriting(FileRole::kSample, "f.sav"); };
  EXPECT_EQ(While(fcntlLock(F_RDLCK), writing), "u");
  EXPECT_EQ(While(flockLock(LOCK_SH), writing), "u");
  EXPECT_EQ(While(fcntlLock(F_RDLCK), [&] { return ForReading(FileRole::kPlan, "f.sav"); }), "ok");
  EXPECT_EQ(writing(), "u") << "it is read by this session now";
}

TEST_F(Claims, ReadOnlyFolder) {
  fs::create_directory(Path("ro"));
  const std::string folder = Path("ro");
  const bool isRoot = geteuid() == 0;
  const TmpfsMount disk(folder, MS_RDONLY, "size=64k");
  if (isRoot && !disk)
    GTEST_SKIP() << "permissions don't bind root, and there is no read-only file system here";
  if (!isRoot) fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_EQ(ForWriting(FileRole::kSample, "ro/s.csv"), "r");
  EXPECT_EQ(ForWriting(FileRole::kRule, "ro/r.txt"), "r");
}

TEST_F(Claims, FileSpecifications) {
  UserCaseFileSpec spec;
  EXPECT_FALSE(spec.IsInit() || spec.IsValid());
  spec.Init("", true, true);
  EXPECT_TRUE(spec.IsInit() && !spec.IsValid());
  spec.Init(Path("s"), true, true);
  EXPECT_TRUE(spec.IsValid() && !spec.IsInUse() && !spec.IsReadOnly());
  EXPECT_EQ(spec.DocumentationString(), Path("s.sav"));
  UserCaseFileSpec joint(FileRole::kJoint);
  joint.Init(Path("s.sav"), true, true);
  EXPECT_TRUE(joint.IsValid() && joint.IsInUse()) << "another spelling of the same file";
  ASSERT_EQ(SessionFiles::Current().MissingFiles().size(), 1U);
  EXPECT_EQ(SessionFiles::Current().MissingFiles().front().path, Path("s.sav"));
  spec.Init(Path("other.csv"), false, true);
  joint.Init(Path("s.sav"), true, true);
  EXPECT_FALSE(joint.IsInUse()) << "the first claim was given up";

  EXPECT_EQ(CheckFileRef("~/a", false, false).Name(), std::string(getenv("HOME")) + "/a");
  EXPECT_EQ(CheckFileRef("b/~/a", true, false).Name(), "b/~/a");
  const std::string rule = Path("other.schema.json");
  int status = 0, exists = 1, valid = 0, readOnly = 1, inUse = 0;
  ValidateFileSpecification(rule.c_str(), static_cast<int>(rule.size()), true, status, exists, valid,
                            readOnly, inUse);
  EXPECT_EQ(fmt::format("{}{}{}{}{}", status, exists, valid, readOnly, inUse), "10101");
}
