#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/read/TextProfile.h"

// PlainText is what a scan has found in a text file of delimited fields that leaves nothing to judge: whoever
// splits it finds the same fields. Such a file can be loaded by DuckDB's reader, which works on several
// threads. All others are for CsvReader, which words the messages too.
//
//   - UTF-8 without zero bytes; a byte order mark may begin it. It isn't compressed.
//   - The first record is the header. Every record has as many fields as that, at least two, so that there is
//     no blank line; and at most kMostRecordBytes.
//   - Either all records end with LF, or all with CR LF; the last one may have no end. There is no other CR.
//   - A quote stands only round a whole field, which then has neither a quote nor a line end in it.
struct PlainText {
  static constexpr std::int64_t kMostRecordBytes = 1 << 16;

  std::string path;
  char delimiter = ',';
  std::vector<TextProfile> profiles;  // of the columns; the places of their culprits mean nothing
  std::int64_t rows = 0;              // without the header
  bool hasQuotes = false;
  bool hasCarriageReturns = false;
};

// Scans a file on up to so many threads. `missingTexts` are the texts that mean a missing value, by column;
// there are as many columns. Nothing if the text isn't plain, if it can't be read, or after a stop request.
// Cost: memory for some 4 MiB a thread.
std::optional<PlainText> ScanPlainText(const std::string& path, char delimiter,
                                       const std::vector<std::vector<std::string>>& missingTexts,
                                       int threads);

// What comes after FROM to read the rows by DuckDB, in the file's order: columns c0, c1, ... of these SQL
// types, VARCHAR but where the text of a value and a cast are sure to give the same. An empty field is a null.
std::string PlainTextSql(const PlainText& text, const std::vector<std::string>& types);
