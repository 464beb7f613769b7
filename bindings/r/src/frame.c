#include <math.h>
#include <string.h>

#include "glue.h"

// Everything here is allocated by R_alloc(), which R frees when the .Call ends, however it ends.

struct Batch {
  struct ArrowSchema schema;
  struct ArrowArray array;
  int isTaken;
};

static void release_schema(struct ArrowSchema* schema) {
  schema->release = NULL;
}
static void release_array(struct ArrowArray* array) {
  array->release = NULL;
}
static void release_stream(struct ArrowArrayStream* stream) {
  stream->release = NULL;
}
static const char* no_reason(struct ArrowArrayStream* stream) {
  (void)stream;
  return "";
}

static int get_schema(struct ArrowArrayStream* stream, struct ArrowSchema* out) {
  *out = ((struct Batch*)stream->private_data)->schema;
  return 0;
}

static int get_next(struct ArrowArrayStream* stream, struct ArrowArray* out) {
  struct Batch* const batch = stream->private_data;
  if (batch->isTaken) {
    memset(out, 0, sizeof *out);
  } else {
    *out = batch->array;
    batch->isTaken = 1;
  }
  return 0;
}

static void* zeroed(size_t count, size_t size) {
  void* const made = R_alloc(count > 0 ? count : 1, (int)size);
  memset(made, 0, count * size);
  return made;
}

// --- columns -----------------------------------------------------------------------------------------------

// The bits of which values are there. All are set first; the bitmap is used only if a null was found.
struct Validity {
  uint8_t* bits;
  int64_t nulls;
};

static struct Validity all_valid(R_xlen_t n) {
  struct Validity all = {zeroed((size_t)n / 8 + 1, 1), 0};
  memset(all.bits, 0xff, (size_t)n / 8 + 1);
  return all;
}

static void set_null(struct Validity* valid, R_xlen_t i) {
  valid->bits[i / 8] &= (uint8_t) ~(1u << (i % 8));
  ++valid->nulls;
}

static const void* bits_of(SEXP x, struct Validity* valid) {
  const R_xlen_t n = XLENGTH(x);
  const int* const values = LOGICAL_RO(x);
  uint8_t* const bits = zeroed((size_t)n / 8 + 1, 1);
  for (R_xlen_t i = 0; i < n; ++i) {
    if (values[i] == NA_LOGICAL) {
      set_null(valid, i);
    } else if (values[i]) {
      bits[i / 8] |= (uint8_t)(1u << (i % 8));
    }
  }
  return bits;
}

static const void* integers_of(SEXP x, struct Validity* valid) {
  const int* const values = INTEGER_RO(x);
  for (R_xlen_t i = 0; i < XLENGTH(x); ++i) {
    if (values[i] == NA_INTEGER) set_null(valid, i);
  }
  return values;
}

static const void* doubles_of(SEXP x, struct Validity* valid) {
  const double* const values = REAL_RO(x);
  for (R_xlen_t i = 0; i < XLENGTH(x); ++i) {
    if (ISNAN(values[i])) set_null(valid, i);
  }
  return values;
}

static const void* int64s_of(SEXP x, struct Validity* valid) {
  const double* const values = REAL_RO(x);
  for (R_xlen_t i = 0; i < XLENGTH(x); ++i) {
    int64_t whole;
    memcpy(&whole, &values[i], sizeof whole);
    if (whole == INT64_MIN) set_null(valid, i);
  }
  return values;
}

static const void* microseconds_of(SEXP x, struct Validity* valid) {
  const double* const seconds = REAL_RO(x);
  int64_t* const made = zeroed((size_t)XLENGTH(x), sizeof *made);
  for (R_xlen_t i = 0; i < XLENGTH(x); ++i) {
    if (ISNAN(seconds[i])) {
      set_null(valid, i);
    } else {
      made[i] = llround(seconds[i] * 1e6);
    }
  }
  return made;
}

static const void** texts_of(SEXP x, struct Validity* valid, const void** buffers) {
  const R_xlen_t n = XLENGTH(x);
  int64_t* const ends = zeroed((size_t)n + 1, sizeof *ends);
  for (R_xlen_t i = 0; i < n; ++i) {
    const SEXP text = STRING_ELT(x, i);
    if (text == NA_STRING) set_null(valid, i);
    ends[i + 1] = ends[i] + (text == NA_STRING ? 0 : LENGTH(text));
  }
  char* const bytes = zeroed((size_t)ends[n], 1);
  for (R_xlen_t i = 0; i < n; ++i) {
    memcpy(bytes + ends[i], CHAR(STRING_ELT(x, i)), (size_t)(ends[i + 1] - ends[i]));
  }
  buffers[1] = ends;
  buffers[2] = bytes;
  return buffers;
}

static const struct Kind {
  const char* name;
  const char* format;
  SEXPTYPE type;
  const void* (*values)(SEXP, struct Validity*);  // null for texts
} kKinds[] = {
    {"logical", "b", LGLSXP, bits_of},
    {"integer", "i", INTSXP, integers_of},
    {"double", "g", REALSXP, doubles_of},
    {"date", "tdD", INTSXP, integers_of},
    {"time", "tsu:", REALSXP, microseconds_of},
    {"int64", "l", REALSXP, int64s_of},
    {"text", "U", STRSXP, NULL},
};

static const struct Kind* kind_of(const char* name, SEXP column) {
  for (size_t i = 0; i < sizeof kKinds / sizeof kKinds[0]; ++i) {
    if (strcmp(kKinds[i].name, name) == 0 && kKinds[i].type == (SEXPTYPE)TYPEOF(column)) return &kKinds[i];
  }
  Rf_error("a column of kind %s and type %s", name, Rf_type2char(TYPEOF(column)));
}

static void add_column(SEXP column, const char* name, const struct Kind* kind, struct ArrowSchema* schema,
                       struct ArrowArray* array) {
  schema->format = kind->format;
  schema->name = name;
  schema->flags = ARROW_FLAG_NULLABLE;
  schema->release = release_schema;
  struct Validity valid = all_valid(XLENGTH(column));
  const void** const buffers = zeroed(3, sizeof *buffers);
  if (kind->values == NULL) {
    texts_of(column, &valid, buffers);
  } else {
    buffers[1] = kind->values(column, &valid);
  }
  buffers[0] = valid.nulls > 0 ? valid.bits : NULL;
  array->length = XLENGTH(column);
  array->null_count = valid.nulls;
  array->n_buffers = kind->values == NULL ? 3 : 2;
  array->buffers = buffers;
  array->release = release_array;
}

void svr_stream_of(SEXP columns, SEXP names, SEXP kinds, struct ArrowArrayStream* stream) {
  const R_xlen_t n = XLENGTH(columns);
  struct Batch* const batch = zeroed(1, sizeof *batch);
  struct ArrowSchema* const schemas = zeroed((size_t)n, sizeof *schemas);
  struct ArrowArray* const arrays = zeroed((size_t)n, sizeof *arrays);
  batch->schema =
      (struct ArrowSchema){.format = "+s", .name = "", .n_children = n, .release = release_schema};
  batch->schema.children = zeroed((size_t)n, sizeof *batch->schema.children);
  batch->array = (struct ArrowArray){.n_buffers = 1, .n_children = n, .release = release_array};
  batch->array.buffers = zeroed(1, sizeof *batch->array.buffers);
  batch->array.children = zeroed((size_t)n, sizeof *batch->array.children);
  batch->array.length = n == 0 ? 0 : XLENGTH(VECTOR_ELT(columns, 0));
  for (R_xlen_t i = 0; i < n; ++i) {
    const SEXP column = VECTOR_ELT(columns, i);
    if (XLENGTH(column) != batch->array.length) Rf_error("columns of different lengths");
    const struct Kind* const kind = kind_of(CHAR(STRING_ELT(kinds, i)), column);
    add_column(column, CHAR(STRING_ELT(names, i)), kind, &schemas[i], &arrays[i]);
    batch->schema.children[i] = &schemas[i];
    batch->array.children[i] = &arrays[i];
  }
  *stream = (struct ArrowArrayStream){get_schema, get_next, no_reason, release_stream, batch};
}
