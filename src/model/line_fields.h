// Splitting the blank-separated lines of SIG and two-column files, shared by their readers.
#pragma once

#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "model/network.h"
#include "util/error.h"
#include "util/text.h"

namespace tessel {

namespace detail {

#if defined(__SSE2__)
// Bit k is set when p[k] is a blank (see IsBlank), for the 16 bytes at p.
inline unsigned BlankMask16(const char* p) {
  const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  const __m128i space = _mm_cmpeq_epi8(v, _mm_set1_epi8(' '));
  // '\t' (9) to '\r' (13) become 0 to 4; the line break (10) among them is no blank.
  const __m128i shifted = _mm_sub_epi8(v, _mm_set1_epi8(9));
  const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(shifted, _mm_set1_epi8(4)), shifted);
  const __m128i lineBreak = _mm_cmpeq_epi8(v, _mm_set1_epi8('\n'));
  return static_cast<unsigned>(
      _mm_movemask_epi8(_mm_or_si128(space, _mm_andnot_si128(lineBreak, control))));
}
#endif

}  // namespace detail

// Splits a line into at most `Max` fields; returns the number of fields found, which is
// Max + 1 when the line holds more than Max. Sixteen bytes at a time where the processor
// allows: a million-row file is about a hundred million bytes to split.
template <std::size_t Max>
std::size_t SplitLine(std::string_view line, std::array<std::string_view, Max>& fields) {
  std::size_t count = 0;
  std::size_t start = 0;  // of the field being read
  bool inside = false;    // in a field
  // A blank after a field ends it, a field byte after a blank starts one; false when the
  // field started is one too many.
  const auto change = [&](std::size_t at) {
    if (inside) {
      fields[count++] = line.substr(start, at - start);
    } else {
      if (count == Max) return false;
      start = at;
    }
    inside = !inside;
    return true;
  };
  std::size_t i = 0;
#if defined(__SSE2__)
  for (; i + 16 <= line.size(); i += 16) {
    const unsigned blank = detail::BlankMask16(line.data() + i);
    // Bit k of `before`: whether the byte before byte k is a blank.
    const unsigned before = (blank << 1) | (inside ? 0u : 1u);
    for (unsigned changes = (blank ^ before) & 0xFFFFu; changes != 0; changes &= changes - 1) {
      if (!change(i + static_cast<std::size_t>(std::countr_zero(changes)))) return Max + 1;
    }
  }
#endif
  for (; i < line.size(); ++i) {
    if (IsBlank(line[i]) == inside && !change(i)) return Max + 1;
  }
  if (inside) fields[count++] = line.substr(start);
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
