#pragma once

#include <memory>

#include "host/output/BpAnnotation.h"
#include "host/output/BpCellText.h"
#include "host/output/BpDimension.h"

class OutputDocument;
class OutputTable;

// BpPivotTable is a table under construction. It appears in the output when it is dropped.
//
// Ownership:  borrows the document, which must outlive it. Dimensions, groups and categories are handles that
//             share the table's data; what is set through them after the drop is lost or shown, but never
//             harms.
class BpPivotTable {
public:
  BpPivotTable(OutputDocument* document, const BpCellText& title, const BpCellText& kind);
  ~BpPivotTable();
  BpPivotTable(BpPivotTable&& other) noexcept = default;
  BpPivotTable& operator=(BpPivotTable&&) = delete;

  void Caption(const BpCellText& text);
  void Note(const BpAnnotation& annotation);

  // The sort code is the procedure's wish how categories are to be ordered. It adds them in the order in
  // which they are to stand, so every dimension keeps that.
  BpDimension Dimension(const BpCellText& label, int sort);

private:
  OutputDocument* fpDocument;            // borrowed
  std::shared_ptr<OutputTable> fpTable;  // null once moved from
};
