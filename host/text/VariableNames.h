#pragma once

#include <string>
#include <utility>

// Names of variables: the type that carries one, the rules for legal names, and the upper-case form by which
// names are compared.
//
// A legal name has 1 to 64 bytes of UTF-8, starts with a letter of any script or one of _ @ # $, continues
// with those, digits and full stops, doesn't end in a full stop, and isn't the word ALL, which means "all
// variables" in a command.

// A name as the user wrote it. Comparison is byte by byte, so names that differ only in case are different
// here; compare their GetUpperVarName() forms where they must count as the same.
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

// 0 for a legal name, nonzero otherwise.
int ValidateKORVName(const std::string& text);

// Upper-case copies, character by character by Unicode's simple case mapping: the same in every locale, and
// no character becomes two (a German sharp s stays). Invalid bytes are kept. The two functions do the same;
// the second says that the text is a name.
std::string GetUpperString(const std::string& text);
std::string GetUpperVarName(const std::string& name);
