// Shared text helpers: trimming, case folding and UTF-8 well-formedness.
#include <gtest/gtest.h>

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

}  // namespace
}  // namespace tessel
