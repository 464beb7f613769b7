#pragma once

#include <string>

// Names of variables. A legal name has 1 to 64 bytes, begins with a letter of any script or one of _ @ # $,
// goes on with these, digits and full stops, doesn't end with a full stop and isn't ALL.

// 0 for a legal variable name.
int ValidateKORVName(const std::string& text);

// Upper-case copies, by Unicode's simple rules that don't depend on the locale; bytes that are no UTF-8 stay.
std::string GetUpperString(const std::string& text);
std::string GetUpperVarName(const std::string& name);
