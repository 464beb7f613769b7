#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>

#include "host/files/TemporaryFile.h"
#include "host/files/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace {

void Put(const std::string& path, const std::string& text) {
  std::ofstream(path) << text;
}

std::string Get(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return fs::exists(path) ? text.str() : "none";
}

// Goal: whichever step a commit ends after, the target is the old file or the new one, and nothing is left
// beside it.
TEST(TemporaryFile, LeavesTheOldFileOrTheNewOne) {
  struct Case {
    const char* aim;
    int steps;  // of Finish, KeepOldFile, Replace, SyncPlace, Settle
    const char* during;
    const char* after;
  };
  const Case kCases[] = {
      {"only written", 0, "old", "old"}, {"finished", 1, "old", "old"}, {"kept", 2, "old", "old"},
      {"replaced", 3, "new", "old"},     {"synced", 4, "new", "old"},   {"settled", 5, "new", "new"},
  };
  for (const bool hasOld : {true, false}) {
    for (const Case& c : kCases) {
      SCOPED_TRACE(std::string(c.aim) + (hasOld ? "" : ", no old file"));
      const TemporaryFolder folder;
      const std::string target = folder.Path() + "/t.csv";
      const auto expected = [&](const char* text) { return !hasOld && text[0] == 'o' ? "none" : text; };
      if (hasOld) {
        Put(target, "old");
        fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write);
      }
      Put(folder.Path() + "/.t.csv.svselect-new", "of a killed run");
      Put(folder.Path() + "/.t.csv.svselect-new.wal", "of a killed run");
      std::string why;
      std::unique_ptr<TemporaryFile> file = TemporaryFile::Open(target, &why);
      ASSERT_NE(file, nullptr) << why;
      EXPECT_FALSE(fs::exists(file->TemporaryPath()));
      Put(file->TemporaryPath(), "new");
      const std::function<bool()> steps[] = {
          [&] { return file->Finish(&why); }, [&] { return file->KeepOldFile(&why); },
          [&] { return file->Replace(&why); }, [&] { return file->SyncPlace(&why); },
          [&] {
            file->Settle();
            return true;
          }};
      for (int i = 0; i < c.steps; ++i) ASSERT_TRUE(steps[i]()) << i << why;
      EXPECT_EQ(Get(target), expected(c.during));
      file.reset();
      EXPECT_EQ(Get(target), expected(c.after));
      EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path()), {}), fs::exists(target) ? 1 : 0);
      if (hasOld) {
        EXPECT_EQ(fs::status(target).permissions(), fs::perms::owner_read | fs::perms::owner_write);
      }
    }
  }
}

TEST(TemporaryFile, ReplacesWhatALinkLeadsTo) {
  const TemporaryFolder folder;
  fs::create_directory(folder.Path() + "/far");
  fs::create_symlink("far/t.csv", folder.Path() + "/link.csv");
  std::string why;
  for (const char* text : {"one", "two"}) {
    ASSERT_TRUE(WriteWholeFile(folder.Path() + "/link.csv", text, &why)) << why;
    EXPECT_EQ(Get(folder.Path() + "/far/t.csv"), text);
    EXPECT_TRUE(fs::is_symlink(folder.Path() + "/link.csv"));
  }
  EXPECT_FALSE(WriteWholeFile(folder.Path() + "/none/t.csv", "x", &why));
  EXPECT_EQ(why, "No such file or directory");
}

// Goal: the folders of killed processes go, those of living ones stay.
TEST(TemporaryFolder, RemovesStaleFolders) {
  std::optional<TemporaryFolder> living(std::in_place);
  const std::string stale = living->Path() + "stale";
  const std::string other = fs::path(living->Path()).parent_path().string() + "/svselect-test-other";
  fs::create_directory(stale);
  Put(stale + "/f", "x");
  fs::create_directory(other);
  const TemporaryFolder next;
  EXPECT_TRUE(fs::is_directory(living->Path()) && fs::is_directory(next.Path()));
  EXPECT_FALSE(fs::exists(stale));
  EXPECT_TRUE(fs::remove(other)) << "it hasn't our name";
  const std::string path = living->Path();
  living.reset();
  EXPECT_FALSE(fs::exists(path));
}

}  // namespace
