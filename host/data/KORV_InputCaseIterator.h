#pragma once

#include <cstddef>

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
