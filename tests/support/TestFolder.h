#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

// A folder of the test's own, gone with it.
struct TestFolder {
  TestFolder() {
    std::string name = std::filesystem::temp_directory_path() / "svselect-test-XXXXXX";
    path = mkdtemp(name.data());
  }
  ~TestFolder() { std::filesystem::remove_all(path); }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  std::string Path(const std::string& name) const { return path / name; }
  // Writes a file and returns its path.
  std::string Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(path / name, std::ios::binary) << bytes;
    return Path(name);
  }
  // The bytes of a file; empty if it doesn't exist.
  std::string Text(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(path / name, std::ios::binary).rdbuf();
    return text.str();
  }
  // The sorted names of all files, so that litter is seen: "a.csv b.csv".
  std::string Names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path)) names.insert(entry.path().filename());
    std::string all;
    for (const std::string& name : names) all += (all.empty() ? "" : " ") + name;
    return all;
  }

  std::filesystem::path path;
};
