#pragma once

#include <string>
#include <string_view>

// The building blocks of the HTML report: escaping, and the style sheet. Read HtmlReport.h first.

// Text from the user or the data, made safe for the content of an element and for a quoted attribute value:
//
//   & < > " '               are escaped as entities that HTML and XML both know
//   control characters      become blanks
//   invalid UTF-8, U+FFFE and U+FFFF become U+FFFD, because no XML document may contain them
//
// Every text that isn't a literal of our own must go through here, also file names, messages and dimension
// labels. Not for use inside <style> or a URL.
std::string HtmlText(std::string_view text);

// The contents of the page's <style> element; the rules behind it are explained in HtmlText.cpp. Part of
// every page byte for byte, so a comment in it would be in every report.
extern const std::string_view kHtmlStyle;
