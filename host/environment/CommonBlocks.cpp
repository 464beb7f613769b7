#include "host/environment/CommonBlocks.h"

namespace {
CommonGlobalBlock gGlobalBlock;
CommonSystemBlock gSystemBlock;
}  // namespace

CommonGlobalBlock* pvGetCmnGlb() {
  return &gGlobalBlock;
}
CommonSystemBlock* pvGetCmnSys() {
  return &gSystemBlock;
}

// The blocks that this host doesn't have. One accessor each, because the procedure's library imports each of
// these names.

void* pvGetCmnBpr() {
  return nullptr;
}
void* pvGetCmaDic() {
  return nullptr;
}
void* pvGetCmaGlb() {
  return nullptr;
}
void* pvGetCmaMch() {
  return nullptr;
}
void* pvGetCmaObv() {
  return nullptr;
}
void* pvGetCmaSym() {
  return nullptr;
}
void* pvGetCmaSys() {
  return nullptr;
}
void* pvGetCmnDic() {
  return nullptr;
}
void* pvGetCmnDmo() {
  return nullptr;
}
void* pvGetCmnInc() {
  return nullptr;
}
void* pvGetCmnIo() {
  return nullptr;
}
void* pvGetCmnLoc() {
  return nullptr;
}
void* pvGetCmnMch() {
  return nullptr;
}
void* pvGetCmnMcs() {
  return nullptr;
}
void* pvGetCmnObv() {
  return nullptr;
}
void* pvGetCmnStk() {
  return nullptr;
}
void* pvGetCmnSym() {
  return nullptr;
}
void* pvGetCmnWrk() {
  return nullptr;
}
void* pvGetCmnDtm() {
  return nullptr;
}
void* pvGetCmnBox() {
  return nullptr;
}
