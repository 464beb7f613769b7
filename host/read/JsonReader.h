#pragma once

#include <string>

class TextTable;

// Loads a JSON file into a table: an array of objects, or objects one behind the other, as in a file of one
// object a line. The keys are the columns, in the order in which they first appear; an object without a key
// has no value there. Numbers keep their digits; nested values are left out.
//
// Errors: DataError with the file and the number of the object.
void LoadJson(const std::string& path, TextTable* table);
