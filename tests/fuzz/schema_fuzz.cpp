// Any bytes as a Table Schema, and any as the cases that it is for; a line of two percent signs divides them.
// The frame is refused with a reason, or opened; its dictionary, written as a schema, then gives the same
// dictionary.

#include "FrameFuzz.h"

namespace {

constexpr std::string_view kDivider = "\n%%\n";
constexpr std::string_view kFrame =
    "n,s,b,d\n1,a,true,2024-02-29\n-2.5,zz,false,1999-12-31\n,,,\n9,9,true,\n";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static FuzzSession session;
  session.Next();
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = input.find(kDivider);
  const bool hasFrame = end != std::string_view::npos;
  const std::string frame =
      session.Write("frame.csv", hasFrame ? input.substr(end + kDivider.size()) : kFrame);
  if (!Opens(frame, session.Write("any.json", input.substr(0, end)))) return 0;
  Require(ReadAllCases());

  const std::string written = WriteTableSchema(*ActiveFile::Current().SharedDictionary());
  Require(Opens(frame, session.Write("again.json", written)));
  Require(ReadAllCases());
  Require(WriteTableSchema(*ActiveFile::Current().SharedDictionary()) == written);
  return 0;
}
