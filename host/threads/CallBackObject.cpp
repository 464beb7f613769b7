#include "host/threads/CallBackObject.h"

msgBaseData::~msgBaseData() = default;

void* msgBaseData::getMsgData() const {
  return fpMsgData;
}

void msgBaseData::setMsgData(void* data) {
  fpMsgData = data;
}

void CallBackObject::setCallbackData(void* data) {
  fpCallbackData = data;
}

void* CallBackObject::getCallbackData() const {
  return fpCallbackData;
}
