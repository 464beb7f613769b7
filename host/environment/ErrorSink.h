#pragma once

#include <functional>
#include <string>

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
