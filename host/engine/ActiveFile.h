#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/engine/CaseEngine.h"
#include "host/environment/HostErrors.h"
#include "host/model/Dictionary.h"

// AddedValues holds the values of one variable that was added to the active file, beside its cases. A case
// for which none was set has the system-missing value.
//
// Cost:       8 bytes a case where values were set, in pieces of 256 cases, so that a small sample from a
//             large frame needs little; next to nothing elsewhere.
class AddedValues {
public:
  double Get(std::int64_t row) const;
  void Set(std::int64_t row, double value);

private:
  static constexpr std::int64_t kPiece = 256;  // cases
  using Piece = std::array<double, kPiece>;

  std::vector<std::unique_ptr<Piece>> fvPieces;  // null where no value was set
};

// ActiveFile is the open frame of a session: its dictionary, what serves its cases, and the variables that
// were added to it. A session layer; nothing is open at first.
class ActiveFile {
public:
  static ActiveFile& Current();

  // Makes this frame the open one; what was open before is forgotten. `split` are columns of the dictionary.
  void Open(std::string name, Dictionary dictionary, std::unique_ptr<CaseEngine> engine,
            std::vector<int> split);
  void Close() { *this = ActiveFile(); }

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
