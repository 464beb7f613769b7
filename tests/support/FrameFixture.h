#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

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

  std::string Path(const std::string& name) const { return fFolder.Path() + '/' + name; }
  std::string Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(Path(name), std::ios::binary) << bytes;
    return Path(name);
  }
  void OpenFrame(const FrameOptions& options) { ::OpenFrame(fSession, options); }
  // Runs SQL in which $ is the folder.
  void Sql(std::string sql) {
    for (std::size_t at = sql.find('$'); at != std::string::npos; at = sql.find('$'))
      sql.replace(at, 1, fFolder.Path());
    fSession.Layer<WorkDatabase>().Connect().Run(sql);
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
  std::string WithoutFolder(std::string text) const {
    const std::string folder = fFolder.Path() + '/';
    for (std::size_t at = text.find(folder); at != std::string::npos; at = text.find(folder))
      text.erase(at, folder.size());
    return text;
  }

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
  static std::string Show(const CaseValue& value) {
    if (value.fWidth > 0)
      return std::string(TrimRight({value.fpObs->text, static_cast<std::size_t>(value.fWidth)}));
    return value.fpObs->number == MCMV::gMissingValue ? "." : NumberText(value.fpObs->number);
  }
  // The cases that follow: "1|ab;2|cd", with a slash where a split group ends and ~ behind what is missing.
  static std::string ShowCases(KORV_InputCaseIterator* iterator) {
    std::vector<CaseValue> values;
    for (unsigned i = 0; i < iterator->GetDataSource().ColumnCount(); ++i)
      values.emplace_back(iterator, static_cast<int>(i));
    std::string shown;
    while (iterator->NextCase() != 0) {
      if (static_cast<ProcDSIterator*>(iterator)->SplitGroupEnd()) {
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
  static std::string ShowCases() {
    ProcedureDataSource source;
    const std::unique_ptr<KORV_InputCaseIterator> iterator(source.MakeInputCaseIterator(0));
    return ShowCases(iterator.get());
  }

  HostSession fSession;
  TemporaryFolder fFolder;
  std::string fMessages;
};
