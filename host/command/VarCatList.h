#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/text/VariableNames.h"

// A table of category values: a list of variables and rows that each hold one category text per variable and
// a number. Rows keep their order of arrival, and two rows with the same categories both stay.
class VarCatList {
public:
  using CatList = std::vector<std::string>;

  void addVarName(const KorvVarName& name);

  // Appends a category to a list that is being made up for a row.
  static void addStringToCatList(CatList& list, const std::string& text);

  // Whether the list has a category for each variable, and no more.
  bool isCatListOK(const CatList& list) const;

  // Appends a row; nothing is tested.
  void addCatList(CatList list, double value);

  void copyVarList(std::vector<KorvVarName>& names) const;

  // Number of rows.
  std::size_t getMapSize() const;

  // The rows: keys[i] belongs to values[i].
  void copyMapKeyVal(std::vector<CatList>& keys, std::vector<double>& values) const;

private:
  std::vector<KorvVarName> fNames;
  std::vector<CatList> fKeys;  // fKeys and fValues run in step
  std::vector<double> fValues;
};
