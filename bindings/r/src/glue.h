#pragma once

// What the parts of the glue between R and the library share. R reports errors by longjmp(), which must never
// pass through the library's own frames. So:
//
//   - what a call of the library needs is made before it, in memory of R; callbacks touch nothing of R but by
//     R_UnwindProtect()
//   - what the library hands out is owned by an external pointer of R, which closes it also after an error

#define R_NO_REMAP
#include <R.h>
#include <Rinternals.h>

#include "svselect.h"

// Fills a stream of one batch with the columns of a data frame, a list of vectors. `kinds` says what each of
// them is: "logical", "integer", "double", "text" (in UTF-8), "date" (whole days), "time" (seconds) or
// "int64" (the bits of doubles). NA and NaN become null. The stream borrows the vectors and is valid until
// the .Call ends.
void svr_stream_of(SEXP columns, SEXP names, SEXP kinds, struct ArrowArrayStream* stream);

// The table of a result as a named list of vectors.
SEXP svr_table(SEXP result, SEXP which);

// A JSON text as lists; objects are named ones, null is NULL.
SEXP svr_json(SEXP text);

// The object behind an external pointer. An error of R, with `what` it is, if the pointer comes from another
// session of R.
void* svr_handle(SEXP pointer, const char* what);

// An external pointer whose address is closed with it. It is made without one, so that nothing is lost if R
// has no memory.
SEXP svr_owner(void (*close)(SEXP));
