#pragma once

#include <iosfwd>
#include <string>

class OutputTable;

// Writes a pivot table as an HTML table:
//
//   <div class="scroll" ...>    scrolls when the table is wider than the page
//     <table class="pivot">     class "wide" as well: landscape in print
//       <caption id="ID">       title, with the table's caption in <small>
//       <colgroup>              one for the row headers, and one per outermost group of columns
//       <thead>                 one <tr> per level of column headers, the corner at the top left
//       <tbody>                 one per outermost group of rows, so that print can break between them
//   <p class="note">            one per note
//
// A header that applies to several rows or columns is one <th> that spans them (rowspan, colspan); a header
// of less depth than its neighbours spans the missing levels. scope="colgroup" and "rowgroup" tell a screen
// reader that a header is for the whole group, and refer to the <colgroup> and <tbody> elements, so these
// must agree with the spans. Every position of the grid is covered exactly once: a test counts them.
//
// `id` becomes the id attribute of the caption and must be unique in the page.
void WriteHtmlTable(const OutputTable& table, const std::string& id, std::ostream& out);
