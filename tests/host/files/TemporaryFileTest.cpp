#include <filesystem>
#include <functional>
#include <optional>

#include "TestFolder.h"
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
    const char* during;
    const char* after;
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
      folder.Write(".t.csv.svselect-new", "of a killed run");
      folder.Write(".t.csv.svselect-new.wal", "of a killed run");
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

// Goal: the folders of killed processes go, those of living ones stay.
TEST(TemporaryFolder, RemovesStaleFolders) {
  std::optional<TemporaryFolder> living(std::in_place);
  const std::string stale = living->Path() + "stale";
  const std::string other = fs::path(living->Path()).parent_path().string() + "/svselect-test-other";
  fs::create_directories(stale + "/f");
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
