#pragma once

#include <cstdint>
#include <vector>

class KORV_InputCaseIterator;
class ProcedureDataSource;

// SVMessages shows the messages of the record layer. Each is an error: it raises the host's error flag, which
// ends the run at the next place where the flag is tested. Until then further cases can add further messages.
//
// Ownership:  borrows the data source, whose dictionary has the names of the variables.
class SVMessages {
public:
  explicit SVMessages(ProcedureDataSource* dataSource) : fpDataSource(dataSource) {}

  void NoCasesForSelection() const;  // no file is open, or it has no variables
  void NoValidCases() const;         // all cases were rejected

  // The current case's value of a variable can't be a rate, or can't be a sample size.
  void InvalidRate(std::int32_t variable) const;
  void InvalidSize(std::int32_t variable) const;

  // The stage's table has no row for the values of `variables` in the current case of `iterator`. The text
  // lists each variable with its value.
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
