#include "host/write/IndependentDataStore.h"

#include <fmt/format.h>

#include <cassert>
#include <utility>

#include "host/engine/ActiveFile.h"
#include "host/environment/HostErrors.h"
#include "host/files/SessionFiles.h"
#include "host/model/KORV_Case.h"

IndependentDataStore::IndependentDataStore(OutputFile* file)
    : KORV_DataSource(std::make_shared<Dictionary>()), fpFile(file), fPath(file->path) {}

IndependentDataStore::~IndependentDataStore() {
  if (fpFile == nullptr) return;
  SessionFiles& files = SessionFiles::Current();
  const bool isUntouched = fState == State::kDefining && GetDictionary().variables.empty();
  isUntouched ? files.Withdraw(fpFile) : files.Abandon(fpFile);
}

KORV_Variable& IndependentDataStore::MakeVariable(const KORV_Variable& source, int& index) {
  assert(fState == State::kDefining || fState == State::kFailed);
  ActiveFile::Current().NoteCopied(source.GetName());
  return KORV_DataSource::MakeVariable(source, index);
}

KORV_Variable& IndependentDataStore::MakeVariable(int, int& index) {
  return KORV_DataSource::MakeVariable(KORV_Variable(), index);
}

// Gives the output file up; the answer is the message.
std::string IndependentDataStore::Fail(const std::string& why) {
  fState = State::kFailed;
  SessionFiles::Current().Abandon(fpFile);
  fpFile = nullptr;
  return fmt::format("{} can't be written: {}", fPath, why);
}

void IndependentDataStore::FinishDictionary() {
  if (fState != State::kDefining) return;
  try {
    Begin();
    fState = State::kTaking;
  } catch (const DataError& error) {
    fUntold = Fail(error.what());
  }
}

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

void IndependentDataStore::CloseStore() {
  FinishDictionary();
  if (!fUntold.empty()) IssueHostMessage(std::exchange(fUntold, {}), kErrorLevel);
  if (fState != State::kTaking) return;
  try {
    End();
  } catch (const DataError& error) {
    IssueHostMessage(Fail(error.what()), kErrorLevel);
    return;
  }
  OutputFile* file = fpFile;
  fpFile = nullptr;
  file->cases = fCases;
  const bool isWhole = SessionFiles::Current().Finish(*file);
  if (!isWhole) SessionFiles::Current().Abandon(file);
  fState = isWhole ? State::kClosed : State::kFailed;
}
