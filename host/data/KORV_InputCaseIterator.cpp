#include "host/data/KORV_InputCaseIterator.h"

KORV_InputCaseIterator::~KORV_InputCaseIterator() = default;
