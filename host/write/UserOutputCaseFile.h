#pragma once

#include <memory>

class IndependentDataStore;
class UserCaseFileSpec;

// UserOutputCaseFile opens the output file of a specification.
class UserOutputCaseFile {
public:
  // A specification that isn't valid opens nothing; a file that can't be opened is told by an error of the
  // host that names file and reason.
  explicit UserOutputCaseFile(const UserCaseFileSpec& spec);
  ~UserOutputCaseFile();

  // Null when the file isn't open. Lives as long as this object.
  IndependentDataStore* DataSource() const { return fpStore.get(); }

private:
  std::unique_ptr<IndependentDataStore> fpStore;
};
