#pragma once

#include <memory>

class IndependentDataStore;
class UserCaseFileSpec;

// UserOutputCaseFile opens the data file of a specification for writing, in the living session. The kind of
// file decides which IndependentDataStore it makes.
//
// Ownership:  owns the store. Destroyed before the store is closed, it leaves no file.
// Failures:   DataSource() is null, after an error of the host that names file and reason. A specification
//             that isn't valid opens nothing, without a message: the caller has reported that.
class UserOutputCaseFile {
public:
  explicit UserOutputCaseFile(const UserCaseFileSpec& spec);
  ~UserOutputCaseFile();

  // Null when no file is open. Valid as long as this object.
  IndependentDataStore* DataSource() const { return fpStore.get(); }

private:
  std::unique_ptr<IndependentDataStore> fpStore;
};
