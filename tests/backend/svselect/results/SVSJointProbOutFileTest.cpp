#include "backend/svselect/results/SVSJointProbOutFile.h"

#include <gmock/gmock.h>

#include "../DrawSession.h"
#include "backend/svcommon/adapters/SVMessages.h"
#include "backend/svcommon/adapters/SVProcDSMultiIter.h"
#include "backend/svselect/records/SVSInputAdapter.h"

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

TEST(SVSJointProbOutFile, KeepsToTheOrderOfCalls) {
  struct Case {
    const char* calls;  // Open, Stratum of one unit, Row, Close
    Texts states;
  };
}
