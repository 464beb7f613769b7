#pragma once

#include <cstdint>

// The structures of Arrow's C data interface and C stream interface, as Arrow's documentation lays them down
// for everybody to copy. DuckDB declares the first two and doesn't define them. The guards are Arrow's too, so
// that another copy in the same source does no harm.
//
// Ownership:  whoever has a structure calls its `release`, once; a null `release` marks one that was released
//             or moved. To move one, copy its bytes and set the `release` of the source to null. A child is
//             released with its parent, unless it was moved out of it.

// NOLINTBEGIN(bugprone-reserved-identifier): the names are fixed
#ifndef ARROW_C_DATA_INTERFACE
#define ARROW_C_DATA_INTERFACE

#define ARROW_FLAG_DICTIONARY_ORDERED 1
#define ARROW_FLAG_NULLABLE 2
#define ARROW_FLAG_MAP_KEYS_SORTED 4

extern "C" {

struct ArrowSchema {
  const char* format;
  const char* name;
  const char* metadata;
  int64_t flags;
  int64_t n_children;
  struct ArrowSchema** children;
  struct ArrowSchema* dictionary;
  void (*release)(struct ArrowSchema*);
  void* private_data;
};

struct ArrowArray {
  int64_t length;
  int64_t null_count;
  int64_t offset;
  int64_t n_buffers;
  int64_t n_children;
  const void** buffers;
  struct ArrowArray** children;
  struct ArrowArray* dictionary;
  void (*release)(struct ArrowArray*);
  void* private_data;
};

}  // extern "C"

#endif  // ARROW_C_DATA_INTERFACE

#ifndef ARROW_C_STREAM_INTERFACE
#define ARROW_C_STREAM_INTERFACE

extern "C" {

struct ArrowArrayStream {
  int (*get_schema)(struct ArrowArrayStream*, struct ArrowSchema* out);
  int (*get_next)(struct ArrowArrayStream*, struct ArrowArray* out);
  const char* (*get_last_error)(struct ArrowArrayStream*);
  void (*release)(struct ArrowArrayStream*);
  void* private_data;
};

}  // extern "C"

#endif  // ARROW_C_STREAM_INTERFACE
// NOLINTEND(bugprone-reserved-identifier)

// ArrowOwner releases a structure of the interface at the end of its life, unless it was moved or released.
template <class Structure>
class ArrowOwner {
public:
  ArrowOwner() = default;
  // Moves the structure here.
  explicit ArrowOwner(Structure* taken) : fOwned(*taken) { taken->release = nullptr; }
  ~ArrowOwner() { Release(); }
  ArrowOwner(ArrowOwner&& other) noexcept : fOwned(other.fOwned) { other.fOwned.release = nullptr; }
  ArrowOwner& operator=(ArrowOwner&& other) noexcept {
    if (this == &other) return *this;
    Release();
    fOwned = other.fOwned;
    other.fOwned.release = nullptr;
    return *this;
  }

  Structure* Get() { return &fOwned; }
  const Structure* Get() const { return &fOwned; }
  explicit operator bool() const { return fOwned.release != nullptr; }

private:
  void Release() {
    if (fOwned.release != nullptr) fOwned.release(&fOwned);
  }
  Structure fOwned{};
};
