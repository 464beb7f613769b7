#include "report/SvgText.h"

#include <fmt/format.h>

#include <ostream>

#include "host/render/HtmlText.h"

std::string Across(double percent) {
  return fmt::format("{:.2f}%", percent);
}

void OpenSvg(const std::string& id, int height, const std::string& title, const std::string& description,
             std::ostream& out) {
  out << "<svg xmlns=\"http://www.w3.org/2000/svg\" role=\"img\" width=\"100%\" height=\"" << height
      << "\" aria-labelledby=\"" << id << "-title\" aria-describedby=\"" << id << "-desc\">\n<title id=\""
      << id << "-title\">" << HtmlText(title) << "</title>\n<desc id=\"" << id << "-desc\">"
      << HtmlText(description) << "</desc>\n";
}

void WriteSvgText(const std::string& x, int y, const char* anchor, const std::string& text,
                  std::ostream& out) {
  out << "<text x=\"" << x << "\" y=\"" << y << "\" text-anchor=\"" << anchor << "\">" << HtmlText(text)
      << "</text>\n";
}

void WriteSvgGridLine(double from, double to, int y, std::ostream& out) {
  out << "<line class=\"grid\" x1=\"" << Across(from) << "\" x2=\"" << Across(to) << "\" y1=\"" << y
      << "\" y2=\"" << y << "\"/>\n";
}
