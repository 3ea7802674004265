// Exit statuses of the command line: usage errors (2) are found before anything is written,
// and Ctrl-C stops a long command cleanly (130), keeping what it wrote complete.
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "model/readers.h"
#include "test_support.h"

extern char** environ;

namespace tessel {
namespace {

namespace fs = std::filesystem;

// Starts tessel in `dir` with stdout and stderr going to files there.
pid_t StartTessel(const test::ScratchDir& dir, std::vector<std::string> args) {
  std::string program = TESSEL_CLI_PATH;
  std::vector<char*> argv{program.data()};
  for (std::string& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, (dir / "stdout.txt").c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&actions, 2, (dir / "stderr.txt").c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  pid_t pid = -1;
  const int failed = posix_spawn(&pid, TESSEL_CLI_PATH, &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  EXPECT_EQ(failed, 0);
  return pid;
}

int Wait(pid_t pid) {
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Waits until `path` exists (at most 60 s).
bool AppearsSoon(const fs::path& path) {
  for (int i = 0; i < 6000 && !fs::exists(path); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return fs::exists(path);
}

// Files under `folder` whose names look like a temporary file of an atomic write.
std::vector<std::string> TemporaryFiles(const fs::path& folder) {
  std::vector<std::string> found;
  for (const auto& e : fs::recursive_directory_iterator(folder)) {
    if (e.path().filename().string().find(".tmp") != std::string::npos) {
      found.push_back(e.path().string());
    }
  }
  return found;
}

TEST(CliExit, UsageErrorsComeBeforeAnyFileIsWritten) {
  test::ScratchDir dir;
  const std::string lbc = (test::DataDir() / "networks" / "signor_lbc.sig").string();
  const auto run = [&](std::vector<std::string> args) {
    args.insert(args.begin() + 1, {"-o", (dir / "out").string()});
    return Wait(StartTessel(dir, args));
  };
  test::WriteFile(dir / "genes.txt", "EGF\nEGFR\n");
  EXPECT_EQ(run({"genelist", (dir / "genes.txt").string()}), 2);  // no reference
  EXPECT_EQ(run({"pathways", "--easy", "NOPE", "TP53", lbc}), 2);
  EXPECT_NE(test::ReadFile(dir / "stderr.txt").find("no molecule has Name \"NOPE\""),
            std::string::npos);
  EXPECT_EQ(run({"draw", "--base", "a/b", lbc}), 2);
  EXPECT_FALSE(fs::exists(dir / "out"));  // not even the colours table
}

// A long shuffle and a web site run, interrupted once they have written files.
TEST(CliExit, CtrlCStopsCleanlyAndKeepsEarlierFiles) {
  test::ScratchDir dir;
  const std::string lbc = (test::DataDir() / "networks" / "signor_lbc.sig").string();
  const Network original = LoadNetwork(lbc);

  const pid_t shuffle = StartTessel(dir, {"shuffle", "--count", "1000000", "--analyze", "motifs34",
                                          "--seed", "3", "-o", (dir / "s").string(), lbc});
  const fs::path folder = dir / "s" / "TESSEL_shuffled_nets";
  ASSERT_TRUE(AppearsSoon(folder / "random_milo_2.sig"));
  kill(shuffle, SIGINT);
  EXPECT_EQ(Wait(shuffle), 130);
  EXPECT_NE(test::ReadFile(dir / "stderr.txt").find("tessel: cancelled"), std::string::npos);
  EXPECT_EQ(TemporaryFiles(dir / "s"), std::vector<std::string>{});
  std::size_t kept = 0;
  for (const auto& e : fs::directory_iterator(folder)) {
    const Network back = ReadSigText(test::ReadFile(e.path()), e.path().string());
    EXPECT_EQ(back.interactionCount(), original.interactionCount()) << e.path();
    ++kept;
  }
  EXPECT_GE(kept, 2u);
  EXPECT_LT(kept, 1000000u);
  EXPECT_FALSE(fs::exists(folder / "shuffled_networks_analysis.htm"));

  // The site of a network of 4000 molecules takes many seconds; the pages written before
  // the signal are whole.
  std::string edges;
  for (int k = 1; k < 4000; ++k) {
    edges += "M" + std::to_string(k / 2) + " M" + std::to_string(k) + " +\n";
  }
  const fs::path big = dir / "big.sig";
  WriteSigFile(test::NetworkFromEdges(edges), big);
  const pid_t site =
      StartTessel(dir, {"website", "--offline", "--cache-dir", (dir / "cache").string(), "-o",
                        (dir / "w").string(), big.string()});
  const fs::path pages = dir / "w" / "TESSEL_website";
  ASSERT_TRUE(AppearsSoon(pages / "list.htm"));
  kill(site, SIGINT);
  EXPECT_EQ(Wait(site), 130);
  EXPECT_NE(test::ReadFile(dir / "stderr.txt").find("tessel: cancelled"), std::string::npos);
  EXPECT_EQ(TemporaryFiles(dir / "w"), std::vector<std::string>{});
  const std::string list = test::ReadFile(pages / "list.htm");
  EXPECT_NE(list.find("</HTML>"), std::string::npos);
  EXPECT_FALSE(fs::exists(pages / "index.htm"));
}

}  // namespace
}  // namespace tessel
