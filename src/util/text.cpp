#include "util/text.h"

#include <algorithm>
#include <sstream>

namespace tessel {

std::string HtmlEscape(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  std::size_t start = 0;  // start of the run of bytes copied as they are
  const auto flush = [&](std::size_t end) { AppendValidUtf8(out, s.substr(start, end - start)); };
  for (std::size_t i = 0; i < s.size(); ++i) {
    const char* entity = nullptr;
    switch (s[i]) {
      case '&':
        entity = "&amp;";
        break;
      case '<':
        entity = "&lt;";
        break;
      case '>':
        entity = "&gt;";
        break;
      case '"':
        entity = "&quot;";
        break;
      case '\'':
        entity = "&#39;";
        break;
      default:
        continue;
    }
    flush(i);
    out += entity;
    start = i + 1;
  }
  flush(s.size());
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

std::string_view Trim(std::string_view s) {
  while (!s.empty() && IsSpace(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsSpace(s.back())) s.remove_suffix(1);
  return s;
}

char LowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string BlanksToUnderscores(std::string_view s) {
  std::string word;
  word.reserve(s.size());
  bool gap = false;
  for (const char c : s) {
    if (IsSpace(c)) {
      gap = true;
      continue;
    }
    if (gap) word.push_back('_');
    gap = false;
    word.push_back(c);
  }
  return word;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return LowerAscii(x) == LowerAscii(y);
         });
}

bool StartsWithNoCase(std::string_view s, std::string_view prefix) {
  return s.size() >= prefix.size() && EqualsNoCase(s.substr(0, prefix.size()), prefix);
}

bool EndsWithNoCase(std::string_view s, std::string_view suffix) {
  return s.size() >= suffix.size() && EqualsNoCase(s.substr(s.size() - suffix.size()), suffix);
}

namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";  // U+FFFD

// Reads the UTF-8 sequence starting at text[pos]. Returns the number of bytes that form
// the start of a well-formed sequence (at least 1), and sets `complete` when they form a
// whole one.
std::size_t Utf8Prefix(std::string_view text, std::size_t pos, bool& complete) {
  const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
  const unsigned char lead = byte(pos);
  complete = lead < 0x80;
  if (complete) return 1;
  std::size_t length = 0;
  unsigned char low = 0x80, high = 0xBF;  // allowed range of the second byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;   // no overlong forms
    if (lead == 0xED) high = 0x9F;  // no surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;  // nothing above U+10FFFF
  } else {
    return 1;
  }
  std::size_t k = 1;
  for (; k < length && pos + k < text.size(); ++k) {
    const unsigned char c = byte(pos + k);
    if (k == 1 ? (c < low || c > high) : (c < 0x80 || c > 0xBF)) break;
  }
  complete = k == length;
  return k;
}

}  // namespace

std::size_t Utf8SequenceLength(std::string_view text, std::size_t pos) {
  bool complete = false;
  const std::size_t length = Utf8Prefix(text, pos, complete);
  return complete ? length : 0;
}

std::size_t FirstInvalidUtf8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = Utf8SequenceLength(text, i);
    if (length == 0) return i;
    i += length;
  }
  return std::string_view::npos;
}

void AppendValidUtf8(std::string& out, std::string_view text) {
  std::size_t start = 0;  // start of the valid run not yet copied
  for (std::size_t i = 0; i < text.size();) {
    if (static_cast<unsigned char>(text[i]) < 0x80) {
      ++i;
      continue;
    }
    bool complete = false;
    const std::size_t length = Utf8Prefix(text, i, complete);
    if (!complete) {
      out.append(text.substr(start, i - start));
      out.append(kReplacementCharacter);
      start = i + length;
    }
    i += length;
  }
  out.append(text.substr(start));
}

std::string ReplaceInvalidUtf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  AppendValidUtf8(out, text);
  return out;
}

}  // namespace tessel
