#include "backend/svcommon/design/MethodTable.h"

#include <algorithm>
#include <vector>

static_assert(
    [] {
      for (std::size_t i = 0; i < std::size(kMethods); ++i) {
        if (kMethods[i].code != static_cast<std::int32_t>(i) + 1) return false;
      }
      return true;
    }(),
    "MethodOf() finds a row by its code");

static_assert(std::all_of(std::begin(kMethods), std::end(kMethods),
                          [](const SVMethod& m) {
                            return (m.namesUnits || !m.hasJointProbs) &&
                                   (m.hasJointProbs || !m.writesJointUnasked);
                          }),
              "joint probabilities are those of a list of units");

std::string MethodName(const SVMethod& method) {
  std::string name(method.word);
  for (char& c : name) {
    if ('a' <= c && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return name;
}

std::string MethodNames(bool (*hasProperty)(const SVMethod&), std::string_view between,
                        std::string_view last) {
  std::vector<std::string> names;
  for (const SVMethod& method : kMethods) {
    if (hasProperty(method)) names.push_back(MethodName(method));
  }
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += i + 1 < names.size() ? between : last;
    text += names[i];
  }
  return text;
}

std::string_view MethodTypeText(std::int32_t method) {
  if (method == kMethodNone) return kNoMethod.text;
  return MethodOf(method).code == kMethodNone ? "unrecognized" : MethodOf(method).text;
}
