#include "host/data/UserOutputCaseFile.h"

#include "host/data/FileKind.h"
#include "host/data/SessionFiles.h"
#include "host/data/TableFileStore.h"
#include "host/data/TextFileStore.h"
#include "host/data/UserCaseFileSpec.h"

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
