#pragma once

class UserCaseFileSpec;

// Writes the living session's active file with the variables that were added to it: dictionary, documents and
// all cases in their order. The new file takes its place when the session commits its files.
//
// Cost: one pass over the cases, in which all columns are read.
//
// It goes the same way as a procedure does: one more pass through ProcedureDataSource, and a store opened by
// UserOutputCaseFile. So a saved frame has exactly what a procedure would see.
//
// False after an error of the host, or in silence after a stop request; nothing is then left of the file, and
// the run is broken.
//
// REQUIRES: a frame is open; the specification is initialised and valid.
bool SaveActiveFile(const UserCaseFileSpec& spec);
