#pragma once

#include <string>

// CheckFileRef resolves a file name from a command. A leading "~/" becomes the user's home folder, since no
// shell has seen the name. A relative name stays relative to the process's folder.
class CheckFileRef {
public:
  // `isGeneric` says whether the name was a word or a quoted text; both are resolved alike. The last argument
  // is always false. Both are part of the interface that the procedure expects.
  CheckFileRef(const std::string& name, bool isGeneric, bool);

  const std::string& Name() const { return fName; }

private:
  std::string fName;
};

// Tests a file, and claims it for the living session if it can be used: for reading as the plan, for writing
// as the rule file. It can be read if `exists` and `valid` are 1 and `inUse` is 0, and written if `valid` is
// 1 and `readOnly` and `inUse` are 0; `status` is 0 then, else 1. `path` isn't terminated: `length` is its
// bytes.
void ValidateFileSpecification(const char* path, int length, bool forWrite, int& status, int& exists,
                               int& valid, int& readOnly, int& inUse);
