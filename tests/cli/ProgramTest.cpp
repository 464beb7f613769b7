#include <gmock/gmock.h>

#include <algorithm>

#include "ProgramRun.h"

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

// The example's plan that needs a frame of schools, and whose draw comes to 173 of them by this seed.
const std::string kRun =
    "$S run --data $E/schools.csv --plan $E/plans/two-stages.xml --seed 4711 --joint j.csv ";
const std::string kAdvice = "svselect: PPS_SAMPFORD comes only near the probabilities that it states, ";

// A usage error gets one line that names the fault and says where help is.
TEST(Program, TellsWrongUseInOneLine) {
  struct Case {
    std::string commandLine, error, help = "svselect run --help";
  };
  const Case kCases[] = {
      {"$S", "a subcommand is needed: run, plan, preview, describe, design or size", "(svselect --help"},
      {"$S rnu", "'rnu' is no subcommand; did you mean run?", "(svselect --help"},
      {"$S pl", "'pl' is no subcommand; did you mean plan?", "(svselect --help"},
      {"$S p", "'p' is no subcommand (", "(svselect --help"},
      {"$S --plan x", "there is no option '--plan'", "(svselect --help"},
      {"$S run --smaple=s.csv", "run has no option '--smaple'; did you mean --sample?"},
      {"$S run --$(printf %9999s | tr ' ' x)", "xxx...' ("},
      {"$S run --plan", "--plan needs a value"},
      {"$S run --drop= --plan x", "--drop: the value is empty"},
      {"$S run --plan --data x", "--plan: needs a value, and '--data' follows"},
      {"$S describe --schema -- x", "--schema: needs a value, and '--' follows", "svselect describe --help"},
      {"$S run --plan a --plan b", "--plan is given 2 times, and may be once"},
      {"$S run --quiet=no", "--quiet takes no value"},
      {"$S run --plan p --keep a b", "'b' isn't expected"},
      {"$S run --plan p --data f -- x", "'--' isn't expected: run takes options only"},
      {"$S -- describe x", "'--' isn't expected", "(svselect --help"},
      {"$S run --plan p --keep 'a\t/PRINT CPS'", "--keep: 'a /PRINT CPS' isn't a name"},
      {"$S run --plan p --stages 1,4", "--stages: '4' isn't a stage: 1, 2 or 3"},
      {"$S run --plan p --data f --stages 1,1", "--stages: '1' is given twice"},
      {"$S run --plan p --seed 1e3", "--seed: '1e3' isn't a seed"},
      {"$S run --plan p --seed 00", "--seed: '00' isn't a seed: a whole number from 1 to 2147483647, or"},
      {"$S run --plan p --seed 2147483648", "--seed: '2147483648' isn't a seed"},
      {"$S run --plan p --print all", "--print: 'all' isn't a table: selection or cps"},
      {"$S run --plan p --data f --print cps,CPS", "--print: 'CPS' is given twice"},
      {"$S run --plan p --data f --sample s.csv --keep 'a, ,b'", "--keep: the value is empty"},
      {"$S run --plan p --data f --sample s.csv --keep 'a , A'", "--keep: 'A' is given twice"},
      {"$S run --plan p --data f --drop a", "--drop needs --sample FILE"},
      {"$S run --plan p --threads 0", "--threads: '0' isn't a number of threads"},
      {"$S run --plan p", "a frame is needed: --data FRAME or --sql QUERY"},
      {"$S run --plan p --data f --sql q --explain", "--data and --sql exclude each other"},
      {"$S run --plan p --report r.doc --explain", "--report 'r.doc': the name must end in"},
      {"$S run --data f", "a plan is needed"},
      {"$S run --data f --command c --print cps", "--print is a part of the command; with --command"},
      {"$S run --data f --command c --command-file d", "--command and --command-file exclude each other"},
      {"$S plan", "a plan is needed", "svselect plan --help"},
      {"$S plan a --schema b", "--schema needs --data FRAME", "svselect plan --help"},
      {"$S preview", "a plan is needed: svselect preview PLAN", "svselect preview --help"},
      {"$S preview p", "a frame is needed: --data FRAME or --sql QUERY", "svselect preview --help"},
      {"$S preview p --data f --sql q", "--data and --sql exclude each other", "svselect preview --help"},
      {"$S preview p --data f --cost 1,2", "--cost '1,2': three numbers are needed",
       "svselect preview --help"},
      {"$S preview p --data f --cost 1,2,x", "--cost '1,2,x': three numbers", "svselect preview --help"},
      {"$S preview p --data f --report s.R", "--report 's.R': the name must end in",
       "svselect preview --help"},
      {"$S describe", "a data file is needed: svselect describe FRAME", "svselect describe --help"},
      {"$S describe a --sql b", "FRAME and --sql exclude each other", "svselect describe --help"},
      {"$S describe -- a -b", "'-b' isn't expected", "svselect describe --help"},
  };
  const ProgramFolder folder;
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.commandLine);
    const ProgramFolder::Result result = folder.Run(c.commandLine);
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, StartsWith("svselect: "));
    EXPECT_THAT(result.err, HasSubstr(c.error));
    EXPECT_THAT(result.err, HasSubstr(c.help));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
  }
  EXPECT_THAT(folder.Files(), IsEmpty());
}

// What is meant well is taken so: names that begin as options do, blanks round commas, the edges of a range.
TEST(Program, TakesWhatIsMeantWell) {
  const std::pair<std::string, std::string> kCases[] = {
      {"$S describe -- -f.csv", "-f.csv: 9 cases"},
      {"$S describe -- --schema=", "--schema=.sav: there is no such file"},
      {"$S plan --data ./-f.csv -- -p.xml", "Sample design of 2 stages"},
      {"$S run --plan p --explain --sample s --keep ' a , b' --keep c --print 'cps, selection'",
       "KEEP=a b c\n  /PRINT CPS SELECTION.\n"},
      {"$S run --plan p --explain --sample s --keep 'a, b c,n-1' --drop \"it's\"",
       "KEEP=a 'b c' 'n-1' DROP='it''s'."},
      {"$S run --plan p --explain --stages '1, 2' --seed 2147483647", "STAGES=1 2 SEED=2147483647."},
  };
  const ProgramFolder folder;
  folder.Run("head $E/schools.csv > ./-f.csv; cp $E/plans/two-stages.xml ./-p.xml");
  for (const auto& [commandLine, out] : kCases) {
    SCOPED_TRACE(commandLine);
    const ProgramFolder::Result result = folder.Run(commandLine);
    EXPECT_NE(result.status, 2);
    EXPECT_THAT(result.out + result.err, HasSubstr(out));
  }
}

// A run that can't be gone through with says why, ends with status 1 and leaves neither files nor litter; the
// frame and the plan stay what they were.
TEST(Program, LeavesNothingOfARunThatFails) {
  struct Case {
    std::string aim, commandLine, error;
  };
  const Case kCases[] = {
      {"not XML, told where", "$S plan f.csv", "f.csv, line 1, column 1: not well-formed XML"},
      {"a number that isn't read as it is written",
       "sed 's/0.05/0,05/' $E/plans/simple-systematic.xml >r.txt; $S plan r.txt",
       "\"0,05\" is read as 0\nError: "},
      {"sample over the frame", "$S run --data f.csv --plan p.xml --sample ./f.csv",
       "f.csv: the file is in use"},
      {"no disk space, a text", "(ulimit -f 8; " + kRun + "--sample s.csv)",
       "s.csv can't be written: File too large"},
      {"no disk space, a database", "(ulimit -f 8; " + kRun + "--sample s.sav)", "File too large"},
      {"no disk space, Parquet", "(ulimit -f 8; " + kRun + "--sample s.parquet)", "File too large"},
      {"no disk space, a rule",
       "(ulimit -f 1; $S run --data $E/schools.csv --plan $E/plans/three-stages.xml --rule r.txt)",
       "r.txt can't be written: File too large"},
      {"no output", kRun + ">/dev/full", "standard output can't be written: No space left on device"},
      {"no output for help", "$S run --help >/dev/full", "standard output can't be written"},
      {"no output for a command", "$S run --plan p --explain >/dev/full", "standard output can't be written"},
      {"no temporary folder for a run", "TMPDIR=/nowhere $S run --data f.csv --plan p.xml --sample s.csv",
       "no temporary folder, see TMPDIR"},
  };
  const ProgramFolder folder;
  folder.Run("head -n 500 $E/schools.csv > f.csv; cp $E/plans/two-stages.xml p.xml");
  const std::string before = folder.Run("cat f.csv p.xml").out;
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const ProgramFolder::Result result = folder.Run(c.commandLine);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr(c.error));
    folder.Run("rm -f j.csv j.schema.json r.txt");  // reports describe failures too
    EXPECT_EQ(folder.Files(), "f.csv\np.xml\n");
  }
  EXPECT_EQ(folder.Run("cat f.csv p.xml").out, before);
}

// What surrounds a run changes neither its sample nor what it says.
TEST(Program, DrawsTheSameWhateverSurroundsIt) {
  // Nothing but the places of the program and of the examples, and what a build with sanitizers overlooks.
  const char* const kNothing = "env -i S=$S E=$E LSAN_OPTIONS=\"$LSAN_OPTIONS\" ";
  const char* const kSurroundings[] = {
      "LC_ALL=de_DE.UTF-8 ", kNothing, "TZ=Asia/Kathmandu TERM=dumb ",
      "SOURCE_DATE_EPOCH=67768036191676799 ",  // of no day that a calendar has
  };
  const ProgramFolder folder;
  const std::string run = kRun + "--sample s.csv --report r.json --print selection,cps --rule rule.txt";
  const ProgramFolder::Result plain = folder.Run(run);
  // Their documents hold the day, which depends on the time zone.
  const std::string files = "grep -hv Date: s.csv s.schema.json j.csv r.json rule.txt";
  const std::string written = folder.Run(files).out;
  EXPECT_EQ(plain.status, 0);
  EXPECT_THAT(plain.err, StartsWith(kAdvice));
  const std::string sample = folder.Text("s.csv");
  for (const std::string surroundings : kSurroundings) {
    SCOPED_TRACE(surroundings);
    const ProgramFolder::Result result = folder.Run(surroundings + run + " --threads 3");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, plain.out);
    EXPECT_EQ(folder.Run(files).out, written);
  }
  EXPECT_THAT(folder.Run(run + " --progress always").err, StartsWith("svselect: reading "));
  EXPECT_EQ(folder.Run("(" + run + "; echo $? >&2) | true").err, plain.err + "0\n");
  // More than a pipe holds, and a reader that sees one line of it.
  folder.Run("seq -s ',' 20000 > wide.csv");
  EXPECT_EQ(folder.Run("($S describe wide.csv; echo $? >&2) | head -n 1").err, "0\n");
  // With standard error closed, nothing that is said there lands in a file of the run.
  EXPECT_EQ(folder.Run(kRun + "--sample s.csv --quiet 2>&-").status, 0);
  EXPECT_EQ(folder.Text("s.csv"), sample);
}

// What a dictionary holds, in full.
TEST(Program, DescribesADictionary) {
  const ProgramFolder folder;
  folder.Run(R"(printf 'type,size\nE,1\nM,-9\n' > f.csv; cat > f.schema.json <<'END'
{"fields": [{"name": "type", "type": "string", "title": "Type of school",
             "categories": [{"value": "E", "label": "elementary"}]},
            {"name": "size", "type": "integer", "missingValues": ["-9"]}]}
END)");
  EXPECT_EQ(folder.Run("$S describe f.csv").out,
            "f.csv: 2 cases, 2 variables\n\n"
            "  #  Name  Type      Format  Level    Label\n"
            "  1  type  string 1  A1      nominal  Type of school\n"
            "        'E' = elementary\n"
            "        values: 'E' (1), 'M' (1); none missing\n"
            "  2  size  numeric   F8.0    scale\n"
            "        user-missing: -9\n"
            "        values: 1 (1); 1 user-missing\n");
}

// What the cases have is below each variable, for a query too, and left out on request.
TEST(Program, DescribesTheValues) {
  const std::pair<std::string, std::string> kCases[] = {
      {"SELECT range * 0.5 AS x FROM range(100)", "values: 0 to 49.5; none missing"},
      {"SELECT range % 12 AS x FROM range(100)",
       "values: 0 (9), 1 (9), 2 (9), 3 (9), 4 (8) and 7 others; none"},
      {"SELECT range % 13 AS x FROM range(100)", "values: 0 to 12; none missing"},
      {"SELECT CASE range WHEN 3 THEN 'NaN' WHEN 4 THEN 'inf' WHEN 5 THEN '1.5' END::DOUBLE AS x FROM "
       "range(9)",
       "values: 1.5 (1); 8 system-missing"},
      {"SELECT NULL::DOUBLE AS x FROM range(9)", "values: none; 9 system-missing"},
      {"SELECT 1 AS x FROM range(0)", "values: none; none missing"},
      {"SELECT 'n' || range % 7 || '  ' AS x FROM range(9)",
       "values: 'n0' (2), 'n1' (2), 'n2' (1), 'n3' (1), "
       "'n4' (1) and 2 others; none"},
      {"SELECT NULL::VARCHAR AS x FROM range(2)", "values: '' (2); 2 blank, which a draw"},
      {"SELECT 'n' || range AS x FROM range(70)", "values: 70 different, each once; none missing"},
      {"SELECT 'n' || range % 40000 AS x FROM range(80000)",
       "values: too many different ones to list; none missing"},
      {"SELECT repeat('long ', 20) AS x", "values: 'long long long long…' (1); none missing"},
  };
  const ProgramFolder folder;
  for (const auto& [query, values] : kCases) {
    SCOPED_TRACE(query);
    const ProgramFolder::Result all = folder.Run("$S describe --sql \"" + query + "\"");
    EXPECT_EQ(all.status, 0);
    EXPECT_THAT(all.out, StartsWith("query: "));
    EXPECT_THAT(all.out, HasSubstr(values));
    const std::string quick = folder.Run("$S describe --quick --sql \"" + query + "\"").out;
    EXPECT_EQ(quick, all.out.substr(0, quick.size()));
    EXPECT_THAT(quick, testing::Not(HasSubstr("values")));
  }
}

// The reports for people say how the run ended and all that is said on standard error, and hold what it takes
// to run it again.
TEST(Program, ReportsTellHowTheRunWentAndHowToRepeatIt) {
  const ProgramFolder folder;
  folder.Run("sed '/<Weight>/d' $E/plans/pps-brewer.xml >p.xml");
  const std::string error =
      folder
          .Run(
              "SOURCE_DATE_EPOCH=0 $S run --quiet --report r.txt --report r.html --exact-design "
              "--data $E/municipalities.csv --sort region,name --plan p.xml --seed 4711")
          .err;
  const std::string own = "svselect: ";
  EXPECT_THAT(error, StartsWith(own + "nothing was drawn: the plan names no final weight"));
  EXPECT_THAT(folder.Text("r.txt"), StartsWith("Status: error. The run "));
  EXPECT_THAT(folder.Text("r.txt"), HasSubstr("\n" + error.substr(own.size())));
  for (const std::string& report : {folder.Text("r.txt"), folder.Text("r.html")}) {
    for (const char* part :
         {"nothing was drawn: ", "region, name", "SEED=4711", "1970-01-01", "Exact design"})
      EXPECT_THAT(report, HasSubstr(part));
    EXPECT_THAT(report, testing::Not(HasSubstr("<ul>\n</ul>")));
  }
}

// An interrupted run ends with 130 and one line and leaves no file. The query is too large to end before the
// interrupt comes, which is sent once the program has its temporary folder and is at work.
TEST(Program, EndsInGoodOrderWhenInterrupted) {
  const std::string run =
      "$S run --sql 'SELECT range AS district, hash(range) AS county FROM range(1000000000) ORDER BY 2' "
      "--plan $E/plans/three-stages.xml --sample s.csv --report r.txt";
  const ProgramFolder folder;
  for (const std::string signal : {"INT", "TERM"}) {
    const ProgramFolder::Result result =
        folder.Run("mkdir -p ../tmp; export TMPDIR=$PWD/../tmp; " + run +
                   " & until ls -d ../tmp/*/ >/dev/null 2>&1; do sleep 0.05; done; sleep 0.2; kill -" +
                   signal + " $!; wait $!");
    EXPECT_EQ(result.status, 130);
    EXPECT_EQ(result.err, "svselect: interrupted; no sample was written\n");
    EXPECT_EQ(folder.Files(), "r.txt\n");
    EXPECT_THAT(folder.Text("r.txt"), StartsWith("Status: cancelled. "));
    EXPECT_THAT(folder.Run("ls ../tmp").out, IsEmpty());
  }
}

// Each subcommand's help tells all of its options, within the width of a terminal.
TEST(Program, HelpsInTheFormOfAManualPage) {
  const ProgramFolder folder;
  EXPECT_THAT(folder.Run("$S --version").out, testing::MatchesRegex("svselect [0-9]+\\.[0-9]+\\.[0-9]+\n"));
  for (const char* command : {"$S --help", "$S run -h", "$S plan --help", "$S describe --help",
                              "$S size --help", "$S design --help"}) {
    SCOPED_TRACE(command);
    const ProgramFolder::Result help = folder.Run(command);
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, testing::ContainsRegex("^NAME\n  svselect(.|\n)*\nSYNOPSIS\n(.|\n)*\nEXAMPLES\n"));
    std::istringstream lines(help.out);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 79U) << line;
  }
}

}  // namespace
