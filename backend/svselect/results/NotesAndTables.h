#pragma once

class BpHeading;
class SVSInputAdapter;
class SVSSampleFile;
class SVSValidSpecs;

// What a run shows besides its sample and the summary of each stage: the notes at its start, and two tables
// at its end. All of it goes to the output document of the session as data; a renderer lays it out later. The
// wordings are fixed, three dots and abbreviations included.

// The notes: plan, seed in force, treatment of missing values, files or new variables. They are printed
// before the data are read, so they appear also for a run that fails later.
//
// The tables that will follow the last pass are announced by opening and dropping an empty one of each. A
// host with an outline of its output reserves a place that way; this one keeps no table without cells.
void PrintNotes(const SVSValidSpecs& validSpecs, BpHeading& heading);

// A note for each new variable: what it holds and under which name it is added to the active file.
void PrintOutputVariableNotes(const SVSValidSpecs& validSpecs);

// The table of valid and invalid cases of the last pass. It is not a table of cases by stage.
void PrintCaseProcessing(const SVSInputAdapter& adapter, BpHeading& heading);

// The table of older variables that were renamed because a new one took their name. Nothing is printed if
// there is none.
void PrintRenamedVariables(BpHeading& heading, const SVSSampleFile& sampleFile);
