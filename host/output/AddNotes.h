#pragma once

#include "host/output/BpCellText.h"

// One line of the procedure's notes; `group` says in which part of the notes it stands.
void AddNotes(int group, const BpCellText& label, const BpCellText& text);
