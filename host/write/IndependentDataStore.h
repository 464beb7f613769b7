#pragma once

#include <cstdint>
#include <string>

#include "host/model/KORV_DataSource.h"

class KORV_Case;
struct OutputFile;

// IndependentDataStore is a data file that is being written.
//
// Use:        MakeVariable() for each variable, FinishDictionary(), AddCase() for each case, CloseStore().
//             The file takes its place when the session commits its files; a store that is destroyed before
//             CloseStore() leaves nothing.
// Ownership:  borrows its output file from the session.
// Failures:   AddCase() throws ErrorText with a message that names the file and the reason; CloseStore()
//             issues such a message as an error of the host. Each failure is told once, that of
//             FinishDictionary() by whichever of them comes next. After a failure the store takes nothing
//             more.
// Cost:       nothing is allocated for a case.
class IndependentDataStore : public KORV_DataSource {
public:
  ~IndependentDataStore() override;

  // The copy of a column keeps the column's type in the file. The active file is told that it is copied.
  KORV_Variable& MakeVariable(const KORV_Variable& source, int& index) override;
  KORV_Variable& MakeVariable(int, int& index) override;

  void FinishDictionary() override;
  // REQUIRES: the case was made on this store after FinishDictionary().
  void AddCase(const KORV_Case& values);
  void CloseStore() override;
  // The file is whole and on the disk.
  bool IsClosed() const { return fState == State::kClosed; }

protected:
  explicit IndependentDataStore(OutputFile* file);

  const OutputFile& File() const { return *fpFile; }

  // What a kind of file does. Each throws DataError with the reason.
  virtual void Begin() = 0;
  virtual void Append(const KORV_Case& values) = 0;
  virtual void End() = 0;

private:
  enum class State { kDefining, kTaking, kClosed, kFailed };

  std::string Fail(const std::string& why);

  OutputFile* fpFile;  // borrowed from SessionFiles; null once it is closed or has failed
  std::string fPath;   // as the user wrote it
  State fState = State::kDefining;
  std::string fUntold;  // why the file couldn't be begun, until that is told
  std::int64_t fCases = 0;
};
