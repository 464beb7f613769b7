#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/text/VariableNames.h"

// VarCatList is a table of a plan: numbers, such as sample sizes, for combinations of categories.
//
// It holds what was written, before anything is known about the data: categories are texts even for numeric
// variables, and a row is added whether or not it has the right length or repeats an earlier one. The plan
// reader checks the length with isCatListOK(); the command parser checks the rest against the dictionary.
//
// Use:    addVarName() for each variable; then for each row build a CatList, check it with isCatListOK(), and
//         add it. Read with the copy methods.
// Order:  variables and rows keep the order in which they were added.
class VarCatList {
public:
  using CatList = std::vector<std::string>;

  void addVarName(const KorvVarName& name);

  // Appends the next category of a row to `list`, which belongs to the caller.
  static void addStringToCatList(CatList& list, const std::string& text);

  // Whether the list has exactly one category per variable.
  bool isCatListOK(const CatList& list) const;

  // Appends a row, unchecked.
  void addCatList(CatList list, double value);

  void copyVarList(std::vector<KorvVarName>& names) const;

  std::size_t VariableCount() const { return fNames.size(); }

  // The categories of all rows. Valid until the next row is added.
  const std::vector<CatList>& Rows() const { return fKeys; }

  // Number of rows.
  std::size_t getMapSize() const;

  // All rows; keys[i] has the number values[i].
  void copyMapKeyVal(std::vector<CatList>& keys, std::vector<double>& values) const;

private:
  std::vector<KorvVarName> fNames;
  std::vector<CatList> fKeys;  // fKeys and fValues have the same length
  std::vector<double> fValues;
};
