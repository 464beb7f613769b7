#pragma once

#include <string>
#include <vector>

#include "host/engine/ActiveFile.h"
#include "host/read/OpenFrame.h"

// What the user says of the frame of a session.
struct FrameOptions {
  std::string path{};                // the data file; empty with a query
  std::string sql{};                 // a query in place of a file
  std::vector<std::string> sort{};   // variables to order the cases by; ties keep the order that was
  std::string schema{};              // a Table Schema file in place of the one beside the data
  std::string weight{};              // variable that weights the cases; empty for none
  std::vector<std::string> split{};  // variables whose changes split the cases into groups
};

// Opens the frame of the session: from then on ProcedureDataSource attaches to it, and the weight and split
// words of the common global block say what was asked for.
// Errors: DataError, when the session is left without a frame.
void OpenFrame(const FrameOptions& options);
