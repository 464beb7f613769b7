#pragma once

#include <string>
#include <vector>

#include "host/environment/HostErrors.h"

class ArrowFrame;
class HostSession;

// What the user says of the frame of a session.
struct FrameOptions {
  std::string path{};  // the data file; empty with a query or a frame in memory
  std::string sql{};   // a query in place of a file
  // Variables to order the cases by, with a minus sign in descending order; ties keep the order of the file.
  std::vector<std::string> sort{};
  std::string schema{};               // a Table Schema file in place of the one beside the data
  std::string weight{};               // variable that weights the cases; empty for none
  std::vector<std::string> split{};   // variables whose changes split the cases into groups
  const ArrowFrame* arrow = nullptr;  // a frame in memory in place of a file; must outlive the session
  bool serpentine = false;            // every second run of the order is reversed
};

// Opens the frame of a session; one that was open before is closed first. The session's ActiveFile is open
// from then on, and the words for weight and split groups in the common global block are set, which the
// procedure asks for.
//
// Errors: DataError that names the file, and the variable where one of these options asks for one that isn't
//         there. The session is then left without a frame.
void OpenFrame(HostSession& session, const FrameOptions& options);
