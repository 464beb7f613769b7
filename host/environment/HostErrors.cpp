#include "host/environment/HostErrors.h"

#include <cstdio>

#include "host/environment/CommonBlocks.h"
#include "host/environment/HostSession.h"

void IssueHostMessage(const std::string& text, int level) {
  const ErrorSink& sink = HostSession::Current().Layer<ErrorSink>();
  if (sink.issue) {
    sink.issue(text, level);
    return;
  }
  if (level >= kErrorLevel) pvGetCmnGlb()->errorFlag = 1;
  std::fprintf(stderr, "svselect: %s\n", text.c_str());
}
