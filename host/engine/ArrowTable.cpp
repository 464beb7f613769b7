#include "host/engine/ArrowTable.h"

#include <duckdb.h>

#include <cerrno>
#include <new>
#include <utility>

#include "host/engine/DuckDb.h"

namespace {

// The error of a call, which is owned here.
void Check(duckdb_error_data error) {
  const std::unique_ptr<duckdb_error_data, void (*)(duckdb_error_data*)> owned(&error,
                                                                               duckdb_destroy_error_data);
  if (error != nullptr && duckdb_error_data_has_error(error)) {
    throw DataError(CleanReason(duckdb_error_data_message(error)));
  }
}

// --- sharing -------------------------------------------------------------------------------------------------
//
// A structure that is exported is a copy with a `release` of its own, and so are its children, since a caller
// may move a child out and keep it longer than its parent. Each copy keeps the table alive.

template <class Structure>
struct Shared {
  std::shared_ptr<const ArrowTable> table;
  std::vector<Structure> children;
  std::vector<Structure*> places;  // of the children, as the interface wants them
};

// Children that were moved out have no `release` left.
template <class Structure>
void ReleaseShared(Structure* structure) {
  auto* const shared = static_cast<Shared<Structure>*>(structure->private_data);
  for (Structure& child : shared->children) {
    if (child.release != nullptr) child.release(&child);
  }
  structure->release = nullptr;
  delete shared;
}

// REQUIRES: no dictionary. DuckDB makes none, as there is no enumeration among the types of a store.
template <class Structure>
void Share(const Structure& from, const std::shared_ptr<const ArrowTable>& table, Structure* to) {
  auto shared = std::make_unique<Shared<Structure>>();
  shared->table = table;
  shared->children.resize(static_cast<std::size_t>(from.n_children));
  for (std::size_t i = 0; i < shared->children.size(); ++i) {
    Share(*from.children[i], table, &shared->children[i]);
    shared->places.push_back(&shared->children[i]);
  }
  *to = from;
  to->children = shared->places.empty() ? nullptr : shared->places.data();
  to->release = &ReleaseShared<Structure>;
  to->private_data = shared.release();
}

}  // namespace

// What is behind an exported stream. Its functions are called from C: nothing may be thrown.
class ArrowTableStream {
public:
  explicit ArrowTableStream(std::shared_ptr<const ArrowTable> table) : fpTable(std::move(table)) {}

  static int GetSchema(ArrowArrayStream* stream, ArrowSchema* out) {
    return Guard([&] { Share(*Of(stream).fpTable->fSchema.Get(), Of(stream).fpTable, out); });
  }

  static int GetNext(ArrowArrayStream* stream, ArrowArray* out) {
    return Guard([&] {
      ArrowTableStream& self = Of(stream);
      if (self.fNext == self.fpTable->fvBatches.size()) {
        *out = {};
        return;
      }
      Share(*self.fpTable->fvBatches[self.fNext].Get(), self.fpTable, out);
      ++self.fNext;
    });
  }

  static const char* GetLastError(ArrowArrayStream*) { return "out of memory"; }

  static void Release(ArrowArrayStream* stream) {
    delete &Of(stream);
    stream->release = nullptr;
  }

private:
  static ArrowTableStream& Of(ArrowArrayStream* stream) {
    return *static_cast<ArrowTableStream*>(stream->private_data);
  }

  template <class Step>
  static int Guard(const Step& step) {
    try {
      step();
      return 0;
    } catch (const std::bad_alloc&) {
      return ENOMEM;
    }
  }

  std::shared_ptr<const ArrowTable> fpTable;
  std::size_t fNext = 0;  // batch
};

std::int64_t ArrowTable::Rows() const {
  std::int64_t rows = 0;
  for (const ArrowOwner<ArrowArray>& batch : fvBatches) rows += batch.Get()->length;
  return rows;
}

void ArrowTable::Export(ArrowArrayStream* stream) const {
  auto made = std::make_unique<ArrowTableStream>(shared_from_this());
  stream->get_schema = &ArrowTableStream::GetSchema;
  stream->get_next = &ArrowTableStream::GetNext;
  stream->get_last_error = &ArrowTableStream::GetLastError;
  stream->release = &ArrowTableStream::Release;
  stream->private_data = made.release();
}

std::shared_ptr<const ArrowTable> MakeArrowTable(DuckConnection& connection, const std::string& sql) {
  DuckResult result = connection.Stream(sql);
  duckdb_arrow_options options = nullptr;
  duckdb_connection_get_arrow_options(connection.Get(), &options);
  const std::unique_ptr<duckdb_arrow_options, void (*)(duckdb_arrow_options*)> owned(
      &options, duckdb_destroy_arrow_options);

  const std::size_t columns = result.Columns();
  std::vector<std::string> names;
  std::vector<const char*> places;
  std::vector<duckdb_logical_type> types;
  for (std::size_t i = 0; i < columns; ++i) names.push_back(result.Name(i));
  for (std::size_t i = 0; i < columns; ++i) {
    places.push_back(names[i].c_str());
    types.push_back(result.LogicalType(i));
  }
  auto table = std::make_shared<ArrowTable>();
  const duckdb_error_data error =
      duckdb_to_arrow_schema(options, types.data(), places.data(), columns, table->fSchema.Get());
  for (duckdb_logical_type& type : types) duckdb_destroy_logical_type(&type);
  Check(error);
  while (const DuckChunk chunk = result.Fetch()) {
    if (chunk.Rows() == 0) break;
    Check(duckdb_data_chunk_to_arrow(options, chunk.Get(), table->fvBatches.emplace_back().Get()));
  }
  return table;
}
