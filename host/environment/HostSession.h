#pragma once

#include <memory>
#include <type_traits>
#include <typeindex>
#include <utility>
#include <vector>

// What the user of a session chooses before it starts.
struct HostSettings {
  int threads = 0;           // processors for parallel work; 0 means the machine's
  bool exactDesign = false;  // draws that have exactly the probabilities that they state
};

// HostSession is what the parameterless constructors of the host attach to: the active file, the output
// document, the command. One lives at a time; two one after the other don't see each other's state.
//
// Use:        construct, open the frame and set the command through the layers, run the procedure, destroy.
// Ownership:  owns the state of each layer, made at its first use and destroyed in reverse order of that.
// Threads:    the thread that made it.
class HostSession {
public:
  explicit HostSession(HostSettings settings = {});
  ~HostSession();
  HostSession(const HostSession&) = delete;
  HostSession& operator=(const HostSession&) = delete;

  // The living session.
  // REQUIRES: there is one.
  static HostSession& Current();

  const HostSettings& Settings() const { return fSettings; }

  // Processors for parallel work: the setting, else the machine's; 0 when that is unknown.
  int Threads() const;

  // The one `State` of this session, made at the first call: from the session where State has a constructor
  // for that. Layers that it asks for in its constructor are made before it, and so outlive it.
  template <class State>
  State& Layer() {
    for (const auto& [type, state] : fLayers) {
      if (type == typeid(State)) return *static_cast<State*>(state.get());
    }
    std::shared_ptr<State> made = Make<State>();
    fLayers.emplace_back(typeid(State), made);
    return *made;
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
  std::vector<std::pair<std::type_index, std::shared_ptr<void>>> fLayers;
};

// Threads() and Settings().exactDesign of the living session, for the procedure.
int GETTHREADS();
bool GETEXACTDESIGN();
