#include "host/render/HtmlText.h"

#include "host/text/DisplayText.h"

namespace {

// U+FFFE and U+FFFF are valid in UTF-8 (EF BF BE and EF BF BF) but forbidden in XML.
constexpr std::string_view kNoCharacterStart = "\xEF\xBF";
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

bool IsNoCharacter(std::string_view text, std::size_t at) {
  return text.substr(at, 2) == kNoCharacterStart && at + 2 < text.size() &&
         static_cast<unsigned char>(text[at + 2]) >= 0xBE;
}

}  // namespace

std::string HtmlText(std::string_view text) {
  const std::string printable = PrintableText(text);
  std::string html;
  html.reserve(printable.size());
  for (std::size_t i = 0; i < printable.size(); ++i) {
    switch (printable[i]) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      case '\'':
        html += "&#39;";
        break;
      case '\xEF':
        if (IsNoCharacter(printable, i)) {
          html += kReplacement;
          i += 2;
          break;
        }
        [[fallthrough]];
      default:
        html += printable[i];
    }
  }
  return html;
}

// Before you change the style sheet:
//
// - Colours are variables, defined twice: light and dark. Text on its background has a contrast of at least
//   4.5 to 1 in both (WCAG 2.1, success criterion 1.4.3). Check both sets when you change or add one.
// - Colour never carries meaning alone. Messages also start with "Error:" or "Warning:", and the parts of a
//   picture also differ in shape or position.
// - `color-scheme` and the dark variables are in @media screen: paper is white.
// - The page never scrolls sideways, on a phone neither. Wide content has its own .scroll box, which can get
//   the focus so that it can be scrolled with the keyboard. Long words in running text break anywhere; in
//   tables they break only if a cell would exceed 18rem, since broken numbers are unreadable.
// - In print there is no scrolling, so tables may break words. Wide tables get landscape pages through the
//   named page `wide`. Rows, figures and messages aren't divided between pages.
// - Table markup and the selectors on th[scope], thead th[colspan], .corner and .number belong together: see
//   HtmlTable.h. The svg rules style the pictures of report/, which has no style of its own.
// - No @import, no url(): the page must be complete in itself, and its security policy would block them.
const std::string_view kHtmlStyle = R"css(
:root {
  --ground: #ffffff; --text: #1c2126; --quiet: #56606a; --line: #c9d0d7; --band: #f2f5f8;
  --accent: #0b5cad; --requested: #cfdff0; --actual: #0b5cad; --fewer: #a8340c;
  --error-ground: #fdecea; --error: #8c1d18; --warning-ground: #fdf3d8; --warning: #6b4a00;
}
@media screen {
  :root { color-scheme: light dark; }
}
@media screen and (prefers-color-scheme: dark) {
  :root {
    --ground: #14181c; --text: #e6eaee; --quiet: #a3aeb8; --line: #3b444d; --band: #1e242a;
    --accent: #7db8f2; --requested: #2c4259; --actual: #7db8f2; --fewer: #ff9b73;
    --error-ground: #3c1715; --error: #ffb4ab; --warning-ground: #33290c; --warning: #f2cf74;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0 auto; padding: 1rem 1rem 3rem; max-width: 62rem; background: var(--ground); color: var(--text);
  font: 1rem/1.5 system-ui, sans-serif; overflow-wrap: anywhere;
}
h1, h2 { line-height: 1.25; margin: 2rem 0 0.75rem; }
h1 { font-size: 1.75rem; margin-top: 0.5rem; }
h2 { font-size: 1.25rem; border-bottom: 1px solid var(--line); padding-bottom: 0.25rem; }
a { color: var(--accent); }
nav ul { display: flex; flex-wrap: wrap; gap: 0.25rem 1.25rem; margin: 1rem 0 0; padding: 0; list-style: none; }
.status { margin: 0; padding: 0.5rem 0.75rem; border-left: 0.3rem solid var(--accent); background: var(--band); }
.status.error, li.error { border-color: var(--error); background: var(--error-ground); color: var(--error); }
.status.cancelled, li.warning {
  border-color: var(--warning); background: var(--warning-ground); color: var(--warning);
}
ul.messages { margin: 0; padding: 0; list-style: none; }
ul.messages li { margin: 0.5rem 0; padding: 0.5rem 0.75rem; border-left: 0.3rem solid; }
ul.messages li.remark { border-color: var(--accent); background: var(--band); }
dl { display: grid; grid-template-columns: 16rem 1fr; gap: 0.25rem 1.5rem; margin: 0 0 1rem; }
dt { color: var(--quiet); }
dd { margin: 0; }
dl.facts dd { font: 0.875em/1.7 ui-monospace, monospace; white-space: pre-wrap; }
details { margin: 0.5rem 0 1rem; }
summary { cursor: pointer; color: var(--accent); }
pre { font: 0.875em/1.5 ui-monospace, monospace; white-space: pre-wrap; margin: 0.5rem 0; }
@media (max-width: 34rem) {
  dl { grid-template-columns: 1fr; gap: 0; }
  dd { margin-bottom: 0.5rem; }
}
.scroll { overflow-x: auto; margin: 1rem 0; }
.scroll:focus-visible { outline: 2px solid var(--accent); outline-offset: 2px; }
table { border-collapse: collapse; font-variant-numeric: tabular-nums; overflow-wrap: normal; }
table.pivot { width: max-content; }
table.pivot th, table.pivot td { max-width: 18rem; overflow-wrap: break-word; }
caption { text-align: left; font-weight: 600; padding: 0 0 0.4rem; }
caption small { display: block; color: var(--quiet); font-weight: 400; overflow-wrap: anywhere; }
th, td { padding: 0.25rem 0.6rem; text-align: left; vertical-align: top; border-bottom: 1px solid var(--line); }
thead th, td.corner { background: var(--band); vertical-align: bottom; font-weight: 600; }
thead th[colspan] { text-align: center; }
thead th { text-align: right; }
table.plain thead th { text-align: left; }
tbody th { font-weight: 400; }
tbody th[scope=rowgroup] { font-weight: 600; }
th.number, td.number { text-align: right; white-space: nowrap; }
.note { color: var(--quiet); margin: 0.25rem 0 1rem; }
figure { margin: 1rem 0; max-width: 40rem; }
figcaption { color: var(--quiet); font-size: 0.9em; margin: 0.25rem 0 0.75rem; }
svg { display: block; overflow: visible; font-size: 13px; }
svg text { fill: var(--text); }
svg .grid { stroke: var(--line); }
svg .requested { fill: var(--requested); stroke: var(--quiet); }
svg .actual { fill: var(--actual); }
svg .fewer { fill: var(--fewer); }
svg .equal { stroke: var(--quiet); stroke-dasharray: 4 4; }
svg .mean { stroke: var(--fewer); stroke-width: 2; }
@media screen and (max-width: 34rem) {
  th, td { padding: 0.25rem 0.4rem; }
  table.pivot th, table.pivot td { max-width: 9rem; }
}
@media print {
  @page { margin: 15mm; }
  @page wide { size: landscape; }
  body { max-width: none; padding: 0; font-size: 10pt; }
  nav { display: none; }
  h2, caption { break-after: avoid; }
  .scroll { overflow: visible; }
  table { font-size: 9pt; }
  table.pivot { width: auto; max-width: 100%; }
  table.wide { page: wide; font-size: 8pt; }
  table.wide th, table.wide td { padding: 0.15rem 0.3rem; }
  th, td { overflow-wrap: anywhere; }
  tr, figure, li, .keep { break-inside: avoid; }
  svg, .status, li { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
}
)css";
