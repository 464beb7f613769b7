#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/data/Dictionary.h"

// A column of a relation.
struct RelationColumn {
  std::string sql;   // the expression that gives it
  std::string type;  // its SQL type
};

// CaseRelation says in SQL where the cases of a data file are to be had in the session's work database.
struct CaseRelation {
  std::string name;                     // of the file, as messages name it
  std::string watched;                  // the file that mustn't change while it is read; empty for none
  std::string from;                     // what stands behind FROM
  std::vector<RelationColumn> columns;  // of the variables, in the order of the dictionary
  std::shared_ptr<const void> held;     // what must stay in the work database; null when nothing does
};

// A data file that was opened for reading.
struct DataFrame {
  Dictionary dictionary;
  CaseRelation relation;
};
