#pragma once

#include <memory>
#include <type_traits>
#include <typeindex>
#include <utility>
#include <vector>

// The session: the state of one run of the host, and how the host's classes find it.
//
// A procedure gets everything it needs by constructing objects without arguments: the token sequence, its
// data source, its output context. That is the interface between host and procedure, so the state behind
// those objects has to be found somewhere, and HostSession::Current() is that place. Our own code should take
// the object it needs as an argument, and call Current() only in a constructor or function that the
// procedure's interface fixes.
//
// This folder can't know the classes of the folders above it. So the session doesn't have a member for each
// part; it stores layers: one object per type, created the first time that somebody asks for it. The layers
// are
//
//   ErrorSink         host/environment   where the messages of the lower folders go
//   SessionFiles      host/files         claims, locks, and the files that the run will commit
//   WorkDatabase      host/engine        the database that text frames and stores are kept in
//   CaseProgress      host/engine        how far the current pass has got
//   ActiveFile        host/engine        the frame
//   OutputDocument    host/output        messages, notes and tables
//   SessionCommand    host/command       the text of the command
//
// Layers are destroyed in the reverse order of their creation. A layer that uses another in its destructor
// must therefore ask for that other one in its constructor.

// Settings that are fixed before the session starts.
struct HostSettings {
  int threads = 0;           // threads for parallel work; 0: as many as the machine has processors
  bool exactDesign = false;  // use draws whose inclusion probabilities are exactly the stated ones
  bool strict = false;       // what makes a probability or weight wrong or unclear is an error
};

// Use:        construct; create the layers that must come first (OutputDocument, so that it receives the
//             messages); open the frame; set the command; run the procedure; destroy.
// Ownership:  owns the layers.
// Threads:    the thread that constructed it.
// Invariants: at most one session exists at a time. A later session sees nothing of an earlier one: the
//             constructor also resets the common blocks and the stop request.
class HostSession {
public:
  explicit HostSession(HostSettings settings = {});
  ~HostSession();
  HostSession(const HostSession&) = delete;
  HostSession& operator=(const HostSession&) = delete;

  // REQUIRES: a session exists.
  static HostSession& Current();

  const HostSettings& Settings() const { return fSettings; }

  // From now on the procedure only checks command, plan and frame: it draws nothing, and creates and claims
  // no output file.
  void SetCheckOnly() { fbCheckOnly = true; }
  bool CheckOnly() const { return fbCheckOnly; }

  // The same, and the procedure foresees the draw.
  void SetPreview() { fbCheckOnly = fbPreview = true; }
  bool Preview() const { return fbPreview; }

  // Processors for parallel work: the setting, else the machine's; 0 when that is unknown.
  int Threads() const;

  // This session's object of type `State`, made by the first call: from the session if State has such a
  // constructor. Layers that it asks for in its constructor are made before it, and so outlive it. The
  // reference is valid until the session ends. Cost: linear in the number of layers, which is below ten;
  // don't call it once per case.
  template <class State>
  State& Layer() {
    for (const auto& [type, state] : fLayers) {
      if (type == typeid(State)) return *static_cast<State*>(state.get());
    }
    std::shared_ptr<State> made = Make<State>();
    fLayers.emplace_back(typeid(State), made);
    return *made;
  }

  // Makes an object that outlives this session its layer of that type.
  // REQUIRES: the session has no such layer yet.
  template <class State>
  void Adopt(std::shared_ptr<State> state) {
    fLayers.emplace_back(typeid(State), std::move(state));
  }

private:
  template <class State>
  std::shared_ptr<State> Make() {
    if constexpr (std::is_constructible_v<State, HostSession&>) {
      return std::make_shared<State>(*this);
    } else {
      return std::make_shared<State>();
    }
  }

  HostSettings fSettings;
  bool fbCheckOnly = false;
  bool fbPreview = false;
  // In order of creation. shared_ptr<void> because it remembers how to delete what it points to.
  std::vector<std::pair<std::type_index, std::shared_ptr<void>>> fLayers;
};

// Threads(), two of the HostSettings, CheckOnly() and Preview() of the current session, for the procedure.
// Where Threads() is 0 the caller keeps its own default.
int GETTHREADS();
bool GETEXACTDESIGN();
bool GETSTRICT();
bool GETCHECKONLY();
bool GETPREVIEW();
