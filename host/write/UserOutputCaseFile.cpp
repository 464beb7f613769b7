#include "host/write/UserOutputCaseFile.h"

#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/files/FileKind.h"
#include "host/files/SessionFiles.h"
#include "host/files/UserCaseFileSpec.h"
#include "host/write/TableFileStore.h"
#include "host/write/TextFileStore.h"

UserOutputCaseFile::UserOutputCaseFile(const UserCaseFileSpec& spec) {
  if (!spec.IsInit() || !spec.IsValid()) return;
  // The procedure constructs this without the session; from here on it is passed along.
  HostSession& session = HostSession::Current();
  try {
    OutputFile* const file =
        session.Layer<SessionFiles>().Start(spec.Role(), spec.DocumentationString(), spec.Path());
    const bool isInMemory = session.Layer<SessionFiles>().Claims().IsInMemory(spec.Path());
    const FileKind kind = isInMemory ? FileKind::kMemory : KindOf(spec.Path());
    if (kind == FileKind::kCsv || kind == FileKind::kTsv) {
      fpStore = std::make_unique<TextFileStore>(session, file, kind == FileKind::kCsv ? ',' : '\t');
    } else {
      fpStore = std::make_unique<TableFileStore>(session, file, kind);
    }
  } catch (const DataError& error) {
    IssueHostMessage(error.what(), kErrorLevel);
  }
}

UserOutputCaseFile::~UserOutputCaseFile() = default;
