#pragma once

class BpHeading;
class SVSProcedure;

// The table of the cases that were valid and invalid in the last pass.
void PrintCaseProcessing(const SVSProcedure& procedure, BpHeading& heading);
