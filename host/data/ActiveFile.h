#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/data/AddedValues.h"
#include "host/data/CaseEngine.h"
#include "host/data/DataError.h"
#include "host/data/Dictionary.h"

// What the user says of the frame of a session.
struct FrameOptions {
  std::string path{};                // the data file; empty with a query
  std::string sql{};                 // a query in place of a file
  std::vector<std::string> sort{};   // variables to order the cases by; ties keep the order that was
  std::string schema{};              // a Table Schema file in place of the one beside the data
  std::string weight{};              // variable that weights the cases; empty for none
  std::vector<std::string> split{};  // variables whose changes split the cases into groups
};

// Opens the frame of the session: from then on ProcedureDataSource attaches to it, and the weight and split
// words of the common global block say what was asked for.
// Errors: DataError, when the session is left without a frame.
void OpenFrame(const FrameOptions& options);

// ActiveFile is the open frame of a session: its dictionary, what serves its cases, and the variables that
// were added to it. A session layer; nothing is open at first.
class ActiveFile {
public:
  static ActiveFile& Current();

  bool IsOpen() const { return fpEngine != nullptr; }
  // REQUIRES for all that follows: IsOpen().

  // How messages name the frame: the path as the user wrote it, or "query".
  const std::string& Name() const { return fName; }
  const std::shared_ptr<Dictionary>& SharedDictionary() const { return fpDictionary; }
  CaseEngine& Engine() { return *fpEngine; }

  // Columns that the engine serves. The variables behind them in the dictionary were added.
  int ServedColumns() const { return fServedColumns; }
  // The values of an added variable, by its place in the dictionary.
  AddedValues& Added(int column);

  // Columns that split the cases into groups, in the order of the user.
  const std::vector<int>& SplitColumns() const { return fvSplit; }

  // Notes that an output copies the variable of that name: the iterators to come read it from their start.
  void NoteCopied(const std::string& name);
  // Served columns that an output copies, ascending.
  const std::vector<int>& CopiedColumns() const { return fvCopied; }

  // From SetLastPass() on, values that an iterator sets are kept.
  void SetLastPass() { fbLastPass = true; }
  bool IsLastPass() const { return fbLastPass; }

  // A reading failure is told once, through the host's messages; from then on the file can't go on.
  void Fail(const std::string& message);
  bool HasFailed() const { return fbFailed; }

private:
  friend void OpenFrame(const FrameOptions& options);

  std::string fName;
  std::shared_ptr<Dictionary> fpDictionary;
  std::unique_ptr<CaseEngine> fpEngine;
  int fServedColumns = 0;
  std::vector<AddedValues> fvAdded;  // of the variables from fServedColumns on
  std::vector<int> fvSplit;
  std::vector<int> fvCopied;
  bool fbLastPass = false;
  bool fbFailed = false;
};
