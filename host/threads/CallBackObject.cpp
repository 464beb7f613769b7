#include "host/threads/CallBackObject.h"

void CallBackObject::setCallbackData(void* data) {
  fpCallbackData = data;
}

void* CallBackObject::getCallbackData() const {
  return fpCallbackData;
}
