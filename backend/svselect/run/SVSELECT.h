#pragma once

// The one export: draws the sample that the current command of the host asks for. Everything it needs it
// fetches from the host; an early end is visible only in the messages issued.
extern "C" void SVSELECT();
