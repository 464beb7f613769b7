#include "host/environment/HostSession.h"

#include <cassert>
#include <new>
#include <thread>
#include <xercesc/util/PanicHandler.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "host/environment/CommonBlocks.h"
#include "host/environment/MCStopProcessor.h"

namespace {

HostSession* gCurrent = nullptr;

// The XML parser would end the process when it finds no memory at its start.
class Panic : public xercesc::PanicHandler {
public:
  void panic(PanicReasons) override { throw std::bad_alloc(); }
};

}  // namespace

HostSession::HostSession(HostSettings settings) : fSettings(settings) {
  assert(gCurrent == nullptr);
  // The XML parser wants one initialisation and one termination per use; the plan reader relies on this pair.
  static Panic panic;
  xercesc::XMLPlatformUtils::Initialize(xercesc::XMLUni::fgXercescDefaultLocale, nullptr, &panic);
  *pvGetCmnGlb() = CommonGlobalBlock();
  *pvGetCmnSys() = CommonSystemBlock();
  ClearStopRequest();
  gCurrent = this;
}

HostSession::~HostSession() {
  // One by one from the back: a vector's own destructor would start at the front. gCurrent is still set,
  // since a layer's destructor may look up an earlier layer.
  while (!fLayers.empty()) fLayers.pop_back();
  gCurrent = nullptr;
  xercesc::XMLPlatformUtils::Terminate();
}

HostSession& HostSession::Current() {
  assert(gCurrent != nullptr);
  return *gCurrent;
}

int HostSession::Threads() const {
  return fSettings.threads > 0 ? fSettings.threads : static_cast<int>(std::thread::hardware_concurrency());
}

int GETTHREADS() {
  return HostSession::Current().Threads();
}

bool GETEXACTDESIGN() {
  return HostSession::Current().Settings().exactDesign;
}

bool GETSTRICT() {
  return HostSession::Current().Settings().strict;
}

bool GETCHECKONLY() {
  return HostSession::Current().CheckOnly();
}

bool GETPREVIEW() {
  return HostSession::Current().Preview();
}
