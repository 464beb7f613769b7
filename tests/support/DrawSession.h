#pragma once

#include <fmt/format.h>

#include <vector>

#include "FrameSession.h"
#include "PlanText.h"
#include "ShowCase.h"
#include "backend/svselect/run/SVSELECT.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/HostErrors.h"
#include "host/files/SessionFiles.h"
#include "host/model/KORV_DataSource.h"
#include "host/output/OutputTable.h"

using Texts = std::vector<std::string>;

// Pieces of a plan.
inline std::string Strata(const std::string& name) {
  return StrataOf(Var(name));
}
inline std::string Clusters(const std::string& name) {
  return ClustersOf(Var(name));
}

// The names of the variables and the cases of the open frame, each a line; a missing number is a full stop.
inline Texts AllCases() {
  ProcedureDataSource source;
  Texts lines(1);
  for (unsigned i = 0; i < source.ColumnCount(); ++i)
    lines[0] += (i > 0 ? "," : "") + source.GetVariable(static_cast<int>(i)).GetName();
  const std::unique_ptr<KORV_InputCaseIterator> cases(source.MakeInputCaseIterator(0));
  const std::vector<CaseValue> columns = AllColumns(cases.get());
  while (cases->NextCase() != 0) {
    Texts cells;
    for (const CaseValue& column : columns) cells.push_back(Show(column));
    lines.push_back(fmt::format("{}", fmt::join(cells, ",")));
  }
  return lines;
}

// A draw from a small frame by stages in XML, or a plan in JSON, in a folder of its own, from the text of the command to all that it leaves. In
// the texts of plan and command and in what comes back, "@" is that folder.
class DrawSession {
public:
  DrawSession(const std::string& csv, const std::string& stages, const std::string& command,
              const std::string& schema = "", const CaseWalk& walk = {}) {
    fFolder.Write("frame.csv", csv);
    if (!schema.empty()) fFolder.Write("frame.schema.json", schema);
    fFolder.Write("plan.xml", stages.starts_with('{') ? stages : Design(stages));
    FrameSession session(FrameSession::ExistingFile{fFolder.path / "frame.csv"});
    session.Walk() = walk;
    HostSession::Current().Layer<SessionCommand>().SetCommand(
        Replace("SVSELECT /PLAN FILE='@/plan.xml' " + command, "@", fFolder.path));
    SVSELECT();
    isCommitted = pvGetCmnGlb()->errorFlag == 0 && CommitFiles();
    active = AllCases();
    dictionary = session.Source().GetDictionary();
    for (const OutputFile& file : SessionFiles::Current().CommittedFiles())
      files.push_back(std::string(RoleName(file.role)) + " " + std::to_string(file.cases));
    for (const OutputMessage& m : OutputDocument::Current().Messages())
      messages.push_back((m.level == kErrorLevel ? "error: " : "warning: ") + Shown(m.text));
    for (const std::string& remark : OutputDocument::Current().Remarks()) remarks.push_back(Shown(remark));
    for (const OutputNote& n : OutputDocument::Current().Notes())
      notes.push_back(std::to_string(n.group) + " " + n.label + ": " + Shown(n.text));
    for (const auto& table : OutputDocument::Current().Tables()) AddTable(*table);
  }

  // A data file that the draw has left: its cases, and its dictionary.
  Texts Cases(const std::string& name) const {
    const FrameSession session(FrameSession::ExistingFile{fFolder.path / name});
    return AllCases();
  }
  Dictionary DictionaryOf(const std::string& name) const {
    FrameSession session(FrameSession::ExistingFile{fFolder.path / name});
    return session.Source().GetDictionary();
  }
  std::string TextOf(const std::string& name) const { return fFolder.Text(name); }
  bool Exists(const std::string& name) const { return std::filesystem::exists(fFolder.path / name); }
  std::string Shown(const std::string& text) const { return Replace(text, fFolder.path, "@"); }

  Texts active;           // the active file after the draw
  Dictionary dictionary;  // of the active file
  Texts messages;
  Texts remarks;
  Texts notes;
  Texts tables;  // "title (kind) caption", each followed by its cells: "dimension=path dimension=path: text"
  Texts files;   // role and cases
  bool isCommitted = false;

private:
  void AddTable(const OutputTable& table) {
    tables.push_back(table.Title() + " (" + table.Kind() + ") " + Shown(table.Caption()));
    for (const std::string& note : table.Notes()) tables.push_back("note " + note);
    for (const OutputTable::Cell& cell : table.Cells()) {
      std::string line;
      for (std::size_t d = 0; d < cell.at.size(); ++d) {
        line += (line.empty() ? "" : "; ") + table.Dimensions()[d].label;
        for (const int node : table.Path(cell.at[d])) line += "/" + table.NodeAt(node).text;
      }
      tables.push_back(line + ": " + cell.text);
    }
  }

  TestFolder fFolder;
};
