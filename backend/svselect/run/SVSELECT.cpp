#include "backend/svselect/run/SVSELECT.h"

void SVSELECT() {}
