#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "host/read/TextTable.h"

// CsvReader takes a file of delimited text apart: a byte order mark, quoted fields with doubled quotes and
// line ends in them, and the line ends of all systems are fine. A quote inside a field that doesn't begin
// with one is an ordinary character.
//
// Errors:  DataError with file and line: a quote that isn't closed, text behind a closing quote, invalid
// UTF-8.
class CsvReader {
public:
  explicit CsvReader(std::string path);

  // Fields are split at this character from the next record on. At first it is a comma.
  void SetDelimiter(char delimiter) { fDelimiter = delimiter; }

  // Moves to the next record; false at the end of the file.
  bool NextRecord();

  // The fields of the record, valid until the next one.
  std::size_t Fields() const { return fvEnds.size(); }
  std::string_view Field(std::size_t index) const;
  // Where the record begins, from 1.
  std::int64_t Line() const { return fRecordLine; }
  // A line without a character.
  bool IsBlank() const { return Fields() == 1 && Field(0).empty() && !fbAnyQuoted; }

private:
  static constexpr int kEnd = -1;

  int Peek();
  int Take();
  bool ReadField();
  void ReadQuoted();
  bool EndField(int next);
  void CheckEncoding() const;

  std::string fPath;
  std::ifstream fFile;
  std::vector<char> fBuffer;
  std::size_t fAt = 0;     // next character in the buffer
  std::size_t fCount = 0;  // characters in the buffer
  char fDelimiter = ',';
  std::int64_t fLine = 1;        // of the next character
  std::int64_t fRecordLine = 0;  // of the record's first
  std::string fBytes;            // the fields of the record, one behind the other
  std::vector<std::size_t> fvEnds;
  bool fbAnyQuoted = false;  // in the record
};

// Loads a delimited text file with a header line into a table. Without a delimiter fields are split at
// commas, or at semicolons where the header has these and no comma. Errors: DataError, also for a record that
// has more or fewer fields than the header.
void LoadCsv(const std::string& path, char delimiter, TextTable* table);
