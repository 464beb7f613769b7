#include "host/output/HtmlText.h"

#include "host/text/DisplayText.h"

namespace {

// U+FFFE and U+FFFF are characters of UTF-8 that no XML document may hold: EF BF BE and EF BF BF.
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
