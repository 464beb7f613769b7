#include "host/output/AddNotes.h"

#include "host/output/OutputDocument.h"

void AddNotes(int group, const BpCellText& label, const BpCellText& text) {
  OutputDocument::Current().AddNote({group, label.Text(), text.Text()});
}
