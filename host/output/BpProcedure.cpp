#include "host/output/BpProcedure.h"

#include "host/output/OutputDocument.h"

BpProcedure::BpProcedure(const std::string& title, int) {
  OutputDocument::Current().SetProcedure(title);
}
