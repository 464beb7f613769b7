#include <gmock/gmock.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "ProgramRun.h"

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

// The example's plan that needs a frame of schools, and whose draw comes to 173 of them by this seed.
const std::string kRun =
    "$S run --data $E/schools.csv --plan $E/plans/two-stages.xml --seed 4711 --joint j.csv ";
const std::string kAdvice =
    "svselect: PPS_SAMPFORD comes only near the probabilities that it states; --exact-design draws with "
    "exactly "
    "these\n";

// A usage error gets one line that names the fault and says where help is.
TEST(Program, TellsWrongUseInOneLine) {
  struct Case {
    const char* commandLine;
    const char* error;
    const char* help = "svselect run --help";
  };
  const Case kCases[] = {
      {"$S", "a subcommand is needed: run, plan or describe", "(svselect --help"},
      {"$S rnu", "'rnu' is no subcommand; did you mean run?", "(svselect --help"},
      {"$S desc x", "'desc' is no subcommand; did you mean describe?", "(svselect --help"},
      {"$S pl", "'pl' is no subcommand; did you mean plan?", "(svselect --help"},
      {"$S p", "'p' is no subcommand (", "(svselect --help"},
      {"$S ''", "'' is no subcommand (", "(svselect --help"},
      {"$S --plan x", "there is no option '--plan'", "(svselect --help"},
      {"$S run --smaple s.csv", "run has no option '--smaple'; did you mean --sample?"},
      {"$S run --smaple=s.csv", "run has no option '--smaple'; did you mean --sample?"},
      {"$S run --wholly-else", "run has no option '--wholly-else' ("},
      {"$S run --$(printf %9999s | tr ' ' x)", "xxx...' ("},
      {"$S run --plan", "--plan needs a value"},
      {"$S run --plan ''", "--plan: the value is empty"},
      {"$S run --drop= --plan x", "--drop: the value is empty"},
      {"$S run --plan --data x", "--plan: needs a value, and '--data' follows"},
      {"$S describe --schema -- x", "--schema: needs a value, and '--' follows", "svselect describe --help"},
      {"$S run --plan a --plan b", "--plan is given 2 times, and may be once"},
      {"$S run --quiet=no", "--quiet takes no value"},
      {"$S run --plan p --keep a b", "'b' isn't expected"},
      {"$S run --plan p --data f -- x", "'--' isn't expected: run takes options only"},
      {"$S -- describe x", "'--' isn't expected", "(svselect --help"},
      {"$S run --plan p --keep 'a /PRINT CPS'", "--keep: 'a /PRINT CPS' isn't a name"},
      {"$S run --plan p --stages 1,4", "--stages: '4' isn't a stage: 1, 2 or 3"},
      {"$S run --plan p --data f --stages 1,1", "--stages: '1' is given twice"},
      {"$S run --plan p --seed 1e3", "--seed: '1e3' isn't a seed"},
      {"$S run --plan p --seed 00", "--seed: '00' isn't a seed: a whole number from 1 to 2147483647, or"},
      {"$S run --plan p --seed 2147483648", "--seed: '2147483648' isn't a seed"},
      {"$S run --plan p --seed 4294967297", "--seed: '4294967297' isn't a seed"},
      {"$S run --plan p --print all", "--print: 'all' isn't a table: selection or cps"},
      {"$S run --plan p --data f --print cps,CPS", "--print: 'CPS' is given twice"},
      {"$S run --plan p --data f --sample s.csv --keep 'a, ,b'", "--keep: the value is empty"},
      {"$S run --plan p --data f --sample s.csv --keep 'a , A'", "--keep: 'A' is given twice"},
      {"$S run --plan p --data f --drop a", "--drop needs --sample FILE"},
      {"$S run --plan p --threads 0", "--threads: '0' isn't a number of threads"},
      {"$S run --plan p --data f --report r.doc", "--report 'r.doc': the name must end in"},
      {"$S run --plan p", "a frame is needed: --data FRAME or --sql QUERY"},
      {"$S run --plan p --data f --sql q", "--data and --sql exclude each other"},
      {"$S run --plan p --data f --sql q --explain", "--data and --sql exclude each other"},
      {"$S run --plan p --report r.doc --explain", "--report 'r.doc': the name must end in"},
      {"$S run --data f", "a plan is needed"},
      {"$S run --data f --command c --print cps", "--print is a part of the command; with --command"},
      {"$S run --data f --command c --command-file d", "--command and --command-file exclude each other"},
      {"$S plan", "a plan is needed", "svselect plan --help"},
      {"$S plan a b", "'b' isn't expected", "svselect plan --help"},
      {"$S plan a --schema b", "--schema needs --data FRAME", "svselect plan --help"},
      {"$S describe -- a -b", "'-b' isn't expected", "svselect describe --help"},
      {"$S describe a --sort b", "describe has no option '--sort'", "svselect describe --help"},
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
  struct Case {
    const char* commandLine;
    const char* out;
  };
  const Case kCases[] = {
      {"$S describe -- -f.csv", "-f.csv: 9 cases"},
      {"$S describe -- --schema=", "--schema=.sav: there is no such file"},
      {"$S plan --data ./-f.csv -- -p.xml", "Sample design of 2 stages"},
      {"$S run --plan p --explain --sample s --keep ' a , b' --keep c --print 'cps, selection'",
       "KEEP=a b c\n  /PRINT CPS SELECTION.\n"},
      {"$S run --plan p --explain --stages '1, 2' --seed 2147483647", "STAGES=1 2 SEED=2147483647."},
      {"$S run --plan p --explain --seed 01 --report r.HTML", "SEED=01."},
      {"$S run --version", "svselect "},
  };
  const ProgramFolder folder;
  folder.Run("head $E/schools.csv > ./-f.csv; cp $E/plans/two-stages.xml ./-p.xml");
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.commandLine);
    const ProgramFolder::Result result = folder.Run(c.commandLine);
    EXPECT_NE(result.status, 2);
    EXPECT_THAT(result.out + result.err, HasSubstr(c.out));
  }
}

// A run that can't be gone through with says why, ends with status 1 and leaves neither files nor litter; the
// frame and the plan stay what they were.
TEST(Program, LeavesNothingOfARunThatFails) {
  struct Case {
    const char* aim;
    std::string commandLine;
    const char* error;
  };
  const Case kCases[] = {
      {"no frame", "$S run --data no.csv --plan p.xml", "no.csv: there is no such file"},
      {"no plan", "$S run --data f.csv --plan no.xml", "no.xml: there is no such file"},
      {"no plan to tell", "$S plan no.xml", "no.xml: there is no such file"},
      {"folder for a plan", "$S run --data f.csv --plan .", ".: a folder, expected a file"},
      {"not XML", "$S run --data f.csv --plan f.csv", "Invalid plan file"},
      {"not XML, told where", "$S plan f.csv", "f.csv, line 1, column 1: not well-formed XML"},
      {"command in UTF-16",
       "printf '\\377\\376S\\0' >c; $S run --data f.csv --command-file c; s=$?; rm c; exit $s",
       "c: the command file is in UTF-16"},
      {"sample over the frame", "$S run --data f.csv --plan p.xml --sample ./f.csv",
       "f.csv: the file is in use"},
      {"joint over the frame", "$S run --data f.csv --plan p.xml --joint f.csv", "f.csv: the file is in use"},
      {"rule over the plan", "$S run --data f.csv --plan p.xml --rule p.xml", "p.xml: the file is in use"},
      {"saved over the frame", "$S run --data f.csv --plan p.xml --save f.csv", "f.csv: the file is in use"},
      {"two reports", "$S run --data f.csv --plan p.xml --report r.txt --report ./r.txt",
       "the file is in use"},
      {"no folder", kRun + "--sample no/s.csv", "no/s.csv: its folder doesn't exist"},
      {"a device", "ln -s /dev/full d.csv; " + kRun + "--sample d.csv; s=$?; rm d.csv; exit $s", "d.csv: "},
      {"unknown kind", kRun + "--sample s.doc", "s.doc: data files are written as .sav,"},
      {"a folder", kRun + "--sample ./", "./: a folder, expected a file"},
      {"a stream", "$S run --data f.csv --plan p.xml --rule /dev/stdout", "/dev/stdout: a pipe or device"},
      {"a schema for the frame", "$S run --data f.csv --plan p.xml --sample f.tsv",
       "f.tsv: its schema file f.schema.json: the file is in use"},
      {"no command", "$S run --data f.csv --command-file no.txt", "no.txt: there is no such file"},
      {"a command that fails to be read", "$S run --data f.csv --command-file /proc/self/mem",
       "/proc/self/mem: Input/output error"},
      {"no disk space, a sample", "(ulimit -f 8; " + kRun + "--sample s.csv)", "s.csv can't be written"},
      {"no disk space, a native file", "(ulimit -f 8; " + kRun + "--sample s.sav)", "s.sav can't be written"},
      {"no output", kRun + ">/dev/full", "standard output can't be written: No space left on device"},
      {"no output for help", "$S run --help >/dev/full", "standard output can't be written"},
      {"no output for a command", "$S run --plan p --explain >/dev/full", "standard output can't be written"},
      {"no temporary folder", "TMPDIR=/nowhere $S describe f.csv", "no temporary folder, see TMPDIR"},
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
      "LC_ALL=de_DE.UTF-8 ",
      "LC_ALL=C ",
      kNothing,
      "env -u HOME ",
      "TZ=Asia/Kathmandu TERM=dumb ",
      "SOURCE_DATE_EPOCH=67768036191676799 ",  // of no day that a calendar has
  };
  const ProgramFolder folder;
  const std::string run = kRun + "--sample s.csv --report r.json --print selection,cps --rule rule.txt";
  const ProgramFolder::Result plain = folder.Run(run);
  // Without the day, which isn't the same everywhere on the earth.
  const auto allFiles = [&] {
    return folder.Run("cat s.csv s.schema.json j.csv r.json rule.txt | sed 's/Date: [-0-9]*/Date/'").out;
  };
  const std::string files = allFiles();
  EXPECT_EQ(plain.status, 0);
  EXPECT_EQ(plain.err, kAdvice);
  const nlohmann::json report = nlohmann::json::parse(folder.Text("r.json"));
  EXPECT_EQ(report["status"], "ok");
  EXPECT_EQ(report["files"][1]["role"], "sample");
  const std::string sample = folder.Text("s.csv");
  EXPECT_EQ(report["files"][1]["cases"].get<int>() + 1, std::count(sample.begin(), sample.end(), '\n'));
  for (const std::string surroundings : kSurroundings) {
    SCOPED_TRACE(surroundings);
    const ProgramFolder::Result result = folder.Run(surroundings + run + " --threads 3");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, plain.out);
    EXPECT_EQ(allFiles(), files);
  }
  EXPECT_EQ(folder.Run("(" + run + "; echo $? >&2) | true").err, kAdvice + "0\n");
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
            "  2  size  numeric   F8.0    scale\n"
            "        user-missing: -9\n");
}

// The stages of a plan drawn run by run. The joint probabilities are those of the first stage: the run of the
// second does without their file, unless it was named.
TEST(Program, MissesOnlyTheFilesThatItWasAskedFor) {
  const ProgramFolder folder;
  folder.Run(
      "sed 's#<IncProb><Variable name=\"county_prob.*#&"
      "<CumulativeWeight><Variable name=\"county_weight\"/></CumulativeWeight>#' "
      "$E/plans/two-stages.xml > p.xml");
  const std::string first =
      "$S run --data $E/schools.csv --plan p.xml --stages 1 --sample 1.parquet --joint j.sav --quiet";
  EXPECT_EQ(folder.Run(first).status, 0);
  const std::string second =
      "$S run --data 1.parquet --plan p.xml --stages 2 --rename --sample 2.parquet --quiet ";
  EXPECT_EQ(folder.Run(second).status, 0);
  EXPECT_EQ(folder.Files(), "1.parquet\n2.parquet\nj.sav\np.xml\n");
  const ProgramFolder::Result named = folder.Run(second + "--joint k.sav");
  EXPECT_EQ(named.status, 1);
  EXPECT_THAT(named.err, HasSubstr("svselect: k.sav: the file didn't come into being\n"));
  EXPECT_EQ(folder.Files(), "1.parquet\n2.parquet\nj.sav\np.xml\n");
}

// A number that isn't read as it is written gets a message, whichever command reads the plan.
TEST(Program, TellsHowItReadsANumber) {
  const ProgramFolder folder;
  const std::string plan = "$E/plans/simple-systematic.xml ";
  EXPECT_THAT(folder.Run("sed 's/\"2\"/\" 2 \"/' " + plan + "> p.xml; $S plan p.xml").err, IsEmpty());
  EXPECT_THAT(folder.Run("sed 's/0.05/0,05/' " + plan + "> p.xml; $S plan p.xml").err,
              StartsWith("svselect: p.xml: \"0,05\" is read as 0\nError: "));
  folder.Run("sed 's/\"30\"/\"30,5\"/' " + plan + "> p.xml");
  EXPECT_EQ(folder.Run("$S run --data $E/schools.csv --plan p.xml --sample s.csv --quiet").err,
            "svselect: p.xml: \"30,5\" is read as 30\n");
}

// Where the draw comes only near what it states, that is said once, however the command is given. PPS_WOR
// does so where the sizes have fractions.
TEST(Program, SaysWhereTheDrawIsOnlyNear) {
  struct Case {
    std::string options;
    const char* advised;
  };
  const std::string wor = "--sql \"SELECT *, population / 2 AS half FROM '$E/municipalities.csv'\" --plan ";
  const std::string brewer =
      "$E/municipalities.csv --command \"SVSELECT /PLAN FILE='$E/plans/pps-brewer.xml' ";
  const Case kCases[] = {
      {"--data " + brewer + "/SAMPLEFILE OUTFILE='s.csv' /JOINTPROB OUTFILE='j.csv'.\"", "PPS_BREWER"},
      {"--exact-design --data " + brewer + "/SAMPLEFILE OUTFILE='s.csv' /JOINTPROB OUTFILE='j.csv'.\"", ""},
      {wor + "$E/plans/pps-wor.xml --joint j.csv --sample s.csv", ""},
      {wor + "half.xml --joint j.csv --sample s.csv", "PPS_WOR"},
  };
  const ProgramFolder folder;
  folder.Run("sed 's/name=\"population\"/name=\"half\"/' $E/plans/pps-wor.xml > half.xml");
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.options);
    const ProgramFolder::Result result = folder.Run("$S run --quiet " + c.options);
    EXPECT_EQ(result.status, 0);
    if (*c.advised == '\0') {
      EXPECT_THAT(result.err, IsEmpty());
    } else {
      EXPECT_THAT(result.err, StartsWith(std::string("svselect: ") + c.advised + " comes only near"));
    }
  }
  EXPECT_THAT(folder.Run(kRun + "--sample s.csv --quiet --progress always").err,
              StartsWith("svselect: reading "));
}

// The reports for people say how the run ended and all that is said on standard error, and hold what it takes
// to run it again.
TEST(Program, ReportsTellHowTheRunWentAndHowToRepeatIt) {
  struct Case {
    const char* aim;
    std::string options;
    const char* status;
    const char* line;
  };
  const Case kCases[] = {
      {"no plan", "--data f.csv --plan no.xml --seed 4711", "error", "no.xml: there is no such file"},
      {"no final weight", "--data f.csv --plan p.xml --seed 4711", "error", "nothing was drawn: "},
      {"not kept", "--data f.csv --plan $E/plans/pps-brewer.xml --seed 4711 --joint j.csv", "ok",
       "the draw isn&#39;t kept: "},
      {"the whole command", "--data no.csv --command 'SVSELECT /CRITERIA SEED=4711'", "error",
       "no.csv: there is no such file"},
      {"exact", "--data f.csv --sort region,name --exact-design --plan p.xml --seed 4711", "error",
       "region, name"},
  };
  const ProgramFolder folder;
  folder.Run("cp $E/municipalities.csv f.csv; sed '/<Weight>/d' $E/plans/pps-brewer.xml >p.xml");
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const ProgramFolder::Result result =
        folder.Run("SOURCE_DATE_EPOCH=0 $S run --quiet --report r.txt --report r.html " + c.options);
    const std::string page = folder.Text("r.html");
    const std::string text = folder.Text("r.txt");
    EXPECT_THAT(text, StartsWith(std::string("Status: ") + c.status + ". The run "));
    EXPECT_THAT(page, HasSubstr(c.line));
    EXPECT_THAT(page, testing::Not(HasSubstr("<ul>\n</ul>")));
    std::istringstream lines(result.err);
    for (std::string line; std::getline(lines, line);) {
      const std::string own = "svselect: ";
      EXPECT_THAT(text, HasSubstr("\n" + (line.starts_with(own) ? line.substr(own.size()) : line) + "\n"));
    }
    for (const std::string& report : {page, text}) {
      EXPECT_THAT(report, HasSubstr("/CRITERIA SEED=4711"));
      EXPECT_THAT(report, HasSubstr("1970-01-01"));
      const bool isExact = report.find("Exact design") != std::string::npos;
      EXPECT_EQ(isExact, c.options.find("--exact-design") != std::string::npos);
    }
  }
}

// An interrupted run ends with 130 and one line and leaves no file. The query is too large to end before the
// interrupt comes, which is sent once the program has its temporary folder and is at work.
TEST(Program, EndsInGoodOrderWhenInterrupted) {
  const std::string run =
      "$S run --sql 'SELECT range AS district, hash(range) AS county FROM range(1000000000) ORDER BY 2' "
      "--plan $E/plans/three-stages.xml --sample s.csv --report r.json --report r.txt";
  const ProgramFolder folder;
  for (const std::string signal : {"INT", "TERM"}) {
    const ProgramFolder::Result result =
        folder.Run("mkdir -p ../tmp; export TMPDIR=$PWD/../tmp; " + run +
                   " & until ls -d ../tmp/*/ >/dev/null 2>&1; do sleep 0.05; done; sleep 0.2; kill -" +
                   signal + " $!; wait $!");
    EXPECT_EQ(result.status, 130);
    EXPECT_EQ(result.err, "svselect: interrupted; no sample was written\n");
    EXPECT_EQ(folder.Files(), "r.json\nr.txt\n");
    EXPECT_THAT(folder.Text("r.txt"), StartsWith("Status: cancelled. "));
    EXPECT_EQ(nlohmann::json::parse(folder.Text("r.json"))["status"], "cancelled");
    EXPECT_THAT(folder.Run("ls ../tmp").out, IsEmpty());
  }
}

// Each subcommand's help tells all of its options, within the width of a terminal.
TEST(Program, HelpsInTheFormOfAManualPage) {
  const ProgramFolder folder;
  EXPECT_THAT(folder.Run("$S --version").out, testing::MatchesRegex("svselect [0-9]+\\.[0-9]+\\.[0-9]+\n"));
  for (const char* command : {"$S --help", "$S run -h", "$S plan --help", "$S describe --help"}) {
    SCOPED_TRACE(command);
    const ProgramFolder::Result help = folder.Run(command);
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, StartsWith("NAME\n  svselect"));
    for (const char* section : {"\nSYNOPSIS\n", "\nDESCRIPTION\n", "\nEXAMPLES\n"}) {
      EXPECT_THAT(help.out, HasSubstr(section));
    }
    std::istringstream lines(help.out);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 79U) << line;
  }
}

}  // namespace
