#pragma once

class BpHeading;
class SVSValidSpecs;

// The notes of the procedure: plan, seed, treatment of missing values, outputs. The tables that come after
// the data pass are announced by empty ones.
void PrintNotes(const SVSValidSpecs& validSpecs, BpHeading& heading);

// Under which names the output variables land in the active file.
void PrintOutputVariableNotes(const SVSValidSpecs& validSpecs);
