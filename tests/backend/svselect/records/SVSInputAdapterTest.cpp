#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstring>
#include <optional>

#include "FrameSession.h"
#include "backend/svcommon/adapters/SVMessages.h"
#include "backend/svcommon/adapters/SVProcDSMultiIter.h"
#include "backend/svselect/records/SVSInputAdapter.h"
#include "host/numeric/Obs.h"

namespace {

using Texts = std::vector<std::string>;

// A stage of a design, by the names of its variables.
struct Plan {
  Texts strata = {}, clusters = {};
  std::string rate = "", size = "", weight = "", mos = "";
  bool includeUserMissing = false;
};

// A pass over a frame with the specifications of a plan, or several.
class Passes {
public:
  Passes(FrameSession& session, const Plan& plan) : fMessages(&session.Source()) {
    for (const std::string& name : plan.strata) fStage.addStrataVariable(session.Find(name));
    for (const std::string& name : plan.clusters) fStage.addClusterVariable(session.Find(name));
    if (!plan.rate.empty()) fStage.setRateVariable(session.Find(plan.rate));
    if (!plan.size.empty()) fStage.setSizeVariable(session.Find(plan.size));
    if (!plan.weight.empty()) fSpecs.SetPreviousWeight(session.Find(plan.weight));
    if (!plan.mos.empty()) fSpecs.SetMosVariable(session.Find(plan.mos));
    fSpecs.SetClassMissingExclude(!plan.includeUserMissing);
    fSpecs.AddDesignStage("", &fStage, nullptr, nullptr, nullptr);
    Start(session);
  }
  // A table over `names` gives the stage its rate or size; one number for each key.
  Passes(FrameSession& session, const Texts& names, InclusionType type,
         const std::vector<std::pair<std::vector<OBS>, double>>& table, bool includeUserMissing)
      : fMessages(&session.Source()) {
    for (const std::string& name : names) fTableVars.push_back(session.Find(name));
    fTable.emplace(ObsVecMap::MakeKeySpec(session.Source(), fTableVars), 1);
    for (const auto& [key, number] : table) fTable->Insert(key.data())->number = number;
    fStage.setInclusionType(type);
    fSpecs.SetClassMissingExclude(!includeUserMissing);
    fSpecs.AddDesignStage("", &fStage, &fTableVars, &*fTable, nullptr);
    Start(session);
  }

  // The records that are left in the pass, each as "1 2 0.5 0"; a full stop is a missing value.
  Texts Rest() {
    Texts records;
    while (fpIterator->HasMore()) {
      const MCCommon::Record& record = *fpIterator->Next();
      std::string text;
      for (int i = 0; i < record.Size(); ++i) {
        text += i == 0 ? "" : " ";
        text += record[i] == MCMV::gMissingValue ? "." : fmt::format("{}", record[i]);
      }
      records.push_back(text);
    }
    return records;
  }

  SVSInputAdapter& Adapter() { return *fpAdapter; }
  SVProcDSMultiIter& Iterator() { return *fpIterator; }

private:
  void Start(FrameSession& session) {
    fSpecs.Validate();
    auto iterator = SVProcDSMultiIter::MakeIterator(&session.Source());
    fpAdapter = std::make_unique<SVSInputAdapter>(&fSpecs, &session.Source(), iterator.get(), &fMessages);
    fpIterator = std::make_unique<SVProcDSMultiIter>(&session.Source(), std::move(iterator), fpAdapter.get());
  }

  DesignStage fStage{1};
  std::vector<std::int32_t> fTableVars;
  std::optional<ObsVecMap> fTable;
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
      {"a stratum that is the size", "n\n30\n10\n30\n", Plan{.strata = {"n"}, .mos = "n"},
       "1 30 0; 2 10 1; 1 30 2"},
      {"no valid case", "n\n\"\"\n\"\"\n", Plan{.strata = {"n"}}, "", 2},
      {"no case", "n\n", Plan{.strata = {"n"}}, ""},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    FrameSession session(c.csv, c.schema);
    Passes passes(session, c.plan);
    const auto valid = c.records.empty() ? 0 : 1 + std::count(c.records.begin(), c.records.end(), ';');
    Texts messages;
    for (int pass = 0; pass < 2; ++pass) {
      SCOPED_TRACE(pass);
      if (pass == 1) passes.Iterator().Reset();
      EXPECT_EQ(passes.Iterator().Status(), valid > 0 ? MCCommon::kRecordReady : MCCommon::kCasesExhausted);
      EXPECT_EQ(fmt::format("{}", fmt::join(passes.Rest(), "; ")), c.records);
      EXPECT_EQ(passes.Iterator().Status(), MCCommon::kCasesExhausted);
      EXPECT_EQ(passes.Iterator().Next(), nullptr);
      EXPECT_EQ(passes.Adapter().PassCounter(), pass);
      EXPECT_EQ(passes.Adapter().ValidCases(), valid);
      EXPECT_EQ(passes.Adapter().RecordsPassed(), valid);
      EXPECT_EQ(passes.Adapter().InvalidCases(), c.rejected);
      EXPECT_EQ(passes.Adapter().CasesRead(), valid + c.rejected);
      messages.insert(messages.end(), c.messages.begin(), c.messages.end());
      EXPECT_EQ(session.Messages(), messages);
    }
  }
}

TEST(SVSInputAdapter, LooksTablesUp) {
  OBS one, nine;
  one.number = 1;
  nine.number = 9;
  const auto key = [](OBS number, const char* text) {  // a number and a string of width 10
    std::vector<OBS> cells(3);
    std::memset(cells.data(), ' ', 24);
    cells[0] = number;
    std::memcpy(&cells[1], text, std::strlen(text));
    return cells;
  };
  const char kFrame[] = "n,s\n1,abcdefghij\n9,zz\n2,zz\n1,\n";
  struct Case {
    const char* aim;
    bool includeUserMissing;
    InclusionType type;
    Texts records, messages;
  };
  const Case kCases[] = {
      {"excluded", false, kRateMatrix, Texts{"0.25 0"},
       Texts{"No sampling rate 1 n = 9, s = zz ...", "No sampling rate 1 n = 2, s = zz ...",
             "No sampling rate 1 n = 1, s =  ..."}},
      {"included", true, kSizeMatrix, Texts{"0.25 0", "3 1"},
       Texts{"No sample size 1 n = 2, s = zz ...", "No sample size 1 n = 1, s =  ..."}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    FrameSession session(kFrame, kMissingNine);
    Passes passes(session, {"n", "s"}, c.type, {{key(one, "abcdefghij"), 0.25}, {key(nine, "zz"), 3}},
                  c.includeUserMissing);
    EXPECT_EQ(passes.Rest(), c.records);
    EXPECT_EQ(session.Messages(), c.messages);
    EXPECT_EQ(passes.Adapter().InvalidCases(), static_cast<std::int64_t>(c.messages.size()));
  }
}

TEST(SVSInputAdapter, LeadsFromCodesToValuesAndBack) {
  FrameSession session("s,n\nbb,5\na,6\n");
  Passes passes(session, {.strata = {"s"}, .clusters = {"n"}});
  const std::int32_t s = session.Find("s"), n = session.Find("n");
  SVSInputAdapter& adapter = passes.Adapter();
  // The first case has been read ahead, the second hasn't.
  EXPECT_EQ(adapter.ObsOfCode(n, 2), nullptr);
  passes.Rest();
  EXPECT_EQ(adapter.ObsOfCode(n, 2)->number, 6.0);
  EXPECT_EQ(std::string(adapter.ObsOfCode(s, 1)->text, 2), "bb");
  for (const std::int32_t code : {-1, 0, 3}) EXPECT_EQ(adapter.ObsOfCode(n, code), nullptr);
  EXPECT_EQ(adapter.ObsOfCode(99, 1), nullptr);

  OBS seven;
  seven.number = 7;
  bool wasNew = false;
  EXPECT_EQ(adapter.CodeOfObs(n, &seven, &wasNew, false), 0);
  EXPECT_TRUE(wasNew);
  EXPECT_EQ(adapter.CodeOfObs(n, &seven, &wasNew, true), 3);
  EXPECT_TRUE(wasNew);
  EXPECT_EQ(adapter.CodeOfObs(n, &seven, &wasNew, true), 3);
  EXPECT_FALSE(wasNew);
  EXPECT_EQ(adapter.CodeOfObs(99, &seven, &wasNew, true), 0);
}
