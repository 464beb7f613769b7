#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "TestFolder.h"
#include "host/engine/ActiveFile.h"
#include "host/engine/ProcDSIterator.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/environment/HostSession.h"
#include "host/output/OutputDocument.h"
#include "host/read/OpenFrame.h"

// A session over a small frame: a text file written into a folder of its own, which goes with it.
class FrameSession {
public:
  // `schema` is the text of a Table Schema, empty for none.
  explicit FrameSession(const std::string& csv, const std::string& schema = "",
                        const std::vector<std::string>& split = {}) {
    if (!schema.empty()) fFolder.Write("frame.schema.json", schema);
    Open(fFolder.Write("frame.csv", csv), split);
  }
  struct ExistingFile {
    std::filesystem::path path;
  };
  explicit FrameSession(const ExistingFile& file) { Open(file.path, {}); }

  ProcedureDataSource& Source() { return *fpSource; }
  // Of iterators that are made later.
  CaseWalk& Walk() { return fSession.Layer<CaseWalk>(); }
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
