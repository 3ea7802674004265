// Shared text helpers: UTF-8 well-formedness, line numbering and line walking.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "model/text_input.h"
#include "util/error.h"
#include "util/text.h"

namespace tessel {
namespace {

constexpr auto npos = std::string_view::npos;

TEST(Utf8, EdgesOfTheValidRangesAndTheFirstBadByte) {
  const std::vector<std::pair<std::string_view, std::size_t>> cases = {
      {"", npos},
      {"a\xC2\x80z", npos},        // U+0080
      {"\xE0\xA0\x80", npos},      // U+0800, shortest 3-byte
      {"\xED\x9F\xBF", npos},      // U+D7FF, just below surrogates
      {"\xF0\x90\x80\x80", npos},  // U+10000, shortest 4-byte
      {"\xF4\x8F\xBF\xBF", npos},  // U+10FFFF
      {"ab\xC0\x80", 2},           // overlong NUL
      {"\xC1\xBF", 0},             // overlong 2-byte
      {"\xE0\x9F\xBF", 0},         // overlong 3-byte
      {"\xF0\x8F\xBF\xBF", 0},     // overlong 4-byte
      {"x\xED\xA0\x80", 1},        // U+D800
      {"\xF4\x90\x80\x80", 0},     // above U+10FFFF
      {"\xF5\x80\x80\x80", 0},     // no such lead byte
      {"ok\x80", 2},               // stray continuation byte
      {"\xE2\x82", 0},             // cut off at the end
      {"\xE2\x82z", 0},            // third byte no continuation
      {"\xC3\xA9\xF0\x9F\x98", 2}};
  for (const auto& [text, bad] : cases) EXPECT_EQ(FirstInvalidUtf8(text), bad) << text;
  EXPECT_EQ(Utf8SequenceLength("\xF4\x8F\xBF\xBF", 0), 4u);
}

// One U+FFFD per maximal subpart, exactly as the JSON output replaces bad bytes, so a name
// reads the same in the pages and in --json.
TEST(Utf8, ReplacementAgreesWithTheJsonWriter) {
  const std::string r = "\xEF\xBF\xBD";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"Caf\xE9", "Caf" + r},
      {"\xC3\xA9t\xE9", "\xC3\xA9t" + r},
      {"\xE2\x82z", r + "z"},                        // a cut sequence is one subpart
      {"\xF0\x9F\x98", r},                           // cut at the end
      {"\xF0\x80\x80", r + r + r},                   // 0x80 cannot follow 0xF0
      {"\xED\xA0\x80", r + r + r},                   // surrogate
      {"\xC0\xAF\xFF", r + r + r},                   // bytes that start nothing
      {"\xE1\x80\xE2\x82\xAC", r + "\xE2\x82\xAC"},  // the bad part ends at a new lead byte
      {"ok", "ok"}};
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(ReplaceInvalidUtf8(text), expected) << text;
    const std::string json =
        nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    EXPECT_EQ(json, "\"" + expected + "\"") << text;
  }
}

TEST(TextTrim, TrimDropsLineBreaksButTrimBlanksKeepsThem) {
  EXPECT_EQ(Trim(" \t\na b\r\n\v\f"), "a b");
  EXPECT_EQ(TrimBlanks(" \t\na b\r\n\v\f"), "\na b\r\n");
}

TEST(LineIndex, ALineBreakBelongsToTheLineItEnds) {
  const LineIndex lines("ab\n\nc\n");
  // Offsets -1 to 6: before the text, "ab" and its break, the empty line, "c", past the end.
  const std::vector<std::size_t> expected = {0, 1, 1, 1, 2, 3, 3, 4};
  for (std::ptrdiff_t at = -1; at <= 6; ++at) EXPECT_EQ(lines.lineOf(at), expected[at + 1]) << at;
}

std::vector<std::string> AllLines(std::string_view text, LineCursor::Mode mode) {
  LineCursor cursor(text, mode);
  std::vector<std::string> lines;
  std::string_view line;
  while (cursor.next(line)) lines.emplace_back(line);
  return lines;
}

TEST(LineCursor, StrippedModeDropsTheByteOrderMarkAndCarriageReturnsRawModeKeepsThem) {
  const std::string_view text =
      "\xEF\xBB\xBF"
      "a\r\n\r\nb";
  using Lines = std::vector<std::string>;
  EXPECT_EQ(AllLines(text, LineCursor::Mode::kStripped), (Lines{"a", "", "b"}));
  EXPECT_EQ(AllLines(text, LineCursor::Mode::kRaw), (Lines{"\xEF\xBB\xBF"
                                                           "a\r",
                                                           "\r", "b"}));
  EXPECT_EQ(AllLines("a\n", LineCursor::Mode::kRaw), (Lines{"a"}));
}

TEST(LineCursor, ContentLinesSkipBlanksAndCommentsAndExtendCountsTheJoinedLines) {
  LineCursor cursor("# title\n \t\nx,\"1\r\n2\"\r\ny\n", LineCursor::Mode::kStripped);
  std::string_view line;
  ASSERT_TRUE(cursor.nextContent(line));
  EXPECT_EQ(std::pair(line, cursor.number()), std::pair(std::string_view("x,\"1"), 3ul));
  ASSERT_TRUE(cursor.extend(line));
  EXPECT_EQ(std::pair(line, cursor.number()), std::pair(std::string_view("x,\"1\r\n2\""), 4ul));
  ASSERT_TRUE(cursor.nextContent(line));
  EXPECT_EQ(std::pair(line, cursor.number()), std::pair(std::string_view("y"), 5ul));
  EXPECT_FALSE(cursor.extend(line));
  EXPECT_FALSE(cursor.nextContent(line));
}

// Empty, blank and binary files are refused with their lines by every table reader
// (table_reader_test.cpp); here only that a blank text may count as not empty.
TEST(CheckIsText, BlankTextIsEmptyOnlyWhenAsked) {
  EXPECT_THROW(CheckIsText("", "f", EmptyText::kNoBytes), InputError);
  EXPECT_NO_THROW(CheckIsText(" \n\t", "f", EmptyText::kNoBytes));
  EXPECT_THROW(CheckIsText(" \n\t", "f", EmptyText::kOnlyBlanks), InputError);
}

}  // namespace
}  // namespace tessel
