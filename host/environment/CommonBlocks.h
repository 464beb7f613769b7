#pragma once

// The host's common blocks: the few global words that host and procedure share.
//
// The interface has a family of twenty-two accessors, one per block, and a procedure fetches all of them when
// its library is attached. This host keeps data in only two blocks. The other accessors must exist so that
// the procedure's library can be linked, and return null.
//
// Lifetime:  the two blocks are static, so their addresses may be kept from before the first session until
//            the library is unloaded. Constructing a HostSession resets the contents to the initial values
//            below.
// Threads:   the session's thread only.

struct CommonGlobalBlock {
  int weightVariable = 0;  // 1 + index of the variable that weights the active file; 0: not weighted
  int errorFlag = 0;   // nonzero once any error was issued; nothing in the host clears it within a session
  int splitCount = 0;  // number of variables that split the active file
};

// Format for numbers that have none of their own.
struct CommonSystemBlock {
  int defaultFormatType = 5;  // F
  int defaultFormatWidth = 8;
  int defaultFormatDecimals = 2;
};

CommonGlobalBlock* pvGetCmnGlb();
CommonSystemBlock* pvGetCmnSys();

// Always null in this host.
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
