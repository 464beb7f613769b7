#include "host/files/KilledRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>

#include "TestFolder.h"
#include "host/files/CommitJournal.h"
#include "host/files/TemporaryFile.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kParts = 3;
constexpr const char* kNames = "a.csv b.csv c.csv";

// A folder with three files of an earlier run, and a commit of new ones that ends as by a kill.
class KilledRun : public ::testing::Test {
protected:
  static std::string Name(std::size_t part) { return std::string(1, "abc"[part]) + ".csv"; }
  std::string Path(std::size_t part) const { return fFolder.Path(Name(part)); }

  // Everything up to `renames` renames, of which the first `restored` are taken back. Without a journal none of
  // them is done.
  void Kill(bool hasJournal, std::size_t renames, std::size_t restored = 0) {
    std::vector<std::unique_ptr<TemporaryFile>> files;
    fvParts.clear();
    for (std::size_t i = 0; i < kParts; ++i) {
      if (i > 0 || restored == 0) fFolder.Write(Name(i), "old");  // else the first file is new
      files.push_back(TemporaryFile::Open(Path(i), &fWhy));
      ASSERT_NE(files.back(), nullptr) << fWhy;
      std::ofstream(files.back()->TemporaryPath()) << "new";
      ASSERT_TRUE(files.back()->Finish(&fWhy) && files.back()->KeepOldFile(&fWhy)) << fWhy;
      fvParts.push_back(files.back()->Part());
      ASSERT_TRUE(files.back()->NoteJournal(fvParts.front(), &fWhy)) << fWhy;
    }
    if (hasJournal) {
      ASSERT_TRUE(WriteJournal(files.front()->Folder(), fvParts, &fWhy)) << fWhy;
    }
    for (std::size_t i = 0; i < renames; ++i) ASSERT_TRUE(files[i]->Replace(&fWhy)) << fWhy;
    for (std::size_t i = 0; i < restored; ++i) EXPECT_TRUE(files[i]->Restore());
    for (const auto& file : files) file->Leave();
  }

  std::string Text(std::size_t part) const { return fFolder.Text(Name(part)); }
  std::string Texts() const { return Text(0) + " " + Text(1) + " " + Text(2); }

  const TestFolder fFolder;
  std::string fWhy;  // the reason of the last failure
  std::vector<JournalPart> fvParts;
};

}  // namespace

// Goal: whichever file is met first, read or written, and however many were renamed: with a journal all files
// become new and no helper stays; without one none does.
TEST_F(KilledRun, IsFinishedFromAnyOfItsFiles) {
  for (std::size_t met = 0; met < kParts; ++met) {
    for (std::size_t renames = 0; renames <= kParts; ++renames) {
      SCOPED_TRACE(std::to_string(met) + " met, renames " + std::to_string(renames));
      Kill(true, renames);
      EXPECT_TRUE(FinishKilledRun(Path(met), &fWhy)) << fWhy;
      EXPECT_EQ(Texts(), "new new new");
      EXPECT_EQ(fFolder.Names(), kNames);
      Kill(true, renames);
      EXPECT_TRUE(WriteWholeFile(Path(met), "newer", &fWhy)) << fWhy;
      EXPECT_EQ(Text(met) + Text((met + 1) % kParts), "newernew");
      EXPECT_EQ(fFolder.Names(), kNames);
    }
    Kill(false, 0);
    for (std::size_t i = 0; i < kParts; ++i)
      EXPECT_TRUE(FinishKilledRun(Path((met + i) % kParts), &fWhy)) << fWhy;
    EXPECT_EQ(Texts(), "old old old");
    EXPECT_EQ(fFolder.Names(), kNames);
  }
}

// Goal: a commit that is taken back leaves no instant at which the journal would lead to a mixture.
TEST_F(KilledRun, IsFinishedWhereACommitWasTakenBack) {
  for (std::size_t restored = 1; restored <= kParts; ++restored) {
    Kill(true, kParts, restored);
    EXPECT_TRUE(FinishKilledRun(Path(1), &fWhy)) << fWhy;
    EXPECT_EQ(Texts(), "new new new");
    EXPECT_EQ(fFolder.Names(), kNames);
    fs::remove(Path(0));
  }
}

// Goal: finishing a commit can itself fail at any part, and the next try goes on.
TEST_F(KilledRun, IsFinishedInSeveralTries) {
  Kill(true, 0);
  fs::remove(Path(1));
  fs::create_directory(Path(1));  // no file can be put there
  EXPECT_FALSE(FinishKilledRun(Path(2), &fWhy));
  EXPECT_THAT(fWhy, testing::HasSubstr("b.csv can't be: Is a directory"));
  EXPECT_FALSE(WriteWholeFile(Path(0), "newer", &fWhy));
  fs::remove(Path(1));
  EXPECT_TRUE(FinishKilledRun(Path(2), &fWhy)) << fWhy;
  EXPECT_EQ(Texts(), "new new new");
  EXPECT_EQ(fFolder.Names(), kNames);
}

// Goal: only one process at a time settles a commit, and a living run isn't touched.
TEST_F(KilledRun, IsLeftToTheHolderOfItsFirstLock) {
  Kill(true, 1);
  {
    const FileDescriptor other(LockPath(Path(0)), O_RDONLY);
    ASSERT_EQ(flock(other.Get(), LOCK_EX), 0);
    EXPECT_TRUE(FinishKilledRun(Path(0), &fWhy)) << "the first part looks like one of a living run";
    EXPECT_FALSE(FinishKilledRun(Path(1), &fWhy));
    EXPECT_FALSE(WriteWholeFile(Path(2), "newer", &fWhy));
    EXPECT_EQ(Texts(), "new old old");
  }
  // Where the first part belongs to a later run, this one was never committed or was taken back.
  std::ofstream(LockPath(Path(0))) << "abcdefgh2345";
  const FileDescriptor later(LockPath(Path(0)), O_RDONLY);
  ASSERT_EQ(flock(later.Get(), LOCK_EX), 0);
  EXPECT_TRUE(FinishKilledRun(Path(1), &fWhy)) << fWhy;
  EXPECT_EQ(Texts(), "new old old");
}

// Goal: nothing is reached through a link, and nothing of another account is believed.
TEST_F(KilledRun, BelievesNoStranger) {
  const std::string victim = fFolder.Path("victim");
  fs::create_directory(victim);
  fFolder.Write("victim/new.csv", "planted");
  // A part's folder has become a link to another folder.
  Kill(true, 0);
  const std::string folder = BesideName(Path(1), ".svselect-" + fvParts[1].key);
  fs::remove_all(folder);
  fs::create_directory_symlink(victim, folder);
  EXPECT_TRUE(FinishKilledRun(Path(0), &fWhy)) << fWhy;
  EXPECT_EQ(Texts(), "new old new");
  EXPECT_EQ(fFolder.Text("victim/new.csv"), "planted");
  fs::remove(folder);
  // The journal is a link.
  Kill(true, 0);
  const std::string journal = BesideName(Path(0), ".svselect-" + fvParts[0].key) + "/journal";
  fs::rename(journal, victim + "/journal");
  fs::create_symlink(victim + "/journal", journal);
  EXPECT_FALSE(FinishKilledRun(Path(0), &fWhy));
  EXPECT_EQ(Texts(), "old old old");
  fs::remove(journal);
  fs::rename(victim + "/journal", journal);
  if (geteuid() != 0) GTEST_SKIP() << "only root can make files of another account";
  constexpr uid_t kNobody = 65534;
  ASSERT_EQ(chown(journal.c_str(), kNobody, kNobody), 0);
  EXPECT_TRUE(FinishKilledRun(Path(0), &fWhy)) << fWhy;
  EXPECT_EQ(Texts(), "old old old");
}
