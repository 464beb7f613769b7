#pragma once

#include <iosfwd>
#include <string>

class OutputTable;

// Writes a pivot table as an HTML table in a box of its own that scrolls when it is wide: its title and
// caption as the caption, its groups as header cells that span their rows and columns and say by their scope
// which, its notes behind it. `id` is the identifier of the title in the page.
void WriteHtmlTable(const OutputTable& table, const std::string& id, std::ostream& out);
