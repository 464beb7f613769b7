#pragma once

#include <string>

// What the program says to the person at the terminal, beyond the output of the procedure.

// Ctrl-C, and the end of the terminal, ask for an end in good order; a second one ends the program at once.
// REQUIRES: a session, since a new one starts without a request.
void CatchInterrupts();

// One line on standard error: "svselect: ...".
void TellProblem(const std::string& text);

// Columns of the terminal that a file descriptor is; a usual width when it is none.
int TerminalWidth(int descriptor);

// A line of text on standard output, folded to the terminal's width: what goes over stands further in on
// lines of its own.
void PrintFolded(const std::string& line);

// Brings standard output to its end. False, after a line on standard error, when it couldn't be written; a
// reader that has seen enough is no failure.
bool FinishOutput();
