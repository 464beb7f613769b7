#include "host/data/CaseEngine.h"

CaseCursor::~CaseCursor() = default;
CaseEngine::~CaseEngine() = default;
