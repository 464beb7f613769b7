#pragma once

#include <string>

// Files that are read as they are, and the tests that a name must pass first.

// Whether a name is taken: by a file, a folder or anything else. A link that leads nowhere isn't a file.
// Errors: DataError if that can't be told: a file that is left out by mistake can change how another is read.
bool FileExists(const std::string& path);

// The file to read for a name that a user gives, which may leave out the extension of a native file: a name
// without an extension is that file if it exists, else the one with .sav.
std::string PathToRead(const std::string& path);

// Checks that a path leads to a regular file that we may read. Nothing is opened: opening a pipe would wait.
// Errors: DataError that names the path and what is there instead.
void CheckReadableFile(const std::string& path);

// Reads a file as a whole. False, with the system's reason in `why`, when it can't be read; `text` then has
// what could be read.
bool ReadWholeFile(const std::string& path, std::string* text, std::string* why);
