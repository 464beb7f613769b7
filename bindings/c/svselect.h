#pragma once

/*
 * svselect as a library: a frame in memory or in a file goes in, a sample in memory comes out.
 *
 *   svs_session *session = NULL;
 *   svs_frame *frame = NULL;
 *   svs_result *result = NULL;
 *   struct ArrowArrayStream sample;
 *   if (svs_open(0, &session) == SVS_OK &&
 *       svs_frame_arrow(session, &stream, NULL, NULL, &frame) == SVS_OK &&
 *       svs_draw(session, plan, strlen(plan), frame, "{\"seed\": 4711}", NULL, NULL, &result) == SVS_OK &&
 *       svs_result_table(session, result, SVS_SAMPLE, &sample) == SVS_OK) {
 *     ... read the stream, release it ...
 *   } else {
 *     puts(svs_messages(session));
 *   }
 *   svs_result_close(result); svs_frame_close(frame); svs_close(session);
 *
 * Samples. Same plan, frame, options and seed: the rows of the sample, and the joint probabilities, that the
 * program writes, to the last bit, whatever the number of threads.
 *
 * Texts are UTF-8. What the library takes is read during the call only, and copied where it is needed longer.
 *
 * Ownership. Each object that a function hands out is closed with the function of its name, in any order; a
 * null pointer may be closed. Texts that a function returns belong to the object that they come from. An
 * output parameter is set only if the function returns SVS_OK, unless it says otherwise.
 *
 * Threads. A session is used by one thread at a time, and so is a result; a frame must not be closed while it is
 * used. Apart from that any thread may call any function. One thread of a process draws, checks, describes or
 * takes a frame over at a time; others wait for it in the call, with their polls called meanwhile.
 * Such a call from within a callback of the library is refused (SVS_ERROR_ARGUMENT).
 * Work is done by threads of the library with all signals blocked, so that signals reach the caller's own.
 * Every callback is called on the thread that called the function.
 *
 * Processes. A handle belongs to the process that made it. After fork() the child must not use it, not even to
 * close it: functions with a status refuse it (SVS_ERROR_ARGUMENT), and closing it does nothing. The child can open
 * a session of its own, unless it was forked in the middle of a call of another thread.
 *
 * Errors. A function that can fail returns a status, and svs_messages() says why. No exception comes out, nothing
 * is written to a standard stream, no signal handler is installed, the process isn't ended, and the locale isn't
 * changed. A pointer that must not be null and is: SVS_ERROR_ARGUMENT.
 *
 * Files. Frames, samples and joint probabilities stay in memory, and may spill to a folder below TMPDIR that is
 * removed with them. A plan is kept in a file in such a folder during a call. A data file that is drawn from is
 * only read.
 */

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Arrow's C data interface and C stream interface, as Arrow's documentation has them. */
#ifndef ARROW_C_DATA_INTERFACE
#define ARROW_C_DATA_INTERFACE

#define ARROW_FLAG_DICTIONARY_ORDERED 1
#define ARROW_FLAG_NULLABLE 2
#define ARROW_FLAG_MAP_KEYS_SORTED 4

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

#endif
#ifndef ARROW_C_STREAM_INTERFACE
#define ARROW_C_STREAM_INTERFACE

struct ArrowArrayStream {
  int (*get_schema)(struct ArrowArrayStream*, struct ArrowSchema* out);
  int (*get_next)(struct ArrowArrayStream*, struct ArrowArray* out);
  const char* (*get_last_error)(struct ArrowArrayStream*);
  void (*release)(struct ArrowArrayStream*);
  void* private_data;
};

#endif

#if defined(__GNUC__)
#define SVS_EXPORT __attribute__((visibility("default")))
#else
#define SVS_EXPORT
#endif

typedef struct svs_session svs_session; /* a caller: its number of threads and its last messages */
typedef struct svs_frame svs_frame;     /* what is drawn from */
typedef struct svs_result svs_result;   /* what a call has found or drawn */

/* What a function returns. Numbers are never given another meaning; later versions may add some. */
enum {
  SVS_OK = 0,
  SVS_ERROR_ARGUMENT = 1, /* an argument or option that can't be used; nothing was done */
  SVS_ERROR_PLAN = 2,     /* the plan can't be used, or not with this frame */
  SVS_ERROR_FRAME = 3,    /* the frame can't be read, has no cases or a column that can't be used */
  SVS_ERROR_DRAW = 4,     /* the draw failed */
  SVS_CANCELLED = 5,      /* the poll function asked for it */
  SVS_ERROR_MEMORY = 6    /* out of memory, or no thread is available */
};

/* How far a call is. Only as exact as a progress display needs. */
struct svs_progress {
  int32_t step;  /* 0 waiting or reading the frame, 1 drawing, 2 keeping the results */
  int32_t pass;  /* over the cases of the frame, from 1; 0 before the first. A draw makes one for each stage
                    and one more for the sample */
  int64_t cases; /* read so far: of the pass, or of the stream */
  int64_t total; /* cases of the frame; -1 if unknown */
};

/*
 * Watches a call: it is called about every 50 ms, and soon after the beginning. A value other than 0 cancels the
 * call, which then returns SVS_CANCELLED within a fraction of a second; the function isn't called again. The
 * progress is valid during the call of the function. It must return: neither an exception nor longjmp() may
 * leave it.
 */
typedef int (*svs_poll)(void* data, const struct svs_progress* progress);

/* "0.1.0": the version of the library. Never null, valid for ever. */
SVS_EXPORT const char* svs_version(void);

/*
 * Opens a session. `threads` is the number of threads to work with, 0 for as many as there are processors; at
 * most 1024. A frame that is taken over keeps the number of the session that took it.
 */
SVS_EXPORT int svs_open(int threads, svs_session** session);
SVS_EXPORT void svs_close(svs_session* session);

/*
 * What there is to say about the last call with this session, also if it was successful: a JSON array of
 * {"level": "error" | "warning" | "remark", "text": "..."} in order. Never null; "[]" for nothing to say. Valid
 * until the next call with the session.
 */
SVS_EXPORT const char* svs_messages(const svs_session* session);

/*
 * Takes over a frame in memory. The stream is read to its end on this thread, each batch once, and released,
 * whatever the function returns; stream->release is null afterwards. The frame can be drawn from as often as
 * wanted.
 *
 * Columns can be truth values, integers, floating point numbers of 32 and 64 bits, decimals of up to 128 bits,
 * texts, dates, times and timestamps without a time zone, null, and dictionaries of these. A column of another
 * type, two columns whose names differ only in case, a frame without a column, and a stream that fails are
 * SVS_ERROR_FRAME. The cases are those of a Parquet file with these columns.
 */
SVS_EXPORT int svs_frame_arrow(svs_session* session, struct ArrowArrayStream* stream, svs_poll poll,
                               void* poll_data, svs_frame** frame);

/*
 * A data file as the frame: .sav, .parquet, .csv, .tsv, .json or .ndjson. `schema` is a Table Schema file in place
 * of the one beside the data, or null. Nothing is opened before the frame is used; each use opens it anew.
 */
SVS_EXPORT int svs_frame_file(svs_session* session, const char* path, const char* schema, svs_frame** frame);
SVS_EXPORT void svs_frame_close(svs_frame* frame);

/*
 * Describes a frame: svs_result_json() is {"cases": ..., "variables": [{"name", "type": "number" | "string",
 * "column_type", "label", "level", "valid", "missing", "user_missing", "different", "smallest", "largest",
 * "frequent": [{"value", "cases"}]}]}. What was read: all cases, up to twice.
 */
SVS_EXPORT int svs_describe(svs_session* session, const svs_frame* frame, svs_poll poll, void* poll_data,
                            svs_result** result);

/*
 * Checks a plan of `plan_length` bytes, and, unless `frame` is null, whether a draw from the frame can begin: its
 * variables, their types, the strata and units of the first stage. svs_result_json() is {"status": "ok" |
 * "error", "messages": [...]} with the messages of svs_messages(). A plan is JSON or XML, which its contents tell;
 * a table in a file beside the plan can't be found.
 * `options` as for svs_draw(). The result is also set for SVS_ERROR_PLAN and SVS_ERROR_FRAME.
 */
SVS_EXPORT int svs_check(svs_session* session, const char* plan, size_t plan_length, const svs_frame* frame,
                         const char* options, svs_poll poll, void* poll_data, svs_result** result);

/*
 * Tells what a draw by a plan is going to do to a frame: what is asked for and possible in each stratum,
 * probabilities and weights, the sample to expect over all stages. The frame is read once; no random number is
 * used. svs_result_json() is what `svselect preview --json` prints. `options` as for svs_draw(), of which "strict",
 * "exact_design" and those about the frame count, and
 *
 *   "cost": [1000, 250, 40]  what the survey costs: for all, for each unit of the first stage, for each case
 *
 * SVS_ERROR_PLAN if a draw can't begin or fails whatever it draws; the result is also set then if the frame was
 * read.
 */
SVS_EXPORT int svs_preview(svs_session* session, const char* plan, size_t plan_length, const svs_frame* frame,
                           const char* options, svs_poll poll, void* poll_data, svs_result** result);

/*
 * Draws a sample. `options` is null or a JSON object; its members mean what the options of `svselect run` mean:
 *
 *   "seed": 4711            1 to 2147483647, or "random" (the default)
 *   "stages": [1, 2]        all if not given
 *   "exact_design": true, "strict": true
 *   "joint": true           compute the joint inclusion probabilities of the first stage; unlike the program, no
 *                           design does so unasked
 *   "keep": ["a", "b"]      variables of the frame in the sample; all if not given
 *   "weight": "w", "split": ["a"], "sort": ["a", "-b"], "serpentine": true
 *
 * An unknown member, one that is given twice, and an impossible value are SVS_ERROR_ARGUMENT.
 */
SVS_EXPORT int svs_draw(svs_session* session, const char* plan, size_t plan_length, const svs_frame* frame,
                        const char* options, svs_poll poll, void* poll_data, svs_result** result);

/* Tables of a draw. */
enum {
  SVS_SAMPLE =
      0, /* one row for each selected case: the variables kept, those that the plan adds, the weight */
  SVS_JOINT = 1, /* one row for each unit selected in the first stage: strata, clusters, number of the unit in
                     its stratum, and its joint probabilities with the units of the stratum */
  SVS_STRATA = 2 /* one row for each stratum of each stage: stage, the variables that identify the stratum,
                     requested, drawn (units), requested_rate, drawn_rate */
};

/*
 * Fills a stream with a table of a draw, which the caller must release; it may outlive result and session. A table
 * can be had any number of times; no values are copied. SVS_ERROR_ARGUMENT if the result has no such table: the
 * joint probabilities weren't asked for, or the design has none.
 */
SVS_EXPORT int svs_result_table(svs_session* session, const svs_result* result, int table,
                                struct ArrowArrayStream* stream);

/*
 * What a call has found, as JSON. Of a draw it is the report that `svselect run --report FILE.json` writes. Never
 * null, valid until the result is closed.
 */
SVS_EXPORT const char* svs_result_json(const svs_result* result);
SVS_EXPORT void svs_result_close(svs_result* result);

#ifdef __cplusplus
}
#endif
