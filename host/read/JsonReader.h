#pragma once

#include <string>

struct TextForm;
class TextTable;

// Loads a JSON file into a table, one object a row. The file is a list of objects, or objects one after the
// other as in a file of one object a line (NDJSON).
//
//   - Keys are the columns, in the order in which they first appear. An object without a key has no value
//     there, and null and "" are no value either.
//   - Numbers keep the digits that they are written with: the table sees their text, not a double.
//   - Texts stay texts, even those that look like numbers.
//   - A column with a list or an object as its value in any row is left out, with one warning.
//
// Errors: DataError with the file and the number of the object, from 1, where the structure is at fault;
//         with the line where the text isn't JSON, as an EncodingError; those of TextSource.
// Cost:   one pass by events, without a document in memory. An object is forgotten once its row is in the
//         table; what stays is one entry for each key of the file.
//
// The parser is the JSON library's, so its rules are JSON's: no comments, no trailing commas, no NaN.
void LoadJson(const std::string& path, const TextForm& form, TextTable* table);
