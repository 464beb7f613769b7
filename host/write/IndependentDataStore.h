#pragma once

#include <cstdint>
#include <string>

#include "host/model/KORV_DataSource.h"

class ActiveFile;
class HostSession;
class KORV_Case;
class SessionFiles;
struct OutputFile;

// IndependentDataStore is a data file that is being written. The classes derived from it write each kind.
//
// Use:        MakeVariable() for each variable, FinishDictionary(), AddCase() for each case, CloseStore().
//             The file takes its place when the session commits its files. A store that is destroyed before
//             CloseStore() leaves no file; if anything was put in, the run is broken.
// Ownership:  borrows the session's files, its active file and the output file, which the session owns.
// Failures:   AddCase() throws ErrorText with a message that names file and reason; CloseStore() issues
//             such a message as an error of the host. FinishDictionary() can't report: its failure is kept
//             and reported by whichever of the two comes next. Each failure is reported once. A store that
//             failed takes nothing more, and the run is broken.
// Cost:       nothing is allocated for a case.
class IndependentDataStore : public KORV_DataSource {
public:
  ~IndependentDataStore() override;

  // The copy of a column keeps the column's type in the file. The active file notes that it is copied.
  KORV_Variable& MakeVariable(const KORV_Variable& source, int& index) override;
  KORV_Variable& MakeVariable(int, int& index) override;

  void FinishDictionary() override;
  // REQUIRES: the case was made on this store after FinishDictionary().
  void AddCase(const KORV_Case& values);
  void CloseStore() override;
  // The file is whole and on the disk.
  bool IsClosed() const { return fState == State::kClosed; }

protected:
  IndependentDataStore(HostSession& session, OutputFile* file);

  const OutputFile& File() const { return *fpFile; }

  // What the kinds of files do differently: Begin() once the dictionary is complete, Append() for each case,
  // End() after the last. Errors: DataError with the reason alone.
  virtual void Begin() = 0;
  virtual void Append(const KORV_Case& values) = 0;
  virtual void End() = 0;

private:
  enum class State { kDefining, kTaking, kClosed, kFailed };

  std::string Fail(const std::string& why);

  SessionFiles& fFiles;
  ActiveFile& fActiveFile;
  OutputFile* fpFile;  // borrowed from fFiles; null once it is closed or has failed
  std::string fPath;   // as the user wrote it
  State fState = State::kDefining;
  std::string fUntold;  // the message when the file couldn't be begun, until it is reported
  std::int64_t fCases = 0;
};
