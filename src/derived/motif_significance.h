// Motif significance: how a network's motif counts compare with those of its random
// versions (the null models of the shuffle command, drawn from the same generators, so
// `--seed S` gives the random networks that `shuffle --seed S` writes). Only counts are
// kept: no page, drawing or file is made for a random network.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "derived/shuffle.h"
#include "motifs/motif_pages.h"
#include "motifs/motif_search.h"
#include "output/page_context.h"
#include "util/progress.h"
#include "util/rank_group.h"

namespace tessel {

struct SignificanceSettings {
  std::vector<MotifKind> kinds;  // counted in the motif command's order
  ShuffleKind randomKind = ShuffleKind::SwapTargets;
  int count = 100;  // random networks
  int passes = 10;  // swap passes
  std::uint64_t seed = 0;
  unsigned threads = 0;  // per rank; 0: all cores
};

// The counts compared, in order: for each kind, "total", then "positive" and "negative"
// for signed kinds.
struct MotifCountEntry {
  MotifKind kind;
  std::string sign;  // "total", "positive" or "negative"
};
std::vector<MotifCountEntry> MotifCountEntries(const std::vector<MotifKind>& kinds);

// One row of counts in the order of MotifCountEntries(kinds), from a network's results.
std::vector<double> MotifCountRow(const std::vector<MotifKind>& kinds,
                                  const std::vector<MotifResult>& results);

// The motif counts of `settings.count` random networks, one row per network in network
// order, spread over the ranks of `group` and their threads; the rows are the same for any
// rank or thread count. Rank 0 gets every row, the others an empty list. Progress text:
// "Counted motifs of %d random networks out of %d".
std::vector<std::vector<double>> RandomMotifCounts(const Network& network,
                                                   const SignificanceSettings& settings,
                                                   Progress& progress, RankGroup& group);

// One count of the network against the random ones: mean, SD and z-score (as on the
// shuffled networks page), and the empirical p-values with the +1 correction,
//   pAtLeast = (1 + #{random >= network}) / (N + 1),  pAtMost the same with <=.
struct MotifSignificance {
  MotifCountEntry entry;
  ColumnComparison comparison;
  std::size_t atLeast = 0;  // random networks with a count >= the network's
  std::size_t atMost = 0;   // ... <=
  double pAtLeast = 1;
  double pAtMost = 1;
};
std::vector<MotifSignificance> CompareMotifCounts(const std::vector<MotifKind>& kinds,
                                                  const std::vector<double>& networkCounts,
                                                  const std::vector<std::vector<double>>& random);

// The page kSignificancePage: what the random networks are, and one row per entry.
std::string SignificancePage(const SignificanceSettings& settings,
                             const std::vector<MotifSignificance>& rows,
                             const PageContext& context = {});

// A p-value as shown: four significant digits ("0.0099", "1").
std::string FormatP(double p);

}  // namespace tessel
