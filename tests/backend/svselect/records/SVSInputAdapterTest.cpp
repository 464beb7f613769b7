#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>

#include <algorithm>

#include "DrawSession.h"
#include "backend/svcommon/adapters/SVMessages.h"
#include "backend/svcommon/adapters/SVProcDSMultiIter.h"
#include "backend/svselect/records/SVSInputAdapter.h"
#include "host/engine/DuckDb.h"
#include "host/engine/WorkDatabase.h"

namespace {

using testing::ElementsAre;

// A stage of a design, by the names of its variables.
struct Plan {
  Texts strata = {}, clusters = {};
  std::string rate = "", size = "", weight = "", mos = "";
  bool includeUserMissing = false;
};

// Passes over a frame with the specifications of a plan.
class Passes {
public:
  Passes(FrameSession& session, const Plan& plan, bool byBlocks = false) : fMessages(&session.Source()) {
    for (const std::string& name : plan.strata) fStage.addStrataVariable(session.Find(name));
    for (const std::string& name : plan.clusters) fStage.addClusterVariable(session.Find(name));
    if (!plan.rate.empty()) fStage.setRateVariable(session.Find(plan.rate));
    if (!plan.size.empty()) fStage.setSizeVariable(session.Find(plan.size));
    if (!plan.weight.empty()) fSpecs.SetPreviousWeight(session.Find(plan.weight));
    if (!plan.mos.empty()) fSpecs.SetMosVariable(session.Find(plan.mos));
    fSpecs.SetClassMissingExclude(!plan.includeUserMissing);
    fSpecs.AddDesignStage("", &fStage, nullptr, nullptr, nullptr);
    fSpecs.Validate();
    auto iterator = SVProcDSMultiIter::MakeIterator(&session.Source());
    fpAdapter = std::make_unique<SVSInputAdapter>(&fSpecs, &session.Source(), iterator.get(), &fMessages);
    fpIterator = std::make_unique<SVProcDSMultiIter>(&session.Source(), std::move(iterator), fpAdapter.get(),
                                                     byBlocks);
  }

  // The records that are left in the pass, each as "1 2 0.5 0"; a full stop is a missing value.
  Texts Rest() {
    Texts records;
    while (fpIterator->HasMore()) {
      const MCCommon::Record& record = *fpIterator->Next();
      Texts cells;
      for (int i = 0; i < record.Size(); ++i) {
        cells.push_back(record[i] == MCMV::gMissingValue ? "." : fmt::format("{}", record[i]));
      }
      records.push_back(fmt::format("{}", fmt::join(cells, " ")));
    }
    return records;
  }

  SVSInputAdapter& Adapter() { return *fpAdapter; }
  SVProcDSMultiIter& Iterator() { return *fpIterator; }

private:
  DesignStage fStage{1};
  SVSValidSpecs fSpecs;
  SVMessages fMessages;
  std::unique_ptr<SVSInputAdapter> fpAdapter;
  std::unique_ptr<SVProcDSMultiIter> fpIterator;
};

const char kMissingNine[] =
    R"({"fields": [{"name": "n", "type": "number", "missingValues": ["9"]},
                   {"name": "s", "type": "string", "missingValues": ["zz"]}]})";

const std::string kBadRate = "Invalid value in rate variable r ...";
const std::string kBadSize = "Invalid value in sample size variable k ...";

}  // namespace

// Each pass is read twice: what the first gives, the second gives again, but for cases without a code.
TEST(SVSInputAdapter, DecidesWhatCasesBecome) {
  struct Case {
    const char* aim;
    const char* csv;
    Plan plan;
    std::string records;
    int rejected = 0;
    Texts messages = {};  // of one pass
    const char* schema = "";
  };
  const Case kCases[] = {
      {"codes by first appearance", "s,n\nb,5\na,2\nb,2\n", Plan{.strata = {"s"}, .clusters = {"n"}},
       "1 1 0; 2 2 1; 1 2 2"},
      {"rejected cases give codes", "s,n\n,7\na,8\nb,\nb,7\n", Plan{.strata = {"s"}, .clusters = {"n"}},
       "1 2 1; 2 1 3", 2},
      {"user-missing excluded", "n,s\n9,a\n1,zz\n2,a\n", Plan{.strata = {"n", "s"}}, "2 1 2", 2, Texts{},
       kMissingNine},
      {"user-missing included", "n,s\n9,a\n1,zz\n2,\n,a\n",
       Plan{.strata = {"n", "s"}, .includeUserMissing = true}, "1 1 0; 2 2 1; 3 3 2", 1, Texts{},
       kMissingNine},
      {"wide strings to the last byte", "s\nabcdefghijklmnopA\nabcdefghijklmnopB\nabcdefghijklmnopA\n",
       Plan{.strata = {"s"}}, "1 0; 2 1; 1 2"},
      {"rates", "r\n1\n0\n1.5\n-0.5\n\"\"\n0.25\n1e-9\n", Plan{.rate = "r"}, "1 0; . 4; 0.25 5; 1e-09 6", 3,
       Texts{kBadRate, kBadRate, kBadRate}},
      {"sizes", "k\n2.0000000001\n0\n-3\n2.5\n\"\"\n7\n", Plan{.size = "k"}, "2 0; . 4; 7 5", 3,
       Texts{kBadSize, kBadSize, kBadSize}},
      {"user-missing rates are missing, even so", "n,s\n9,a\n0.5,a\n",
       Plan{.rate = "n", .includeUserMissing = true}, ". 0; 0.5 1", 0, Texts{}, kMissingNine},
      {"weights", "w,r\n,1\n0,1\n-2,1\n,2\n", Plan{.rate = "r", .weight = "w"}, "1 0 1; 1 -2 2", 2,
       Texts{kBadRate}},
      {"a rejected code comes before a bad rate", "s,r\n,2\nx,2\nx,1\n", Plan{.strata = {"s"}, .rate = "r"},
       "1 1 2", 2, Texts{kBadRate}},
      {"measures of size pass", "m,n\n0,1\n-1.5,1\n,2\n", Plan{.strata = {"n"}, .mos = "m"},
       "1 0 0; 1 -1.5 1; 2 . 2"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    FrameSession session(c.csv, c.schema);
    Passes passes(session, c.plan);
    const auto valid = 1 + std::count(c.records.begin(), c.records.end(), ';');
    Texts messages;
    for (int pass = 0; pass < 2; ++pass) {
      SCOPED_TRACE(pass);
      if (pass == 1) passes.Iterator().Reset();
      EXPECT_EQ(passes.Iterator().Status(), MCCommon::kRecordReady);
      EXPECT_EQ(fmt::format("{}", fmt::join(passes.Rest(), "; ")), c.records);
      EXPECT_EQ(passes.Iterator().Status(), MCCommon::kCasesExhausted);
      EXPECT_EQ(passes.Adapter().PassCounter(), pass);
      EXPECT_EQ(passes.Adapter().ValidCases(), valid);
      EXPECT_EQ(passes.Adapter().InvalidCases(), c.rejected);
      messages.insert(messages.end(), c.messages.begin(), c.messages.end());
      EXPECT_EQ(session.Messages(), messages);
    }
  }
}

// A case whose key isn't in the table of its stage is left out, and told. User-missing values are keys.
TEST(SVSInputAdapter, LooksTablesUp) {
  const std::string variables = Var("n") + Var("s");
  const std::string sizes = Table(variables, Row("1", {"1", "abcdefghij"}) + Row("1", {"9", "zz"}), 2);
  const std::string rates = Replace(sizes, "InputSampleSize", "InputSampleRate");
  for (const auto& [table, what] : {std::pair(sizes, "sample size"), std::pair(rates, "sampling rate")}) {
    const DrawSession draw("n,s\n1,abcdefghij\n9,zz\n2,zz\n1,\n",
                           Wor(StrataOf(variables) + table) + Out("Weight", "w"), "/CLASSMISSING INCLUDE",
                           kMissingNine);
    const std::string start = std::string("error: No ") + what + " 1 n = ";
    EXPECT_THAT(draw.messages, ElementsAre(start + "2, s = zz ...", start + "1, s =  ..."));
  }
}

TEST(SVProcDSMultiIter, StaysOneValidRecordAhead) {
  FrameSession session("n\n11\n\"\"\n12\n\"\"\n\"\"\n");
  Passes passes(session, {.strata = {"n"}});
  const auto counts = [&adapter = passes.Adapter()] {
    return std::vector{adapter.CasesRead(), adapter.ValidCases(), adapter.InvalidCases()};
  };
  EXPECT_THAT(counts(), ElementsAre(1, 1, 0));
  // The record handed out is the case before the one that the host stands on, and stays while that is read.
  const MCCommon::Record* record = passes.Iterator().Next();
  EXPECT_EQ((*record)[1], 0.0);
  EXPECT_EQ(passes.Iterator().CaseIterator()->GetNumericValue(0), 12.0);
  EXPECT_THAT(counts(), ElementsAre(3, 2, 1));
  // The cases behind the last valid one are read, and counted, before that one is handed out.
  EXPECT_EQ((*passes.Iterator().Next())[1], 2.0);
  EXPECT_EQ((*record)[1], 0.0);
  EXPECT_THAT(counts(), ElementsAre(5, 2, 3));
}

// The pass goes over to single cases where one needs a message, and counts each case once.
TEST(SVProcDSMultiIter, LeavesBlocksForACaseWithAMessage) {
  FrameSession session("n,s\n1,2\n,2\n2,2\n1,0\n3,2\n");
  session.Walk().mostRows = 2;
  Passes passes(session, {.strata = {"n"}, .size = "s"}, true);
  const MCCommon::RecordBlock& block = *passes.Iterator().NextBlock();
  EXPECT_THAT(block.records, ElementsAre(0));
  EXPECT_EQ(block.codes[0][0], 1);
  EXPECT_EQ(passes.Iterator().NextBlock(), nullptr);
  EXPECT_THAT(passes.Rest(), ElementsAre("2 2 2", "3 2 4"));
  EXPECT_THAT(std::vector({passes.Adapter().CasesRead(), passes.Adapter().InvalidCases()}),
              ElementsAre(5, 2));
  EXPECT_THAT(session.Messages(), ElementsAre(testing::HasSubstr("sample size variable s")));
}

TEST(SVProcDSMultiIter, StartsOverFromWhereverItIs) {
  FrameSession session("n\n1\n2\n3\n");
  Passes passes(session, {.strata = {"n"}});
  passes.Iterator().Reset();
  passes.Iterator().Reset();
  EXPECT_EQ(passes.Adapter().PassCounter(), 2);
  EXPECT_THAT(passes.Rest(), ElementsAre("1 0"));  // the first pass hadn't seen the other cases
  EXPECT_EQ(passes.Adapter().InvalidCases(), 2);
}

TEST(SVProcDSMultiIter, ReadsSplitGroupsThroughAsOneFile) {
  FrameSession session("g,n\na,1\na,2\nb,3\nc,4\nc,5\n", "", {"g"});
  Passes passes(session, {.strata = {"n"}});
  EXPECT_THAT(passes.Rest(), ElementsAre("1 0", "2 1", "3 2", "4 3", "5 4"));
}

// A Parquet file, larger than what the host reads ahead, that is damaged near its end. What was
// read isn't the frame, and the iterator says so.
TEST(SVProcDSMultiIter, TellsABrokenSourceFromAnEnd) {
  const TestFolder folder;
  const std::filesystem::path path = folder.path / "frame.parquet";
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
  for (const bool byBlocks : {false, true}) {
    FrameSession session(FrameSession::ExistingFile{path});  // by its dictionary, without a look at the cases
    Passes passes(session, {.strata = {"n"}}, byBlocks);
    while (passes.Iterator().NextBlock() != nullptr || passes.Iterator().Next() != nullptr) continue;
    EXPECT_LT(passes.Adapter().CasesRead(), 3000000);
    EXPECT_EQ(passes.Iterator().Status(), MCCommon::kSourceFailed);
    EXPECT_NE(pvGetCmnGlb()->errorFlag, 0);
    EXPECT_THAT(session.Messages(), ElementsAre(testing::HasSubstr(path.filename().string())));
  }
}
