#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

// A folder of the test's own, gone with it, and command lines run in it by the shell as a user types them.
// $S is the program, $E the folder of the examples.
class ProgramFolder {
public:
  ProgramFolder() {
    std::string name = std::filesystem::temp_directory_path() / "svselect-program-XXXXXX";
    fPath = std::filesystem::path(mkdtemp(name.data())) / "work";
    std::filesystem::create_directory(fPath);
    setenv("S", SV_PROGRAM, 1);
    setenv("E", SV_EXAMPLES, 1);
    for (const char* locale : {"LC_ALL", "LANG"}) unsetenv(locale);
  }
  ~ProgramFolder() { std::filesystem::remove_all(fPath.parent_path()); }
  ProgramFolder(const ProgramFolder&) = delete;
  ProgramFolder& operator=(const ProgramFolder&) = delete;

  struct Result {
    int status;
    std::string out;
    std::string err;
  };
  Result Run(const std::string& commandLine) const {
    const std::string script = "cd '" + fPath.string() + "' && { " + commandLine + "\n} >../out 2>../err";
    const int status = std::system(script.c_str());
    return {WEXITSTATUS(status), Text("../out"), Text("../err")};
  }

  std::string Text(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(fPath / name, std::ios::binary).rdbuf();
    return text.str();
  }
  // The names of all files, sorted, each on a line.
  std::string Files() const { return Run("ls -A").out; }

private:
  std::filesystem::path fPath;
};
