#include "util/text.h"

#include <sstream>

namespace tessel {

std::string HtmlEscape(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  for (char c : s) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string FormatNumber(double value) {
  std::ostringstream os;
  os << value;
  return os.str();
}

std::vector<std::string_view> SplitFields(std::string_view line) {
  std::vector<std::string_view> fields;
  std::size_t i = 0;
  const auto blank = [](char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
  };
  while (i < line.size()) {
    while (i < line.size() && blank(line[i])) ++i;
    const std::size_t start = i;
    while (i < line.size() && !blank(line[i])) ++i;
    if (i > start) fields.push_back(line.substr(start, i - start));
  }
  return fields;
}

std::string Abbreviate(std::string_view s, std::size_t maxChars) {
  if (s.size() <= maxChars) return std::string(s);
  return std::string(s.substr(0, maxChars)) + "...";
}

}  // namespace tessel
