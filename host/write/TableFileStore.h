#pragma once

#include <memory>

#include "host/files/FileKind.h"
#include "host/write/IndependentDataStore.h"

class CaseBlock;

// TableFileStore writes a native or a Parquet file. The cases go block by block to a table of the work
// database, which spills to disk, as the doubles and texts that they are; CloseStore() makes the file of that
// table in one statement, each column in its own type.
class TableFileStore : public IndependentDataStore {
public:
  TableFileStore(OutputFile* file, FileKind kind);
  ~TableFileStore() override;

protected:
  void Begin() override;
  void Append(const KORV_Case& values) override;
  void End() override;

private:
  FileKind fKind;
  std::unique_ptr<CaseBlock> fpBlock;  // null unless cases can be taken
};
