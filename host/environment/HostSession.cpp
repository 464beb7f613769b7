#include "host/environment/HostSession.h"

#include <cassert>
#include <thread>
#include <xercesc/util/PlatformUtils.hpp>

#include "host/environment/CommonBlocks.h"
#include "host/environment/MCStopProcessor.h"

namespace {
HostSession* gCurrent = nullptr;
}

HostSession::HostSession(HostSettings settings) : fSettings(settings) {
  assert(gCurrent == nullptr);
  // The XML parser wants one initialisation and one termination per use; the plan reader relies on this pair.
  xercesc::XMLPlatformUtils::Initialize();
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
