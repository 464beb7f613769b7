#include "backend/svselect/run/SVSELECT.h"

#include <memory>

#include "backend/svcommon/adapters/SVMessages.h"
#include "backend/svselect/command/SVSParser.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/results/PrintTables.h"
#include "backend/svselect/results/SVSSampleFile.h"
#include "backend/svselect/results/SVSSummaryTable.h"
#include "backend/svselect/run/SVSProcedure.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/environment/CommonBlocks.h"
#include "host/output/BpProcedure.h"

namespace {

constexpr int kProcedureCode = 4;

// The host's blocks, fetched when the library is attached. Of these only the global block is read here.
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

// The case weight and split words of the active file, which a run sets aside.
struct HostWords {
  int weightVariable;
  int splitCount;
};

bool ParseAndValidate(SVSParser& parser, SVSValidSpecs& specs) {
  if (!parser.Parse() || ErrorRaised()) return false;
  specs.Validate();
  return specs.CompSettings() != nullptr && !ErrorRaised();
}

void AnnounceNewVariables(const SVSValidSpecs& specs, ProcedureDataSource& dataSource) {
  if (dataSource.ColumnCount() == 0) {
    SVMessages(&dataSource).NoCasesForSelection();
  } else {
    dataSource.SetMaxObsAdded(specs.MaxObsAdded());
  }
}

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

// From the validated specifications to the report. The error flag is tested at fixed places only: a step
// relies on what the steps before it have built.
void RunSpecifications(SVSValidSpecs& specs, ProcedureDataSource& dataSource, BpProcedure& heading) {
  PrintNotes(specs, heading);
  AnnounceNewVariables(specs, dataSource);
  SVSProcedure procedure(&specs, &dataSource);
  const auto summary =
      std::make_unique<SVSSummaryTable>(&specs, procedure.GetInputAdapter(), &heading, &dataSource);
  procedure.SetSummary(summary.get());
  if (ErrorRaised()) return;
  const bool isGood = procedure.Run();
  if (ErrorRaised()) return;
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
    if (ParseAndValidate(parser, specs)) RunSpecifications(specs, dataSource, heading);
    gpGlobalBlock->splitCount = kept.splitCount;
    gpGlobalBlock->weightVariable = kept.weightVariable;
  }
}
