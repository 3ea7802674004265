// Network metrics on small networks worked out by hand, and the bit-parallel distance sums
// on random networks against a plain breadth-first search.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "analysis/metrics.h"
#include "test_support.h"

namespace tessel {
namespace {

using test::NetworkFromEdges;

double Mean(const std::vector<double>& values) {
  return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

TEST(Metrics, ClusteringAndGridCoefficientsByHandAndForLargeHubs) {
  const struct {
    const char* edges;
    std::vector<double> clustering, grid;  // per molecule, in creation order
  } cases[] = {
      {"A B +\nB C +\nC A +\n", {1, 1, 1}, {0, 0, 0}},
      {"A B +\nB C +\nC A +\nC D +\n", {1, 1, 1.0 / 3, 0}, {0, 0, 0, 0}},
      {"A B +\nB A _\nB C +\nC B 0\nA C +\nA A +\n", {1, 1, 1}, {0, 0, 0}},
      // Square: each corner closes 1 of k(k-1)/2 (k-2+S) = 1 * (0 + 2) possible squares.
      {"A B +\nB C +\nC D +\nD A +\n", {0, 0, 0, 0}, {0.5, 0.5, 0.5, 0.5}},
      // With the diagonal A-C: A closes 1 of 3 * (1 + 4), B 1 of 1 * (0 + 4).
      {"A B +\nB C +\nC D +\nD A +\nA C +\n",
       {2.0 / 3, 1, 2.0 / 3, 1},
       {1.0 / 15, 0.25, 1.0 / 15, 0.25}},
  };
  for (const auto& c : cases) {
    const Network net = NetworkFromEdges(c.edges);
    std::vector<double> clustering, grid;
    EXPECT_DOUBLE_EQ(ClusteringCoefficient(net, &clustering), Mean(c.clustering)) << c.edges;
    EXPECT_DOUBLE_EQ(GridCoefficient(net, &grid), Mean(c.grid)) << c.edges;
    EXPECT_EQ(clustering, c.clustering) << c.edges;
    EXPECT_EQ(grid, c.grid) << c.edges;
  }

  // Hubs H and G share k leaves: for each hub (k(k-1)/2) / (k(k-1)(k-2)/2 + k k(k-1)/2)
  // = 1 / (2(k-1)), a denominator beyond 32 bits; each leaf has 1/2.
  constexpr int k = 3000;
  std::string edges;
  for (int i = 0; i < k; ++i) {
    edges += "H L" + std::to_string(i) + " +\nG L" + std::to_string(i) + " +\n";
  }
  std::vector<double> per;
  EXPECT_DOUBLE_EQ(GridCoefficient(NetworkFromEdges(edges), &per),
                   (1.0 / (k - 1) + k * 0.5) / (k + 2));
  EXPECT_DOUBLE_EQ(per[0], 1.0 / (2.0 * (k - 1)));
}

TEST(Metrics, IslandsAndPathLengthsByHand) {
  // Islands {A1, B2, C5}, {X3, Y4, Z6}, {S7}: the tie goes to the smallest id.
  Islands islands = FindIslands(NetworkFromEdges("A B +\nX Y +\nB C +\nY Z _\nS S +\n"));
  EXPECT_EQ(islands.count, 3u);
  EXPECT_EQ(islands.largest, (std::vector<MoleculeId>{1, 2, 5}));
  islands = FindIslands(NetworkFromEdges("P Q +\nX Y +\nQ R +\nY Z +\nZ W +\n"));
  EXPECT_EQ(islands.count, 2u);
  EXPECT_EQ(islands.largest, (std::vector<MoleculeId>{3, 4, 6, 7}));
  EXPECT_EQ(FindIslands(Network()).count, 0u);

  NullProgress progress;
  EXPECT_TRUE(DistanceSums(Network(), progress, 0).empty());
  const Network pqr = NetworkFromEdges("P Q +\nQ R +\nQ P _\n");  // P-Q counts once
  EXPECT_DOUBLE_EQ(AverageLinksPerNode(pqr), 4.0 / 3);
  EXPECT_EQ(AverageLinksPerNode(Network()), 0.0);
  const PathLength chain = CharacteristicPathLength(pqr, progress);
  EXPECT_DOUBLE_EQ(chain.value, 2.0);
  EXPECT_EQ(chain.perMolecule, (std::vector<double>{1.5, 1.0, 1.5}));
  EXPECT_DOUBLE_EQ(
      CharacteristicPathLength(NetworkFromEdges("A B +\nB C +\nC A +\n"), progress).value, 1.5);
  EXPECT_EQ(CharacteristicPathLength(NetworkFromEdges("A A +\n"), progress).value, 0.0);
  // Islands P-Q-R and X-Y-Z-W and S alone (ids P1 Q2 X3 Y4 R5 Z6 W7 S8): no path length for
  // the network, but one per island: the chain of four averages (2 + 4/3 + 4/3 + 2) / 3.
  const PathLength islandsOf = CharacteristicPathLength(
      NetworkFromEdges("P Q +\nX Y +\nQ R +\nY Z +\nZ W +\nS S +\n"), progress);
  EXPECT_EQ(islandsOf.value, 0.0);
  EXPECT_TRUE(islandsOf.perMolecule.empty());
  const std::vector<double> expected{1.5, 1, 2, 4.0 / 3, 1.5, 4.0 / 3, 2, 0};
  ASSERT_EQ(islandsOf.islandPerMolecule.size(), expected.size());
  for (std::size_t v = 0; v < expected.size(); ++v) {
    EXPECT_DOUBLE_EQ(islandsOf.islandPerMolecule[v], expected[v]) << v;
  }
  EXPECT_DOUBLE_EQ(islandsOf.largestIsland, 20.0 / 9);
  EXPECT_EQ(islandsOf.largestIslandSize, 4u);
  EXPECT_EQ(chain.islandPerMolecule, chain.perMolecule);
  EXPECT_DOUBLE_EQ(chain.largestIsland, chain.value);
  EXPECT_THROW(DistancesFrom(pqr, 0), std::out_of_range);
  EXPECT_THROW(DistancesFrom(pqr, 4), std::out_of_range);
}

// Test-only reference: a plain breadth-first search.
std::vector<int> PlainDistances(const Network& net, MoleculeId source) {
  std::vector<int> distance(net.moleculeCount(), -1);
  std::vector<MoleculeId> queue{source};
  distance[source - 1] = 0;
  for (std::size_t head = 0; head < queue.size(); ++head) {
    for (const MoleculeId v : net.neighbours(queue[head])) {
      if (distance[v - 1] >= 0) continue;
      distance[v - 1] = distance[queue[head] - 1] + 1;
      queue.push_back(v);
    }
  }
  return distance;
}

struct RecordingProgress : Progress {
  void report(std::size_t done, std::size_t total, std::string_view) override {
    reports.emplace_back(done, total);
  }
  bool cancelled() const override { return reports.size() > cancelAfter; }
  std::size_t cancelAfter = SIZE_MAX;
  std::vector<std::pair<std::size_t, std::size_t>> reports;
};

TEST(Metrics, BitParallelSearchAgreesWithPlainSearchAndReportsEachPass) {
  std::mt19937_64 rng(7);
  // Molecules, islands and extra interactions: one to three passes of 256 sources, passes
  // that end inside an island or span several, sparse trees and dense islands.
  const std::size_t cases[][3] = {{65, 1, 40},    {255, 1, 10},  {256, 1, 2000}, {257, 1, 0},
                                  {700, 1, 1500}, {600, 4, 300}, {530, 3, 60},   {400, 130, 0}};
  for (const auto& [n, islandCount, extra] : cases) {
    SCOPED_TRACE(n);
    // Molecule i is in island i % islandCount: a random tree per island, then extra links
    // inside the islands (some repeated, reversed or self), shuffled so that the ids, given
    // in order of first appearance, do not follow the trees.
    std::vector<std::string> rows;
    const auto add = [&](std::size_t i, std::size_t j) {
      rows.push_back("N" + std::to_string(i) + " N" + std::to_string(j) + " " + "+_0"[rng() % 3] +
                     "\n");
    };
    for (std::size_t i = islandCount; i < n; ++i) {
      add(i, i - islandCount * (1 + rng() % (i / islandCount)));
    }
    for (std::size_t e = 0; e < extra; ++e) {
      const std::size_t i = rng() % n;
      add(i, rng() % (n / islandCount) * islandCount + i % islandCount);
    }
    std::shuffle(rows.begin(), rows.end(), rng);
    const Network net = NetworkFromEdges(std::accumulate(rows.begin(), rows.end(), std::string()));
    ASSERT_EQ(net.moleculeCount(), n);
    ASSERT_EQ(FindIslands(net).count, islandCount);

    std::vector<std::uint64_t> sums(n, 0);
    std::vector<double> islandAverages(n, 0);
    for (MoleculeId source = 1; source <= n; ++source) {
      const std::vector<int> distance = PlainDistances(net, source);
      ASSERT_EQ(DistancesFrom(net, source), distance);
      for (const int d : distance) sums[source - 1] += static_cast<std::uint64_t>(std::max(d, 0));
      const auto reached =
          std::count_if(distance.begin(), distance.end(), [](int d) { return d >= 0; });
      if (reached > 1) {
        islandAverages[source - 1] =
            static_cast<double>(sums[source - 1]) / static_cast<double>(reached - 1);
      }
    }
    RecordingProgress progress, cancelling;
    EXPECT_EQ(DistanceSums(net, progress), sums);
    std::vector<std::pair<std::size_t, std::size_t>> reports;  // before and after each pass
    for (std::size_t pass = 0, passes = (n + 255) / 256; pass <= passes; ++pass) {
      reports.emplace_back(pass, passes);
    }
    EXPECT_EQ(progress.reports, reports);
    for (const unsigned threads : {2u, 3u}) {
      RecordingProgress parallel;
      EXPECT_EQ(DistanceSums(net, parallel, threads), sums) << threads;
      EXPECT_EQ(parallel.reports, reports) << threads;
    }
    cancelling.cancelAfter = 0;
    EXPECT_THROW(DistanceSums(net, cancelling, 2), Cancelled);
    std::vector<double> averages;  // none for more than one island
    for (std::size_t v = 0; v < n && islandCount == 1; ++v) {
      averages.push_back(static_cast<double>(sums[v]) / static_cast<double>(n - 1));
    }
    const PathLength cpl = CharacteristicPathLength(net, progress, 2);
    EXPECT_EQ(cpl.perMolecule, averages);
    EXPECT_EQ(cpl.islandPerMolecule, islandAverages);
    EXPECT_DOUBLE_EQ(cpl.value, std::accumulate(averages.begin(), averages.end(), 0.0) /
                                    static_cast<double>(n - 1));
  }
}

TEST(Metrics, CoefficientsOnSeveralThreadsEqualOneThread) {
  // 5,000 molecules: three blocks of vertices; a few hubs so that blocks differ in cost.
  std::mt19937_64 rng(11);
  std::string rows;
  for (int e = 0; e < 20000; ++e) {
    const auto end = [&] { return rng() % 4 == 0 ? rng() % 20 : rng() % 5000; };
    rows += "N" + std::to_string(end()) + " N" + std::to_string(end()) + " +\n";
  }
  const Network net = NetworkFromEdges(rows);
  std::vector<double> clustering, grid;
  const double cc = ClusteringCoefficient(net, &clustering);
  const double gc = GridCoefficient(net, &grid);
  ASSERT_GT(cc, 0);
  ASSERT_GT(gc, 0);
  for (const unsigned threads : {2u, 3u}) {
    std::vector<double> clusteringOf, gridOf;
    EXPECT_EQ(ClusteringCoefficient(net, &clusteringOf, threads), cc);
    EXPECT_EQ(GridCoefficient(net, &gridOf, threads), gc);
    EXPECT_EQ(clusteringOf, clustering);
    EXPECT_EQ(gridOf, grid);
  }
}

}  // namespace
}  // namespace tessel
