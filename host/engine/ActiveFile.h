#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/engine/CaseEngine.h"
#include "host/model/Dictionary.h"

class CaseProgress;
class HostSession;
class SessionFiles;

// AddedValues holds the values of one variable that was added to the active file. They are kept beside the
// file's own cases, by row. A row that was never set has the system-missing value.
//
// Cost:       8 bytes a case, in pieces of 256 cases that are made where a value is set. A small sample
//             from a large frame touches few of them; the others cost a pointer each.
class AddedValues {
public:
  double Get(std::int64_t row) const;
  void Set(std::int64_t row, double value);

private:
  static constexpr std::int64_t kPiece = 256;  // cases
  using Piece = std::array<double, kPiece>;

  std::vector<std::unique_ptr<Piece>> fvPieces;  // null where no value was set
};

// ActiveFile is the open frame of a session: its dictionary, the engine that serves its cases, and what a
// procedure adds to it.
//
// Use:        a layer of HostSession; nothing is open at first. OpenFrame() opens it, ProcedureDataSource and
//             its iterators read and extend it.
// Ownership:  owns the engine; shares the dictionary with the sources that attach to it. Borrows the
//             session's files and progress.
// Threads:    that of the session.
// Failures:   Fail() keeps what went wrong while the cases were read; the walk then ends like at the last
//             case, and HasFailed() tells the two apart.
class ActiveFile {
public:
  // Makes the layers that it depends on first: the files and the progress.
  explicit ActiveFile(HostSession& session);

  // Of the living session: for what the procedure constructs without arguments.
  static ActiveFile& Current();

  // Makes this frame the open one; everything about the one before is forgotten. `split` are columns of the
  // dictionary.
  void Open(DataFrame frame, std::vector<int> split);
  void Close() { fOpen = OpenFile(); }

  bool IsOpen() const { return fOpen.frame.engine != nullptr; }
  // REQUIRES for all that follows, but for Fail() and HasFailed(): IsOpen().

  const std::string& Name() const { return fOpen.frame.name; }
  // One line for the user about how the file was read; mostly empty.
  const std::string& Remark() const { return fOpen.frame.remark; }
  const std::shared_ptr<Dictionary>& SharedDictionary() const { return fOpen.dictionary; }
  CaseEngine& Engine() { return *fOpen.frame.engine; }

  // Columns that the engine serves: the first ones of the dictionary. The others were added.
  int ServedColumns() const { return fOpen.servedColumns; }
  // The values of an added variable, by its place in the dictionary.
  AddedValues& Added(int column);

  // Columns that split the cases into groups, in the order of the user.
  const std::vector<int>& SplitColumns() const { return fOpen.split; }

  // Notes that an output copies the variable of that name, so that iterators made later read it from the
  // first case on. Without an open file, or such a variable, nothing is noted.
  void NoteCopied(const std::string& name);
  // Served columns that an output copies, ascending.
  const std::vector<int>& CopiedColumns() const { return fOpen.copied; }

  // From SetLastPass() on, values that an iterator sets are kept.
  void SetLastPass();
  bool IsLastPass() const { return fOpen.isLastPass; }

  // How far the walks over the cases have come.
  CaseProgress& Progress() const { return fProgress; }

  // A failure to read the cases. The first one is reported as an error of the host.
  void Fail(const std::string& message);
  bool HasFailed() const { return fOpen.hasFailed; }

private:
  // All that belongs to one opened frame.
  struct OpenFile {
    DataFrame frame;  // its dictionary has moved to `dictionary`
    std::shared_ptr<Dictionary> dictionary;
    int servedColumns = 0;
    std::vector<AddedValues> added;  // of the variables from servedColumns on
    std::vector<int> split;
    std::vector<int> copied;
    bool isLastPass = false;
    bool hasFailed = false;
  };

  const SessionFiles& fFiles;
  CaseProgress& fProgress;
  OpenFile fOpen;
};
