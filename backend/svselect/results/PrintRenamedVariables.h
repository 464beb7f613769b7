#pragma once

class BpHeading;
class SVSSampleFile;

// The table of the variables that had to give up their names; none when there is no such variable.
void PrintRenamedVariables(BpHeading& heading, const SVSSampleFile& sampleFile);
