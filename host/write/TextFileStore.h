#pragma once

#include <vector>

#include "host/files/FileWriter.h"
#include "host/write/IndependentDataStore.h"

// TextFileStore writes a CSV or TSV file with a header line, and the Table Schema file beside it, which keeps
// what text can't: types, labels, formats, missing values. Read again, both give the same dictionary and
// values.
//
// Numbers are written with the fewest digits that read back the same double; whole-number columns without an
// exponent, since that would make the column one of decimals. Missing numbers and blank texts are empty
// fields. A line that would be empty is written as two quotes, because readers skip empty lines.
//
// Cost:      one buffered write for each 256 KiB; nothing is allocated for a case.
class TextFileStore : public IndependentDataStore {
public:
  TextFileStore(HostSession& session, OutputFile* file, char delimiter);

protected:
  void Begin() override;
  void Append(const KORV_Case& values) override;
  void End() override;

private:
  // How the values of a column are written.
  enum class Form { kText, kNumber, kWholeNumber, kTruth };
  struct Column {
    Form form;
    int width;  // 0 for a number
  };

  void AddText(std::string_view text);
  void AddNumber(double number, Form form);
  void EndLine();

  char fDelimiter;
  std::vector<Column> fvColumns;
  std::string fLine;  // the current one so far
  FileWriter fWriter;
};
