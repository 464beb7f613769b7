#pragma once

#include <functional>
#include <stdexcept>
#include <string>

// A failure of the data layer, as one clear line that names the file at fault and, where there is one, the
// line. Thrown inside the data layer and by OpenFrame(); no case iterator lets one through.
struct DataError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// What a store throws when it can't take a case.
struct ErrorText {
  std::string message;
};

// Levels of a message.
inline constexpr int kWarningLevel = 2;
inline constexpr int kErrorLevel = 3;

// How the host's own errors reach the output from the layers below it. The output layer puts itself in;
// without one an error still raises the host's error flag, and its text goes to standard error.
struct ErrorSink {
  std::function<void(const std::string& text, int level)> issue;
};

// Issues a message of the host itself through the session's sink: a clear text that names the file at fault.
void IssueHostMessage(const std::string& text, int level);
