// Splitting the blank-separated lines of SIG and two-column files, shared by their readers.
#pragma once

#include <array>
#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>

#include "model/network.h"
#include "util/error.h"
#include "util/text.h"

namespace tessel {

// Splits a line into at most `Max` fields; returns the number of fields found, which is
// Max + 1 when the line holds more than Max.
template <std::size_t Max>
std::size_t SplitLine(std::string_view line, std::array<std::string_view, Max>& fields) {
  std::size_t count = 0;
  std::size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && IsBlank(line[i])) ++i;
    if (i == line.size()) break;
    const std::size_t start = i;
    while (i < line.size() && !IsBlank(line[i])) ++i;
    if (count == Max) return Max + 1;
    fields[count++] = line.substr(start, i - start);
  }
  return count;
}

// Reads a PubMed id as a decimal integer; a text that is not a number reads as 0.
inline PubmedId ParsePubmedId(std::string_view field, bool& numeric) {
  PubmedId value = 0;
  const auto [end, ec] = std::from_chars(field.data(), field.data() + field.size(), value);
  numeric = ec == std::errc() && end == field.data() + field.size();
  if (ec != std::errc()) value = 0;
  return value;
}

[[noreturn]] inline void ColumnError(const std::string& file, std::size_t line,
                                     std::string_view text, std::string_view message) {
  throw InputError(file, line,
                   Abbreviate(text) + " line #" + std::to_string(line) + std::string(message));
}

}  // namespace tessel
