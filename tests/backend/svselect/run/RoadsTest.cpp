// Goal: blocks of cases, of whatever length, give what single cases give.
#include <fmt/ranges.h>

#include <random>

#include "DrawSession.h"
#include "backend/svcommon/design/MethodTable.h"

namespace {

// Random designs and frames. A frame has strata r and t, clusters p and h in each other, a size n, a rate f, an
// earlier weight q, and a measure of size m; values are missing, user-missing, blank, -0, or of 16 bytes and more.
class RandomRun {
public:
  explicit RandomRun(unsigned seed) : fEngine(seed), fbFaulty(Below(4) == 0) {
    MakeFrame(Below(5) == 0 ? Below(4) : Below(120));
    MakePlan();
  }
  std::string csv = "r,t,p,h,n,f,q,m\n", stages, command;

  static constexpr const char* kSchema = R"({"fields": [
      {"name": "r", "type": "string", "missingValues": ["zz"]}, {"name": "t", "type": "number"},
      {"name": "p", "type": "number", "missingValues": ["9"]}, {"name": "h", "type": "string"},
      {"name": "n", "type": "number"}, {"name": "f", "type": "number", "missingValues": ["0.9"]},
      {"name": "q", "type": "number"}, {"name": "m", "type": "number"}]})";

private:
  unsigned Below(unsigned n) { return static_cast<unsigned>(fEngine() % n); }
  bool OneIn(unsigned n) { return Below(n) == 0; }
  std::string AnyOf(const Texts& texts) { return texts[Below(static_cast<unsigned>(texts.size()))]; }

  void MakeFrame(unsigned rows) {
    const std::string regions[] = {"north", "a region of sixteen+", "sixteen bytes...", "zz", ""};
    for (unsigned row = 0; row < rows; ++row) {
      const unsigned region = OneIn(12) ? 3 + Below(2) : Below(3);
      const unsigned cluster = Below(6);
      Texts cells = {regions[region], std::to_string(1 + Below(2)),
                     fmt::format("{}", cluster * 0.5 + 100 * region)};
      if (OneIn(10)) cells[2] = AnyOf({"", "9", "-0", "0", "3e9"});
      cells.push_back(OneIn(9) ? "" : "h" + std::to_string(Below(5)));
      cells.push_back(OneIn(8) ? AnyOf({"", "3"}) : std::to_string(1 + region));
      cells.push_back(OneIn(8) ? AnyOf({"", "0.3", "0.9"}) : "0.5");
      cells.push_back(OneIn(8) ? AnyOf({"", "0", "-1"}) : "2.5");
      cells.push_back(OneIn(10) ? AnyOf({"", "0", "-0", "-2", "7"}) : fmt::format("{}", 1.5 + cluster % 3));
      if (fbFaulty && OneIn(30)) cells[4] = AnyOf({"0", "2.5", "1e10", "1e-15"});
      if (fbFaulty && OneIn(30)) cells[5] = AnyOf({"0", "1.5"});
      csv += fmt::format("{}\n", fmt::join(cells, ","));
    }
  }

  std::string Request() {
    switch (Below(fbHasTable ? 6 : 5)) {
      case 0:
        return In("InputSampleSize", Var("n"));
      case 1:
        return In("InputSampleRate", Var("f"));
      case 2:
        return Rate("0.4", Bounds("1", "4"));
      case 5: {
        Texts rows = {Row("2", {"north", "1"}),
                      Row("1", {"north", "2"}),
                      Row("3", {"a region of sixteen+", "1"}),
                      Row("1", {"a region of sixteen+", "2"}),
                      Row("2", {"sixteen bytes...", "1"}),
                      Row("2", {"sixteen bytes...", "2"}),
                      Row("1", {"nowhere", "2"})};
        if (fbFaulty) rows.erase(rows.begin());
        return Table(Var("r") + Var("t"), fmt::format("{}", fmt::join(rows, "")),
                     static_cast<int>(rows.size()));
      }
      default:
        return Size(std::to_string(1 + Below(4)));
    }
  }

  // Only the first stage may draw by size, only the last with replacement.
  const SVMethod& AnyMethod(bool isFirst, bool isLast) {
    while (true) {
      const SVMethod& method = kMethods[Below(static_cast<unsigned>(std::size(kMethods)))];
      if ((isFirst || method.equalProbability) && (isLast || !method.withReplacement)) return method;
    }
  }

  void MakePlan() {
    const unsigned count = 1 + Below(3);
    const SVMethod* first = nullptr;
    bool lastReplaces = false;
    for (unsigned stage = 1; stage <= count; ++stage) {
      const SVMethod& method = AnyMethod(stage == 1, stage == count);
      if (stage == 1) first = &method;
      lastReplaces = method.withReplacement;
      std::string inner = stage == 1 ? AnyOf({"", Strata("r"), StrataOf(Var("t") + Var("r"))}) : "";
      const bool hasClusters = stage < count || (OneIn(2) && stage < 3);
      if (hasClusters) inner += stage == 1 ? Clusters("p") : Clusters("h");
      if (stage == 2 && fbMayHaveT && OneIn(2)) inner = Strata("t") + inner;
      if (stage == 1) fbMayHaveT = inner.find("'t'") == std::string::npos;
      fbHasTable = !fbMayHaveT;
      inner += Request();
      if (!method.equalProbability) {
        inner += OneIn(3) && hasClusters
                     ? "<MOS fromData='yes'/>"
                     : "<MOS fromData='no'>" + Var("m") + (OneIn(2) ? Bounds("1", "3") : "") + "</MOS>";
      }
      for (const char* output : {"Index", "IncProb", "PopulationSize", "Weight", "CumulativeWeight"}) {
        if (OneIn(2)) inner += Out(output, fmt::format("{}{}", output, stage));
      }
      stages += Stage(std::string(method.word), inner);
    }
    if (OneIn(2)) stages += Out("PreviousWeight", "q");
    stages += Out("Weight", "w");
    command = "/CRITERIA SEED=" + std::to_string(1 + Below(1000)) + AnyOf({"", " /CLASSMISSING INCLUDE"});
    if (lastReplaces || !OneIn(3)) command += " /SAMPLEFILE OUTFILE='@/s.csv' /SELECTRULE OUTFILE='@/r.txt'";
    if (first->hasJointProbs) command += " /JOINTPROB OUTFILE='@/j.csv'";
  }

  std::mt19937 fEngine;
  bool fbFaulty;
  bool fbMayHaveT = true;
  bool fbHasTable = false;  // the first stage has the strata that the table knows
};

// All that a run leaves.
Texts Left(const DrawSession& draw) {
  Texts all;
  for (const Texts* part :
       {&draw.messages, &draw.remarks, &draw.notes, &draw.tables, &draw.files, &draw.active})
    all.insert(all.end(), part->begin(), part->end());
  for (const char* name : {"s.csv", "r.txt", "j.csv"})
    if (draw.Exists(name)) all.push_back(draw.TextOf(name));
  return all;
}

}  // namespace

namespace {

// What a run leaves, if it is the same on all roads, and whether it drew a sample.
bool SameOnAllRoads(const std::string& csv, const std::string& plan, const std::string& command,
                    std::size_t someRows) {
  const auto left = [&](const CaseWalk& walk) {
    const DrawSession draw(csv, plan, command, RandomRun::kSchema, walk);
    return std::pair(Left(draw), draw.isCommitted);
  };
  const auto byCase = left({.byBlocks = false});
  for (const std::size_t rows : {someRows, std::size_t{2048}})
    EXPECT_EQ(left({.mostRows = rows}), byCase) << rows;
  return byCase.second;
}

}  // namespace

TEST(Roads, BlocksGiveWhatSingleCasesGive) {
  int drawn = 0;
  for (unsigned seed = 1; seed <= 70 && !testing::Test::HasFailure(); ++seed) {
    const RandomRun run(seed);
    SCOPED_TRACE(fmt::format("{}\n{}\n{}", run.stages, run.command, run.csv));
    drawn += SameOnAllRoads(run.csv, run.stages, run.command, seed % 2 == 0 ? 1 : 7) ? 1 : 0;
  }
  EXPECT_GT(drawn, 30);
}

// Texts and numbers that order cases and clusters, also where the cases of a cluster disagree on them.
TEST(Roads, OrdersAreTheSame) {
  const std::string plans[] = {
      R"({"strata": ["t"], "method": "simple_systematic", "rate": 0.3, "order": ["h", "-f", "r"], "serpentine": true})",
      R"({"clusters": ["p"], "method": "simple_chromy", "rate": 0.5, "order": ["-p"]},
         {"method": "simple_systematic", "rate": 0.5, "order": ["-h", "n", "r"], "serpentine": true})",
      R"({"strata": ["r"], "clusters": ["p"], "method": "simple_systematic", "rate": 0.5, "order": ["m", "h"]})"};
  int drawn = 0;
  for (unsigned seed = 1; seed <= 12; ++seed) {
    for (const std::string& stages : plans) {
      const RandomRun run(seed);
      SCOPED_TRACE(stages + run.csv);
      const std::string plan = R"({"svselect_plan": 1, "weight": "w", "stages": [)" + stages + "]}";
      drawn += SameOnAllRoads(run.csv, plan, "/CRITERIA SEED=7 /SAMPLEFILE OUTFILE='@/s.csv'", 7) ? 1 : 0;
    }
  }
  EXPECT_GT(drawn, 15);
}
