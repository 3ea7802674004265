// Network metrics: tallies, connectivity histograms, references, clustering and grid
// coefficients, islands and the characteristic path length.
//
// Every function reads an immutable Network and returns its result; per-molecule values
// are returned in vectors indexed by molecule id - 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "model/network.h"
#include "util/progress.h"

namespace tessel {

// Distinct values with their number of occurrences, in order of first appearance.
struct ValueTally {
  std::vector<std::pair<std::string, std::size_t>> values;
  std::size_t distinct() const { return values.size(); }
};

// Molecule types and locations are tallied over the molecules in display order;
// effects and interaction types over the interactions in creation order.
ValueTally TallyMoleculeTypes(const Network& network);
ValueTally TallyLocations(const Network& network);
ValueTally TallyEffects(const Network& network);
ValueTally TallyInteractionTypes(const Network& network);

// Entry k-1 holds the number of molecules with exactly k links (k >= 1); molecules with
// no links are in no entry. Each vector is as long as its largest count.
struct ConnectivityDistribution {
  std::vector<std::size_t> links;  // distinct neighbours
  std::vector<std::size_t> in;     // signed interactions entering
  std::vector<std::size_t> out;    // signed interactions leaving
};
ConnectivityDistribution ComputeConnectivityDistribution(const Network& network);

// Number of distinct PubMed ids over all interactions.
std::size_t CountReferences(const Network& network);

// Mean number of links (distinct neighbours) per molecule.
double AverageLinksPerNode(const Network& network);

// Mean of the per-molecule clustering coefficients; molecules with fewer than two
// neighbours, or no link among their neighbours, have 0 and count in the mean.
// `threads`: as for CharacteristicPathLength below.
double ClusteringCoefficient(const Network& network, std::vector<double>* perMolecule = nullptr,
                             unsigned threads = 1);

// Mean of the per-molecule grid coefficients (the clustering of squares).
double GridCoefficient(const Network& network, std::vector<double>* perMolecule = nullptr,
                       unsigned threads = 1);

// Connected components of the undirected neighbour graph.
struct Islands {
  std::size_t count = 0;
  std::vector<MoleculeId> largest;  // member ids of the largest island, ascending
};
Islands FindIslands(const Network& network);

// The characteristic path length: for a network of one island with n >= 2 molecules, each
// molecule's average path length is the sum of its shortest-path distances to all
// molecules divided by n - 1, and the network value is the sum of those averages divided
// by n - 1. 0 for a network of more than one island or fewer than two molecules.
//
// The same definition applied to each island as a network of its own gives every
// molecule an average within its island, and the largest island (as FindIslands picks
// it) a path length of its own, so networks of several islands still have figures.
struct PathLength {
  double value = 0;
  std::vector<double> perMolecule;  // average path length per molecule; empty when value is 0
  // Per molecule (id - 1): the average distance to the other molecules of its own island,
  // 0 for a molecule alone. Equal to perMolecule for a network of one island.
  std::vector<double> islandPerMolecule;
  double largestIsland = 0;           // the largest island's characteristic path length
  std::size_t largestIslandSize = 0;  // its molecule count
};
//
// `threads` searches at once (0: one per core); the default of one suits callers that
// already analyse several networks in parallel.
PathLength CharacteristicPathLength(const Network& network, Progress& progress,
                                    unsigned threads = 1);

// For each molecule (indexed by id - 1), the sum of its shortest-path distances to every
// molecule it can reach. Breadth-first search from 64 molecules per pass, island by
// island, on `threads` threads (0: one per core); reports one step per finished pass and
// throws Cancelled when `progress` asks for it. The sums do not depend on the thread count.
std::vector<std::uint64_t> DistanceSums(const Network& network, Progress& progress,
                                        unsigned threads = 1);

// Shortest-path distances (in links) from one molecule to every molecule, indexed by id - 1;
// -1 for molecules that cannot be reached.
std::vector<int> DistancesFrom(const Network& network, MoleculeId source);

}  // namespace tessel
