#include <chrono>
#include <functional>
#include <thread>

#include "FrameFixture.h"
#include "host/engine/CaseProgress.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/MCStopProcessor.h"
#include "host/files/SessionFiles.h"
#include "host/files/UserCaseFileSpec.h"
#include "host/write/SaveActiveFile.h"

namespace {

class ProcDSIteratorTest : public FrameFixture {
protected:
  // 10,000 cases, more than a block: i from 0, its text, i / 4 as the group g.
  void OpenMany(FrameOptions options = {}) {
    Sql("COPY (SELECT i, i::VARCHAR AS s, i // 4 AS g FROM range(10000) t(i)) TO '$/many.parquet'");
    options.path = Path("many.parquet");
    OpenFrame(options);
    fSource = std::make_unique<ProcedureDataSource>();
  }
  std::unique_ptr<KORV_InputCaseIterator> Start() {
    return std::unique_ptr<KORV_InputCaseIterator>(fSource->MakeInputCaseIterator(0));
  }

  std::unique_ptr<ProcedureDataSource> fSource;
};

// Goal: a column that is bound late, at a block's first or last case or inside, shows the case that the walk
// stands on, and the cells that were bound keep their addresses and their case.
TEST_F(ProcDSIteratorTest, BindsLateAtTheSameCase) {
  OpenMany();
  ActiveFile::Current().NoteCopied("G");
  for (const int at : {0, 1, 2047, 2048, 5000, 9999}) {
    SCOPED_TRACE(at);
    const auto iterator = Start();
    const OBS* const number = iterator->BindColumn(0);
    for (int i = 0; i <= at; ++i) ASSERT_EQ(iterator->NextCase(), 1);
    EXPECT_EQ(iterator->GetNumericValue(2), at / 4);  // copied: no new query
    const CaseValue text(iterator.get(), 1);
    for (int i = at; i < 10000; ++i) {
      ASSERT_EQ(number->number, i);
      ASSERT_EQ(Show(text), std::to_string(i));
      ASSERT_EQ(iterator->NextCase(), i < 9999 ? 1 : 0);
    }
    EXPECT_EQ(iterator->BindColumn(0), number);
  }
  const auto counter = Start();  // nothing bound at all
  int cases = 0;
  while (counter->NextCase() != 0) ++cases;
  EXPECT_EQ(cases, 10000);
  const CaseProgress::State progress = HostSession::Current().Layer<CaseProgress>().Get();
  EXPECT_EQ(progress.pass, 7);  // a query that started anew is no pass of its own
  EXPECT_EQ(progress.cases, 10000);
}

TEST_F(ProcDSIteratorTest, StopsWhereASplitGroupEnds) {
  const std::string path = Write("a.csv", "g,s,x\n1,a,1\n1,a,2\n,a,3\n,b,4\n1,a,5\n");
  OpenFrame({.path = path, .weight = "x", .split = {"s", "G"}});
  EXPECT_EQ(pvGetCmnGlb()->splitCount, 2);
  EXPECT_EQ(pvGetCmnGlb()->weightVariable, 3);
  EXPECT_EQ(ShowCases(), "1|a|1;1|a|2/.~|a|3/.~|b|4/1|a|5");
  pvGetCmnGlb()->splitCount = 0;
  EXPECT_EQ(ShowCases(), "1|a|1;1|a|2;.~|a|3;.~|b|4;1|a|5");

  // A group that ends with a block: a column bound there shows the case before the stop.
  OpenMany({.split = {"g"}});
  const auto iterator = Start();
  for (int i = 0; i < 2048; ++i) {
    ASSERT_EQ(iterator->NextCase(), 1);
    if (i % 4 != 3) continue;
    ASSERT_EQ(iterator->NextCase(), 1);
    ASSERT_TRUE(static_cast<ProcDSIterator*>(iterator.get())->SplitGroupEnd());
  }
  EXPECT_EQ(iterator->GetNumericValue(0), 2047);
  EXPECT_EQ(iterator->NextCase(), 1);
  EXPECT_EQ(iterator->GetNumericValue(0), 2048);
}

TEST_F(ProcDSIteratorTest, KeepsAddedVariablesBesideTheCases) {
  OpenMany();
  fSource->SetMaxObsAdded(1);
  int added = 0;
  fSource->MakeVariable(0, added).SetName("w");
  for (const bool isLast : {false, true}) {
    const auto iterator = Start();
    iterator->BindColumn(0);
    ASSERT_EQ(iterator->NextCase(), 1);
    if (isLast) fSource->SetLastPass();
    do {
      const double i = iterator->GetNumericValue(0);
      if (i == 3 || i >= 9998) iterator->SetColumnValue(added, i / 2);
      iterator->SetColumnValue(0, -1);  // the file's own columns stay
    } while (iterator->NextCase() != 0);
    const auto later = Start();
    const CaseValue w(later.get(), added);
    std::string shown;
    for (int i = 0; later->NextCase() != 0; ++i)
      shown += w.IsMissing() ? "" : fmt::format("{}:{} ", i, Show(w));
    EXPECT_EQ(shown, isLast ? "3:1.5 9998:4999 9999:4999.5 " : "");
  }
}

TEST_F(ProcDSIteratorTest, EndsAfterAStopRequest) {
  OpenMany();
  const auto iterator = Start();
  ASSERT_EQ(iterator->NextCase(), 1);
  RequestStop();
  EXPECT_EQ(iterator->NextCase(), 0);
  ClearStopRequest();
  EXPECT_EQ(iterator->NextCase(), 0);
  EXPECT_FALSE(fSource->FatalError());
}

// Goal: an exception that passes an iterator whose threads still read ends the query, as the iterator's end
// does; without that the session waits for ever.
TEST_F(ProcDSIteratorTest, EndsWhenAnExceptionPasses) {
  Sql("COPY (SELECT i, i::VARCHAR AS s FROM range(3000000) t(i)) TO '$/long.parquet' (ROW_GROUP_SIZE "
      "100000)");
  OpenFrame({.path = Path("long.parquet")});
  fSource = std::make_unique<ProcedureDataSource>();
  const auto leave = [this] {
    const auto iterator = Start();
    iterator->BindColumn(0);
    iterator->BindColumn(1);
    if (iterator->NextCase() == 1) throw DataError("on its way");
  };
  EXPECT_THROW(leave(), DataError);
}

// Goal: a file that changes, shrinks or disappears during a run is reported once, and the source can't go on.
TEST_F(ProcDSIteratorTest, FailsOnceWhenTheFileChanges) {
  OpenMany();
  const auto iterator = Start();
  iterator->BindColumn(0);
  ASSERT_EQ(iterator->NextCase(), 1);
  std::filesystem::resize_file(Path("many.parquet"), 1000);
  while (iterator->NextCase() != 0) {
  }
  EXPECT_EQ(Start()->NextCase(), 0);
  EXPECT_TRUE(fSource->FatalError());
  EXPECT_EQ(WithoutFolder(fMessages), "many.parquet: the file was changed while it was being read\n");
}

// Goal: between two passes any change of a file that is read in place is noticed, even one that keeps its
// size and gets its old time back.
TEST_F(ProcDSIteratorTest, NoticesChangesBetweenPasses) {
  namespace fs = std::filesystem;
  struct Case {
    const char* aim;
    std::function<void(const fs::path& file)> change;
  };
  const Case kCases[] = {
      {"replaced by its equal",
       [](const fs::path& file) {
         fs::copy_file(file, file.string() + ".copy");
         fs::rename(file.string() + ".copy", file);
       }},
      {"grown", [](const fs::path& file) { std::ofstream(file, std::ios::app) << 'x'; }},
      {"cut", [](const fs::path& file) { fs::resize_file(file, fs::file_size(file) - 1); }},
      {"written to in place", [](const fs::path& file) { std::fstream(file).seekp(100) << 'x'; }},
      {"gone", [](const fs::path& file) { fs::remove(file); }},
  };
  for (const std::string name : {"f.parquet", "f.sav"}) {
    for (const Case& c : kCases) {
      SCOPED_TRACE(name + " " + c.aim);
      ActiveFile::Current().Close();
      fMessages.clear();
      fs::remove(Path(name));
      UserCaseFileSpec spec(FileRole::kSaved);
      OpenFrame({.sql = "SELECT i FROM range(5) t(i)"});
      spec.Init(Path(name), true, true);
      ASSERT_TRUE(SaveActiveFile(spec) && CommitFiles());
      SessionFiles::Current().Claims() = PathClaims();
      OpenFrame({.path = Path(name)});
      ActiveFile& file = ActiveFile::Current();
      ASSERT_EQ(file.Engine().Open({0}, 0)->NextBlock(), 5U);
      std::this_thread::sleep_for(
          std::chrono::milliseconds(20));  // more than a tick of the clock of file systems
      const auto time = fs::last_write_time(Path(name));
      c.change(Path(name));
      if (fs::exists(Path(name))) fs::last_write_time(Path(name), time);
      EXPECT_THROW(file.Engine().Open({0}, 0), DataError);
      EXPECT_THROW(file.Engine().CountCases(), DataError);
    }
  }
}

// Goal: the same while a text file is loaded, or a file sorted. Another thread changes the time of the file
// until that is done.
TEST_F(ProcDSIteratorTest, NoticesChangesWhileCasesAreCopied) {
  Sql("COPY (SELECT i, i % 7 AS k FROM range(200000) t(i)) TO '$/f.csv'");
  Sql("COPY (SELECT i, i % 7 AS k FROM range(200000) t(i)) TO '$/f.parquet'");
  for (const std::string name : {"f.csv", "f.parquet"}) {
    std::jthread other([&](const std::stop_token& end) {
      while (!end.stop_requested()) {
        std::filesystem::permissions(Path(name), std::filesystem::perms::all);
        std::this_thread::sleep_for(std::chrono::microseconds(100));
      }
    });
    EXPECT_EQ(ErrorOf({.path = Path(name), .sort = {"k"}}),
              name + ": the file was changed while it was being read");
  }
}

}  // namespace
