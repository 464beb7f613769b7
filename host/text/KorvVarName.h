#pragma once

#include <string>
#include <utility>

// A variable name as it was written. Names compare byte by byte; whoever wants names that differ in case
// alone to be one name compares their upper-case forms (GetUpperVarName).
class KorvVarName {
public:
  KorvVarName() = default;
  KorvVarName(std::string text) : fText(std::move(text)) {}
  KorvVarName(const char* text) : fText(text) {}

  const std::string& Text() const { return fText; }
  bool IsEmpty() const { return fText.empty(); }

  friend bool operator==(const KorvVarName&, const KorvVarName&) = default;
  friend bool operator<(const KorvVarName& a, const KorvVarName& b) { return a.fText < b.fText; }

private:
  std::string fText;
};
