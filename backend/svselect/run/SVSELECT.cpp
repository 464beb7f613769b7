#include "backend/svselect/run/SVSELECT.h"

#include <memory>
#include <string>

#include "backend/svcommon/PlanGaps.h"
#include "backend/svcommon/adapters/SVMessages.h"
#include "backend/svselect/command/SVSParser.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/results/DesignPreview.h"
#include "backend/svselect/results/NotesAndTables.h"
#include "backend/svselect/results/SVSSampleFile.h"
#include "backend/svselect/results/SVSStrataTable.h"
#include "backend/svselect/results/SVSSummaryTable.h"
#include "backend/svselect/run/SVSProcedure.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/HostSession.h"
#include "host/output/BpProcedure.h"

// The order of a run.
//
//   1. Parse the command, read the plan, tie its names to the dictionary.        SVSParser
//   2. Lay out the numeric record and build the settings of the computation.     SVSValidSpecs::Validate()
//   3. Print the notes; announce the variables that the run may add.
//   4. Make the record layer, which reads ahead to the first valid case.         SVSProcedure
//   5. Draw the selected stages. Each stage's summary table and, for the first
//      stage, the joint probability file are written while it is drawn.          SVSProcedure::Run()
//   6. Write the sample; the selection rule file is written in the same pass.    SVSSampleFile
//   7. Print the tables of renamed variables and of cases.
//   8. Show the statuses that the computation collected, as messages.            SVSProcedure::Report()
//   9. Restore the host's split and weight settings.
//
// Errors. Many layers can issue an error message, and each message raises the host's error flag. The flag,
// not a return value, finally stops a run. It is tested at fixed places only: after step 1, after step 2,
// after step 4 and after step 5. There are two reasons. A step relies on what the steps before it have built,
// and a test in the middle would leave the objects of this file half made. And where the flag is tested
// decides which messages a user sees together: without a frame, step 3 reports that there are no cases and
// step 4 reports it again, since the run goes on in between; a run with an error in step 5 shows no statuses,
// since step 8 is skipped. Those sequences are part of the behaviour, so don't add tests of the flag.
//
// The specifications point into the parser. It is destroyed before them, but after the run, when nothing
// reads them any more.

namespace {

constexpr int kProcedureCode = 4;  // the procedure's number among those of the host; nothing reads it

// The host's common blocks are fetched when the library is attached. A procedure has to ask for all of them,
// though only the global block is read here; the results of the other calls are thrown away.
CommonGlobalBlock* gpGlobalBlock = nullptr;

__attribute__((constructor)) void Attach() {
  gpGlobalBlock = pvGetCmnGlb();
  pvGetCmnSys();
  for (auto* fetch :
       {pvGetCmnBpr, pvGetCmaDic, pvGetCmaGlb, pvGetCmaMch, pvGetCmaObv, pvGetCmaSym, pvGetCmaSys,
        pvGetCmnDic, pvGetCmnDmo, pvGetCmnInc, pvGetCmnIo,  pvGetCmnLoc, pvGetCmnMch, pvGetCmnMcs,
        pvGetCmnObv, pvGetCmnStk, pvGetCmnSym, pvGetCmnWrk, pvGetCmnDtm, pvGetCmnBox}) {
    fetch();
  }
}

bool ErrorRaised() {
  return gpGlobalBlock->errorFlag != 0;
}

// The active file's case weight and split, which the parser switches off for the run.
struct HostWords {
  int weightVariable;
  int splitCount;
};

// The parser can return true although it has shown an error, so the flag is tested as well.
bool ParseAndValidate(SVSParser& parser, SVSValidSpecs& specs) {
  if (!parser.Parse() || ErrorRaised()) return false;
  specs.Validate();
  return specs.CompSettings() != nullptr && !ErrorRaised();
}

// A file without columns is an error, but the run goes on to the next test of the flag.
void AnnounceNewVariables(const SVSValidSpecs& specs, ProcedureDataSource& dataSource) {
  if (dataSource.ColumnCount() == 0) {
    SVMessages(&dataSource).NoCasesForSelection();
  } else {
    dataSource.SetMaxObsAdded(specs.MaxObsAdded());
  }
}

// GetOutputStats() is called for its effect: only then does Report() show the collected statuses. A sample
// file that can't be opened therefore hides the warnings of the draw.
void WriteSample(SVSValidSpecs& specs, ProcedureDataSource& dataSource, SVSProcedure& procedure,
                 BpProcedure& heading) {
  SVSSampleFile sampleFile(&specs, &dataSource, procedure.GetInputAdapter());
  if (sampleFile.fState != SVSSampleFile::kFailed) {
    procedure.GetOutputStats();
    sampleFile.Write(*procedure.GetComponent(), *procedure.GetMultiPassIter());
  }
  if (sampleFile.fState == SVSSampleFile::kFailed) return;
  if (specs.RenameVars()) PrintRenamedVariables(heading, sampleFile);
  if (specs.PrintCPS()) PrintCaseProcessing(*procedure.GetInputAdapter(), heading);
}

// The same as far as nothing is drawn or written, for specifications that only ask for a check, or for a
// preview. Findings
// become remarks. What a draw would end with is an error, also where the draw has no message for it.
void CheckSpecifications(SVSValidSpecs& specs, ProcedureDataSource& dataSource) {
  SVSProcedure procedure(&specs, &dataSource);
  if (ErrorRaised()) return procedure.RemarkOnRefused();
  const bool isGood =
      GETPREVIEW() ? procedure.Preview(&HostSession::Current().Layer<DesignPreview>()) : procedure.Run();
  if (isGood || ErrorRaised()) return;
  procedure.Report();
  if (!ErrorRaised())
    BpError(BpString(std::string("Nothing can be drawn: ") + kUnusableRequest, true), kShowInMessage,
            kErrorLevel);
}

// Steps 3 to 8.
void RunSpecifications(SVSValidSpecs& specs, ProcedureDataSource& dataSource, BpProcedure& heading) {
  PrintNotes(specs, heading);
  AnnounceNewVariables(specs, dataSource);
  SVSProcedure procedure(&specs, &dataSource);
  const auto summary =
      std::make_unique<SVSSummaryTable>(&specs, procedure.GetInputAdapter(), &heading, &dataSource);
  SVSStrataTable strata(&specs, procedure.GetInputAdapter(), &dataSource, summary.get());
  procedure.SetSummary(&strata);
  if (ErrorRaised()) return procedure.RemarkOnRefused();
  const bool isGood = procedure.Run();
  if (ErrorRaised()) return;
  if (isGood) strata.Close();
  if (isGood) WriteSample(specs, dataSource, procedure, heading);
  procedure.Report();
}

}  // namespace

void SVSELECT() {
  const HostWords kept = {gpGlobalBlock->weightVariable, gpGlobalBlock->splitCount};
  {
    BpProcedure heading("SVSelect", kProcedureCode);
    const KORV_TokenSequence tokens(true);
    ProcedureDataSource dataSource;
    SVSValidSpecs specs;
    SVSParser parser(tokens, &specs, &dataSource);
    if (ParseAndValidate(parser, specs)) {
      if (specs.CheckOnly()) {
        CheckSpecifications(specs, dataSource);
      } else {
        RunSpecifications(specs, dataSource, heading);
      }
    }
    gpGlobalBlock->splitCount = kept.splitCount;
    gpGlobalBlock->weightVariable = kept.weightVariable;
  }
}
