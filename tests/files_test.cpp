// Output files are replaced only by complete new ones.
#include <gtest/gtest.h>
#include <sys/stat.h>

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

// Only the target remains in `folder`: no temporary file was left behind.
std::size_t FilesIn(const std::filesystem::path& folder) {
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& e : std::filesystem::directory_iterator(folder)) ++files;
  return files;
}

TEST(AtomicWrite, RefusesTargetsThatAreNotRegularFiles) {
  namespace fs = std::filesystem;
  test::ScratchDir dir;
  ASSERT_EQ(::mkfifo((dir / "fifo").c_str(), 0600), 0);
  fs::create_directory(dir / "empty");
  fs::create_symlink(dir / "nowhere", dir / "dangling");
  for (const char* name : {"fifo", "empty", "dangling"}) {
    EXPECT_THROW(WriteFileAtomically(dir / name, "data"), OutputError) << name;
  }
  EXPECT_TRUE(fs::is_fifo(dir / "fifo"));
  EXPECT_TRUE(fs::is_directory(dir / "empty"));
  EXPECT_FALSE(fs::exists(dir / "nowhere"));
  EXPECT_EQ(FilesIn(dir.path()), 3u);
}

TEST(AtomicWrite, WritesThroughALinkAndKeepsPermissions) {
  namespace fs = std::filesystem;
  test::ScratchDir dir;
  fs::create_directory(dir / "real");
  WriteFileAtomically(dir / "real" / "data.txt", "old");
  fs::permissions(dir / "real" / "data.txt", fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink(dir / "real" / "data.txt", dir / "link.txt");
  WriteFileAtomically(dir / "link.txt", "new");
  EXPECT_TRUE(fs::is_symlink(dir / "link.txt"));
  EXPECT_EQ(test::ReadFile(dir / "real" / "data.txt"), "new");
  EXPECT_EQ(fs::status(dir / "real" / "data.txt").permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(FilesIn(dir / "real"), 1u);
  // A file name at the length limit still finds room for its temporary file.
  const std::string longest(255, 'x');
  WriteFileAtomically(dir / "real" / longest, "data");
  EXPECT_EQ(test::ReadFile(dir / "real" / longest), "data");
  EXPECT_EQ(FilesIn(dir / "real"), 2u);
}

TEST(OutputPath, NewNamesInExistingFoldersAndRegularFilesOnly) {
  test::ScratchDir dir;
  test::WriteFile(dir / "old.sig", "x");
  EXPECT_EQ(OutputPathProblem(dir / "old.sig"), "");
  EXPECT_EQ(OutputPathProblem(dir / "new.sig"), "");
  EXPECT_EQ(OutputPathProblem(dir / "missing" / "new.sig"),
            "the folder " + (dir / "missing").string() + " does not exist");
  EXPECT_EQ(OutputPathProblem(dir / "missing" / "new.sig", true), "");
  EXPECT_EQ(OutputPathProblem(dir / "old.sig" / "new.sig", true),
            (dir / "old.sig").string() + " is not a folder");
  EXPECT_EQ(OutputPathProblem("/dev/null"), "/dev/null is not a regular file");
  EXPECT_NE(OutputPathProblem(dir.path()), "");
}

TEST(TextHelpers, EscapingAndNumbers) {
  EXPECT_EQ(HtmlEscape("a<b>&\"c'"), "a&lt;b&gt;&amp;&quot;c&#39;");
  // Latin-1 bytes become U+FFFD, so pages stay valid UTF-8.
  EXPECT_EQ(HtmlEscape("Caf\xE9<\xE2\x82&\xC3\xA9"), "Caf\uFFFD&lt;\uFFFD&amp;\u00E9");
  EXPECT_EQ(FormatNumber(2.0), "2");
  EXPECT_EQ(FormatNumber(1.0 / 3.0), "0.333333");
  EXPECT_EQ(FormatNumber(1e-7), "1e-07");
  EXPECT_EQ(FormatNumber(1234567.0), "1.23457e+06");
}

}  // namespace
}  // namespace tessel
