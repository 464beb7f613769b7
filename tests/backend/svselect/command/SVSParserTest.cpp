#include "FrameSession.h"
#include "PlanText.h"
#include "backend/svselect/command/SVSParser.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/environment/CommonBlocks.h"

namespace {

using Texts = std::vector<std::string>;

const char* const kFrame = "region,district,name,size,rate,w\nN,1,a,10,0.5,1\nS,2,b,20,0.5,1\n";

const std::string kWeight = Out("Weight", "final_weight");
const std::string kOneStage = Wor(StrataOf(Var("region")) + Size("1"));

// One command parsed on a small frame. "@" in command and messages is the folder of frame and plan.
// The plan is there three times: beside taken.xml there is a folder where its joint file would be, and bare
// has no extension.
class Parsed {
public:
  Parsed(const std::string& stages, const std::string& command) {
    const std::string frame = folder.path / "frame.csv";
    std::ofstream(frame) << kFrame;
    for (const char* plan : {"plan.xml", "taken.xml", "bare"}) {
      std::ofstream(folder.path / plan) << Design(stages);
    }
    std::filesystem::create_directory(folder.path / "taken.sav");
    FrameSession session(FrameSession::ExistingFile{frame});
    HostSession::Current().Layer<SessionCommand>().SetCommand(Replace(command, "@", folder.path));
    const KORV_TokenSequence tokens(true);
    ProcedureDataSource source;
    SVSValidSpecs specs;
    SVSParser parser(tokens, &specs, &source);
    isGood = parser.Parse() && pvGetCmnGlb()->errorFlag == 0;
    for (const OutputMessage& message : OutputDocument::Current().Messages()) {
      const std::string group = message.group.empty() ? "" : "[" + message.group + "] ";
      const std::string level = message.level == 3 ? "" : "warning: ";
      messages.push_back(level + group + Replace(message.text, folder.path, "@"));
    }
    const SVMatrixSpec* const table = specs.MatrixSpec(0);
    if (table != nullptr && table->map != nullptr) {
      for (const OBS* row : table->map->Sort()) rows.emplace_back(row[0].number, row[1].number);
    }
    previousWeight = specs.PreviousWeightVar();
  }

  TestFolder folder;
  bool isGood = false;
  Texts messages;
  std::int32_t previousWeight = -1;
  std::vector<std::pair<double, double>> rows;  // of the first stage's table: its one variable and the size
};

constexpr const char* kBadList =
    "Parameter STAGES of subcommand CRITERIA does not have a valid integer list...";
constexpr const char* kBadSeed = "Parameter SEED of subcommand CRITERIA has incorrect value type...";

std::string ByTable(const std::string& variables, const std::string& rows, int count = 1) {
  return Wor(StrataOf(variables) + Table(variables, rows, count)) + kWeight;
}
std::string BadCell(const std::string& variable, int column, const std::string& value, int row) {
  return "[Plan stage 1...] MATRIX variable " + variable + " in column " + std::to_string(column) +
         " has value " + value + " of invalid type or format in row " + std::to_string(row) + "...";
}

// A whole command, or the part of one after the plan.
std::string Command(const std::string& text) {
  return text.starts_with("SVSELECT") ? text : "SVSELECT /PLAN FILE='@/plan.xml' " + text;
}

}  // namespace

// Each row: a command that a user could write, and the message it gets.
TEST(SVSParser, TellsWhatIsWrongWithACommand) {
  struct Case {
    const char* command;  // behind the plan, unless it begins with SVSELECT
    Texts messages;
  };
  const Case kCases[] = {
      {"SVSELECT", {"The command doesn't have any subcommand..."}},
      {"SVSELECT PRINT /PRINT CPS",
       {"The command has text before its first subcommand, or a slash without a name."}},
      {"SVSELECT /PRINT CPS", {"Subcommand PLAN is required..."}},
      {"SVSELECT /PLAN", {"Subcommand PLAN is empty..."}},
      {"SVSELECT /PLAN FILES='x'", {"Subcommand PLAN can have only parameter FILE..."}},
      {"SVSELECT /PLAN FILE='@/plan.xml' MORE=1", {"Subcommand PLAN cannot have more than 1 parameters..."}},
      {"SVSELECT /PLAN FILE", {"Parameter FILE of subcommand PLAN has incorrect value type..."}},
      {"SVSELECT /PLAN FILE='@/none.xml'", {"File @/none.xml cannot be accessed..."}},
      {"SVSELECT /PLAN (FILE='@/plan.xml')", {"Parenthesis not allowed in subcommand PLAN..."}},
      {"/XYZ", {"Subcommand XYZ is empty..."}},
      {"/XYZ A=1", {"Subcommand XYZ is not recognized..."}},
      {"/PRINT CPS /PRINT CPS", {"Subcommand PRINT already called..."}},
      {"/CRITERIA STAGES=1 3", {kBadList}},
      {"/CRITERIA STAGES=0 1", {kBadList}},
      {"/CRITERIA STAGES=1 STAGES=1", {"Parameter STAGES already occurred in subcommand CRITERIA..."}},
      {"/CRITERIA SEED=0", {kBadSeed}},
      {"/CRITERIA SEED=1.5", {kBadSeed}},
      {"/CRITERIA SEED=2147483648", {kBadSeed}},
      {"/CRITERIA SEED=abc", {"Parameter SEED of subcommand CRITERIA cannot take value ABC..."}},
      {"/CRITERIA SEED=1 SEED=2", {"Parameter SEED already occurred in subcommand CRITERIA..."}},
      {"/CRITERIA SORT=1", {"SORT is not a valid parameter for subcommand CRITERIA..."}},
      {"/CLASSMISSING EXCLUDE INCLUDE",
       {"Parameter INCLUDE of subcommand CLASSMISSING cannot be given with parameter EXCLUDE..."}},
      {"/CLASSMISSING EXCLUDE EXCLUDE", {"Parameter EXCLUDE already occurred in subcommand CLASSMISSING..."}},
      {"/CLASSMISSING INCLUDE=1", {"Keyword INCLUDE cannot have a value..."}},
      {"/DATA RENAMEVARS=1", {"Keyword RENAMEVARS cannot have a value..."}},
      {"/DATA PRESORTED PRESORTED", {"Parameter PRESORTED already occurred in subcommand DATA..."}},
      {"/PRINT ALL", {"ALL is not a valid parameter for subcommand PRINT..."}},
      {"/SAMPLEFILE KEEP=region name", {"Parameter OUTFILE is required in subcommand SAMPLEFILE..."}},
      {"/SAMPLEFILE OUTFILE='@/none/s.csv' KEEP=region", {"File @/none/s.csv cannot be accessed..."}},
      {"/SAMPLEFILE OUTFILE='@/s.csv' OUTFILE='@/t.csv'",
       {"Parameter OUTFILE already occurred in subcommand SAMPLEFILE..."}},
      {"/SAMPLEFILE OUTFILE='@/s.csv' KEEP=region REGION",
       {"Variable REGION for parameter KEEP of subcommand SAMPLEFILE already occured..."}},
      {"/SAMPLEFILE OUTFILE='@/s.csv' KEEP=none x.",
       {"Variable none for parameter KEEP of subcommand SAMPLEFILE is not found in the dictionary...",
        "Variable x for parameter KEEP of subcommand SAMPLEFILE is not found in the dictionary..."}},
      {"/SAMPLEFILE OUTFILE='@/s.csv' KEEP=1a",
       {"Variable name 1a for parameter KEEP of subcommand SAMPLEFILE is not valid..."}},
      {"/SAMPLEFILE OUTFILE='@/s.csv' KEEP=ALL",
       {"Parameter KEEP of subcommand SAMPLEFILE does not have a valid variable list..."}},
      {"/SAMPLEFILE OUTFILE='@/s.csv' DROP=ALL KEEP=region",
       {"Variable name region for parameter KEEP cannot be used for parameter DROP..."}},
      {"/SAMPLEFILE OUTFILE='@/s.csv' DROP=name KEEP=NAME region",
       {"Variable name NAME for parameter KEEP cannot be used for parameter DROP..."}},
      {"/SAMPLEFILE OUTFILE='@/s.csv' DROP=region ALL",
       {"Parameter DROP of subcommand SAMPLEFILE does not have a valid variable list..."}},
      {"/SAMPLEFILE OUTFILE='@/s.csv' KEEP=region DROP=name",
       {"Variable name name for parameter DROP must also be used for parameter KEEP..."}},
      {"/SAMPLEFILE OUTFILE='@/s.csv' /SELECTRULE OUTFILE='@/S.CSV'",
       {"[Plan stage 2...] File @/s.csv cannot be used for both SAMPLEFILE and SELECTRULE..."}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.command);
    const Parsed parsed(kOneStage + kWeight, Command(c.command));
    EXPECT_EQ(parsed.messages, c.messages);
    EXPECT_FALSE(parsed.isGood);
  }
}

// The messages about a plan that doesn't fit the dictionary or the command.
TEST(SVSParser, TellsWhatIsWrongWithAPlanOnThisFrame) {
  const std::string clusters = ClustersOf(Var("district"));
  const std::string rate = Var("rate"), region = Var("region"), size = Var("size");
  const std::string pps = "<MOS fromData='no'>" + size + "</MOS>";
  const std::string joint = Stage("pps_wor", clusters + Size("1") + pps) + kWeight;
  struct Case {
    std::string aim, stages;
    std::string message;  // empty if the plan is good
    const char* command = "";
  };
  const std::string kStage1 = "[Plan stage 1...] ", kStage2 = "[Plan stage 2...] ";
  const std::string manyDigits(40, '0');
  const Case kCases[] = {
      {"a fault of its own", Wor(Size("2.5")) + kWeight, "Sample size values are not positive..."},
      {"no final weight", kOneStage, ""},
      {"the final weight is a string", kOneStage + Out("Weight", "name"),
       "[Global plan stage...] Variable name for parameter SAMPLEWEIGHT is not numeric..."},
      {"names that can't be", Wor(Size("1") + Out("Index", "W")) + Out("Weight", "rate"),
       "Plan output variables already exist rate, W"},
      {"an unknown previous weight", Wor(Size("1")) + Out("PreviousWeight", "none") + kWeight,
       "[Global plan stage...] Variable none for parameter PREVIOUSWEIGHT is not found in the dictionary..."},
      {"no stage", kWeight, "The plan doesn't have any stage..."},
      {"a stage that isn't drawn asks for what exists, and for a file",
       Wor(clusters + Size("1")) + Stage("simple_wr", Size("1") + Out("Index", "w")) + kWeight, "",
       "/CRITERIA STAGES=1"},
      {"a stage too many", kOneStage + kWeight,
       kStage1 + "Parameter STAGES of subcommand CRITERIA does not have a valid integer list...",
       "/CRITERIA STAGES=2"},
      {"an unknown stratum", Wor(StrataOf(Var("none")) + Size("1")) + kWeight,
       kStage1 + "Variable none for parameter STRATA is not found in the dictionary..."},
      {"a rate in a string", Wor(StrataOf(Var("district")) + In("InputSampleRate", Var("name"))) + kWeight,
       kStage1 + "Variable name for parameter RATE is not numeric..."},
      {"a text for a number", ByTable(size, Row("1", {"ten"})), BadCell("size", 1, "ten", 1)},
      {"a text too long in the second column",
       ByTable(size + region, Row("1", {"1", "N"}) + Row("1", {"2", "N"}) + Row("1", {"1", "NN"}), 3),
       BadCell("region", 2, "NN", 3)},
      {"a number as long as can be", ByTable(size, Row("1", {manyDigits})), ""},
      {"a number too long", ByTable(region + size, Row("1", {"N", manyDigits + "1"})),
       BadCell("size", 2, manyDigits + "1", 1)},
      {"a number too long with its decimal point", ByTable(rate, Row("1", {manyDigits})),
       BadCell("rate", 1, manyDigits, 1)},
      {"two decimal points", ByTable(rate, Row("1", {"0.5"}) + Row("1", {"0.5.1"}), 2),
       BadCell("rate", 1, "0.5.1", 2)},
      {"a later stage without the earlier weight", Wor(clusters + Size("1")) + Wor(Size("1")) + kWeight,
       kStage1 + "Variable name  for parameter CUMWEIGHT is not valid...", "/CRITERIA STAGES=2"},
      {"replacement without a sample file", Stage("simple_wr", Size("1")) + kWeight,
       kStage1 + "Subcommand SAMPLEFILE is required when parameter METHOD has value SIMPLE_WR..."},
      {"joint probabilities where there are none", kOneStage + kWeight,
       "warning: " + kStage1 +
           "Subcommand JOINTPROB is ignored when parameter TYPE has value "
           "PPS_WR/PPS_SYSTEMATIC/PPS_CHROMY/SIMPLE...",
       "/JOINTPROB OUTFILE='@/j.csv'"},
      {"renamed", kOneStage + Out("Weight", "rate"), "warning: Some plan output variables are renamed...",
       "/DATA RENAMEVARS"},
      {"the default joint file is the rule file", joint,
       kStage2 + "File @/plan.sav cannot be used for both JOINTPROB and SELECTRULE...",
       "/SELECTRULE OUTFILE='@/plan.sav'"},
      {"the sample is the joint file in another case", joint,
       kStage2 + "File @/s.csv cannot be used for both SAMPLEFILE and JOINTPROB...",
       "/SAMPLEFILE OUTFILE='@/s.csv' /JOINTPROB OUTFILE='@/S.CSV'"},
      {"the default joint file is the sample under another spelling", joint,
       "Default joint probability file @/plan.sav cannot be accessed...",
       "/SAMPLEFILE OUTFILE='@/./plan.sav'"},
      {"the default joint file of a plan without an extension", joint,
       kStage2 + "File @/bare.sav cannot be used for both JOINTPROB and SELECTRULE...",
       "SVSELECT /PLAN FILE='@/bare' /SELECTRULE OUTFILE='@/bare.sav'"},
      {"the default joint file is a folder", joint, "@/taken.sav is not a valid file name...",
       "SVSELECT /PLAN FILE='@/taken.xml'"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    EXPECT_EQ(Parsed(c.stages, Command(c.command)).messages, c.message.empty() ? Texts() : Texts{c.message});
  }
}

TEST(SVSParser, FillsTheSpecifications) {
  const std::string later =
      Wor(ClustersOf(Var("district")) + Size("1") + Out("CumulativeWeight", "w")) + Wor(Size("1")) + kWeight;
  // The cumulative weight of the stage that was drawn before.
  EXPECT_EQ(Parsed(later, Command("/CRITERIA STAGES=2")).previousWeight, 5);

  // A number of a table as it is written; of rows with the same categories the last stays.
  const std::string rows = Row("3", {"1"}) + Row("5", {"0.5"}) + Row("4", {"1."});
  EXPECT_EQ(Parsed(ByTable(Var("rate"), rows, 3), Command("")).rows,
            (std::vector<std::pair<double, double>>{{0.5, 5}, {1, 4}}));
}
