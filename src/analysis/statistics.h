// Network statistics: every number of the statistics page, computed once and shared by
// the page writer and the command line's JSON output.
#pragma once

#include <filesystem>
#include <string>

#include "analysis/metrics.h"
#include "output/page_context.h"

namespace tessel {

struct Statistics {
  std::size_t molecules = 0;
  std::size_t interactions = 0;
  std::size_t references = 0;
  ValueTally moleculeTypes;
  ValueTally locations;
  ValueTally effects;
  ValueTally interactionTypes;
  ConnectivityDistribution connectivity;
  double linksPerNode = 0;
  double clustering = 0;
  double grid = 0;
  PathLength pathLength;
  Islands islands;
  std::vector<double> clusteringPerMolecule;
  std::vector<double> gridPerMolecule;
};

// The path-length searches run on `threads` threads (0: one per core).
Statistics ComputeStatistics(const Network& network, Progress& progress, unsigned threads = 0);

// The HTML text of "stats.htm".
std::string StatisticsPage(const Statistics& stats, const PageContext& context = {});

inline constexpr const char* kStatisticsPageName = "stats.htm";

// Computes the statistics and writes "stats.htm" into `folder`; returns the page's path.
std::filesystem::path WriteStatisticsPage(const Network& network,
                                          const std::filesystem::path& folder, Progress& progress,
                                          Statistics* computed = nullptr,
                                          const PageContext& context = {}, unsigned threads = 0);

}  // namespace tessel
