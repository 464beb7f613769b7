#include "bindings/c/svselect.h"

#include <unistd.h>

#include <memory>
#include <new>
#include <nlohmann/json.hpp>
#include <string>
#include <system_error>
#include <utility>

#include "bindings/c/OneRun.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "session/MemorySurvey.h"
#include "session/ProcedureLibrary.h"

// The border to C: arguments are checked, a turn is taken, the work is done by session/MemorySurvey.h on a thread
// of its own, and whatever happens becomes a status with messages. Each function is noexcept in effect: Call()
// catches everything.

namespace {

constexpr int kMostThreads = 1024;

// What every handle begins with: the process that made it.
struct Handle {
  pid_t process = getpid();
  bool IsOfOthers() const { return process != getpid(); }
};

}  // namespace

struct svs_session : Handle {
  int threads = 0;
  std::string messages = "[]";
};

struct svs_frame : Handle {
  MemoryFrame frame;
};

struct svs_result : Handle {
  MemoryOutcome outcome;
};

namespace {

int StatusOf(MemoryFault fault) {
  switch (fault) {
    case MemoryFault::kNone:
      return SVS_OK;
    case MemoryFault::kOptions:
      return SVS_ERROR_ARGUMENT;
    case MemoryFault::kPlan:
      return SVS_ERROR_PLAN;
    case MemoryFault::kFrame:
      return SVS_ERROR_FRAME;
    case MemoryFault::kCancelled:
      return SVS_CANCELLED;
    default:
      return SVS_ERROR_DRAW;
  }
}

std::string TextOf(const std::vector<MemoryMessage>& messages) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const MemoryMessage& message : messages) {
    list.push_back({{"level", message.level}, {"text", message.text}});
  }
  return list.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

int Refuse(svs_session* session, int status, const std::string& why) {
  session->messages = TextOf({{"error", why}});
  return status;
}

// Runs a call with a session whose messages are those of this call. `work` returns the status.
template <class Work>
int Call(svs_session* session, const Work& work) {
  if (session == nullptr || session->IsOfOthers()) return SVS_ERROR_ARGUMENT;
  try {
    session->messages = "[]";
    return work();
  } catch (const std::bad_alloc&) {
    session->messages.clear();
    session->messages.shrink_to_fit();
    session->messages = "[]";
    return SVS_ERROR_MEMORY;
  } catch (const std::system_error&) {  // no thread
    return SVS_ERROR_MEMORY;
  } catch (...) {
    try {
      return Refuse(session, SVS_ERROR_DRAW, CaughtException());
    } catch (...) {
      return SVS_ERROR_MEMORY;
    }
  }
}

// Why a turn wasn't taken; SVS_OK if it was.
int StatusOf(svs_session* session, Turn turn) {
  switch (turn) {
    case Turn::kTaken:
      return SVS_OK;
    case Turn::kStopped:
      return SVS_CANCELLED;
    case Turn::kNested:
      return Refuse(session, SVS_ERROR_ARGUMENT, "called from within a callback of the library");
    default:
      return Refuse(session, SVS_ERROR_ARGUMENT,
                    "the process was forked while another thread was drawing, so that it can't draw");
  }
}

// Runs `work`, which gives an outcome, with its turn and polls, and hands out its result. `isKept` says of which
// failures there is a result.
template <class Work>
int Run(svs_session* session, svs_poll poll, void* data, svs_result** result, const RunWatch& watch,
        const Work& work) {
  Poller poller([&] {
    if (poll == nullptr) return false;
    const RunWatch::State state = watch.Get();
    const svs_progress progress = {.step = state.step == RunStep::kReadFrame ? 0
                                           : state.step == RunStep::kDraw    ? 1
                                                                             : 2,
                                   .pass = state.pass,
                                   .cases = state.cases,
                                   .total = state.total};
    return poll(data, &progress) != 0;
  });
  auto made = std::make_unique<svs_result>();
  const OneRun run(&poller);
  if (const int status = StatusOf(session, run.Get()); status != SVS_OK) return status;
  RunOnThread([&] { made->outcome = work(); }, &poller);
  const MemoryOutcome& outcome = made->outcome;
  session->messages = TextOf(outcome.messages);
  const int status = StatusOf(outcome.fault);
  if (!outcome.json.empty()) *result = made.release();
  return status;
}

bool IsUsable(const svs_frame* frame) {
  return frame != nullptr && !frame->IsOfOthers();
}

// A draw or a preview: `work` is the function for it.
int RunPlan(svs_session* session, const char* plan, std::size_t length, const svs_frame* frame,
            const char* options, svs_poll poll, void* data, svs_result** result,
            decltype(&DrawInMemory) work) {
  return Call(session, [&] {
    if (plan == nullptr || !IsUsable(frame) || result == nullptr) {
      return Refuse(session, SVS_ERROR_ARGUMENT, "there is no plan, no frame or no place for the result");
    }
    const std::string text(plan, length);
    const std::string json = options == nullptr ? "" : options;
    RunWatch watch;
    return Run(session, poll, data, result, watch,
               [&] { return work(text, frame->frame, json, session->threads, &watch); });
  });
}

// Reads the stream into a new frame. The database is opened with signals blocked, since it starts threads.
int TakeFrame(svs_session* session, ArrowOwner<ArrowArrayStream>* stream, Poller* poller,
              std::int64_t* casesRead, svs_frame* frame) {
  const OneRun run(poller);
  if (const int status = StatusOf(session, run.Get()); status != SVS_OK) return status;
  try {
    const HostSession host({.threads = session->threads});
    std::shared_ptr<ArrowFrame> arrow;
    {
      const SignalsBlocked blocked;
      arrow = std::make_shared<ArrowFrame>(host);
    }
    arrow->Load(stream->Get(), [&](std::int64_t cases) {
      *casesRead = cases;
      return poller->Stops();
    });
    frame->frame.arrow = std::move(arrow);
    return SVS_OK;
  } catch (const DataError& error) {
    if (poller->Stops()) return SVS_CANCELLED;
    return Refuse(session, SVS_ERROR_FRAME, std::string("frame: ") + error.what());
  }
}

}  // namespace

const char* svs_version(void) {
  return SV_VERSION;
}

int svs_open(int threads, svs_session** session) {
  if (session == nullptr || threads < 0 || threads > kMostThreads) return SVS_ERROR_ARGUMENT;
  auto* const made = new (std::nothrow) svs_session;
  if (made == nullptr) return SVS_ERROR_MEMORY;
  made->threads = threads;
  *session = made;
  return SVS_OK;
}

void svs_close(svs_session* session) {
  if (session != nullptr && !session->IsOfOthers()) delete session;
}

const char* svs_messages(const svs_session* session) {
  return session == nullptr ? "[]" : session->messages.c_str();
}

int svs_frame_arrow(svs_session* session, struct ArrowArrayStream* stream, svs_poll poll, void* poll_data,
                    svs_frame** frame) {
  if (stream == nullptr || stream->release == nullptr) {
    return Call(session, [&] { return Refuse(session, SVS_ERROR_ARGUMENT, "there is no stream"); });
  }
  ArrowOwner<ArrowArrayStream> owned(stream);
  return Call(session, [&] {
    if (frame == nullptr) return Refuse(session, SVS_ERROR_ARGUMENT, "there is no place for the frame");
    std::int64_t cases = 0;
    Poller poller([&] {
      const svs_progress progress = {.step = 0, .pass = 0, .cases = cases, .total = -1};
      return poll != nullptr && poll(poll_data, &progress) != 0;
    });
    auto made = std::make_unique<svs_frame>();
    const int status = TakeFrame(session, &owned, &poller, &cases, made.get());
    if (status == SVS_OK) *frame = made.release();
    return status;
  });
}

int svs_frame_file(svs_session* session, const char* path, const char* schema, svs_frame** frame) {
  return Call(session, [&] {
    if (path == nullptr || *path == '\0' || frame == nullptr) {
      return Refuse(session, SVS_ERROR_ARGUMENT, "there is no file, or no place for the frame");
    }
    auto made = std::make_unique<svs_frame>();
    made->frame.path = path;
    if (schema != nullptr) made->frame.schema = schema;
    *frame = made.release();
    return int{SVS_OK};
  });
}

void svs_frame_close(svs_frame* frame) {
  if (frame != nullptr && !frame->IsOfOthers()) delete frame;
}

int svs_describe(svs_session* session, const svs_frame* frame, svs_poll poll, void* poll_data,
                 svs_result** result) {
  return Call(session, [&] {
    if (!IsUsable(frame) || result == nullptr) {
      return Refuse(session, SVS_ERROR_ARGUMENT, "there is no frame, or no place for the result");
    }
    return Run(session, poll, poll_data, result, RunWatch(),
               [&] { return DescribeInMemory(frame->frame, session->threads); });
  });
}

int svs_check(svs_session* session, const char* plan, size_t plan_length, const svs_frame* frame,
              const char* options, svs_poll poll, void* poll_data, svs_result** result) {
  return Call(session, [&] {
    if (plan == nullptr || (frame != nullptr && !IsUsable(frame)) || result == nullptr) {
      return Refuse(session, SVS_ERROR_ARGUMENT, "there is no plan, or no place for the result");
    }
    const std::string text(plan, plan_length);
    const std::string json = options == nullptr ? "" : options;
    return Run(session, poll, poll_data, result, RunWatch(), [&] {
      return CheckInMemory(text, frame == nullptr ? nullptr : &frame->frame, json, session->threads);
    });
  });
}

int svs_preview(svs_session* session, const char* plan, size_t plan_length, const svs_frame* frame,
                const char* options, svs_poll poll, void* poll_data, svs_result** result) {
  return RunPlan(session, plan, plan_length, frame, options, poll, poll_data, result, PreviewInMemory);
}

int svs_draw(svs_session* session, const char* plan, size_t plan_length, const svs_frame* frame,
             const char* options, svs_poll poll, void* poll_data, svs_result** result) {
  return RunPlan(session, plan, plan_length, frame, options, poll, poll_data, result, DrawInMemory);
}

int svs_result_table(svs_session* session, const svs_result* result, int table,
                     struct ArrowArrayStream* stream) {
  return Call(session, [&] {
    if (result == nullptr || result->IsOfOthers() || stream == nullptr) {
      return Refuse(session, SVS_ERROR_ARGUMENT, "there is no result, or no place for the stream");
    }
    const MemoryOutcome& outcome = result->outcome;
    const std::shared_ptr<const ArrowTable>& found = table == SVS_SAMPLE   ? outcome.sample
                                                     : table == SVS_JOINT  ? outcome.joint
                                                     : table == SVS_STRATA ? outcome.strata
                                                                           : nullptr;
    if (found == nullptr) {
      return Refuse(session, SVS_ERROR_ARGUMENT,
                    table == SVS_JOINT
                        ? "there are no joint probabilities: they weren't asked for, or the design "
                          "has none"
                        : "there is no such table");
    }
    found->Export(stream);
    return int{SVS_OK};
  });
}

const char* svs_result_json(const svs_result* result) {
  return result == nullptr ? "" : result->outcome.json.c_str();
}

void svs_result_close(svs_result* result) {
  if (result != nullptr && !result->IsOfOthers()) delete result;
}
