#include "report/SampleScript.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <ostream>

#include "report/RText.h"

// The designs, from the most to the least exact; the first for which the sample has all variables is written:
//
//   joint probabilities   one stage whose units are single cases          pps = ppsmat(P), variance = "YG"
//   probabilities         first stage kJoint, any further ones kSimple    pps = "brewer", fpc: probabilities
//   numbers of units      all stages kSimple                              fpc: population sizes
//   with replacement      anything else                                   the first stage's units alone

namespace {

using Draw = ScriptStage::Draw;
using Names = std::vector<std::string>;

std::string RNames(const Names& names) {
  Names quoted;
  for (const std::string& name : names) quoted.push_back(RName(name));
  return fmt::format("{}", fmt::join(quoted, ", "));
}

// One term of a formula for the combinations of several variables.
std::string Term(const Names& names) {
  return names.size() == 1 ? RName(names.front())
                           : fmt::format("interaction({}, drop = TRUE)", RNames(names));
}

std::string Formula(const Names& terms) {
  return fmt::format("~{}", fmt::join(terms, " + "));
}

// Writes one script: construct, Write(), discard. Borrows its arguments.
class ScriptWriter {
public:
  ScriptWriter(const SampleScript& script, std::ostream& out) : fScript(script), fOut(out) {}

  void Write() {
    Comment("A sample drawn by svselect, as a design of R's survey package.");
    for (const std::string& note : fScript.notes) Comment(note);
    if (!fScript.whyNone.empty()) return Comment("There is no design: " + fScript.whyNone + ".");
    Comment("The files are named from this one's folder: run it there, or by source(..., chdir = TRUE).");
    fOut << "library(survey)\n\n";
    Read("s", fScript.sample);
    for (const ScriptStage& stage : fScript.stages) {
      if (stage.reserve.empty()) continue;
      Comment("Reserve units aren't part of the sample.");
      fOut << "s <- s[which(s$" << RName(stage.reserve) << " == 0), ]\n";
    }
    fOut << '\n';
    if (fScript.hasLoneUnit) {
      Comment(
          "A stratum has one unit, from which no variance can be estimated: join it with another, or choose "
          "with "
          "options(survey.lonely.psu = ...).");
    }
    if (CanUseJoint()) return WriteJoint();
    if (First().draw == Draw::kJoint && AreAllSimpleBut(1) && WriteByProbabilities()) return;
    if (AreAllSimpleBut(0) && WriteBySizes()) return;
    WriteAsReplaced();
  }

private:
  const ScriptStage& First() const { return fScript.stages.front(); }
  void Comment(const std::string& text) { fOut << RComment(text); }

  // --- reading the files -------------------------------------------------------------------------------------

  // Texts stay texts, also those of digits, and an empty one isn't missing. The columns of another file than the
  // sample are known by name.
  void Read(const char* name, const ScriptFile& file) {
    const std::string path = RString(file.path);
    switch (file.kind) {
      case ScriptFile::Kind::kParquet:
        fOut << name << " <- as.data.frame(arrow::read_parquet(" << path << "))\n";
        return;
      case ScriptFile::Kind::kNative:
        Comment(fmt::format("A native file takes the packages DBI and duckdb; --{} FILE.csv does without.",
                            name == std::string("j") ? "joint" : "sample"));
        fOut << "con <- DBI::dbConnect(duckdb::duckdb(), " << path << ", read_only = TRUE)\n"
             << name << " <- DBI::dbReadTable(con, \"cases\")\n"
             << "DBI::dbDisconnect(con, shutdown = TRUE)\n";
        return;
      default:
        fOut << name << (file.kind == ScriptFile::Kind::kTsv ? " <- read.delim(" : " <- read.csv(") << path
             << ", check.names = FALSE, encoding = \"UTF-8\", na.strings = character()" << ColumnClasses(name)
             << ")\n";
    }
  }

  // The joint file has the strata and clusters of the sample, and numbers.
  std::string ColumnClasses(const std::string& file) const {
    Names classes;
    const Names key = Key();
    for (const ScriptColumn& column : fScript.columns) {
      const bool isThere = file == "s" || std::find(key.begin(), key.end(), column.name) != key.end();
      if (column.isString && isThere) classes.push_back(RString(column.name) + " = \"character\"");
    }
    return classes.empty() ? "" : fmt::format(",\n  colClasses = c({})", fmt::join(classes, ", "));
  }

  // --- joint probabilities -----------------------------------------------------------------------------------

  Names Key() const {
    Names key = First().strata;
    key.insert(key.end(), First().clusters.begin(), First().clusters.end());
    return key;
  }

  bool CanUseJoint() const {
    return fScript.stages.size() == 1 && First().draw == Draw::kJoint && fScript.areUnitsCases &&
           !fScript.joint.path.empty() && !IsByWeights();
  }

  // Units of different strata are drawn independently: their joint probabilities are products.
  void WriteJoint() {
    Names key;
    for (const std::string& name : Key()) key.push_back(RString(name));
    Read("j", fScript.joint);
    fOut << "key <- c(" << fmt::format("{}", fmt::join(key, ", ")) << ")\n"
         << "j$case <- match(do.call(paste, unname(j[key])), do.call(paste, unname(s[key])))\n";
    const std::string probability = FirstProbability();
    fOut << "p <- s[[" << RString(probability) << "]]\n"
         << "P <- outer(p, p)\n";
    if (First().strata.empty()) {
      fOut << "for (h in list(j)) {\n";
    } else {
      fOut << "for (h in split(j, do.call(paste, unname(j[key[1:" << First().strata.size() << "]])))) {\n";
    }
    fOut << "  h <- h[order(h$Unit_No_), ]\n"
         << "  P[h$case, h$case] <- as.matrix(h[paste0(\"Joint_Prob_\", h$Unit_No_, \"_\")])\n"
         << "}\n"
         << "d <- svydesign(ids = ~1, fpc = ~" << RName(probability)
         << ", data = s, pps = ppsmat(P), variance = \"YG\")\n";
  }

  // --- the other designs -------------------------------------------------------------------------------------

  bool IsByWeights() const { return fScript.fromEarlierSampling || fScript.estimatesAsReplaced; }

  // Whether all stages but so many first ones are simple random samples, of the whole population.
  bool AreAllSimpleBut(std::size_t first) const {
    return !IsByWeights() &&
           std::all_of(fScript.stages.begin() + static_cast<std::ptrdiff_t>(first), fScript.stages.end(),
                       [](const ScriptStage& stage) { return stage.draw == Draw::kSimple; });
  }

  // The column of the probabilities of the first stage. In a design of one stage they are those of the weights.
  std::string FirstProbability() {
    if (!First().probability.empty() || fScript.stages.size() > 1) return First().probability;
    std::string name = NewName("probability");
    fOut << "s$" << RName(name) << " <- 1 / s$" << RName(fScript.weight) << '\n';
    return name;
  }

  bool WriteByProbabilities() {
    Names probabilities = {FirstProbability()};
    for (std::size_t i = 1; i < fScript.stages.size(); ++i)
      probabilities.push_back(fScript.stages[i].probability);
    if (fScript.stages.size() == 1 && !fScript.joint.path.empty() && !fScript.areUnitsCases) {
      Comment(
          "Joint probabilities are those of clusters. To use them, add up the variables of each cluster "
          "first.");
    }
    return WriteStages(probabilities, "IncProb", "pps = \"brewer\"");
  }

  bool WriteBySizes() {
    Names sizes;
    Names probabilities;
    for (const ScriptStage& stage : fScript.stages) {
      sizes.push_back(stage.populationSize);
      probabilities.push_back(stage.probability);
    }
    const bool hasSizes = std::find(sizes.begin(), sizes.end(), "") == sizes.end();
    return WriteStages(hasSizes ? sizes : probabilities, "PopulationSize",
                       "weights = ~" + RName(fScript.weight));
  }

  // A design of all stages, with a correction for each. False, after a comment, if a stage has none.
  bool WriteStages(const Names& corrections, const char* element, const std::string& rest) {
    if (std::find(corrections.begin(), corrections.end(), "") != corrections.end()) {
      Comment(fmt::format("With {} of each stage in the plan, and in the sample, the design would be exact.",
                          element));
      return false;
    }
    Names units;
    Names strata;
    Names terms;
    const bool hasStrata = std::any_of(fScript.stages.begin(), fScript.stages.end(),
                                       [](const ScriptStage& stage) { return !stage.strata.empty(); });
    for (const ScriptStage& stage : fScript.stages) {
      units.push_back(stage.clusters.empty() ? Cases() : Term(stage.clusters));
      if (hasStrata) strata.push_back(stage.strata.empty() ? OneStratum() : Term(stage.strata));
    }
    for (const std::string& name : corrections) terms.push_back(RName(name));
    Design(Formula(units), strata, "fpc = " + Formula(terms) + ", " + rest);
    return true;
  }

  // The units of the first stage alone: what later stages add to the variance is in their differences.
  void WriteAsReplaced() {
    const ScriptStage& first = First();
    if (fScript.fromEarlierSampling) {
      Comment(
          "The weights include those of an earlier sampling, which the plan doesn't describe. If that drew "
          "clusters, give them as ids, and its strata as strata.");
    } else {
      Comment("The variance is that of a draw with replacement.");
    }
    Names units = first.clusters;
    if (!units.empty() && fScript.stages.size() == 1 && !first.index.empty()) units.push_back(first.index);
    Names strata;
    if (!first.strata.empty()) strata.push_back(Term(first.strata));
    Design(units.empty() ? "~1" : Formula({Term(units)}), strata, "weights = ~" + RName(fScript.weight));
  }

  // Numbers of clusters need only differ within a stratum.
  void Design(const std::string& units, const Names& strata, const std::string& rest) {
    const bool isNested = !strata.empty() && units != "~1";
    fOut << "d <- svydesign(ids = " << units << (strata.empty() ? "" : ", strata = " + Formula(strata))
         << ",\n  " << rest << ", data = s" << (isNested ? ", nest = TRUE" : "") << ")\n";
  }

  // --- columns of the script's own ---------------------------------------------------------------------------

  // A column that numbers the cases; ~1 can't be one stage of several.
  std::string Cases() {
    if (fScript.stages.size() == 1) return "1";
    std::string name = NewName("case_number");
    fOut << "s$" << name << " <- seq_len(nrow(s))\n";
    return name;
  }

  std::string OneStratum() {
    if (fOneStratum.empty()) {
      fOneStratum = NewName("one_stratum");
      fOut << "s$" << fOneStratum << " <- 1\n";
    }
    return fOneStratum;
  }

  std::string NewName(std::string name) const {
    const auto isTaken = [&](const ScriptColumn& column) { return column.name == name; };
    while (std::any_of(fScript.columns.begin(), fScript.columns.end(), isTaken)) name += '_';
    return name;
  }

  const SampleScript& fScript;
  std::ostream& fOut;
  std::string fOneStratum;
};

}  // namespace

void WriteSampleScript(const SampleScript& script, std::ostream& out) {
  ScriptWriter(script, out).Write();
}
