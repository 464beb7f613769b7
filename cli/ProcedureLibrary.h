#pragma once

#include <string>

// The procedure's entry, as the library exports it.
using ProcedureEntry = void (*)();

// Loads libsvselect.so from the folder of the host's library and gives SVSELECT; null on failure, with the
// reason in `why`. The library stays loaded.
ProcedureEntry LoadProcedure(std::string* why);
