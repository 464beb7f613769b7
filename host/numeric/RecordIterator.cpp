#include "host/numeric/RecordIterator.h"

// Out of line: one vtable and type description each, in the host's library, for all libraries of the process.
namespace MCCommon {
RecordIterator::~RecordIterator() = default;
MultiPassRecordIter::~MultiPassRecordIter() = default;
}  // namespace MCCommon
