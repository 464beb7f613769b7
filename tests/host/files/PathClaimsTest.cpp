#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "FrameFixture.h"
#include "host/files/CheckFileRef.h"
#include "host/files/FileLock.h"
#include "host/files/PathClaims.h"
#include "host/files/SessionFiles.h"
#include "host/files/UserCaseFileSpec.h"

namespace fs = std::filesystem;

namespace {

struct FileCase {
  const char* aim;
  FileRole role;
  std::string name, says;
};

class Claims : public FrameFixture {
protected:
  // "ok", r for read-only, u for used, or why there can't be such a file.
  static std::string Show(const FileFlags& flags) {
    if (!flags.valid) return flags.why;
    return flags.readOnly ? "r" : flags.inUse ? "u" : "ok";
  }
  std::string ForWriting(FileRole role, const std::string& name) {
    fClaims.Release(fLast);
    return Show(fClaims.ClaimForWriting(role, name, Path(name), &fLast));
  }
  std::string ForReading(FileRole role, const std::string& name) {
    return Show(fClaims.ClaimForReading(role, Path(name)));
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
  const char* const kNoKind = "data files are written as .sav, .parquet, .csv and .tsv";
  fs::create_directory(Path("folder"));
  Write("old.sav", "x");
  fs::create_directory(Path("old.schema.json"));
  mkfifo(Path("pipe").c_str(), 0600);
  const FileCase kCases[] = {
      {"an old file", FileRole::kSample, "old.sav", "ok"},
      {"a new one", FileRole::kSaved, "new.PARQUET", "ok"},
      {"a rule of any extension", FileRole::kRule, "rule.txt", "ok"},
      {"no kind of ours", FileRole::kSample, "s.txt", kNoKind},
      {"a kind that is only read", FileRole::kJoint, "s.json", kNoKind},
      {"nothing is compressed", FileRole::kSample, "s.CSV.gz", kNoKind},
      {"a folder", FileRole::kRule, "folder", "a folder, expected a file"},
      {"nothing but a folder", FileRole::kSample, "folder/", "a folder, expected a file"},
      {"a pipe", FileRole::kRule, "pipe", "a pipe or device, expected a file"},
      {"a stream", FileRole::kRule, "/dev/stdout", "a pipe or device, expected a file"},
      {"in no folder", FileRole::kSample, "none/s.sav", "its folder doesn't exist"},
      {"a schema that can't be", FileRole::kSample, "old.tsv",
       "its schema file old.schema.json: a folder, expected a file"},
      {"a name too long", FileRole::kSample, std::string(240, 'n') + ".csv", "its name is too long"},
  };
  for (const FileCase& c : kCases) EXPECT_EQ(ForWriting(c.role, c.name), c.says) << c.aim;
  EXPECT_EQ(ForReading(FileRole::kPlan, "old.sav"), "ok");
  EXPECT_EQ(ForReading(FileRole::kPlan, "none"), "there is no such file");
  EXPECT_EQ(ForReading(FileRole::kPlan, "pipe"), "a pipe or device, expected a file");
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
  const FileCase kCases[] = {
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
  for (const FileCase& c : kCases) EXPECT_EQ(ForWriting(c.role, c.name), c.says) << c.aim;
  Write("s.csv", "x");
  EXPECT_EQ(ForReading(FileRole::kPlan, "s.csv"), "u") << "this session is to write it";
  fClaims.Release(sample);
  EXPECT_EQ(ForReading(FileRole::kPlan, "s.csv"), "ok");
}

TEST_F(Claims, LocksOfOtherProcesses) {
  Write("f.sav", "x");
  const auto open = [&] { return ::open(Path("f.sav").c_str(), O_RDWR); };
  const auto lockBytes = [&](short type) {
    struct flock lock = {type, SEEK_SET, 0, 0, 0};
    return fcntl(open(), F_SETLK, &lock) == 0;
  };
  std::string why;
  const auto lockAsWeDo = [&] { return FileLock::Take(Path("f.sav"), "", &why).release() != nullptr; };
  struct Case {
    const char* aim;
    std::function<bool()> hold;
    const char* says;  // of writing and of reading
  };
  const Case kCases[] = {
      {"written by another program", [&] { return lockBytes(F_WRLCK); }, "u u"},
      {"read by it", [&] { return lockBytes(F_RDLCK); }, "u ok"},
      {"locked as a whole", [&] { return flock(open(), LOCK_EX) == 0; }, "u u"},
      {"shared as a whole", [&] { return flock(open(), LOCK_SH) == 0; }, "u ok"},
      {"written by another run", lockAsWeDo, "u u"},
  };
  for (const Case& c : kCases) {
    fClaims = PathClaims();
    const auto both = [&] {
      const std::string writing = ForWriting(FileRole::kSample, "f.sav");
      fClaims.Release(fLast);
      return writing + ' ' + ForReading(FileRole::kPlan, "f.sav");
    };
    EXPECT_EQ(While(c.hold, both), c.says) << c.aim;
  }
  EXPECT_EQ(While(kCases[0].hold, [&] { return ErrorOf({.path = Path("f.sav")}); }),
            "f.sav: in use by another process");
  const auto take = [&] { return FileLock::Take(Path("f.sav"), "", &why) == nullptr ? why : "taken"; };
  EXPECT_EQ(While(lockAsWeDo, take), "another process is writing it");
  EXPECT_EQ(take(), "taken") << "the other process was killed";
  EXPECT_EQ(fFolder.Names(), "f.sav");
}

TEST_F(Claims, ReadOnlyFolder) {
  fs::create_directory(Path("ro"));
  const std::string folder = Path("ro");
  fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
  const bool isMounted = mount("tmpfs", folder.c_str(), "tmpfs", MS_RDONLY, "size=64k") == 0;
  if (geteuid() == 0 && !isMounted)
    GTEST_SKIP() << "permissions don't bind root, and there is no read-only file system here";
  EXPECT_EQ(ForWriting(FileRole::kSample, "ro/s.csv"), "r");
  EXPECT_EQ(ForWriting(FileRole::kRule, "ro/r.txt"), "r");
  if (isMounted) umount2(folder.c_str(), MNT_DETACH);
}

TEST_F(Claims, FileSpecifications) {
  UserCaseFileSpec spec;
  spec.Init("", true, true);
  EXPECT_TRUE(spec.IsInit() && !spec.IsValid());
  spec.Init(Path("s"), true, true);
  EXPECT_TRUE(spec.IsValid() && !spec.IsInUse() && !spec.IsReadOnly());
  EXPECT_EQ(spec.DocumentationString(), Path("s.sav"));
  UserCaseFileSpec joint(FileRole::kJoint);
  joint.Init(Path("s.sav"), true, true);
  EXPECT_TRUE(joint.IsValid() && joint.IsInUse()) << "another spelling of the same file";
  EXPECT_EQ(SessionFiles::Current().MissingFiles().at(0).path, Path("s.sav"));
  spec.Init(Path("other.csv"), false, true);
  joint.Init(Path("s.sav"), true, true);
  EXPECT_FALSE(joint.IsInUse()) << "the first claim was given up";

  EXPECT_EQ(CheckFileRef("~/a", false, false).Name(), std::string(getenv("HOME")) + "/a");
  EXPECT_EQ(CheckFileRef("b/~/a", true, false).Name(), "b/~/a");
}
