#include "cli/InputFiles.h"

#include "host/environment/HostErrors.h"
#include "host/files/FileKind.h"
#include "host/files/ReadableFile.h"
#include "host/files/SessionFiles.h"

bool Fail(const std::string& text) {
  IssueHostMessage(text, kErrorLevel);
  return false;
}

// Claims a file that is read, so that no output goes there. Whatever else is wrong with it is told by who
// opens it.
bool ClaimInput(FileRole role, const std::string& path) {
  const FileFlags flags = SessionFiles::Current().Claims().ClaimForReading(role, path);
  return !flags.inUse || Fail(path + ": " + flags.why);
}

bool ClaimFrame(const FrameOptions& frame) {
  if (!frame.schema.empty() && !ClaimInput(FileRole::kSchema, frame.schema)) return false;
  if (frame.path.empty()) return true;
  const std::string path = PathToRead(frame.path);
  if (!ClaimInput(FileRole::kFrame, path)) return false;
  if (!HasSchemaFile(KindOf(path))) return true;
  const std::string beside = SchemaPath(path);
  if (FileExists(beside)) return ClaimInput(FileRole::kSchema, beside);
  SessionFiles::Current().Claims().KeepFree(FileRole::kSchema, beside);
  return true;
}
