// Shuffled and random networks: null models against which a network's motif and clustering
// figures are compared. Every random network is drawn from the user's network with its own
// generator, seeded from the command's seed and the network's number, so the files are the
// same for a given seed whatever the number of threads.
#pragma once

#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "derived/figures.h"
#include "model/network.h"
#include "model/readers.h"
#include "output/page_context.h"
#include "util/progress.h"
#include "util/rank_group.h"

namespace tessel {

inline constexpr const char* kShuffledFolder = "TESSEL_shuffled_nets";
inline constexpr const char* kShuffledPage = "shuffled_networks_analysis.htm";

enum class ShuffleKind {
  SwapTargets,     // "random_milo_%d.sig": keeps every molecule's in and out degree
  ShuffleEffects,  // "random_effect_%d.sig": keeps the wiring
  ErdosRenyi,      // "random_er_%d.sig": same molecules and the same count of every effect
};

// "swap", "effects", "er"; throws std::invalid_argument otherwise.
ShuffleKind ParseShuffleKind(std::string_view name);
// The file name of the index-th network (1-based): "random_milo_7.sig", ...
std::string ShuffledFileName(ShuffleKind kind, int index);

// Swaps targets: `passes` passes over the interactions in list order; in each, interaction
// e draws a partner f uniformly and the two exchange their five target fields unless f is
// e, or the exchange would create an interaction that exists already, the reverse of one,
// or a self-interaction. Sources, effects, types and PubMed ids stay in place. Returns one
// row per interaction, in list order.
std::vector<SigRow> SwapTargets(const Network& network, int passes, std::mt19937_64& random);

// A uniform random permutation of the effects over the interactions.
std::vector<SigRow> ShuffleEffects(const Network& network, std::mt19937_64& random);

// For every effect string, as many links as the network has: "+" first, then "_", then
// "0", then the other effects in order of first appearance. Each link joins two distinct
// molecules drawn uniformly, source fields from the first and target fields from the
// second; no ordered pair is drawn twice (reverse pairs may occur). Interaction type
// "Unknown", PubMed id 0. Throws std::invalid_argument when the network has more
// interactions than ordered pairs of distinct molecules.
std::vector<SigRow> ErdosRenyi(const Network& network, std::mt19937_64& random);

// The generator for network `index` (1-based) of a run with `seed`.
std::mt19937_64 NetworkRandom(std::uint64_t seed, int index);

// The rows of one random network of `kind` drawn with `random` (`passes`: swap passes).
std::vector<SigRow> RandomNetworkRows(const Network& network, ShuffleKind kind, int passes,
                                      std::mt19937_64& random);

struct ShuffleSettings {
  ShuffleKind kind = ShuffleKind::SwapTargets;
  int count = 100;
  bool maintainOneIsland = false;  // swap and Erdos-Renyi only
  int islandTries = 100;           // tries per network before giving up
  int passes = 10;                 // swap passes
  FigureColumns columns{true, false, false};
  bool analyze = true;  // write the analysis page (when columns.any())
  std::uint64_t seed = 0;
  unsigned threads = 0;   // 0: all cores
  PageContext context{};  // shown on the analysis page
};

// One column of the comparison between the user's network and its random versions: the
// network's value with the mean, sample standard deviation and z-score of the random
// values. A network of several islands has no path length (its "CPL" cell is 0), so the
// "CPL" column takes its figures from the random networks of one island only, and gives no
// z-score when the user's network itself has several islands.
struct ColumnComparison {
  std::string title;
  Comparison figures;
  std::size_t used = 0;     // random networks in the mean
  std::size_t leftOut = 0;  // random networks left out ("CPL" only: those of several islands)

  bool hasMean() const { return used > 0; }
  bool hasSd() const { return used > 1; }
  // The figures as the page shows them: "-" where there is none; z with two decimals.
  std::string meanText() const;
  std::string sdText() const;
  std::string zText() const;
};

// One entry per title; `random` holds one row of values per random network, in the order
// of `titles`, like `networkValues`.
std::vector<ColumnComparison> ShuffleComparison(const std::vector<std::string>& titles,
                                                const std::vector<double>& networkValues,
                                                const std::vector<std::vector<double>>& random);

// The words that say how the random networks of a kind are made.
std::string ShuffleKindWords(ShuffleKind kind);

struct ShuffleResult {
  std::filesystem::path folder;  // <output>/TESSEL_shuffled_nets
  std::filesystem::path page;    // the analysis page; empty when not analysed
  std::vector<std::filesystem::path> files;
  std::vector<std::string> titles;           // FigureTitles of the columns
  std::vector<double> networkValues;         // the user's network, for comparison
  std::vector<std::vector<double>> random;   // one row per random network, in file order
  std::vector<ColumnComparison> comparison;  // ShuffleComparison of the above
};

// Makes and (optionally) analyses the random networks, in parallel. Progress texts:
// "Created %d random networks out of %d" and "Analyzed %d random networks out of %d".
// Throws std::runtime_error when "maintain one island" finds no network of one island in
// `islandTries` tries, OutputError when a file cannot be written, Cancelled when stopped.
ShuffleResult RunShuffleCommand(const Network& network, const ShuffleSettings& settings,
                                const std::filesystem::path& outputDir, Progress& progress);

// The same spread over the ranks of `group`: every rank loads the same network and calls
// this with the same settings; each makes and analyses its share of the networks, and rank
// 0 alone writes the files and the page, identical to those of one process. Only rank 0's
// result holds the figures and the comparison. A failure on any rank ends every rank with
// the same error.
ShuffleResult RunShuffleCommand(const Network& network, const ShuffleSettings& settings,
                                const std::filesystem::path& outputDir, Progress& progress,
                                RankGroup& group);

}  // namespace tessel
