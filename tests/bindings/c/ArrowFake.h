#pragma once

#include <cerrno>
#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "bindings/c/svselect.h"

// A stream of Arrow batches made by hand, with faults to order. What is handed out and not released is counted.
struct ArrowFake {
  struct Column {
    std::string name;
    std::string format;
    std::variant<std::vector<double>, std::vector<std::int64_t>, std::vector<std::string>> values{};
  };
  std::vector<Column> columns;
  std::vector<std::int64_t> batches{};  // rows of each
  int failsAt = -1;                     // batch that can't be had; batches.size() is the end
  bool failsAtSchema = false;
  bool slices = false;   // columns begin with the rows of the batches before, and have an offset
  int open = 0;          // structures that weren't released
  int next = 0;          // batch
  std::int64_t row = 0;  // its first one

  ArrowArrayStream Stream() {
    ++open;
    next = 0;
    row = 0;
    return {.get_schema = GetSchema,
            .get_next = GetNext,
            .get_last_error = [](ArrowArrayStream*) { return "the producer has its reasons"; },
            .release =
                [](ArrowArrayStream* stream) {
                  --Of(stream).open;
                  stream->release = nullptr;
                },
            .private_data = this};
  }

private:
  // What a schema or an array is made of.
  struct Parts {
    ArrowFake* fake;
    std::vector<ArrowSchema> schemas{};
    std::vector<ArrowSchema*> schemaPlaces{};
    std::vector<ArrowArray> arrays{};
    std::vector<ArrowArray*> arrayPlaces{};
    std::vector<std::vector<const void*>> buffers{};
    std::vector<std::vector<std::int32_t>> ends{};
    std::vector<std::string> bytes{};
  };

  static ArrowFake& Of(ArrowArrayStream* stream) { return *static_cast<ArrowFake*>(stream->private_data); }

  template <class Structure>
  static void Release(Structure* structure) {
    auto* const parts = static_cast<Parts*>(structure->private_data);
    --parts->fake->open;
    delete parts;
    structure->release = nullptr;
  }

  static int GetSchema(ArrowArrayStream* stream, ArrowSchema* out) {
    ArrowFake& fake = Of(stream);
    if (fake.failsAtSchema) return EIO;
    auto* const parts = new Parts{.fake = &fake};
    for (const Column& column : fake.columns) {
      ArrowSchema& schema = parts->schemas.emplace_back();
      schema.format = column.format.c_str();
      schema.name = column.name.c_str();
      schema.flags = ARROW_FLAG_NULLABLE;
      schema.release = [](ArrowSchema* child) { child->release = nullptr; };
    }
    for (ArrowSchema& schema : parts->schemas) parts->schemaPlaces.push_back(&schema);
    ++fake.open;
    *out = {};
    out->format = "+s";
    out->name = "";
    out->n_children = static_cast<std::int64_t>(fake.columns.size());
    out->children = parts->schemaPlaces.data();
    out->release = Release<ArrowSchema>;
    out->private_data = parts;
    return 0;
  }

  static int GetNext(ArrowArrayStream* stream, ArrowArray* out) {
    ArrowFake& fake = Of(stream);
    if (fake.next == fake.failsAt) return EIO;
    if (fake.next == static_cast<int>(fake.batches.size())) {
      *out = {};
      return 0;
    }
    const std::int64_t rows = fake.batches[static_cast<std::size_t>(fake.next++)];
    auto* const parts = new Parts{.fake = &fake};
    parts->buffers.resize(fake.columns.size() + 1, {nullptr});
    parts->ends.resize(fake.columns.size());
    parts->bytes.resize(fake.columns.size());
    for (std::size_t i = 0; i < fake.columns.size(); ++i) fake.AddColumn(i, rows, parts);
    for (ArrowArray& array : parts->arrays) parts->arrayPlaces.push_back(&array);
    fake.row += rows;
    ++fake.open;
    *out = {};
    out->length = rows;
    out->n_buffers = 1;
    out->n_children = static_cast<std::int64_t>(fake.columns.size());
    out->buffers = parts->buffers.back().data();
    out->children = parts->arrayPlaces.data();
    out->release = Release<ArrowArray>;
    out->private_data = parts;
    return 0;
  }

  void AddColumn(std::size_t i, std::int64_t rows, Parts* parts) const {
    std::vector<const void*>& buffers = parts->buffers[i];
    const std::int64_t offset = slices ? row : 0;
    const auto at = static_cast<std::ptrdiff_t>(row - offset);
    if (const auto* numbers = std::get_if<std::vector<double>>(&columns[i].values)) {
      buffers.push_back(numbers->data() + at);
    } else if (const auto* integers = std::get_if<std::vector<std::int64_t>>(&columns[i].values)) {
      buffers.push_back(integers->data() + at);
    } else {
      std::vector<std::int32_t>& ends = parts->ends[i];
      ends.push_back(0);
      const auto& texts = std::get<std::vector<std::string>>(columns[i].values);
      for (std::ptrdiff_t k = at; k < at + static_cast<std::ptrdiff_t>(offset + rows); ++k) {
        parts->bytes[i] += texts[static_cast<std::size_t>(k)];
        ends.push_back(static_cast<std::int32_t>(parts->bytes[i].size()));
      }
      buffers.push_back(ends.data());
      buffers.push_back(parts->bytes[i].data());
    }
    ArrowArray& array = parts->arrays.emplace_back();
    array.length = rows;
    array.offset = offset;
    array.n_buffers = static_cast<std::int64_t>(buffers.size());
    array.buffers = buffers.data();
    array.release = [](ArrowArray* child) { child->release = nullptr; };
  }
};
