#pragma once

#include "host/environment/ErrorSink.h"
#include "host/output/BpCellText.h"

// kWarningLevel or kErrorLevel.
using BpErrorLevel = int;

// Issues a message of the procedure, without a group. An error raises the host's error flag. `show` is always
// kShowInMessage.
void BpError(const BpCellText& text, int show, BpErrorLevel level);
