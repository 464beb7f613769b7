/* The header is plain C, and enough for a program on its own. */
#include "bindings/c/svselect.h"

const char* VersionFromC(void);
const char* VersionFromC(void) {
  return svs_version();
}
