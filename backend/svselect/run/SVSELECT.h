#pragma once

// The procedure's one export: draws the sample that the host's current command asks for.
//
// REQUIRES:   a host session with a command; an open frame, or the run ends with a message.
// Results:    messages, notes and tables in the session's output document; files that the session commits, or
//             new variables in the active file. There is no return value: a run that ended early shows it by
//             an error message and the host's error flag.
// Threads:    the thread of the session; one run at a time.
// Failures:   the computation reports by statuses, files by messages. An exception that leaves this function
//             is a fault of the program or of memory.
extern "C" void SVSELECT();
