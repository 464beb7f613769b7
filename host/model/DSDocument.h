#pragma once

#include <string>
#include <vector>

#include "host/model/Dictionary.h"

class KORV_DataSource;

// A document is a free text that travels with a data file, such as the description of the sample that a run
// adds to it. In the dictionary it is a bare list of lines. DSDocument adds the date, which is kept apart
// until AddDateLine() turns it into a line; a document read back from a dictionary has lines only, and the
// date of the default constructor.
class DSDocument {
public:
  DSDocument() = default;
  explicit DSDocument(DocumentLines lines) : fvLines(std::move(lines)) {}

  void AddLine(const std::string& text) { fvLines.push_back(text); }
  const DocumentLines& Lines() const { return fvLines; }

  void Day(int day) { fDay = day; }
  void Month(int month) { fMonth = month; }
  void Year(int year) { fYear = year; }
  int Day() const { return fDay; }
  int Month() const { return fMonth; }
  int Year() const { return fYear; }

private:
  DocumentLines fvLines;
  int fDay = 1;
  int fMonth = 1;
  int fYear = 1970;
};

// Appends the document's date as a line, "         Date: 2024-02-29".
void AddDateLine(DSDocument& document);

// Copies of the documents in the source's dictionary; and the reverse, which replaces all of them.
std::vector<DSDocument> GetDocuments(const KORV_DataSource& source);
void SaveDocuments(const std::vector<DSDocument>& documents, KORV_DataSource& target);
