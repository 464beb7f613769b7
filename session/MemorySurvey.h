#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host/engine/ArrowTable.h"
#include "host/engine/CaseProgress.h"
#include "host/output/RunOutcome.h"
#include "host/read/ArrowFrame.h"
#include "session/RunSurvey.h"

// Runs without files, for a caller who has plan and frame in memory and wants the results there. Each function
// makes a session of its own, so that none may exist; it writes nothing to a terminal, and no exception but
// std::bad_alloc comes out. RequestStop() ends one.

// A frame: a data file, or one that a caller has handed over.
struct MemoryFrame {
  std::string path;                         // empty for a frame in memory
  std::string schema;                       // a Table Schema file in place of the one beside the data
  std::shared_ptr<const ArrowFrame> arrow;  // null for a file
};

// What is at fault, so that a caller can tell the kinds of errors apart.
enum class MemoryFault {
  kNone,
  kOptions,    // an option is unknown or has an impossible value
  kPlan,       // the plan, or an option, can't be used with this frame: nothing was read but its variables
  kFrame,      // the frame can't be read, or has no cases
  kDraw,       // the draw failed
  kCancelled,  // a stop request
};

struct MemoryMessage {
  const char* level;  // "error", "warning" or "remark"
  std::string text;
};

struct MemoryOutcome {
  MemoryFault fault = MemoryFault::kNone;
  std::vector<MemoryMessage> messages;
  std::string json;  // the report of a draw, or what else was asked for
  // Of a draw. `joint` is null unless it was asked for and the design has joint probabilities.
  std::shared_ptr<const ArrowTable> sample;
  std::shared_ptr<const ArrowTable> joint;
  std::shared_ptr<const ArrowTable> strata;
};

// How far a run has got, for another thread to ask.
class RunWatch {
public:
  struct State {
    RunStep step = RunStep::kReadFrame;
    int pass = 0;             // over the cases, from 1; 0 before the first
    std::int64_t cases = 0;   // of the pass so far
    std::int64_t total = -1;  // cases of the frame; -1 unless known
  };
  State Get() const;

  // For the run: the session's progress while the session lives, null afterwards.
  void Follow(const CaseProgress* progress);
  void Begin(RunStep step) { fStep.store(step, std::memory_order_relaxed); }
  void SetTotal(std::int64_t cases) { fTotal.store(cases, std::memory_order_relaxed); }

private:
  std::atomic<RunStep> fStep = RunStep::kReadFrame;
  std::atomic<std::int64_t> fTotal = -1;
  mutable std::mutex fMutex;  // of the pointer and what it points to
  const CaseProgress* fpProgress = nullptr;
};

// Draws. `options` is the JSON text of ReadDrawOptions(). The tables and the report are there if `fault` is
// kNone; the report has the form of WriteJsonReport(), and is there as well if the draw failed.
MemoryOutcome DrawInMemory(const std::string& plan, const MemoryFrame& frame, const std::string& options,
                           int threads, RunWatch* watch);

// Checks a plan, and how it fits a frame if there is one (else null). Of the options those count that concern
// the frame, and `strict` and `exact_design`. The JSON text is an object with
//
//   status     "ok" or "error"
//   messages   [{level, text}]
MemoryOutcome CheckInMemory(const std::string& plan, const MemoryFrame* frame, const std::string& options,
                            int threads);

// Tells what a draw by a plan is going to do to a frame, which is read once. The options are those that count for
// CheckInMemory(), and `cost`. The JSON text is that of WritePreviewJson(). `fault` is kPlan if a draw can't begin,
// or fails whatever it draws.
MemoryOutcome PreviewInMemory(const std::string& plan, const MemoryFrame& frame, const std::string& options,
                              int threads, RunWatch* watch);

// Describes a frame. The JSON text is an object with
//
//   cases       number
//   variables   [{name, type: "number" | "string", column_type, label, level: "nominal" | "ordinal" | "scale",
//                 valid, missing, user_missing, different, smallest, largest,
//                 frequent: [{value, cases}]}]
//
// where `type` is what the variable is for a design and `column_type` what its column is in SQL; the figures
// from `valid` on are left out of a frame of more than FrameDescription::kMostSummarized variables; `smallest`
// and `largest` are there for a number with a valid value, and `frequent` where the values are few.
MemoryOutcome DescribeInMemory(const MemoryFrame& frame, int threads);
