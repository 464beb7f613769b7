#pragma once

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

#include "FrameSession.h"
#include "Require.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/model/TableSchema.h"
#include "host/numeric/Obs.h"

// Shared by the fuzz targets that open data files.

// A session that many inputs use in turn: to open one takes longer than to open a small file. It is renewed
// now and then, since an input that is refused halfway leaves tables in the session's database.
class FuzzSession {
public:
  // Call before each input.
  void Next() {
    constexpr int kInputs = 500;
    if (fInputs++ % kInputs != 0) return;
    fpSession.reset();  // one lives at a time
    fpSession = std::make_unique<HostSession>(HostSettings{.threads = 1});
    fpSession->Layer<ErrorSink>().issue = [](const std::string& text, int) { Require(!text.empty()); };
  }

  std::string Path(const char* name) const { return fFolder.path / name; }
  std::string Write(const char* name, std::string_view content) const {
    std::ofstream(Path(name), std::ios::binary) << content;
    return Path(name);
  }

private:
  TestFolder fFolder;
  std::unique_ptr<HostSession> fpSession;
  int fInputs = 0;
};

// Reads all cases of the open frame, and checks what every reader promises: sound variables, numbers that are
// numbers, as many cases as are counted. False when the file can't be read on.
inline bool ReadAllCases() {
  ProcedureDataSource source;
  const std::unique_ptr<KORV_InputCaseIterator> cases(source.MakeInputCaseIterator(0));
  std::vector<const OBS*> numbers;
  for (int i = 0; i < static_cast<int>(source.ColumnCount()); ++i) {
    const KORV_Variable& variable = source.GetVariable(i);
    Require(variable.GetType() >= 0);
    Require(source.FindVarIndex(variable.GetName(), 0) == i);
    const OBS* const cells = cases->BindColumn(i);
    if (variable.GetType() == 0) numbers.push_back(cells);
  }
  std::int64_t count = 0;
  for (; cases->NextCase() != 0; ++count) {
    for (const OBS* const number : numbers)
      Require(number->number >= MCMV::gMissingValue);  // no NaN, no -infinity
  }
  if (ActiveFile::Current().HasFailed()) return false;
  Require(count == ActiveFile::Current().Engine().CountCases());
  return true;
}

// Opens a frame; false when it is refused, which takes a reason.
inline bool Opens(const std::string& path, const std::string& schema = "") {
  FrameOptions options;
  options.path = path;
  options.schema = schema;
  try {
    OpenFrame(HostSession::Current(), options);
  } catch (const DataError& error) {
    Require(*error.what() != '\0');
    return false;
  }
  return true;
}
