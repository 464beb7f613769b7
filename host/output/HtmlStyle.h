#pragma once

#include <string_view>

// The style sheet of the HTML report.
extern const std::string_view kHtmlStyle;
