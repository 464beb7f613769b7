#pragma once

#include <string>
#include <vector>

#include "host/data/KORV_Variable.h"

// One document of a data file: its lines.
using DocumentLines = std::vector<std::string>;

// Dictionary is what a data file says of its cases: the variables in order, and the documents.
struct Dictionary {
  std::vector<KORV_Variable> variables;
  std::vector<DocumentLines> documents;

  // The index of the variable of that name, without regard to case; -1 when there is none.
  int Find(const std::string& name) const;
};
