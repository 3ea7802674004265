// Output files are replaced only by complete new ones.
#include <gtest/gtest.h>

#include "test_support.h"
#include "util/error.h"
#include "util/files.h"
#include "util/text.h"

namespace tessel {
namespace {

TEST(AtomicWrite, ReplacesCompletelyAndLeavesNoTemporaryFiles) {
  test::ScratchDir dir;
  const auto target = dir / "sub" / "out.txt";
  WriteFileAtomically(target, "first");
  WriteFileAtomically(target, "second");
  EXPECT_EQ(test::ReadFile(target), "second");
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& e : std::filesystem::directory_iterator(dir / "sub")) ++files;
  EXPECT_EQ(files, 1u);
}

TEST(AtomicWrite, FailureKeepsWhatWasThere) {
  test::ScratchDir dir;
  // A non-empty folder cannot be replaced by a file: the write must fail and keep it.
  std::filesystem::create_directories(dir / "busy" / "inner");
  EXPECT_THROW(WriteFileAtomically(dir / "busy", "data"), OutputError);
  EXPECT_TRUE(std::filesystem::is_directory(dir / "busy" / "inner"));
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& e : std::filesystem::directory_iterator(dir.path())) ++files;
  EXPECT_EQ(files, 1u);  // no temporary file left behind
}

TEST(TextHelpers, EscapingAndNumbers) {
  EXPECT_EQ(HtmlEscape("a<b>&\"c'"), "a&lt;b&gt;&amp;&quot;c&#39;");
  EXPECT_EQ(FormatNumber(2.0), "2");
  EXPECT_EQ(FormatNumber(1.0 / 3.0), "0.333333");
  EXPECT_EQ(FormatNumber(1e-7), "1e-07");
  EXPECT_EQ(FormatNumber(1234567.0), "1.23457e+06");
}

}  // namespace
}  // namespace tessel
