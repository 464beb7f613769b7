#pragma once

#include <string>

// Standard output, standard error and signals: what only the program deals with, never the library.

// From now on SIGINT, SIGTERM and SIGHUP ask the run to stop and clean up. A second signal of the same kind
// ends the program at once: each handler is removed when it is called.
// REQUIRES: there is a session, since a new one clears the request.
void CatchInterrupts();

// Prints "svselect: TEXT" on standard error, made printable.
void TellProblem(const std::string& text);

// Number of columns of the terminal behind a file descriptor; kDefaultTextWidth if it isn't a terminal.
int TerminalWidth(int descriptor);

// Prints a line on standard output, folded to the width of the terminal. The lines that follow the first are
// indented four columns more than it is.
void PrintFolded(const std::string& line);

// Flushes standard output; to be called once, after the last output. False, after a problem on standard
// error, if something couldn't be written. A reader that has closed the pipe, such as `head`, isn't a
// failure.
bool FinishOutput();
