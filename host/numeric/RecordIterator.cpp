#include "host/numeric/RecordIterator.h"

// The destructors stand here so that each interface has one type description, in the library that owns it.
namespace MCCommon {
RecordIterator::~RecordIterator() = default;
MultiPassRecordIter::~MultiPassRecordIter() = default;
}  // namespace MCCommon
