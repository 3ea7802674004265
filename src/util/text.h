// Small text helpers shared by the readers and the page writers.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tessel {

// Escapes &, <, >, " and ' for HTML text and attribute values. Bytes that are not valid
// UTF-8 become U+FFFD as ReplaceInvalidUtf8 does, so the result is always valid UTF-8.
std::string HtmlEscape(std::string_view s);

// Formats a double as an output stream does by default (six significant digits, the
// shorter of fixed and scientific notation), e.g. 0.333333, 2, 1e-07.
std::string FormatNumber(double value);

// Splits at runs of white space (blanks, tabs, line ends).
std::vector<std::string_view> SplitFields(std::string_view line);

// Shortens a text for a message, marking the cut.
std::string Abbreviate(std::string_view s, std::size_t maxChars = 80);

// White space: blanks (space, tab, '\r', '\v', '\f') and line breaks ('\n').
inline bool IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}
// Blanks within a line: white space other than '\n'.
inline bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

// Strips white space, line breaks included, from both ends.
std::string_view Trim(std::string_view s);
// Strips blanks from both ends, keeping line breaks.
inline std::string_view TrimBlanks(std::string_view s) {
  while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
  return s;
}

// The text with each run of white space replaced by one "_", so that it reads as one field
// of a blank-separated file ("MAPK signalling" -> "MAPK_signalling").
std::string BlanksToUnderscores(std::string_view s);

// ASCII case folding; other bytes are left as they are.
char LowerAscii(char c);
bool EqualsNoCase(std::string_view a, std::string_view b);
bool StartsWithNoCase(std::string_view s, std::string_view prefix);
bool EndsWithNoCase(std::string_view s, std::string_view suffix);

// The length of the well-formed UTF-8 sequence starting at text[pos] (1 for an ASCII byte),
// or 0 when there is none there: a stray continuation byte, an overlong form, a surrogate, a
// value above U+10FFFF or a truncated sequence.
std::size_t Utf8SequenceLength(std::string_view text, std::size_t pos);

// The offset of the first byte that does not belong to a well-formed UTF-8 sequence, or npos
// when the whole text is valid.
std::size_t FirstInvalidUtf8(std::string_view text);

// The text with each ill-formed part replaced by U+FFFD, one per maximal subpart (the
// longest start of a well-formed sequence, or else a single byte), the rule Unicode
// recommends and JSON writers follow: "Caf\xE9" -> "Caf\uFFFD", "\xE2\x82A" -> "\uFFFDA".
// Valid text comes back unchanged.
std::string ReplaceInvalidUtf8(std::string_view text);

// Appends `text` to `out` with invalid parts replaced as ReplaceInvalidUtf8 does.
void AppendValidUtf8(std::string& out, std::string_view text);

}  // namespace tessel
