#include "host/write/IndependentDataStore.h"

#include <fmt/format.h>

#include <cassert>
#include <utility>

#include "host/engine/ActiveFile.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/files/SessionFiles.h"
#include "host/model/KORV_Case.h"

IndependentDataStore::IndependentDataStore(HostSession& session, OutputFile* file)
    : KORV_DataSource(std::make_shared<Dictionary>()),
      fFiles(session.Layer<SessionFiles>()),
      fActiveFile(session.Layer<ActiveFile>()),
      fpFile(file),
      fPath(file->path) {}

// A store without its file was closed, or has failed and given the file up.
IndependentDataStore::~IndependentDataStore() {
  if (fpFile == nullptr) return;
  // A store that is destroyed as it was made must not break the run.
  const bool isUntouched = fState == State::kDefining && GetDictionary().variables.empty();
  isUntouched ? fFiles.Withdraw(fpFile) : fFiles.Abandon(fpFile);
}

KORV_Variable& IndependentDataStore::MakeVariable(const KORV_Variable& source, int& index) {
  assert(fState == State::kDefining || fState == State::kFailed);
  fActiveFile.NoteCopied(source.GetName());
  return KORV_DataSource::MakeVariable(source, index);
}

KORV_Variable& IndependentDataStore::MakeVariable(int, int& index) {
  return KORV_DataSource::MakeVariable(KORV_Variable(), index);
}

// Gives up the output file, and with it the run. Returns the message.
std::string IndependentDataStore::Fail(const std::string& why) {
  fState = State::kFailed;
  fFiles.Abandon(std::exchange(fpFile, nullptr));
  return CannotWrite(fPath, why).what();
}

// The interface has no way to report here, so a failure waits in fUntold.
void IndependentDataStore::FinishDictionary() {
  if (fState != State::kDefining) return;
  try {
    Begin();
    fState = State::kTaking;
  } catch (const DataError& error) {
    fUntold = Fail(error.what());
  }
}

// The kind of file knows only the reason; Fail() puts the name in front.
void IndependentDataStore::AddCase(const KORV_Case& values) {
  if (!fUntold.empty()) throw ErrorText{std::exchange(fUntold, {})};
  if (fState != State::kTaking) throw ErrorText{fmt::format("{} can't take more cases", fPath)};
  try {
    Append(values);
    ++fCases;
  } catch (const DataError& error) {
    throw ErrorText{Fail(error.what())};
  }
}

// Here nothing is thrown: it is the last call of a procedure, and failures are messages.
void IndependentDataStore::CloseStore() {
  FinishDictionary();  // for a caller without a case; otherwise it does nothing
  if (!fUntold.empty()) IssueHostMessage(std::exchange(fUntold, {}), kErrorLevel);
  if (fState != State::kTaking) return;
  fState =
      State::kFailed;  // until all is well: whatever is thrown, a second call must not end the file again
  try {
    End();
  } catch (const DataError& error) {
    IssueHostMessage(Fail(error.what()), kErrorLevel);
    return;
  }
  OutputFile* const file = std::exchange(fpFile, nullptr);
  file->cases = fCases;
  try {
    fFiles.Finish(file);
    fState = State::kClosed;
  } catch (const DataError& error) {
    IssueHostMessage(error.what(), kErrorLevel);
    fFiles.Abandon(file);
  }
}
