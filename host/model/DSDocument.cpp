#include "host/model/DSDocument.h"

#include <fmt/format.h>

#include "host/model/KORV_DataSource.h"

void AddDateLine(DSDocument& document) {
  // Nine blanks align the line with the others, which are indented under the document's first word.
  document.AddLine(
      fmt::format("{:9}Date: {:04}-{:02}-{:02}", "", document.Year(), document.Month(), document.Day()));
}

std::vector<DSDocument> GetDocuments(const KORV_DataSource& source) {
  const std::vector<DocumentLines>& documents = source.GetDictionary().documents;
  return {documents.begin(), documents.end()};
}

void SaveDocuments(const std::vector<DSDocument>& documents, KORV_DataSource& target) {
  std::vector<DocumentLines>& kept = target.GetDictionary().documents;
  kept.clear();
  for (const DSDocument& document : documents) kept.push_back(document.Lines());
}
