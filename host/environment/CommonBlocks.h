#pragma once

// The words of the host that a procedure reads. The address of each of the two blocks is valid for the life
// of the library; a new session starts with the initial values.
struct CommonGlobalBlock {
  int weightVariable = 0;  // greater than 0 when the active file is weighted: 1 + the variable's index
  int errorFlag = 0;       // not 0 once an error has been taken
  int splitCount = 0;      // variables that split the active file
};

struct CommonSystemBlock {
  int defaultFormatType = 5;  // F
  int defaultFormatWidth = 8;
  int defaultFormatDecimals = 2;
};

CommonGlobalBlock* pvGetCmnGlb();
CommonSystemBlock* pvGetCmnSys();

// The rest of the family, null in this host, which keeps nothing in them.
void* pvGetCmnBpr();
void* pvGetCmaDic();
void* pvGetCmaGlb();
void* pvGetCmaMch();
void* pvGetCmaObv();
void* pvGetCmaSym();
void* pvGetCmaSys();
void* pvGetCmnDic();
void* pvGetCmnDmo();
void* pvGetCmnInc();
void* pvGetCmnIo();
void* pvGetCmnLoc();
void* pvGetCmnMch();
void* pvGetCmnMcs();
void* pvGetCmnObv();
void* pvGetCmnStk();
void* pvGetCmnSym();
void* pvGetCmnWrk();
void* pvGetCmnDtm();
void* pvGetCmnBox();
