#pragma once

#include <string>
#include <vector>

#include "host/files/PathClaims.h"
#include "host/read/OpenFrame.h"

class HostSession;

// Before a run opens a frame it claims every file that it is going to read or write itself, so that the
// procedure can't write to any of them. PathClaims describes the claims; the functions here add the messages.

// Issues an error message in the current session. Always false, so that a function can return it.
bool Fail(const std::string& text);

// Claims the data file of a frame and the schema file that is read with it. If the frame has no
// schema file, the path of one is reserved: a file that this run wrote there would be read with the frame the
// next time.
// Errors: false after a message if a file is in use. Any other fault is left to the code that opens the file.
bool ClaimFrame(HostSession& session, const FrameOptions& frame);

// Makes what there is to tell about how the open frame was read a remark of the session's document.
void AddFrameRemark(HostSession& session);

// Claims the files of reports, and returns those that can be written. `isGood` is set to false, after a
// message for each, if there are others; it is left alone otherwise.
std::vector<std::string> ClaimReports(HostSession& session, const std::vector<std::string>& reports,
                                      bool* isGood);
