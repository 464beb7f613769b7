#include <R_ext/Rdynload.h>
#include <setjmp.h>
#include <string.h>

#include "glue.h"

// --- handles -----------------------------------------------------------------------------------------------

static void close_session(SEXP pointer) {
  svs_close(R_ExternalPtrAddr(pointer));
  R_ClearExternalPtr(pointer);
}

static void close_frame(SEXP pointer) {
  svs_frame_close(R_ExternalPtrAddr(pointer));
  R_ClearExternalPtr(pointer);
}

static void close_result(SEXP pointer) {
  svs_result_close(R_ExternalPtrAddr(pointer));
  R_ClearExternalPtr(pointer);
}

SEXP svr_owner(void (*close)(SEXP)) {
  const SEXP pointer = PROTECT(R_MakeExternalPtr(NULL, R_NilValue, R_NilValue));
  R_RegisterCFinalizerEx(pointer, close, TRUE);
  UNPROTECT(1);
  return pointer;
}

void* svr_handle(SEXP pointer, const char* what) {
  void* const address = TYPEOF(pointer) == EXTPTRSXP ? R_ExternalPtrAddr(pointer) : NULL;
  if (address == NULL) Rf_error("this %s is of another session of R: make it anew", what);
  return address;
}

// --- polls -------------------------------------------------------------------------------------------------

// Looks for interrupts, and calls the user's function of the progress. Either can make R jump. That jump is
// stopped on its way out of the poll, the call is cancelled, and the jump continued once the library has
// returned.
struct Watch {
  SEXP progress;  // a function, or NULL
  SEXP jump;      // where R keeps a jump that was stopped
  jmp_buf back;
  int hasJumped;
  struct svs_progress now;
};

static SEXP look(void* data) {
  const struct Watch* const watch = data;
  R_CheckUserInterrupt();
  if (watch->progress == R_NilValue) return R_NilValue;
  const char* const kSteps[] = {"read", "draw", "finish"};
  const SEXP step = PROTECT(Rf_mkString(kSteps[watch->now.step]));
  const SEXP pass = PROTECT(Rf_ScalarInteger(watch->now.pass));
  const SEXP cases = PROTECT(Rf_ScalarReal((double)watch->now.cases));
  const SEXP total = PROTECT(Rf_ScalarReal(watch->now.total < 0 ? NA_REAL : (double)watch->now.total));
  const SEXP call = PROTECT(Rf_lang5(watch->progress, step, pass, cases, total));
  Rf_eval(call, R_GlobalEnv);
  UNPROTECT(5);
  return R_NilValue;
}

static void stop_jump(void* data, Rboolean isJump) {
  if (isJump) longjmp(((struct Watch*)data)->back, 1);
}

static int poll(void* data, const struct svs_progress* progress) {
  struct Watch* const watch = data;
  watch->now = *progress;
  if (setjmp(watch->back) != 0) {
    watch->hasJumped = 1;
    return 1;
  }
  R_UnwindProtect(look, watch, stop_jump, watch, watch->jump);
  return 0;
}

// --- calls -------------------------------------------------------------------------------------------------

// A call with a session of its own, and what it hands out. Its three objects are protected until finish().
struct Call {
  SEXP session;
  SEXP out;
  svs_session* handle;
  struct Watch watch;
};

static void begin(struct Call* call, SEXP threads, SEXP progress, void (*close)(SEXP)) {
  call->session = PROTECT(svr_owner(close_session));
  call->out = PROTECT(svr_owner(close));
  call->watch.progress = progress;
  call->watch.jump = PROTECT(R_MakeUnwindCont());
  call->watch.hasJumped = 0;
  const int count = Rf_asInteger(threads);
  const int status = svs_open(count, &call->handle);
  if (status == SVS_ERROR_ARGUMENT) Rf_error("threads: %d isn't a number of threads: 0 to 1024", count);
  if (status != SVS_OK) Rf_error("svselect is out of memory");
  R_SetExternalPtrAddr(call->session, call->handle);
}

// list(status, messages, out), or the jump of a poll.
static SEXP finish(struct Call* call, int status, void* out) {
  R_SetExternalPtrAddr(call->out, out);
  if (call->watch.hasJumped) {
    close_session(call->session);
    R_ContinueUnwind(call->watch.jump);
  }
  const SEXP answer = PROTECT(Rf_allocVector(VECSXP, 3));
  SET_VECTOR_ELT(answer, 0, Rf_ScalarInteger(status));
  const SEXP said = PROTECT(Rf_mkCharCE(svs_messages(call->handle), CE_UTF8));
  SET_VECTOR_ELT(answer, 1, Rf_ScalarString(said));
  SET_VECTOR_ELT(answer, 2, call->out);
  close_session(call->session);
  UNPROTECT(5);
  return answer;
}

static const char* text_or_null(SEXP text) {
  return text == R_NilValue ? NULL : CHAR(STRING_ELT(text, 0));
}

static SEXP frame_of_columns(SEXP columns, SEXP names, SEXP kinds, SEXP threads, SEXP progress) {
  struct ArrowArrayStream stream;
  svr_stream_of(columns, names, kinds, &stream);
  struct Call call;
  begin(&call, threads, progress, close_frame);
  svs_frame* frame = NULL;
  const int status = svs_frame_arrow(call.handle, &stream, poll, &call.watch, &frame);
  return finish(&call, status, frame);
}

static SEXP frame_of_file(SEXP path, SEXP schema, SEXP threads) {
  struct Call call;
  begin(&call, threads, R_NilValue, close_frame);
  svs_frame* frame = NULL;
  const int status = svs_frame_file(call.handle, text_or_null(path), text_or_null(schema), &frame);
  return finish(&call, status, frame);
}

static SEXP describe(SEXP frame, SEXP threads) {
  const svs_frame* const handle = svr_handle(frame, "frame");
  struct Call call;
  begin(&call, threads, R_NilValue, close_result);
  svs_result* result = NULL;
  const int status = svs_describe(call.handle, handle, poll, &call.watch, &result);
  return finish(&call, status, result);
}

static SEXP check(SEXP plan, SEXP frame, SEXP options, SEXP threads) {
  const svs_frame* const handle = frame == R_NilValue ? NULL : svr_handle(frame, "frame");
  const char* const text = text_or_null(plan);
  struct Call call;
  begin(&call, threads, R_NilValue, close_result);
  svs_result* result = NULL;
  const int status =
      svs_check(call.handle, text, strlen(text), handle, text_or_null(options), poll, &call.watch, &result);
  return finish(&call, status, result);
}

// Previews and draws differ in the function that they call.
typedef int (*Work)(svs_session*, const char*, size_t, const svs_frame*, const char*, svs_poll, void*,
                    svs_result**);

static SEXP work(Work function, SEXP plan, SEXP frame, SEXP options, SEXP threads, SEXP progress) {
  const svs_frame* const handle = svr_handle(frame, "frame");
  const char* const text = text_or_null(plan);
  struct Call call;
  begin(&call, threads, progress, close_result);
  svs_result* result = NULL;
  const int status =
      function(call.handle, text, strlen(text), handle, text_or_null(options), poll, &call.watch, &result);
  return finish(&call, status, result);
}

static SEXP preview(SEXP plan, SEXP frame, SEXP options, SEXP threads, SEXP progress) {
  return work(svs_preview, plan, frame, options, threads, progress);
}

static SEXP draw(SEXP plan, SEXP frame, SEXP options, SEXP threads, SEXP progress) {
  return work(svs_draw, plan, frame, options, threads, progress);
}

static SEXP result_json(SEXP result) {
  const SEXP text = PROTECT(Rf_mkCharCE(svs_result_json(svr_handle(result, "result")), CE_UTF8));
  const SEXP made = Rf_ScalarString(text);
  UNPROTECT(1);
  return made;
}

// Closes what an external pointer of R would close once it is garbage, of whose size R knows nothing.
static SEXP close_frame_now(SEXP pointer) {
  close_frame(pointer);
  return R_NilValue;
}

static SEXP close_result_now(SEXP pointer) {
  close_result(pointer);
  return R_NilValue;
}

static SEXP has_address(SEXP pointer) {
  return Rf_ScalarLogical(R_ExternalPtrAddr(pointer) != NULL);
}

static SEXP version(void) {
  return Rf_mkString(svs_version());
}

static const R_CallMethodDef kCalls[] = {
    {"svr_frame_of_columns", (DL_FUNC)&frame_of_columns, 5},
    {"svr_frame_of_file", (DL_FUNC)&frame_of_file, 3},
    {"svr_describe", (DL_FUNC)&describe, 2},
    {"svr_check", (DL_FUNC)&check, 4},
    {"svr_preview", (DL_FUNC)&preview, 5},
    {"svr_draw", (DL_FUNC)&draw, 5},
    {"svr_close_frame", (DL_FUNC)&close_frame_now, 1},
    {"svr_close_result", (DL_FUNC)&close_result_now, 1},
    {"svr_has_address", (DL_FUNC)&has_address, 1},
    {"svr_result_json", (DL_FUNC)&result_json, 1},
    {"svr_table", (DL_FUNC)&svr_table, 2},
    {"svr_json", (DL_FUNC)&svr_json, 1},
    {"svr_version", (DL_FUNC)&version, 0},
    {NULL, NULL, 0},
};

void R_init_svselect(DllInfo* library);
void R_init_svselect(DllInfo* library) {
  R_registerRoutines(library, NULL, kCalls, NULL, NULL);
  R_useDynamicSymbols(library, FALSE);
  R_forceSymbols(library, TRUE);
}
