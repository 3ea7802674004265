// The table of figures that compares derived networks (shuffled networks, sub-networks by
// connectivity, sub-networks grown from sources): link counts by effect, clustering, grid
// coefficient, path length, islands and motif counts, one row per network.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "model/network.h"
#include "util/progress.h"

namespace tessel {

// Which optional column groups a table has. "interactions", "nodes", the three effect
// columns and "islands" are always there.
struct FigureColumns {
  bool clustering = true;  // CC, GC, CPL
  bool motifs34 = true;    // FBL3 ... NFFL4 (fourteen columns)
  bool motifs5 = false;    // FBL5, PFBL5, NFBL5

  bool any() const { return clustering || motifs34 || motifs5; }
};

// Column titles after the first column, in page order:
// interactions, nodes, positive links, negative links, neutral links, [CC, GC, CPL],
// islands, [FBL3, FBL4, PFBL3, PFBL4, NFBL3, NFBL4, Scaffolds, Bifans, FFL3, FFL4, PFFL3,
// PFFL4, NFFL3, NFFL4], [FBL5, PFBL5, NFBL5].
std::vector<std::string> FigureTitles(const FigureColumns& columns);

// One row of figures, matching FigureTitles. "positive links", "negative links" and
// "neutral links" count the interactions whose effect is exactly "+", "_" and "0".
struct FigureRow {
  std::vector<double> values;
  // Per molecule (indexed by id - 1): the number of distinct feedback loops (3 and 4),
  // feedforward loops (3 and 4) and bifans it belongs to; filled only with motifs34.
  std::vector<std::uint32_t> motifHits;
};

// Computes one row. Motif searches use `threads` threads (callers that analyse several
// networks at once pass 1). Throws Cancelled when asked to stop.
FigureRow ComputeFigures(const Network& network, const FigureColumns& columns, Progress& progress,
                         unsigned threads = 1);

// The text of one cell: CC, GC and CPL as an output stream writes a double by default,
// counts as whole numbers.
std::string FigureCell(std::string_view title, double value);

// "<tr><td>" first "</td><td>" title ... "</td></tr>\n"
std::string FigureHeaderRow(std::string_view firstTitle, const std::vector<std::string>& titles);
// "<tr><td>" label "</td><td>" cell ... "</td></tr>\n"
std::string FigureValueRow(std::string_view label, const std::vector<std::string>& titles,
                           const std::vector<double>& values);

// Mean, sample standard deviation and z-score of a network's value against random ones.
struct Comparison {
  double value = 0;
  double mean = 0;
  double sd = 0;
  bool hasZ = false;  // false when the deviation is 0 or there are fewer than two values
  double z = 0;
};
Comparison Compare(double value, const std::vector<double>& randomValues);

// A z-score as shown to the user: two decimals ("-1.25", "0.00"), never "-0.00".
std::string FormatZ(double z);

}  // namespace tessel
