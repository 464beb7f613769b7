#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "host/model/Dictionary.h"
#include "host/numeric/Obs.h"

class KORV_DataSource;

// KORV_InputCaseIterator walks the cases of a data source, from before the first to the last.
//
// A column is fetched once it is bound or asked for; what is never asked for is never read. A cell that was
// bound keeps its address and always shows the current case.
class KORV_InputCaseIterator {
public:
  virtual ~KORV_InputCaseIterator();

  // Moves to the next case; 0 when there is none, also after an error or a stop request.
  virtual int NextCase() = 0;

  virtual KORV_DataSource& GetDataSource() = 0;

  // Binds a column: the address of its OBS cells, which stays the same and shows each current case in turn. A
  // number is one cell; a string is padded with blanks. Lives as long as the iterator.
  virtual const OBS* BindColumn(int column) = 0;

  // The value of the current case. The text isn't terminated: it is padded with blanks to the variable's
  // width.
  const double& GetNumericValue(int column) { return BindColumn(column)->number; }
  const char* GetStringValue(int column) { return BindColumn(column)->text; }

  // Writes a new variable of the active file in the last pass.
  virtual void SetColumnValue(int column, double value) = 0;
};

// KORV_DataSource is a data file as a procedure sees it: a dictionary, and cases that an iterator delivers.
//
// Ownership:  shares its dictionary with every view of the same file.
class KORV_DataSource {
public:
  virtual ~KORV_DataSource();

  unsigned ColumnCount() const;

  // REQUIRES: 0 <= index < ColumnCount(). Valid until the next MakeVariable().
  KORV_Variable& GetVariable(int index);
  const KORV_Variable& GetVariable(int index) const;

  // Negative when there is no such variable. The last argument is always 0.
  int FindVarIndex(const std::string& name, int) const;

  // Appends a copy of a variable's dictionary entry, or a new numeric variable (the first argument is then
  // 0); `index` becomes its position.
  virtual KORV_Variable& MakeVariable(const KORV_Variable& source, int& index);
  virtual KORV_Variable& MakeVariable(int, int& index);

  // The source below a view of the file; null for a source that is no view.
  virtual KORV_DataSource* GetParentSource() { return nullptr; }

  // A new iterator at the start of the cases, which the caller deletes; null when there can be none. The
  // argument is always 0. Each new iterator delivers the same cases in the same order.
  virtual KORV_InputCaseIterator* MakeInputCaseIterator(int);

  // OBS cells of one case; sizes the buffer of a KORV_Case.
  virtual std::size_t CaseCellCount() const;

  virtual void CloseStore() {}
  virtual void FinishDictionary() {}

  Dictionary& GetDictionary() { return *fpDictionary; }
  const Dictionary& GetDictionary() const { return *fpDictionary; }

protected:
  explicit KORV_DataSource(std::shared_ptr<Dictionary> dictionary);

private:
  std::shared_ptr<Dictionary> fpDictionary;  // never null
};
