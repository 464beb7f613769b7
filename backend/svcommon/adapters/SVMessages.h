#pragma once

#include <cstdint>
#include <vector>

class KORV_InputCaseIterator;
class ProcedureDataSource;

// SVMessages issues the messages of the record layer, each an error.
//
// Ownership:  borrows the data source, in whose dictionary it looks variables up.
class SVMessages {
public:
  explicit SVMessages(ProcedureDataSource* dataSource) : fpDataSource(dataSource) {}

  void NoCasesForSelection() const;  // the file has none
  void NoValidCases() const;         // none of them passed

  // The current case's value of a variable is no rate, or no sample size.
  void InvalidRate(std::int32_t variable) const;
  void InvalidSize(std::int32_t variable) const;

  // The table of a stage has no number for the values that `iterator`'s current case has in `variables`.
  void NoRate(std::int32_t stage, const std::vector<std::int32_t>& variables,
              KORV_InputCaseIterator* iterator) const;
  void NoSize(std::int32_t stage, const std::vector<std::int32_t>& variables,
              KORV_InputCaseIterator* iterator) const;

private:
  void IssueAboutVariable(const char* pattern, std::int32_t variable) const;
  void IssueAboutTable(const char* pattern, std::int32_t stage, const std::vector<std::int32_t>& variables,
                       KORV_InputCaseIterator* iterator) const;

  ProcedureDataSource* fpDataSource;
};
