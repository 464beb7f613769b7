#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/files/PathClaims.h"
#include "host/output/RunOutcome.h"
#include "report/FinalWeights.h"

class HostSession;
struct RunRequest;

// What a session looks like once the procedure has returned, and what there is to say about the run beyond
// the procedure's own messages. The procedure returns nothing, so all of it is concluded from the state that
// it has left in the session.

// What to do about variables whose names a plan can't have. `told` has the lines about the plan.
std::vector<std::string> HintsOnNames(const Dictionary& dictionary, const std::vector<std::string>& told);

// Whether an error message was issued in the current session.
bool ErrorRaised();

// Whether the run read cases at all.
bool HasReadCases(HostSession& session);

// Whether the draw was finished: the run came to its last pass over the cases, the one that writes the
// sample.
bool HasDrawn(HostSession& session);

// Names of the files that were asked for and weren't made. REQUIRES: all others are finished or committed.
std::vector<std::string> MissingFiles(HostSession& session);

// Remarks on how a run ended: why files can't be used, why nothing was drawn although no message says so,
// that the sample is lost because no file was named for it, what to do about a draw that might never end.
std::vector<std::string> RemarksOnRun(HostSession& session, const RunRequest& request, RunStatus status);

// The final weights of the sample, which is read back for them before the commit. Empty if there are none.
// REQUIRES: HasDrawn().
// Errors:   DataError if plan, frame or sample can't be read a second time.
std::optional<FinalWeights> ReviewWeights(HostSession& session);
