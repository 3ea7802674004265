// Shared text helpers: UTF-8 well-formedness, line numbering and line walking.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model/text_input.h"
#include "util/error.h"
#include "util/text.h"

namespace tessel {
namespace {

constexpr auto npos = std::string_view::npos;

TEST(Utf8, AcceptsEachSequenceLengthUpToTheEdgesOfTheValidRanges) {
  EXPECT_EQ(FirstInvalidUtf8(""), npos);
  EXPECT_EQ(FirstInvalidUtf8("a\xC2\x80z"), npos);        // U+0080
  EXPECT_EQ(FirstInvalidUtf8("\xE0\xA0\x80"), npos);      // U+0800, shortest 3-byte
  EXPECT_EQ(FirstInvalidUtf8("\xED\x9F\xBF"), npos);      // U+D7FF, just below surrogates
  EXPECT_EQ(FirstInvalidUtf8("\xF0\x90\x80\x80"), npos);  // U+10000, shortest 4-byte
  EXPECT_EQ(FirstInvalidUtf8("\xF4\x8F\xBF\xBF"), npos);  // U+10FFFF
  EXPECT_EQ(Utf8SequenceLength("\xF4\x8F\xBF\xBF", 0), 4u);
  EXPECT_EQ(Utf8SequenceLength("A", 0), 1u);
}

TEST(Utf8, RefusesOverlongSurrogateOutOfRangeStrayAndTruncatedSequences) {
  EXPECT_EQ(FirstInvalidUtf8("ab\xC0\x80"), 2u);        // overlong NUL
  EXPECT_EQ(FirstInvalidUtf8("\xC1\xBF"), 0u);          // overlong 2-byte
  EXPECT_EQ(FirstInvalidUtf8("\xE0\x9F\xBF"), 0u);      // overlong 3-byte
  EXPECT_EQ(FirstInvalidUtf8("\xF0\x8F\xBF\xBF"), 0u);  // overlong 4-byte
  EXPECT_EQ(FirstInvalidUtf8("x\xED\xA0\x80"), 1u);     // U+D800
  EXPECT_EQ(FirstInvalidUtf8("\xF4\x90\x80\x80"), 0u);  // above U+10FFFF
  EXPECT_EQ(FirstInvalidUtf8("\xF5\x80\x80\x80"), 0u);
  EXPECT_EQ(FirstInvalidUtf8("ok\x80"), 2u);     // stray continuation byte
  EXPECT_EQ(FirstInvalidUtf8("\xE2\x82"), 0u);   // cut off at the end
  EXPECT_EQ(FirstInvalidUtf8("\xE2\x82z"), 0u);  // third byte no continuation
  EXPECT_EQ(FirstInvalidUtf8("\xC3\xA9\xF0\x9F\x98"), 2u);
}

TEST(TextTrim, TrimDropsLineBreaksButTrimBlanksKeepsThem) {
  EXPECT_EQ(Trim(" \t\na b\r\n\v\f"), "a b");
  EXPECT_EQ(TrimBlanks(" \t\na b\r\n\v\f"), "\na b\r\n");
  EXPECT_TRUE(EqualsNoCase("GeNe NaMe", "gene name"));
  EXPECT_FALSE(EqualsNoCase("gene", "genes"));
  EXPECT_TRUE(StartsWithNoCase("Phenotype X", "PHENOTYPE"));
  EXPECT_TRUE(EndsWithNoCase("TP53_HUMAN", "_human"));
  EXPECT_FALSE(EndsWithNoCase("n", "_human"));
}

TEST(LineIndex, ALineBreakBelongsToTheLineItEnds) {
  const LineIndex lines("ab\n\nc\n");
  EXPECT_EQ(lines.lineOf(-1), 0u);
  EXPECT_EQ(lines.lineOf(0), 1u);
  EXPECT_EQ(lines.lineOf(2), 1u);  // the first '\n'
  EXPECT_EQ(lines.lineOf(3), 2u);  // the empty line's '\n'
  EXPECT_EQ(lines.lineOf(4), 3u);
  EXPECT_EQ(lines.lineOf(5), 3u);
  EXPECT_EQ(lines.lineOf(6), 4u);  // past the final line break
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
  EXPECT_EQ(AllLines(text, LineCursor::Mode::kStripped), (std::vector<std::string>{"a", "", "b"}));
  EXPECT_EQ(AllLines(text, LineCursor::Mode::kRaw), (std::vector<std::string>{"\xEF\xBB\xBF"
                                                                              "a\r",
                                                                              "\r", "b"}));
  EXPECT_EQ(AllLines("a\n", LineCursor::Mode::kRaw), (std::vector<std::string>{"a"}));
}

TEST(LineCursor, ContentLinesSkipBlanksAndCommentsAndExtendCountsTheJoinedLines) {
  LineCursor cursor("# title\n \t\nx,\"1\r\n2\"\r\ny\n", LineCursor::Mode::kStripped);
  std::string_view line;
  ASSERT_TRUE(cursor.nextContent(line));
  EXPECT_EQ(line, "x,\"1");
  EXPECT_EQ(cursor.number(), 3u);
  ASSERT_TRUE(cursor.extend(line));
  EXPECT_EQ(line, "x,\"1\r\n2\"");
  EXPECT_EQ(cursor.number(), 4u);
  ASSERT_TRUE(cursor.nextContent(line));
  EXPECT_EQ(line, "y");
  EXPECT_EQ(cursor.number(), 5u);
  EXPECT_FALSE(cursor.extend(line));
  EXPECT_FALSE(cursor.nextContent(line));
}

TEST(CheckIsText, BlankTextIsEmptyOnlyWhenAskedAndANulNamesItsLine) {
  EXPECT_THROW(CheckIsText("", "f", EmptyText::kNoBytes), InputError);
  EXPECT_NO_THROW(CheckIsText(" \n\t", "f", EmptyText::kNoBytes));
  try {
    CheckIsText(" \n\t", "f", EmptyText::kOnlyBlanks);
    FAIL() << "a blank text passed";
  } catch (const InputError& e) {
    EXPECT_EQ(e.line(), 0u);
    EXPECT_EQ(e.message(), "the file is empty");
  }
  try {
    CheckIsText(std::string_view("a\nb\n\0", 5), "f", EmptyText::kOnlyBlanks);
    FAIL() << "a NUL byte passed";
  } catch (const InputError& e) {
    EXPECT_EQ(e.line(), 3u);
  }
}

}  // namespace
}  // namespace tessel
