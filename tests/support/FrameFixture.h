#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "PlanText.h"
#include "ShowCase.h"
#include "host/engine/ActiveFile.h"
#include "host/engine/DuckDb.h"
#include "host/engine/ProcDSIterator.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/engine/WorkDatabase.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/model/CaseValue.h"
#include "host/model/Values.h"
#include "host/numeric/Obs.h"
#include "host/read/OpenFrame.h"

// A session with a folder of its own for files, and the messages of the host that it issues.
class FrameFixture : public ::testing::Test {
protected:
  FrameFixture() {
    HostSession::Current().Layer<ErrorSink>().issue = [this](const std::string& text, int) {
      fMessages += text + '\n';
    };
  }

  std::string Path(const std::string& name) const { return fFolder.Path(name); }
  std::string Write(const std::string& name, const std::string& bytes) const {
    return fFolder.Write(name, bytes);
  }
  void OpenFrame(const FrameOptions& options) { ::OpenFrame(fSession, options); }
  // Runs SQL in which $ is the folder.
  void Sql(const std::string& sql) {
    fSession.Layer<WorkDatabase>().Connect().Run(Replace(sql, "$", fFolder.path));
  }
  // What opening says when it fails; the folder is left out.
  std::string ErrorOf(const FrameOptions& options) {
    try {
      OpenFrame(options);
    } catch (const DataError& error) {
      return WithoutFolder(error.what());
    }
    return "opened";
  }
  std::string WithoutFolder(const std::string& text) const { return Replace(text, fFolder.Path(""), ""); }

  // "id F8.0 BIGINT, name A3 VARCHAR"; a string whose format is of another width shows both: "name A3:5
  // VARCHAR".
  static std::string ShowDictionary() {
    std::string shown;
    for (const KORV_Variable& v : ActiveFile::Current().SharedDictionary()->variables) {
      std::string format = fmt::format("F{}.{}", v.GetFormat().width, v.GetFormat().decimals);
      if (v.GetType() > 0) {
        const bool isAsWide = v.GetFormat().width == v.GetType() || v.GetType() > 0xFFFF;
        format = fmt::format("A{}{}", v.GetType(), isAsWide ? "" : fmt::format(":{}", v.GetFormat().width));
      }
      shown += fmt::format("{}{} {} {}", shown.empty() ? "" : ", ", v.GetName(), format, v.ColumnType());
    }
    return shown;
  }
  // All cases: "1|ab;2|cd", with a slash where a split group ends and ~ behind what is missing.
  static std::string ShowCases() {
    ProcedureDataSource source;
    const std::unique_ptr<KORV_InputCaseIterator> iterator(source.MakeInputCaseIterator(0));
    const std::vector<CaseValue> values = AllColumns(iterator.get());
    std::string shown;
    while (iterator->NextCase() != 0) {
      if (static_cast<ProcDSIterator*>(iterator.get())->SplitGroupEnd()) {
        shown += '/';
        continue;
      }
      std::string row;
      for (const CaseValue& value : values)
        row += (row.empty() ? "" : "|") + Show(value) + (value.IsMissing() ? "~" : "");
      shown += (shown.empty() || shown.back() == '/' ? "" : ";") + row;
    }
    return shown;
  }

  HostSession fSession;
  TestFolder fFolder;
  std::string fMessages;
};
