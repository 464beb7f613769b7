#pragma once

#include <string>
#include <string_view>

// A text of the user or the data as it stands in the content or a quoted attribute of a page that is both
// HTML and XML: the markup characters escaped, control characters as blanks, bytes and characters that XML
// doesn't know as U+FFFD.
std::string HtmlText(std::string_view text);

// The style sheet of the HTML report.
extern const std::string_view kHtmlStyle;
