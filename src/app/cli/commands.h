// The sub-commands of the tessel command line. Each loads the network, runs the core
// function the desktop application runs too, and reports the result on stdout (as one
// JSON object with --json). Errors are thrown; main() turns them into messages.
#pragma once

#include <string>
#include <vector>

namespace tessel::cli {

// Options shared by every command.
struct CommonOptions {
  std::string network;
  std::string output = ".";
  std::string format = "auto";
  bool json = false;
  bool quiet = false;
};

int RunStats(const CommonOptions& options);
int RunValidate(const CommonOptions& options);
int RunSave(const CommonOptions& options, const std::string& to);

struct MotifOptions {
  std::vector<std::string> kinds;  // empty: the six kinds of the motif page
  bool noDrawings = false;
  unsigned threads = 0;
};
int RunMotifs(const CommonOptions& options, const MotifOptions& motifs);

int RunDraw(const CommonOptions& options, const std::string& base);
int RunExport(const CommonOptions& options, const std::string& format, std::string to);
int RunMatrix(const CommonOptions& options, std::string to, int size);

}  // namespace tessel::cli
