#pragma once

#include <string>

// Whether a name is taken: by a file, a folder or anything else.
bool FileExists(const std::string& path);

// The file that a name stands for when it is read: a name without an extension is the file itself if that
// exists, else the one with .sav.
std::string PathToRead(const std::string& path);

// Checks that a path names a regular file that may be read, and tells what is wrong if it doesn't.
// Errors: DataError.
void CheckReadableFile(const std::string& path);

// Reads a file as a whole. False, with the reason in `why`, when it can't be read.
bool ReadWholeFile(const std::string& path, std::string* text, std::string* why);
