#include "host/threads/msgBaseData.h"

msgBaseData::~msgBaseData() = default;

void* msgBaseData::getMsgData() const {
  return fpMsgData;
}

void msgBaseData::setMsgData(void* data) {
  fpMsgData = data;
}
