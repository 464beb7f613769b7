#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "glue.h"

// Arrow's tables as vectors of R. A whole number beyond 2^53, and a decimal of more digits, which a double
// can't hold, make their column one of texts: no digit is lost unseen.

__extension__ typedef __int128 Whole;

struct Table {
  struct ArrowArrayStream stream;
  struct ArrowSchema schema;
  struct ArrowArray* batches;
  size_t count;
  size_t room;
};

static void close_table(SEXP pointer) {
  struct Table* const table = R_ExternalPtrAddr(pointer);
  if (table == NULL) return;
  for (size_t i = 0; i < table->count; ++i) {
    if (table->batches[i].release != NULL) table->batches[i].release(&table->batches[i]);
  }
  if (table->schema.release != NULL) table->schema.release(&table->schema);
  if (table->stream.release != NULL) table->stream.release(&table->stream);
  free(table->batches);
  free(table);
  R_ClearExternalPtr(pointer);
}

// Reads the stream to its end. 0, or an error number.
static int fetch(struct Table* table) {
  int code = table->stream.get_schema(&table->stream, &table->schema);
  while (code == 0) {
    if (table->count == table->room) {
      const size_t room = table->room == 0 ? 16 : table->room * 2;
      struct ArrowArray* const grown = realloc(table->batches, room * sizeof *grown);
      if (grown == NULL) return ENOMEM;
      table->batches = grown;
      table->room = room;
    }
    struct ArrowArray* const next = &table->batches[table->count];
    memset(next, 0, sizeof *next);
    code = table->stream.get_next(&table->stream, next);
    if (code != 0 || next->release == NULL) break;
    ++table->count;
  }
  return code;
}

// --- columns -----------------------------------------------------------------------------------------------

// A column of all batches, value by value.
struct Column {
  const struct Table* table;
  int64_t index;
  const char* format;
  R_xlen_t rows;
  int scale;  // digits after a decimal's point
  int bytes;  // of a decimal
};

// Where a value is.
struct Place {
  const struct ArrowArray* array;
  int64_t at;
};

typedef void (*Visit)(const struct Column*, struct Place, R_xlen_t row, void* to);

static int bit_at(const void* bits, int64_t i) {
  return ((const uint8_t*)bits)[i / 8] >> (i % 8) & 1;
}

// Calls `value` for each value that is there, and `null` for the others.
static void each(const struct Column* column, Visit value, Visit null, void* to) {
  R_xlen_t row = 0;
  for (size_t i = 0; i < column->table->count; ++i) {
    const struct ArrowArray* const batch = &column->table->batches[i];
    const struct ArrowArray* const array = batch->children[column->index];
    const void* const valid = array->n_buffers > 0 ? array->buffers[0] : NULL;
    for (int64_t k = 0; k < batch->length; ++k, ++row) {
      const struct Place place = {array, array->offset + batch->offset + k};
      const int isNull = array->n_buffers == 0 || (valid != NULL && !bit_at(valid, place.at));
      (isNull ? null : value)(column, place, row, to);
    }
  }
}

static Whole whole_at(const struct Column* column, struct Place place) {
  const void* const values = place.array->buffers[1];
  const int64_t i = place.at;
  switch (column->format[0] == 'd' ? (column->bytes == 16  ? 'q'
                                      : column->bytes == 8 ? 'l'
                                                           : 'i')
                                   : column->format[0]) {
    case 'c':
      return ((const int8_t*)values)[i];
    case 'C':
      return ((const uint8_t*)values)[i];
    case 's':
      return ((const int16_t*)values)[i];
    case 'S':
      return ((const uint16_t*)values)[i];
    case 'i':
      return ((const int32_t*)values)[i];
    case 'I':
      return ((const uint32_t*)values)[i];
    case 'L':
      return ((const uint64_t*)values)[i];
    case 'q': {
      Whole whole;
      memcpy(&whole, (const char*)values + 16 * i, sizeof whole);
      return whole;
    }
    default:
      return ((const int64_t*)values)[i];  // also times
  }
}

static void null_integer(const struct Column* column, struct Place place, R_xlen_t row, void* to) {
  (void)column, (void)place;
  ((int*)to)[row] = NA_INTEGER;
}

static void null_real(const struct Column* column, struct Place place, R_xlen_t row, void* to) {
  (void)column, (void)place;
  ((double*)to)[row] = NA_REAL;
}

static void null_text(const struct Column* column, struct Place place, R_xlen_t row, void* to) {
  (void)column, (void)place;
  SET_STRING_ELT(to, row, NA_STRING);
}

static void nothing(const struct Column* column, struct Place place, R_xlen_t row, void* to) {
  (void)column, (void)place, (void)row, (void)to;
}

static void to_logical(const struct Column* column, struct Place place, R_xlen_t row, void* to) {
  (void)column;
  ((int*)to)[row] = bit_at(place.array->buffers[1], place.at);
}

static void to_integer(const struct Column* column, struct Place place, R_xlen_t row, void* to) {
  ((int*)to)[row] = (int)whole_at(column, place);
}

static void to_real(const struct Column* column, struct Place place, R_xlen_t row, void* to) {
  const void* const values = place.array->buffers[1];
  ((double*)to)[row] =
      column->format[0] == 'f' ? ((const float*)values)[place.at] : ((const double*)values)[place.at];
}

// Exact: both numbers of the quotient are, as powers of ten up to 10^22 are.
static void whole_to_real(const struct Column* column, struct Place place, R_xlen_t row, void* to) {
  double power = 1;
  for (int i = 0; i < column->scale; ++i) power *= 10;
  ((double*)to)[row] = (double)whole_at(column, place) / power;
}

static void is_too_long(const struct Column* column, struct Place place, R_xlen_t row, void* to) {
  (void)row;
  const Whole limit = (Whole)1 << 53;
  const Whole whole = whole_at(column, place);
  if (whole > limit || whole < -limit || column->scale > 22) *(int*)to = 1;
}

static void whole_to_text(const struct Column* column, struct Place place, R_xlen_t row, void* to) {
  Whole whole = whole_at(column, place);
  const int isNegative = whole < 0;
  char text[64];
  char* at = text + sizeof text;
  for (int digits = 0; digits <= column->scale || whole != 0; ++digits) {
    if (digits == column->scale && digits > 0) *--at = '.';
    const int digit = (int)(whole % 10);
    *--at = (char)('0' + (digit < 0 ? -digit : digit));
    whole /= 10;
  }
  if (isNegative) *--at = '-';
  SET_STRING_ELT(to, row, Rf_mkCharLen(at, (int)(text + sizeof text - at)));
}

static void to_text(const struct Column* column, struct Place place, R_xlen_t row, void* to) {
  const void* const* const buffers = place.array->buffers;
  const char* bytes;
  int64_t length;
  if (column->format[0] == 'v') {
    const char* const view = (const char*)buffers[1] + 16 * place.at;
    int32_t parts[4];  // length, first bytes, buffer, offset
    memcpy(parts, view, sizeof parts);
    length = parts[0];
    bytes = length <= 12 ? view + 4 : (const char*)buffers[2 + parts[2]] + parts[3];
  } else if (column->format[0] == 'u') {
    const int32_t* const ends = (const int32_t*)buffers[1] + place.at;
    bytes = (const char*)buffers[2] + ends[0];
    length = ends[1] - ends[0];
  } else {
    const int64_t* const ends = (const int64_t*)buffers[1] + place.at;
    bytes = (const char*)buffers[2] + ends[0];
    length = ends[1] - ends[0];
  }
  if (length > INT_MAX) Rf_error("a text of %.0f bytes", (double)length);
  SET_STRING_ELT(to, row, Rf_mkCharLenCE(bytes, (int)length, CE_UTF8));
}

// --- types -------------------------------------------------------------------------------------------------

static void set_class(SEXP x, const char* first, const char* second) {
  const SEXP names = PROTECT(Rf_allocVector(STRSXP, second == NULL ? 1 : 2));
  SET_STRING_ELT(names, 0, Rf_mkChar(first));
  if (second != NULL) SET_STRING_ELT(names, 1, Rf_mkChar(second));
  Rf_classgets(x, names);
  UNPROTECT(1);
}

static SEXP vector_of(SEXPTYPE type, const struct Column* column, Visit value, Visit null) {
  const SEXP made = PROTECT(Rf_allocVector(type, column->rows));
  each(column, value, null,
       type == REALSXP  ? (void*)REAL(made)
       : type == STRSXP ? (void*)made
                        : (void*)INTEGER(made));
  UNPROTECT(1);
  return made;
}

static SEXP exact_numbers(const struct Column* column) {
  int isTooLong = 0;
  each(column, is_too_long, nothing, &isTooLong);
  return isTooLong ? vector_of(STRSXP, column, whole_to_text, null_text)
                   : vector_of(REALSXP, column, whole_to_real, null_real);
}

// Days, times of a day, and points in time in UTC: whole numbers of a unit, or of 10^-scale seconds.
static SEXP times(struct Column column) {
  const int isDate = column.format[1] == 'd';
  const char* const kFormat = column.format;
  const char unit = kFormat[2];
  column.scale = unit == 's' || isDate ? 0 : unit == 'm' ? 3 : unit == 'u' ? 6 : 9;
  column.format = isDate || (kFormat[1] == 't' && (unit == 's' || unit == 'm')) ? "i" : "l";
  const SEXP made = PROTECT(vector_of(REALSXP, &column, whole_to_real, null_real));
  if (isDate) {
    set_class(made, "Date", NULL);
  } else if (kFormat[1] == 't') {
    set_class(made, "difftime", NULL);
    Rf_setAttrib(made, Rf_install("units"), PROTECT(Rf_mkString("secs")));
    UNPROTECT(1);
  } else {
    set_class(made, "POSIXct", "POSIXt");
    Rf_setAttrib(made, Rf_install("tzone"), PROTECT(Rf_mkString("UTC")));
    UNPROTECT(1);
  }
  UNPROTECT(1);
  return made;
}

static SEXP column_as_vector(struct Column column) {
  const char* const format = column.format;
  if (strcmp(format, "b") == 0) return vector_of(LGLSXP, &column, to_logical, null_integer);
  if (strcmp(format, "n") == 0) return vector_of(LGLSXP, &column, nothing, null_integer);
  if (strlen(format) == 1 && strchr("cCsSi", *format))
    return vector_of(INTSXP, &column, to_integer, null_integer);
  if (strlen(format) == 1 && strchr("IlL", *format)) return exact_numbers(&column);
  if (strlen(format) == 1 && strchr("fg", *format)) return vector_of(REALSXP, &column, to_real, null_real);
  if (strcmp(format, "u") == 0 || strcmp(format, "U") == 0 || strcmp(format, "vu") == 0)
    return vector_of(STRSXP, &column, to_text, null_text);
  int precision = 0;
  int bits = 128;
  if (sscanf(format, "d:%d,%d,%d", &precision, &column.scale, &bits) >= 2) {
    column.bytes = bits / 8;
    return exact_numbers(&column);
  }
  if (strcmp(format, "tdD") == 0 || strncmp(format, "tt", 2) == 0 || strncmp(format, "ts", 2) == 0)
    return times(column);
  Rf_error("R has no type for Arrow's \"%s\"", format);
}

// REQUIRES: the table is fetched.
static SEXP as_list(const struct Table* table) {
  R_xlen_t rows = 0;
  for (size_t i = 0; i < table->count; ++i) rows += (R_xlen_t)table->batches[i].length;
  const SEXP made = PROTECT(Rf_allocVector(VECSXP, table->schema.n_children));
  const SEXP names = PROTECT(Rf_allocVector(STRSXP, table->schema.n_children));
  for (int64_t i = 0; i < table->schema.n_children; ++i) {
    const struct ArrowSchema* const child = table->schema.children[i];
    const struct Column column = {table, i, child->format, rows, 0, 0};
    SET_VECTOR_ELT(made, i, column_as_vector(column));
    SET_STRING_ELT(names, i, Rf_mkCharCE(child->name, CE_UTF8));
  }
  Rf_setAttrib(made, R_NamesSymbol, names);
  UNPROTECT(2);
  return made;
}

SEXP svr_table(SEXP result, SEXP which) {
  const svs_result* const handle = svr_handle(result, "sample");
  const SEXP owner = PROTECT(svr_owner(close_table));
  struct Table* const table = calloc(1, sizeof *table);
  if (table == NULL) Rf_error("out of memory");
  R_SetExternalPtrAddr(owner, table);
  svs_session* session = NULL;
  if (svs_open(0, &session) != SVS_OK) Rf_error("out of memory");
  const int status = svs_result_table(session, handle, Rf_asInteger(which), &table->stream);
  svs_close(session);
  if (status == SVS_ERROR_ARGUMENT) {
    UNPROTECT(1);
    return R_NilValue;  // no such table
  }
  const int code = status == SVS_OK ? fetch(table) : ENOMEM;
  if (code != 0) Rf_error("the table can't be read: %s", strerror(code));
  const SEXP made = PROTECT(as_list(table));
  close_table(owner);
  UNPROTECT(2);
  return made;
}
