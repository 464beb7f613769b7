#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "host/engine/ActiveFile.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/environment/HostSession.h"
#include "host/output/OutputDocument.h"
#include "host/read/OpenFrame.h"

// A folder of the test's own, gone with it.
struct TestFolder {
  TestFolder() {
    std::string name = std::filesystem::temp_directory_path() / "svselect-test-XXXXXX";
    path = mkdtemp(name.data());
  }
  ~TestFolder() { std::filesystem::remove_all(path); }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;
  std::filesystem::path path;
};

// A session over a small frame: a text file written into a folder of its own, which goes with it.
class FrameSession {
public:
  // `schema` is the text of a Table Schema, empty for none.
  explicit FrameSession(const std::string& csv, const std::string& schema = "",
                        const std::vector<std::string>& split = {}) {
    std::ofstream(fFolder.path / "frame.csv") << csv;
    if (!schema.empty()) std::ofstream(fFolder.path / "frame.schema.json") << schema;
    Open(fFolder.path / "frame.csv", split);
  }
  struct ExistingFile {
    std::filesystem::path path;
  };
  explicit FrameSession(const ExistingFile& file) { Open(file.path, {}); }

  ProcedureDataSource& Source() { return *fpSource; }
  std::int32_t Find(const std::string& name) const { return fpSource->FindVarIndex(name, 0); }

  std::vector<std::string> Messages() const {
    std::vector<std::string> texts;
    for (const OutputMessage& message : OutputDocument::Current().Messages()) texts.push_back(message.text);
    return texts;
  }

private:
  void Open(const std::filesystem::path& path, const std::vector<std::string>& split) {
    OutputDocument::Current();
    FrameOptions options;
    options.path = path;
    options.split = split;
    OpenFrame(fSession, options);
    fpSource = std::make_unique<ProcedureDataSource>();
  }

  TestFolder fFolder;
  HostSession fSession;
  std::unique_ptr<ProcedureDataSource> fpSource;
};
