#pragma once

class BpHeading;
class SVSValidSpecs;

// The notes of the procedure: plan, seed, treatment of missing values, outputs. The tables that come after
// the data pass are announced by empty ones.
void PrintNotes(const SVSValidSpecs& validSpecs, BpHeading& heading);

// Under which names the output variables land in the active file.
void PrintOutputVariableNotes(const SVSValidSpecs& validSpecs);

class SVSInputAdapter;

// The table of the cases that were valid and invalid in the last pass.
void PrintCaseProcessing(const SVSInputAdapter& adapter, BpHeading& heading);

class SVSSampleFile;

// The table of the variables that had to give up their names; none when there is no such variable.
void PrintRenamedVariables(BpHeading& heading, const SVSSampleFile& sampleFile);
