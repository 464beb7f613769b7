#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

class TextTable;

// CsvReader splits a file of delimited text into records and fields. The notation:
//
//   - A record ends with LF, CR or CR LF; the last one needs no end. A UTF-8 byte order mark is skipped.
//   - A field that begins with a quote ends with the matching one. In between a doubled quote stands for
//     one, and delimiters and line ends are ordinary characters.
//   - A quote inside a field that doesn't begin with one is an ordinary character, as in 5" pipe.
//
// It reads the file itself rather than through DuckDB, so that a message can name the line at fault, and no
// value is changed by a guess at its type.
//
// Use:       NextRecord() until it is false; in between Fields(), Field(), Line() and IsBlank().
// Failures:  DataError with file and line: a quote that isn't closed, text after a closing quote, invalid
//            UTF-8.
// Cost:      one copy of each byte; memory for one record and a buffer.
class CsvReader {
public:
  explicit CsvReader(std::string path);

  // The delimiter from the next record on. It is a comma at first.
  void SetDelimiter(char delimiter) { fDelimiter = delimiter; }

  // Moves to the next record; false at the end of the file.
  bool NextRecord();

  // The fields of the record, valid until the next one.
  std::size_t Fields() const { return fvEnds.size(); }
  std::string_view Field(std::size_t index) const;
  // The line that the record begins in, from 1. Lines inside quotes count too.
  std::int64_t Line() const { return fRecordLine; }
  // An empty line. A line of two quotes isn't: it is a record of one empty field.
  bool IsBlank() const { return Fields() == 1 && Field(0).empty() && !fbAnyQuoted; }

private:
  static constexpr int kEnd = -1;  // of the file

  // The next character, or kEnd; Take() also moves past it.
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
  // The fields of the record one after the other, unquoted, and where each one ends.
  std::string fBytes;
  std::vector<std::size_t> fvEnds;
  bool fbAnyQuoted = false;  // in the record
};

// Loads a delimited text file into a table; its first line that isn't blank names the columns. Without a
// delimiter ('\0') fields are split at commas, or at semicolons where the header has these and no comma.
// Blank lines are skipped, except in a file of one column, where each of them is a case without a value.
// Errors: DataError, also for a record that has more or fewer fields than the header.
void LoadCsv(const std::string& path, char delimiter, TextTable* table);
