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

// Names of variables. A legal name has 1 to 64 bytes, begins with a letter of any script or one of _ @ # $,
// goes on with these, digits and full stops, doesn't end with a full stop and isn't ALL.

// 0 for a legal variable name.
int ValidateKORVName(const std::string& text);

// Upper-case copies, by Unicode's simple rules that don't depend on the locale; bytes that are no UTF-8 stay.
std::string GetUpperString(const std::string& text);
std::string GetUpperVarName(const std::string& name);
