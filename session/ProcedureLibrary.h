#pragma once

#include <string>

// The selection procedure is a library of its own, loaded when a run needs it. It exports one function,
// SVSELECT, which gets everything from the current session of the host and returns nothing.

// The entry: no arguments, no result.
using ProcedureEntry = void (*)();

// Loads libsvselect.so from the folder of the host's library. Null on failure, with the loader's reason in
// `why`. The library stays loaded: a second call returns the same function.
ProcedureEntry LoadProcedure(std::string* why);

// Calls the procedure. Returns what went wrong if it threw an exception, else an empty text; errors that the
// procedure noticed itself are messages of the session.
std::string CallProcedure(ProcedureEntry entry);

// Loads the procedure and calls it. Returns what went wrong, as CallProcedure() does.
std::string RunProcedure();

// Describes the exception that is being handled: "out of memory", the text of a standard exception, or the
// type of any other.
// REQUIRES: called in a catch block.
std::string CaughtException();
