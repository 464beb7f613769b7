#include "host/write/UserOutputCaseFile.h"

#include "host/files/FileKind.h"
#include "host/files/SessionFiles.h"
#include "host/files/UserCaseFileSpec.h"
#include "host/write/TableFileStore.h"
#include "host/write/TextFileStore.h"

UserOutputCaseFile::UserOutputCaseFile(const UserCaseFileSpec& spec) {
  if (!spec.IsInit() || !spec.IsValid()) return;
  OutputFile* file = SessionFiles::Current().Start(spec.Role(), spec.DocumentationString(), spec.Path());
  if (file == nullptr) return;
  const FileKind kind = KindOf(spec.Path());
  if (kind == FileKind::kCsv || kind == FileKind::kTsv) {
    fpStore = std::make_unique<TextFileStore>(file, kind == FileKind::kCsv ? ',' : '\t');
  } else {
    fpStore = std::make_unique<TableFileStore>(file, kind);
  }
}

UserOutputCaseFile::~UserOutputCaseFile() = default;
