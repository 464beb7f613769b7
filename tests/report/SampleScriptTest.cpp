#include <gtest/gtest.h>

#include <sstream>

#include "report/RText.h"
#include "report/SampleScript.h"

using Draw = ScriptStage::Draw;

namespace {

// The calls of a script, without comments, empty lines, and the reading of the sample.
std::string CodeOf(const SampleScript& script) {
  std::ostringstream out;
  WriteSampleScript(script, out);
  std::istringstream lines(out.str());
  std::string code;
  for (std::string line; std::getline(lines, line);) {
    const bool isCode =
        !line.empty() && line[0] != '#' && !line.starts_with("library") && !line.starts_with("s <-");
    if (isCode) code += line + "\n";
  }
  return code;
}

SampleScript Of(std::vector<ScriptStage> stages) {
  return {.sample = {.path = "s.csv"},
          .columns = {{"k"}, {"one_stratum"}},
          .weight = "w",
          .stages = std::move(stages)};
}

}  // namespace

// Goal: each design gets the code of docs/GUIDE.md, which was run in R.
TEST(SampleScript, WritesTheMostExactDesignThatTheSampleAllows) {
  const ScriptStage simple = {
      .draw = Draw::kSimple, .strata = {"a b", "c"}, .populationSize = "N", .probability = "p"};
  const ScriptStage drawn = {.draw = Draw::kSimple, .populationSize = "M", .probability = "q"};
  const ScriptStage cluster = {.draw = Draw::kJoint, .clusters = {"k"}, .probability = "p"};
  const ScriptStage other = {.strata = {"c"}, .clusters = {"k"}, .index = "hit"};
  ScriptStage clustered = simple;
  clustered.clusters = {"k"};
  ScriptStage bare = simple;
  bare.populationSize = bare.probability = "";
  ScriptStage rated = simple;
  rated.populationSize = "";
  SampleScript earlier = Of({simple});
  earlier.fromEarlierSampling = true;
  SampleScript replaced = Of({cluster});
  replaced.estimatesAsReplaced = true;
  SampleScript joint = Of({cluster});
  joint.areUnitsCases = true;
  joint.joint = {.path = "j.tsv", .kind = ScriptFile::Kind::kTsv};
  joint.columns[0].isString = true;
  SampleScript none = Of({simple});
  none.whyNone = "no sample";
  const std::string strata = "strata = ~interaction(`a b`, c, drop = TRUE)";
  const std::pair<SampleScript, std::string> kCases[] = {
      {Of({simple}), "d <- svydesign(ids = ~1, " + strata + ",\n  fpc = ~N, weights = ~w, data = s)\n"},
      {Of({rated}), "d <- svydesign(ids = ~1, " + strata + ",\n  fpc = ~p, weights = ~w, data = s)\n"},
      {Of({bare}), "d <- svydesign(ids = ~1, " + strata + ",\n  weights = ~w, data = s)\n"},
      {earlier, "d <- svydesign(ids = ~1, " + strata + ",\n  weights = ~w, data = s)\n"},
      {replaced, "d <- svydesign(ids = ~k,\n  weights = ~w, data = s)\n"},
      {Of({other}),
       "d <- svydesign(ids = ~interaction(k, hit, drop = TRUE), strata = ~c,\n  weights = ~w, data = s, nest "
       "= TRUE)\n"},
      {Of({other, drawn}), "d <- svydesign(ids = ~k, strata = ~c,\n  weights = ~w, data = s, nest = TRUE)\n"},
      {Of({cluster, drawn}),
       "s$case_number <- seq_len(nrow(s))\n"
       "d <- svydesign(ids = ~k + case_number,\n  fpc = ~p + q, pps = \"brewer\", data = s)\n"},
      {Of({clustered, drawn}),
       "s$case_number <- seq_len(nrow(s))\ns$one_stratum_ <- 1\n"
       "d <- svydesign(ids = ~k + case_number, " +
           strata +
           " + one_stratum_,\n"
           "  fpc = ~N + M, weights = ~w, data = s, nest = TRUE)\n"},
      {Of({cluster}), "d <- svydesign(ids = ~k,\n  fpc = ~p, pps = \"brewer\", data = s)\n"},
      {joint,
       "  colClasses = c(\"k\" = \"character\"))\n"
       "j <- read.delim(\"j.tsv\", check.names = FALSE, encoding = \"UTF-8\", na.strings = character(),\n"
       "  colClasses = c(\"k\" = \"character\"))\n"
       "key <- c(\"k\")\n"
       "j$case <- match(do.call(paste, unname(j[key])), do.call(paste, unname(s[key])))\n"
       "p <- s[[\"p\"]]\n"
       "P <- outer(p, p)\n"
       "for (h in list(j)) {\n"
       "  h <- h[order(h$Unit_No_), ]\n"
       "  P[h$case, h$case] <- as.matrix(h[paste0(\"Joint_Prob_\", h$Unit_No_, \"_\")])\n"
       "}\n"
       "d <- svydesign(ids = ~1, fpc = ~p, data = s, pps = ppsmat(P), variance = \"YG\")\n"},
      {none, ""},
  };
  for (const auto& [script, code] : kCases) EXPECT_EQ(CodeOf(script), code);
}

TEST(SampleScript, QuotesWhatRWouldMisread) {
  const std::pair<const char*, const char*> kNames[] = {{"a.b_1", "a.b_1"},
                                                        {"if", "`if`"},
                                                        {"1a", "`1a`"},
                                                        {"_a", "`_a`"},
                                                        {"\xC3\xA4", "`\xC3\xA4`"},
                                                        {"a`\\\n", "`a\\`\\\\\\x0a`"}};
  for (const auto& [name, quoted] : kNames) EXPECT_EQ(RName(name), quoted);
  EXPECT_EQ(RString("a \"b\"\\\t`"), "\"a \\\"b\\\"\\\\\\x09`\"");
  EXPECT_EQ(RComment("a\nstop()"), "# a stop()\n");
}
