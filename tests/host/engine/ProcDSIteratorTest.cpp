#include "FrameFixture.h"
#include "host/engine/CaseProgress.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/MCStopProcessor.h"

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

}  // namespace
