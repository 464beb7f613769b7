// Any bytes as a file of delimited text: whether DuckDB's reader takes it or our own, the variables, the values, their
// order and the message are the same.

#include "FrameFuzz.h"
#include "TextOutcome.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static FuzzSession session;
  session.Next();
  const std::string path = session.Write("frame.csv", {reinterpret_cast<const char*>(data), size});
  if (Opens(path)) Require(ReadAllCases());
  if (size == 0) return 0;  // no text at all: no reader is asked
  WorkDatabase& work = HostSession::Current().Layer<WorkDatabase>();
  Require(TextOutcome(work, path, FileKind::kCsv, "", TextReader::kFastest) ==
          TextOutcome(work, path, FileKind::kCsv, "", TextReader::kOwn));
  return 0;
}
