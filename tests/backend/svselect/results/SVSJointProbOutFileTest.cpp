#include <gmock/gmock.h>

#include "DrawSession.h"
#include "backend/svcommon/adapters/SVMessages.h"
#include "backend/svcommon/adapters/SVProcDSMultiIter.h"
#include "backend/svselect/records/SVSInputAdapter.h"
#include "backend/svselect/results/SVSJointProbOutFile.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The output over a frame with strata s and clusters c, after a pass that has given them codes.
class Output {
public:
  explicit Output(const std::string& file) : fMessages(&fSession.Source()) {
    fStage.setStrata({0});
    fStage.setClusters({1});
    fSpecs.AddDesignStage("", &fStage, nullptr, nullptr, nullptr);
    fSpecs.SetJointProbFile(file, true);
    fSpecs.Validate();
    auto cases = SVProcDSMultiIter::MakeIterator(&fSession.Source());
    fpAdapter = std::make_unique<SVSInputAdapter>(&fSpecs, &fSession.Source(), cases.get(), &fMessages);
    fpRecords = std::make_unique<SVProcDSMultiIter>(&fSession.Source(), std::move(cases), fpAdapter.get());
    while (fpRecords->HasMore()) fpRecords->Next();
    fpFile = std::make_unique<SVSJointProbOutFile>(&fSpecs, fpAdapter.get(), &fSession.Source());
  }
  SVSJointProbOutFile& File() { return *fpFile; }

private:
  FrameSession fSession{"s,c\nlong enough ,1\nb,2\nb,3\n"};
  DesignStage fStage{1};
  SVSValidSpecs fSpecs;
  SVMessages fMessages;
  std::unique_ptr<SVSInputAdapter> fpAdapter;
  std::unique_ptr<SVProcDSMultiIter> fpRecords;
  std::unique_ptr<SVSJointProbOutFile> fpFile;
};

}  // namespace

// Calls: Open, start a Stratum of one unit, write a Row, Close. Nothing leads out of state 5.
TEST(SVSJointProbOutFile, KeepsToTheOrderOfCalls) {
  const struct {
    const char* calls;
    const char* states;
  } kCases[] = {
      {"OSRC", "1234"}, {"OSRSRC", "123234"}, {"OC", "14"},           {"C", "0"},    {"S", "5"}, {"OO", "15"},
      {"OR", "15"},     {"OSS", "125"},       {"OSCRSOC", "1255555"}, {"OCC", "145"}};
  const TestFolder folder;
  for (const auto& c : kCases) {
    Output output(folder.path / "j.csv");
    std::string states;
    for (const char call : std::string(c.calls)) {
      const int state = call == 'O'   ? output.File().Open(1)
                        : call == 'S' ? output.File().StartStratum(1, {1})
                        : call == 'R' ? output.File().WriteRow({1}, {0.5})
                                      : output.File().Close();
      EXPECT_EQ(state, output.File().State());
      states += std::to_string(state);
    }
    EXPECT_EQ(states, c.states) << c.calls;
  }
}

TEST(SVSJointProbOutFile, WritesTheMatrixOfEachStratum) {
  const TestFolder folder;
  const std::string path = folder.path / "j.csv";
  {
    Output output(path);
    SVSJointProbOutFile& file = output.File();
    file.Open(3);
    file.StartStratum(2, {2});
    file.WriteRow({2}, {0.5, 0.25});
    file.WriteRow({3}, {0.25, 0.75});
    file.StartStratum(1, {1});
    file.WriteRow({1}, {1.0});
    EXPECT_EQ(file.TotalRows(), 3);
    file.Close();
    ASSERT_TRUE(CommitFiles());
  }
  FrameSession session(FrameSession::ExistingFile{path});
  EXPECT_THAT(AllCases(), ElementsAre("s,c,Unit_No_,Joint_Prob_1_,Joint_Prob_2_,Joint_Prob_3_",
                                      "b,2,1,0.5,0.25,.", "b,3,2,0.25,0.75,.", "long enough,1,1,1,.,."));
  const Dictionary& dictionary = session.Source().GetDictionary();
  const KORV_Variable& unit = dictionary.variables[2];
  const KORV_Variable& last = dictionary.variables[5];
  EXPECT_EQ(unit.GetFormat(), (KORV_Format{.decimals = 0}));
  EXPECT_EQ(unit.GetMeasurementLevel(), kLevelNominal);
  EXPECT_EQ(last.GetWriteFormat(), KORV_Format());
  EXPECT_EQ(last.GetMeasurementLevel(), kLevelScale);
}

// The strata are in the order in which they appear in the frame, whatever the order of the draw; a variable
// that has the name of a new one gives way.
TEST(SVSJointProbOutFile, ComesOutOfADraw) {
  const DrawSession draw("UNIT_NO_,c,m\nz,1,3\nz,2,3\nz,3,2\na,4,5\na,5,5\n,6,1\n",
                         Stage("pps_sampford", Strata("unit_no_") + Clusters("c") + Size("2") +
                                                   "<MOS fromData='no'><Variable name='m'/></MOS>") +
                             Out("Weight", "w"),
                         "/CRITERIA SEED=1 /SAMPLEFILE OUTFILE='@/s.csv' /JOINTPROB OUTFILE='@/j.csv'");
  EXPECT_THAT(draw.messages, IsEmpty());
  EXPECT_THAT(draw.files, testing::UnorderedElementsAre("sample 4", "joint 4"));
  const Texts cases = draw.Cases("j.csv");
  ASSERT_EQ(cases.size(), 5U);
  EXPECT_EQ(cases[0], "Unit_No_1_,c,Unit_No_,Joint_Prob_1_,Joint_Prob_2_");
  EXPECT_TRUE(cases[1].starts_with("z,") && cases[2].starts_with("z,")) << cases[1];
  EXPECT_EQ(cases[3], "a,4,1,1,1");
  EXPECT_EQ(cases[4], "a,5,2,1,1");
}
