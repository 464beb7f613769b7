#include "host/command/VarCatList.h"

#include <utility>

void VarCatList::addVarName(const KorvVarName& name) {
  fNames.push_back(name);
}

void VarCatList::addStringToCatList(CatList& list, const std::string& text) {
  list.push_back(text);
}

bool VarCatList::isCatListOK(const CatList& list) const {
  return list.size() == fNames.size();
}

void VarCatList::addCatList(CatList list, double value) {
  fKeys.push_back(std::move(list));
  fValues.push_back(value);
}

void VarCatList::copyVarList(std::vector<KorvVarName>& names) const {
  names = fNames;
}

std::size_t VarCatList::getMapSize() const {
  return fKeys.size();
}

void VarCatList::copyMapKeyVal(std::vector<CatList>& keys, std::vector<double>& values) const {
  keys = fKeys;
  values = fValues;
}
