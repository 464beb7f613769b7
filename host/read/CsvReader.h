#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/engine/DuckCaseEngine.h"
#include "host/read/TextSource.h"

class TextTable;

// CsvReader splits a file of delimited text into records and fields. The notation:
//
//   - A record ends with LF, CR or CR LF; the last one needs no end. A UTF-8 byte order mark is skipped.
//   - A field that begins with a quote ends with the matching one. In between a doubled quote stands for
//     one, and delimiters and line ends are ordinary characters.
//   - A quote inside a field that doesn't begin with one is an ordinary character, as in 5" pipe.
//   - A first line that only says sep=; (quoted or not, with any delimiter) is a spreadsheet's word for the
//     delimiter and no record: see SeparatorLine().
//
// It reads the file itself rather than through DuckDB, so that a message can name the line at fault, and every
// text is read by the same rules. Only plain texts (see PlainText), which all rules split alike, are left to DuckDB.
//
// Use:       NextRecord() until it is false; in between Fields(), Field(), Line() and IsBlank().
// Failures:  DataError with file and line: a quote that isn't closed, text after a closing quote; as an
//            EncodingError, invalid UTF-8. Also those of TextSource.
// Cost:      one copy of each byte; memory for one record and a buffer.
class CsvReader {
public:
  explicit CsvReader(std::string path, const TextForm& form = {});

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
  TextForm fForm;
  TextSource fFile;
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
void LoadCsv(const std::string& path, const TextForm& form, char delimiter, TextTable* table);

// Loads the same table from a file of UTF-8 by DuckDB's reader, on several threads, and finishes it. Nothing if the
// text isn't plain (see PlainText), or its first line is no header: `table` is then spent, and the file is for
// LoadCsv().
// Errors: DataError; LoadCsv() will find the same, or none.
std::optional<CaseRelation> LoadPlainCsv(const std::string& path, char delimiter, int threads,
                                         TextTable* table);

// The delimiter that a text's first line names, as spreadsheets write it for one another: sep=; with any one
// character that is no letter, digit, quote or blank, or a tab; the line may be in quotes. '\0' if it isn't
// such a line. `begin` has the first 8 bytes of the text, without a byte order mark, or all there are.
char SeparatorLine(std::string_view begin);
