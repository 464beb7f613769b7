#include <optional>

#include "FrameSession.h"
#include "backend/svcommon/adapters/SVInputAdapter.h"
#include "backend/svcommon/adapters/SVProcDSMultiIter.h"
#include "host/engine/DuckDb.h"
#include "host/engine/WorkDatabase.h"
#include "host/environment/CommonBlocks.h"

namespace {

// One categorical variable in slot 0, the case id in slot 1.
struct Specs : SVPlanValidSpecs {
  explicit Specs(std::int32_t variable) {
    std::int32_t next = RecordIndex(variable, 0, true) + 1;
    SVPlanValidSpecs::CaseIdRecordIndex(&next);
  }
  void Validate() override {}
};

// Rejects cases whose code is `unwanted`.
struct Adapter : SVInputAdapter {
  Adapter(const Specs& specs, ProcedureDataSource& source, ProcDSIterator* iterator)
      : SVInputAdapter(&specs, &source, iterator, nullptr, false) {}
  bool ReadContinuous(double* record) override { return record[0] != unwanted; }
  bool ReadMatrix(double*) override { return matrixFound; }
  bool AcceptRecord(const double*) override { return accepted; }
  bool KeepIncomplete() const override { return keep; }
  int unwanted = 0;
  bool matrixFound = true, accepted = true, keep = false;
};

struct Walk {
  explicit Walk(FrameSession& session, int unwanted = 0)
      : specs(session.Find("n")),
        first(SVProcDSMultiIter::MakeIterator(&session.Source())),
        adapter(specs, session.Source(), first.get()) {
    adapter.unwanted = unwanted;
  }
  SVProcDSMultiIter& Start(FrameSession& session) {
    return iterator.emplace(&session.Source(), std::move(first), &adapter);
  }
  Specs specs;
  std::unique_ptr<ProcDSIterator> first;
  Adapter adapter;
  std::optional<SVProcDSMultiIter> iterator;
};

std::vector<int> CaseIds(SVProcDSMultiIter& iterator) {
  std::vector<int> ids;
  while (iterator.HasMore()) ids.push_back(static_cast<int>((*iterator.Next())[1]));
  return ids;
}

}  // namespace

TEST(SVProcDSMultiIter, StaysOneValidRecordAhead) {
  FrameSession session("n\n11\n12\n11\n12\n12\n");
  Walk walk(session, 2);
  SVProcDSMultiIter& iterator = walk.Start(session);
  const auto expectCounts = [&walk](int read, int valid, int invalid) {
    EXPECT_EQ(walk.adapter.CasesRead(), read);
    EXPECT_EQ(walk.adapter.ValidCases(), valid);
    EXPECT_EQ(walk.adapter.InvalidCases(), invalid);
  };
  expectCounts(1, 1, 0);
  EXPECT_EQ((*iterator.Current())[1], 0.0);

  // The record handed out is the case before the one that the host stands on, and stays while that is read.
  const MCCommon::Record* record = iterator.Next();
  EXPECT_EQ((*record)[1], 0.0);
  EXPECT_EQ((*iterator.Current())[1], 2.0);
  EXPECT_EQ(iterator.CaseIterator()->GetNumericValue(0), 11.0);
  expectCounts(3, 2, 1);

  // The cases behind the last valid one are read, and counted, before that one is handed out.
  EXPECT_TRUE(iterator.HasMore());
  EXPECT_EQ((*iterator.Next())[1], 2.0);
  EXPECT_EQ((*record)[1], 0.0);
  EXPECT_FALSE(iterator.HasMore());
  EXPECT_EQ(iterator.Current(), nullptr);
  expectCounts(5, 2, 3);
}

TEST(SVProcDSMultiIter, StartsOverFromWhereverItIs) {
  FrameSession session("n\n1\n2\n3\n");
  Walk walk(session);
  SVProcDSMultiIter& iterator = walk.Start(session);
  EXPECT_EQ(iterator.Reset(), MCCommon::kRecordReady);
  EXPECT_EQ(iterator.Reset(), MCCommon::kRecordReady);
  EXPECT_EQ(walk.adapter.PassCounter(), 2);
  EXPECT_EQ(CaseIds(iterator),
            (std::vector<int>{0}));  // the codes of the cases that the first pass hadn't seen
  EXPECT_EQ(walk.adapter.InvalidCases(), 2);
  EXPECT_EQ(walk.adapter.CatReaders()[0]->CategoryCount(), 1u);
}

TEST(SVProcDSMultiIter, ReadsSplitGroupsThroughAsOneFile) {
  FrameSession session("g,n\na,1\na,2\nb,3\nc,4\nc,5\n", "", {"g"});
  Walk walk(session);
  EXPECT_EQ(CaseIds(walk.Start(session)), (std::vector<int>{0, 1, 2, 3, 4}));
  EXPECT_EQ(walk.adapter.CasesRead(), 5);
}

// What an adapter keeps is decided by its hooks: an incomplete record can stay, one without a code never
// does.
TEST(SVProcDSMultiIter, AsksTheAdapterWhatToKeep) {
  struct Case {
    bool matrixFound, accepted, keep;
    std::vector<int> kept;
  };
  const Case kCases[] = {{false, true, false, {}},
                         {true, false, false, {}},
                         {false, false, true, {1}},
                         {true, true, false, {1}}};
  for (const Case& c : kCases) {
    FrameSession session("n\n\"\"\n5\n");
    Walk walk(session);
    walk.adapter.matrixFound = c.matrixFound;
    walk.adapter.accepted = c.accepted;
    walk.adapter.keep = c.keep;
    EXPECT_EQ(CaseIds(walk.Start(session)), c.kept);
  }
}

// A Parquet file, larger than what the host reads ahead, that goes bad near its end once it is open. What was
// read isn't the frame, and the iterator says so.
TEST(SVProcDSMultiIter, TellsABrokenSourceFromAnEnd) {
  const std::filesystem::path path =
      std::filesystem::temp_directory_path() / ("svselect-broken-" + std::to_string(getpid()) + ".parquet");
  {
    HostSession session;
    HostSession::Current().Layer<WorkDatabase>().Connect().Run(
        "COPY (SELECT (hash(i) % 1000)::DOUBLE AS n FROM range(3000000) t(i)) TO " +
        QuoteLiteral(path.string()) +
        R"( (FORMAT parquet, ROW_GROUP_SIZE 50000, KV_METADATA {dictionary: '{"fields": [{"name": "n",
            "type": "number", "printFormat": "F8.2", "writeFormat": "F8.2", "level": "scale"}]}'}))");
  }
  const auto size = static_cast<std::streamoff>(std::filesystem::file_size(path));
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(size / 10 * 9);
  file << std::string(static_cast<std::size_t>(size / 20), '\xff');
  file.close();
  FrameSession session(FrameSession::ExistingFile{path});  // by its dictionary, without a look at the cases

  Walk walk(session);
  SVProcDSMultiIter& iterator = walk.Start(session);
  EXPECT_TRUE(iterator.HasMore());
  EXPECT_LT(CaseIds(iterator).size(), 3000000u);
  std::filesystem::remove(path);
  EXPECT_EQ(iterator.Status(), MCCommon::kSourceFailed);
  EXPECT_EQ(iterator.Next(), nullptr);
  EXPECT_NE(pvGetCmnGlb()->errorFlag, 0);
  ASSERT_EQ(session.Messages().size(), 1u);
  EXPECT_NE(session.Messages()[0].find(path.filename()), std::string::npos);
}
