#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "host/model/Dictionary.h"
#include "host/numeric/Obs.h"

// The two interfaces between a procedure and its data: a source (dictionary and cases) and an iterator over
// the cases. Input and output share the first: the active file is a KORV_DataSource that has cases to read,
// and the store that a sample is written to is one whose dictionary is being built.
//
// Integer arguments without a name are always 0. They belong to the interface and have no effect.

class KORV_DataSource;

// KORV_InputCaseIterator reads the cases of a source once, from before the first to the last.
//
// Use:        bind the columns, then call NextCase() until it returns 0.
// Ownership:  the caller owns the iterator; bound cells belong to the iterator.
// Cost:       only columns that were bound or asked for are read. Bind them before the first NextCase():
//             binding later is allowed but makes the implementation start its query again.
// Failures:   reported by the source; to the caller of NextCase() a failure looks like the end.
class KORV_InputCaseIterator {
public:
  virtual ~KORV_InputCaseIterator();

  // Advances to the next case and returns nonzero; 0 at the end, and after an error or a stop request.
  virtual int NextCase() = 0;

  virtual KORV_DataSource& GetDataSource() = 0;

  // The cells of a column. The address stays valid for the life of the iterator, and its contents change with
  // each NextCase(). A second call for the same column returns the same address.
  virtual const OBS* BindColumn(int column) = 0;

  // The current case's value. A string is blank-padded to the variable's width and not null-terminated.
  const double& GetNumericValue(int column) { return BindColumn(column)->number; }
  const char* GetStringValue(int column) { return BindColumn(column)->text; }

  // Sets a variable that the procedure has added to the active file. Only in the last pass, and only for such
  // variables; any other call has no effect.
  virtual void SetColumnValue(int column, double value) = 0;
};

// KORV_DataSource is a data file as a procedure sees it.
//
// Ownership:  shares its dictionary with every other view of the same file: a variable added through one view
//             is in all of them.
// Indices:    a variable's index is its position in the dictionary, from 0, and never changes.
class KORV_DataSource {
public:
  virtual ~KORV_DataSource();

  unsigned ColumnCount() const;

  // Valid until the next MakeVariable(), which may move the variables.
  // REQUIRES: 0 <= index < ColumnCount().
  KORV_Variable& GetVariable(int index);
  const KORV_Variable& GetVariable(int index) const;

  // Index of the variable with this name in any case, negative if not found. O(ColumnCount()).
  int FindVarIndex(const std::string& name, int) const;

  // Appends a variable: a copy of `source`, or a new numeric one without a name. Stores its index in `index`.
  virtual KORV_Variable& MakeVariable(const KORV_Variable& source, int& index);
  virtual KORV_Variable& MakeVariable(int, int& index);

  // The source that this one is a view of. In this host no source is a view, so it is always null; callers
  // must still ask, as the interface demands.
  virtual KORV_DataSource* GetParentSource() { return nullptr; }

  // A new iterator before the first case, which the caller must delete; null when the source has no cases to
  // read. All iterators of a source deliver the same cases in the same order.
  virtual KORV_InputCaseIterator* MakeInputCaseIterator(int);

  // Cells that one case takes: the size of a KORV_Case's buffer. O(ColumnCount()); keep the result.
  virtual std::size_t CaseCellCount() const;

  // Steps of writing a file; see IndependentDataStore. For a source that is only read they do nothing.
  virtual void CloseStore() {}
  virtual void FinishDictionary() {}

  Dictionary& GetDictionary() { return *fpDictionary; }
  const Dictionary& GetDictionary() const { return *fpDictionary; }

protected:
  explicit KORV_DataSource(std::shared_ptr<Dictionary> dictionary);

private:
  std::shared_ptr<Dictionary> fpDictionary;  // never null
};
