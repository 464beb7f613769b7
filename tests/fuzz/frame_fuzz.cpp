// Any bytes as a text file of cases, SV_FRAME in the build's words: it is refused with a reason, or opened
// and read to its end, and then its dictionary can be written and read as a Table Schema.

#include "FrameFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static FuzzSession session;
  session.Next();
  if (!Opens(session.Write(SV_FRAME, {reinterpret_cast<const char*>(data), size}))) return 0;
  Require(ReadAllCases());
  const Dictionary& dictionary = *ActiveFile::Current().SharedDictionary();
  Require(ParseTableSchema(WriteTableSchema(dictionary), "").fields.size() == dictionary.variables.size());
  return 0;
}
