#pragma once

#include <functional>
#include <stdexcept>
#include <string>

// How the host reports failures.
//
// 1. Directly at the system calls, a function answers false or null and fills `why` with the system's reason
//    alone: FileLock, FileWriter, TemporaryFile, ReadWholeFile() and WriteWholeFile(). They don't name the
//    file, because only their callers know what the user called it; and some of them run in destructors and
//    stream buffers, where nothing may be thrown.
// 2. Everywhere else inside the host a failure is a DataError, whose text is fit to be shown. Code that knows
//    no name (an SQL connection, an appender) throws the bare reason; the caller that knows the file puts the
//    name in front with Named().
// 3. Where the procedure or the program calls in through an interface that answers with a bool, a null or a
//    failed stream, the DataError ends: IssueHostMessage() shows it once, and the answer says that it failed.
//    Stores answer AddCase() with an ErrorText instead.
//
// Exceptions of libraries are caught where the library is called, by their types. A catch (...) is for places
// where an exception would end the process, such as the first function of a thread; it claims nothing about
// the cause.

// A failure of the host as one line of text.
struct DataError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// What a store throws when it can't take a case.
struct ErrorText {
  std::string message;
};

// Runs a step and returns its result. A DataError of the step leaves as "name: reason".
template <class Step>
auto Named(const std::string& name, const Step& step) {
  try {
    return step();
  } catch (const DataError& error) {
    throw DataError(name + ": " + error.what());
  }
}

// Levels of a message.
inline constexpr int kWarningLevel = 2;
inline constexpr int kErrorLevel = 3;

// The way of the host's own messages to the output document, which is in a layer above. The document installs
// itself here; without it an error still raises the host's error flag, and its text goes to standard error.
struct ErrorSink {
  std::function<void(const std::string& text, int level)> issue;
};

// Issues a message of the host itself. It looks up the living session, as messages can come from anywhere.
void IssueHostMessage(const std::string& text, int level);
