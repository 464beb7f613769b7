#pragma once

#include <string>

// The session's command as it would have to be given to repeat the run: with SEED=`seed` where it names no
// seed, or RANDOM. A command that names its seed is returned as it is; into any other the seed is put, and
// its blanks and line breaks are set anew. REQUIRES: the command has been read without a fault.
struct SeededCommand {
  std::string text;
  bool isChanged = false;
};
SeededCommand CommandWithSeed(const std::string& seed);

// The path of the sample file that the session's command names; empty if it names none. As the command may
// still be faulty, only its tokens are looked at, and nothing is reported.
std::string CommandedSample();
