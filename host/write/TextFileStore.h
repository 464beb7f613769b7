#pragma once

#include <vector>

#include "host/files/FileWriter.h"
#include "host/write/IndependentDataStore.h"

// TextFileStore writes a CSV or TSV file with a header line, and the Table Schema file beside it.
class TextFileStore : public IndependentDataStore {
public:
  TextFileStore(OutputFile* file, char delimiter);

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
  std::string fLine;
  FileWriter fWriter;
};
