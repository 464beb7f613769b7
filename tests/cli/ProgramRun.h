#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "TestFolder.h"

// A folder of the test's own, gone with it, and command lines run in it by the shell as a user types them.
// $S is the program, $E the folder of the examples.
class ProgramFolder {
public:
  ProgramFolder() {
    std::filesystem::create_directory(fFolder.path / "work");
    setenv("S", SV_PROGRAM, 1);
    setenv("E", SV_EXAMPLES, 1);
    for (const char* locale : {"LC_ALL", "LANG"}) unsetenv(locale);
  }

  struct Result {
    int status;
    std::string out;
    std::string err;
  };
  Result Run(const std::string& commandLine) const {
    const std::string script =
        "cd '" + fFolder.Path("work") + "' && { " + commandLine + "\n} >../out 2>../err";
    const int status = std::system(script.c_str());
    return {WEXITSTATUS(status), fFolder.Text("out"), fFolder.Text("err")};
  }

  std::string Text(const std::string& name) const { return fFolder.Text("work/" + name); }
  // The names of all files, sorted, each on a line.
  std::string Files() const { return Run("ls -A").out; }

private:
  TestFolder fFolder;
};
