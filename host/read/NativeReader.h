#pragma once

#include <string>

#include "host/engine/DuckCaseEngine.h"

// Opens a native file for reading: its dictionary, and its cases where they stand. The file stays attached to
// the session's work database, and so is locked against writers, while the frame is in use.
// Errors: DataError when it is no native file, or another process writes it.
DataFrame OpenNativeFile(const std::string& path);
