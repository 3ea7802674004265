// The sub-commands of the tessel command line. Each loads the network, runs the core
// function the desktop application runs too, and reports the result on stdout (as one
// JSON object with --json). Errors are thrown; main() turns them into messages.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "model/readers.h"

namespace CLI {
class App;
}
namespace tessel {
class RankGroup;
}

namespace tessel::cli {

// A sub-command set up on the command line: its parser, and how to run it once the
// command line is parsed (given the command line as typed, which its pages show). The
// options live in a state the run holds; checks that need several options run first.
struct Command {
  using Run = std::function<int(const std::string& commandLine)>;
  using RunOnRanks = std::function<int(const std::string& commandLine, RankGroup& group)>;
  Command(CLI::App* parser_, Run run_, RunOnRanks runOnRanks_ = {})
      : parser(parser_), run(std::move(run_)), runOnRanks(std::move(runOnRanks_)) {}

  CLI::App* parser = nullptr;
  std::function<int(const std::string& commandLine)> run;
  // Set for the commands that spread their work over the ranks of a cluster run (shuffle,
  // motifs): every rank calls it, and only rank 0 writes files and prints. Other commands
  // run on rank 0 alone.
  std::function<int(const std::string& commandLine, RankGroup& group)> runOnRanks;
};

// Each adds one sub-command with its options to `app`, in the order of the help.
Command AddStatsCommand(CLI::App& app);
Command AddValidateCommand(CLI::App& app);
Command AddSaveCommand(CLI::App& app);
Command AddMotifsCommand(CLI::App& app);
Command AddDrawCommand(CLI::App& app);
Command AddExportCommand(CLI::App& app);
Command AddMatrixCommand(CLI::App& app);
Command AddPathwaysCommand(CLI::App& app);
Command AddShuffleCommand(CLI::App& app);
Command AddReduceCommand(CLI::App& app);
Command AddPropagateCommand(CLI::App& app);
Command AddWebsiteCommand(CLI::App& app);
Command AddGeneListCommand(CLI::App& app);

// Options shared by every command.
struct CommonOptions {
  std::string network;
  std::string output = ".";
  std::string format = "auto";
  TableColumns columns;  // --source-col and the like, for table files
  bool json = false;
  bool quiet = false;
  bool allowEmpty = false;  // load a file that yields no interaction
  std::string commandLine;  // as typed, shown on the pages the command writes
};

int RunStats(const CommonOptions& options, unsigned threads = 0);
int RunValidate(const CommonOptions& options);
int RunSave(const CommonOptions& options, const std::string& to);

struct MotifOptions {
  std::vector<std::string> kinds;  // empty: the six kinds of the motif page
  bool noDrawings = false;
  bool noPages = false;                    // counts only
  std::optional<std::size_t> maxDrawings;  // drawings per kind; unset: the core's default
  std::optional<std::size_t> maxMotifs;    // estimated motifs per kind; unset: the default
  bool force = false;                      // search even above the limit
  unsigned threads = 0;
  int significance = 0;               // random networks to compare the counts with; 0: none
  std::string randomKind = "swap";    // swap, effects or er
  std::optional<std::uint64_t> seed;  // unset: a random one, reported
};
int RunMotifs(const CommonOptions& options, const MotifOptions& motifs, RankGroup& group);

// Refuses (a usage error, exit status 2) to draw a network of more than kLargeDrawingMolecules
// molecules unless `force` is set.
int RunDraw(const CommonOptions& options, const std::string& base, bool force);
int RunExport(const CommonOptions& options, const std::string& format, std::string to);
int RunMatrix(const CommonOptions& options, std::string to, int size);

struct PathwayOptions {
  std::vector<std::string> sources;  // KIND=VALUE; empty: Type=Ligand
  std::vector<std::string> targets;  // KIND=VALUE; empty: Type=TF
  int maxSteps = 9;
  bool maxStepsGiven = false;  // with --easy, --max-steps bounds the routes listed
  int maxSize = 70;
  bool directOnly = false;
  std::vector<std::string> easy;  // SOURCE TARGET: the easy interface's query
  unsigned threads = 0;
};
int RunPathways(const CommonOptions& options, const PathwayOptions& pathways);

struct ShuffleOptions {
  std::string kind = "swap";
  int count = 100;
  bool oneIsland = false;
  int islandTries = 100;
  std::vector<std::string> analyze{"clustering"};  // clustering, motifs34, motifs5, none
  int passes = 10;
  std::optional<std::uint64_t> seed;
  unsigned threads = 0;
};
int RunShuffle(const CommonOptions& options, const ShuffleOptions& shuffle, RankGroup& group);

int RunReduce(const CommonOptions& options, unsigned threads);

struct PropagateOptions {
  std::string condition;  // KIND=VALUE
  int steps = 15;
  std::string direction = "forward";
  unsigned threads = 0;
};
int RunPropagate(const CommonOptions& options, const PropagateOptions& propagate);

// Web service settings: each option overrides its environment variable (see the README).
struct ServiceOptions {
  std::string eutilsUrl;
  std::string apiKey;
  std::string pubmedUrl;
  std::string uniprotUrl;
  std::string cacheDir;
  double timeout = 60;  // seconds per request
};

struct WebsiteOptions {
  bool offline = false;
  unsigned threads = 0;
};
int RunWebsite(const CommonOptions& options, const WebsiteOptions& website,
               const ServiceOptions& services);

struct GeneListOptions {
  std::string genes;      // the list file
  std::string reference;  // file or URL; empty: TESSEL_REFERENCE_URL
  int intermediates = 1;
  std::string to = "subnetwork.sig";  // relative names go into the output folder
};
int RunGeneList(const CommonOptions& options, const GeneListOptions& geneList,
                const ServiceOptions& services);

}  // namespace tessel::cli
