#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/model/ArrowInterface.h"

class DuckConnection;

// ArrowTable is a table in memory as Arrow arrays: what a run hands to a caller that has no use for a file. It
// is independent of the database that it was made from.
//
// Use:        made by MakeArrowTable(); Export() as often as wanted, also at once in several threads.
// Ownership:  the streams share the arrays; the last of them and of the table frees them.
// Cost:       an export copies no values.
class ArrowTable : public std::enable_shared_from_this<ArrowTable> {
public:
  std::int64_t Rows() const;
  const ArrowSchema& Schema() const { return *fSchema.Get(); }

  // Fills a stream of the whole table, which the caller must release.
  void Export(ArrowArrayStream* stream) const;

private:
  friend std::shared_ptr<const ArrowTable> MakeArrowTable(DuckConnection& connection, const std::string& sql);
  friend class ArrowTableStream;

  ArrowOwner<ArrowSchema> fSchema;
  std::vector<ArrowOwner<ArrowArray>> fvBatches;
};

// The rows of a query, in their order.
// Errors: DataError with the reason alone.
std::shared_ptr<const ArrowTable> MakeArrowTable(DuckConnection& connection, const std::string& sql);
