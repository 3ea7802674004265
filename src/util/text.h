// Small text helpers shared by the readers and the page writers.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tessel {

// Escapes &, <, >, " and ' for HTML text and attribute values.
std::string HtmlEscape(std::string_view s);

// Formats a double as an output stream does by default (six significant digits, the
// shorter of fixed and scientific notation), e.g. 0.333333, 2, 1e-07.
std::string FormatNumber(double value);

// Splits at runs of white space (blanks, tabs, line ends).
std::vector<std::string_view> SplitFields(std::string_view line);

// Shortens a text for a message, marking the cut.
std::string Abbreviate(std::string_view s, std::size_t maxChars = 80);

}  // namespace tessel
