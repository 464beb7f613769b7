#include "session/FileClaims.h"

#include "host/engine/ActiveFile.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/files/FileKind.h"
#include "host/files/ReadableFile.h"
#include "host/files/SessionFiles.h"
#include "host/output/OutputDocument.h"

bool Fail(const std::string& text) {
  IssueHostMessage(text, kErrorLevel);
  return false;
}

namespace {

// A missing or unreadable file isn't reported here but by the function that opens it, which knows more.

bool ClaimInput(PathClaims& claims, FileRole role, const std::string& path) {
  const FileFlags flags = claims.ClaimForReading(role, path);
  return !flags.inUse || Fail(path + ": " + flags.why);
}

}  // namespace

bool ClaimFrame(HostSession& session, const FrameOptions& frame) {
  PathClaims& claims = session.Layer<SessionFiles>().Claims();
  if (!frame.schema.empty() && !ClaimInput(claims, FileRole::kSchema, frame.schema)) return false;
  if (frame.path.empty()) return true;
  const std::string path = PathToRead(frame.path);
  if (!ClaimInput(claims, FileRole::kFrame, path)) return false;
  if (!HasSchemaFile(KindOf(path))) return true;
  const std::string beside = SchemaPath(path);
  if (FileExists(beside)) return ClaimInput(claims, FileRole::kSchema, beside);
  claims.KeepFree(FileRole::kSchema, beside);
  return true;
}

void AddFrameRemark(HostSession& session) {
  const std::string& remark = session.Layer<ActiveFile>().Remark();
  if (!remark.empty()) session.Layer<OutputDocument>().AddRemark(remark);
}

std::vector<std::string> ClaimReports(HostSession& session, const std::vector<std::string>& reports,
                                      bool* isGood) {
  std::vector<std::string> writable;
  for (const std::string& report : reports) {
    int number = PathClaims::kNone;
    const FileFlags flags =
        session.Layer<SessionFiles>().Claims().ClaimForWriting(FileRole::kReport, report, report, &number);
    if (flags.CanBeWritten()) {
      writable.push_back(report);
    } else {
      *isGood = Fail(report + ": " + flags.why);
    }
  }
  return writable;
}
