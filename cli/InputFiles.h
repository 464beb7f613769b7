#pragma once

#include <string>

#include "host/engine/ActiveFile.h"
#include "host/files/PathClaims.h"
#include "host/read/OpenFrame.h"

// Issues an error of the program as an error of the host, and answers false.
bool Fail(const std::string& text);

// Claims a file that is read, so that no output goes there. False, after an error, when it is in use;
// whatever else is wrong with it is told by who opens it.
bool ClaimInput(FileRole role, const std::string& path);

// The same for a frame with the schema file that is read with it.
bool ClaimFrame(const FrameOptions& frame);
