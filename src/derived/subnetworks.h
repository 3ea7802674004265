// Sub-networks: nested cuts by connectivity (hubs removed step by step) and networks grown
// from source molecules step by step along the direction of signalling.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "derived/figures.h"
#include "model/molecule_condition.h"
#include "model/network.h"
#include "model/readers.h"
#include "output/page_context.h"
#include "util/progress.h"

namespace tessel {

inline constexpr const char* kReducedFolder = "TESSEL_reduced";
inline constexpr const char* kReducedPage = "stats_for_reduced_networks.htm";
inline constexpr int kFirstAllowedConnectivity = 4;
inline constexpr int kLastAllowedConnectivity = 50;

// The interactions (in list order, one row each with the first PubMed id) whose two ends
// both have at most `maxLinks` links in `network`.
std::vector<SigRow> ConnectivitySubnetwork(const Network& network, std::size_t maxLinks);

struct ReduceResult {
  std::filesystem::path folder;              // <output>/TESSEL_reduced
  std::filesystem::path page;                // stats_for_reduced_networks.htm
  std::vector<std::filesystem::path> files;  // reduced_net4.sig ... reduced_net50.sig
  std::vector<std::string> titles;           // FigureTitles({true, true, false})
  std::vector<std::vector<double>> rows;     // one per allowed connectivity 4..50
};

// Writes reduced_net4.sig ... reduced_net50.sig and analyses each into the page. Progress
// texts "Created %d sub-networks out of 46...", "Analyzed %d sub-networks out of 46..."
// (k - 4) and finally "Finished analyzing sub-networks based on connectivity...".
ReduceResult RunReduceCommand(const Network& network, const std::filesystem::path& outputDir,
                              Progress& progress, unsigned threads = 0,
                              const PageContext& context = {});

inline constexpr const char* kFromSourcesFolder = "TESSEL_from_sources";
inline constexpr const char* kStepsPage = "stats_for_steps_networks.htm";
inline constexpr const char* kDipsPage = "dips.htm";

enum class Direction { Forward, Reverse };
// "forward" or "reverse" (any letter case); throws std::invalid_argument otherwise.
Direction ParseDirection(std::string_view name);

// Breadth-first distances in steps from `source`, indexed by id - 1 (-1: not reached).
// Forward, a step X -> Y is allowed when an interaction X -> Y exists or a neutral ("0")
// interaction Y -> X does; Reverse, when Y -> X exists or a neutral X -> Y does.
std::vector<int> PropagationDepths(const Network& network, MoleculeId source, Direction direction);

// The interactions (one row each, in list order) whose two ends both lie within `depth`
// steps, given the distances of PropagationDepths.
std::vector<SigRow> ReachedSubnetwork(const Network& network, const std::vector<int>& depths,
                                      int depth);

struct PropagateSettings {
  MoleculeCondition condition;
  int maxSteps = 15;
  Direction direction = Direction::Forward;
  unsigned threads = 0;
  PageContext context{};  // shown on both pages
};

struct PropagatedSource {
  std::string name;
  // The depths for which a file was written (those that reach a molecule other than the
  // source), with the figures of each.
  std::vector<int> depths;
  std::vector<std::vector<double>> rows;
};

struct PropagateResult {
  std::filesystem::path folder;     // <output>/TESSEL_from_sources
  std::filesystem::path statsPage;  // stats_for_steps_networks.htm
  std::filesystem::path dipsPage;   // dips.htm
  std::vector<std::filesystem::path> files;
  std::vector<std::string> titles;        // FigureTitles({true, true, false})
  std::vector<PropagatedSource> sources;  // the matching molecules, in list order
};

// For each molecule matching the condition, writes "<name>_sub_net_depth<d>.sig" (the name
// made safe) for d = 1 .. maxSteps wherever the depth reaches beyond the source, analyses
// every file into stats_for_steps_networks.htm and writes each molecule's motif
// participation into dips.htm; each of the two pages links to the other. Progress texts "Created
// file %s...", "Analyzed the file %s..." and "Done analyzing steps sub-networks...".
PropagateResult RunPropagateCommand(const Network& network, const PropagateSettings& settings,
                                    const std::filesystem::path& outputDir, Progress& progress);

}  // namespace tessel
