#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <optional>

#include "TestFolder.h"
#include "host/files/PathClaims.h"
#include "host/files/TemporaryFile.h"
#include "host/files/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace {

// Goal: whichever step a commit ends after, the target is the old file or the new one, and nothing is left
// beside it.
TEST(TemporaryFile, LeavesTheOldFileOrTheNewOne) {
  struct Case {
    const char* aim;
    std::size_t steps;  // of Finish, KeepOldFile, Replace, SyncPlace, Settle
    std::string during, after;
  };
  const Case kCases[] = {
      {"only written", 0, "old", "old"}, {"finished", 1, "old", "old"}, {"kept", 2, "old", "old"},
      {"replaced", 3, "new", "old"},     {"synced", 4, "new", "old"},   {"settled", 5, "new", "new"},
  };
  constexpr fs::perms kPrivate = fs::perms::owner_read | fs::perms::owner_write;
  for (const std::string old : {"old", ""}) {
    for (const Case& c : kCases) {
      SCOPED_TRACE(c.aim + (old.empty() ? ", no old file" : old));
      const TestFolder folder;
      const auto expected = [&](const std::string& text) { return text == "old" ? old : text; };
      if (!old.empty()) fs::permissions(folder.Write("t.csv", old), kPrivate);
      fs::create_directory(folder.path / ".t.csv.svselect-abcdefgh2345");
      for (const char* name : {"new", "new.wal", "old"})
        folder.Write(std::string(".t.csv.svselect-abcdefgh2345/") + name, "of a killed run");
      folder.Write(".t.csv.svselect-lock", "abcdefgh2345");
      std::string why;
      std::unique_ptr<TemporaryFile> file = TemporaryFile::Open(folder.Path("t.csv"), &why);
      ASSERT_NE(file, nullptr) << why;
      EXPECT_FALSE(fs::exists(file->TemporaryPath()));
      std::ofstream(file->TemporaryPath()) << "new";
      const std::function<bool()> steps[] = {
          [&] { return file->Finish(&why); },   [&] { return file->KeepOldFile(&why); },
          [&] { return file->Replace(&why); },  [&] { return file->SyncPlace(&why); },
          [&] { return file->Settle(), true; },
      };
      for (std::size_t i = 0; i < c.steps; ++i) ASSERT_TRUE(steps[i]()) << i << why;
      EXPECT_EQ(folder.Text("t.csv"), expected(c.during));
      file.reset();
      EXPECT_EQ(folder.Text("t.csv"), expected(c.after));
      EXPECT_EQ(folder.Names(), expected(c.after).empty() ? "" : "t.csv");
      EXPECT_TRUE(old.empty() || fs::status(folder.Path("t.csv")).permissions() == kPrivate);
    }
  }
}

TEST(TemporaryFile, ReplacesWhatALinkLeadsTo) {
  const TestFolder folder;
  fs::create_directory(folder.Path("far"));
  fs::create_symlink("far/t.csv", folder.Path("link.csv"));
  std::string why;
  for (const char* text : {"one", "two"}) {
    ASSERT_TRUE(WriteWholeFile(folder.Path("link.csv"), text, &why)) << why;
    EXPECT_EQ(folder.Text("far/t.csv"), text);
    EXPECT_TRUE(fs::is_symlink(folder.Path("link.csv")));
  }
  EXPECT_FALSE(WriteWholeFile(folder.Path("none/t.csv"), "x", &why));
  EXPECT_EQ(why, "No such file or directory");
}

// Goal: nobody else's link decides which file is overwritten. The rule is the system's own for such folders.
TEST(TemporaryFile, RefusesAnotherAccountsLinkInASharedFolder) {
  constexpr uid_t kMe = 0;
  constexpr uid_t kStranger = 2;
  constexpr uid_t kHost = 3;
  struct Case {
    const char* aim;
    uid_t folder, link;
    mode_t mode;
    bool isRefused;
  };
  const Case kCases[] = {
      {"a stranger's in /tmp", kMe, kStranger, 01777, true},
      {"my own", kHost, kMe, 01777, false},
      {"the folder owner's", kStranger, kStranger, 01777, false},
      {"not sticky: anybody can do anything there", kMe, kStranger, 0777, false},
      {"not open to everybody", kMe, kStranger, 01775, false},
  };
  if (geteuid() != kMe) GTEST_SKIP() << "only root can give links away";
  for (const Case& c : kCases) {
    for (const char* target : {"roots.txt", "nowhere.txt"}) {
      SCOPED_TRACE(std::string(c.aim) + ", to " + target);
      const TestFolder folder;
      folder.Write("roots.txt", "kept");
      fs::create_directory(folder.Path("shared"));
      const std::string link = folder.Path("shared/o.csv");
      fs::create_symlink(std::string("../") + target, link);
      ASSERT_EQ(lchown(link.c_str(), c.link, c.link), 0);
      ASSERT_EQ(chown(folder.Path("shared").c_str(), c.folder, c.folder), 0);
      ASSERT_EQ(chmod(folder.Path("shared").c_str(), c.mode), 0);
      std::string why;
      EXPECT_EQ(WriteWholeFile(link, "new", &why), !c.isRefused) << why;
      EXPECT_EQ(folder.Text(target) == "new", !c.isRefused);
      PathClaims claims;
      int claim = PathClaims::kNone;
      EXPECT_EQ(claims.ClaimForWriting(FileRole::kSample, link, link, &claim).CanBeWritten(), !c.isRefused);
    }
  }
}

// What other accounts may put beside an output, in a folder where they can write too.
class Planted : public ::testing::Test {
protected:
  Planted() {
    fs::create_directory(fVictim);
    fFolder.Write("victim/new", "kept");
    fFolder.Write("victim/file", "kept");
  }
  void ExpectVictimUntouched() const {
    EXPECT_EQ(fFolder.Text("victim/new") + fFolder.Text("victim/file"), "keptkept");
    EXPECT_EQ(std::distance(fs::directory_iterator(fVictim), {}), 2);
  }

  const TestFolder fFolder;
  std::string fWhy;  // the reason of the last failure
  const std::string fVictim = fFolder.Path("victim");
  const std::string fTarget = fFolder.Path("t.csv");
  const std::string fLock = fFolder.Path(".t.csv.svselect-lock");
};

// Goal: nothing under the name of the lock is followed or waited for, and the message names it.
TEST_F(Planted, UnderTheNameOfTheLock) {
  const std::function<void()> kPlants[] = {
      [&] { fs::create_symlink(fVictim + "/file", fLock); }, [&] { fs::create_symlink("nowhere", fLock); },
      [&] { ASSERT_EQ(mkfifo(fLock.c_str(), 0666), 0); }, [&] { fs::create_directory(fLock); }};
  for (const auto& plant : kPlants) {
    plant();
    EXPECT_FALSE(WriteWholeFile(fTarget, "new", &fWhy));
    EXPECT_EQ(fWhy, fLock + " is in the way and no file; remove it");
    EXPECT_FALSE(fs::exists(fTarget));
    EXPECT_TRUE(fs::remove(fLock));
    EXPECT_FALSE(fs::exists(fFolder.Path("nowhere")));
    ExpectVictimUntouched();
  }
  fs::create_hard_link(fVictim + "/file", fLock);
  EXPECT_TRUE(WriteWholeFile(fTarget, "new", &fWhy)) << fWhy;
  EXPECT_EQ(fFolder.Text("t.csv"), "new");
  ExpectVictimUntouched();
}

// Goal: what a lock file names is removed only if it is a folder that a killed run of this account left.
TEST_F(Planted, AsTheFolderOfAKilledRun) {
  const std::string named = fFolder.Path(".t.csv.svselect-abcdefgh2345");
  struct Case {
    const char* key;
    std::function<void()> plant;
  };
  const Case kCases[] = {
      {"abcdefgh2345", [&] { fs::create_directory_symlink(fVictim, named); }},
      {"abcdefgh2345", [&] { std::ofstream(named) << "x"; }},
      {"abcdefgh2345", [&] { ASSERT_EQ(mkfifo(named.c_str(), 0666), 0); }},
      {"x/../../victim", [&] { fs::create_directory(fFolder.Path(".t.csv.svselect-x")); }},
      {"x/../victim", [&] {}},
  };
  for (const Case& c : kCases) {
    c.plant();
    std::ofstream(fLock) << c.key;
    EXPECT_TRUE(WriteWholeFile(fTarget, "new", &fWhy)) << fWhy;
    EXPECT_EQ(fs::remove(named), std::string_view(c.key) == kCases[0].key) << "it was left alone";
    ExpectVictimUntouched();
  }
  if (geteuid() != 0) GTEST_SKIP() << "only root can make files of another account";
  fs::create_directory(named);
  std::ofstream(named + "/new") << "of another account";
  constexpr uid_t kNobody = 65534;
  ASSERT_EQ(chown(named.c_str(), kNobody, kNobody), 0);
  for (const uid_t ownerOfLock : {geteuid(), kNobody}) {
    std::ofstream(fLock) << "abcdefgh2345";
    ASSERT_EQ(chown(fLock.c_str(), ownerOfLock, kNobody), 0);
    EXPECT_TRUE(WriteWholeFile(fTarget, "newer", &fWhy)) << fWhy;
    EXPECT_TRUE(fs::exists(named + "/new"));
  }
}

// Goal: a run writes in its own folder, whatever is put under that folder's name meanwhile.
TEST_F(Planted, InPlaceOfTheFolderOfARun) {
  const std::unique_ptr<TemporaryFile> file = TemporaryFile::Open(fTarget, &fWhy);
  ASSERT_NE(file, nullptr) << fWhy;
  fs::path folder;
  for (const auto& entry : fs::directory_iterator(fFolder.path)) {
    if (entry.is_directory() && entry.path() != fVictim) folder = entry.path();
  }
  EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
  fs::rename(folder, fFolder.Path("moved"));
  fs::create_directory_symlink(fVictim, folder);
  std::ofstream(file->TemporaryPath()) << "new";
  EXPECT_TRUE(file->Finish(&fWhy) && file->KeepOldFile(&fWhy) && file->Replace(&fWhy) &&
              file->SyncPlace(&fWhy))
      << fWhy;
  file->Settle();
  EXPECT_EQ(fFolder.Text("t.csv"), "new");
  ExpectVictimUntouched();
}

TEST_F(Planted, KeysDiffer) {
  const std::string key = PrivateFolder::MakeKey();
  EXPECT_EQ(key.size(), 12U);
  EXPECT_NE(key, PrivateFolder::MakeKey());
  EXPECT_NE(PrivateFolder::Make(fTarget, key, &fWhy), nullptr) << fWhy;
  fs::create_directory_symlink(fVictim, fFolder.Path(".t.csv.svselect-" + key));
  EXPECT_EQ(PrivateFolder::Make(fTarget, key, &fWhy), nullptr);
  EXPECT_EQ(fWhy, "File exists");
}

// Goal: the folders of killed processes go, those of living ones stay. A link with the name of a stale folder is
// neither followed nor removed.
TEST_F(Planted, AmongTemporaryFolders) {
  std::optional<TemporaryFolder> living(std::in_place);
  const std::string stale = living->Path() + "stale";
  const std::string other = fs::path(living->Path()).parent_path().string() + "/svselect-test-other";
  fs::create_directories(stale + "/f");
  fs::create_directory(other);
  const std::string link = living->Path() + "link";
  fs::create_directory_symlink(fVictim, link);
  const TemporaryFolder next;
  EXPECT_TRUE(fs::is_directory(living->Path()) && fs::is_directory(next.Path()));
  EXPECT_FALSE(fs::exists(stale));
  EXPECT_TRUE(fs::remove(other)) << "it hasn't our name";
  EXPECT_TRUE(fs::remove(link));
  ExpectVictimUntouched();
  const std::string path = living->Path();
  living.reset();
  EXPECT_FALSE(fs::exists(path));
}

}  // namespace
