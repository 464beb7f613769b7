#pragma once

class UserCaseFileSpec;

// Writes the active file with the variables that were added to it: dictionary, documents and all cases in
// their order. It takes its place when the session commits its files. False after an error of the host, or a
// stop request; nothing is then left of the file.
// REQUIRES: a frame is open; the specification is valid.
bool SaveActiveFile(const UserCaseFileSpec& spec);
