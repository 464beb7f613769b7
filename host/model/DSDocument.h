#pragma once

#include <string>
#include <vector>

#include "host/model/Dictionary.h"

class KORV_DataSource;

// DSDocument is one document of a data file: its lines, and the day on which it was made.
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

// Adds the line of the document's day, "         Date: 2024-02-29".
void AddDateLine(DSDocument& document);

// The documents of a data file, in order; and putting a list of them in their place.
std::vector<DSDocument> GetDocuments(const KORV_DataSource& source);
void SaveDocuments(const std::vector<DSDocument>& documents, KORV_DataSource& target);
