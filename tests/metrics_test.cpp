// Network metrics: tallies, link counters and histograms, references, clustering and grid
// coefficients, islands and path lengths, on small networks worked out by hand and on
// random networks checked against a plain breadth-first search.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "analysis/metrics.h"
#include "model/network.h"
#include "test_support.h"

namespace tessel {
namespace {

using test::NetworkFromEdges;

using Values = std::vector<std::pair<std::string, std::size_t>>;

double PerMolecule(const Network& net, const std::vector<double>& values, std::string_view name) {
  const MoleculeId id = net.findId(name);
  EXPECT_NE(id, 0u) << name;
  return id == 0 ? std::numeric_limits<double>::quiet_NaN() : values.at(id - 1);
}

// ---------------------------------------------------------------------------------------
// Tallies and link counters

TEST(MetricsTally, TypesAndLocationsFollowDisplayOrderEffectsAndTypesCreationOrder) {
  NetworkBuilder b;
  // Created zeta, Mid, alpha; displayed alpha, Mid, zeta.
  b.addRow({"zeta", "NA", "NA", "Kinase", "Nucleus"}, {"Mid", "NA", "NA", "TF", "Cytosol"}, "_",
           "binding", 1);
  b.addRow({"Mid"}, {"alpha", "NA", "NA", "Receptor", "Membrane"}, "+", "Binding", 2);
  b.addRow({"alpha"}, {"zeta"}, "+", "binding", 3);
  const Network net = b.build();

  EXPECT_EQ(TallyMoleculeTypes(net).values, (Values{{"Receptor", 1}, {"TF", 1}, {"Kinase", 1}}));
  EXPECT_EQ(TallyLocations(net).values, (Values{{"Membrane", 1}, {"Cytosol", 1}, {"Nucleus", 1}}));
  EXPECT_EQ(TallyEffects(net).values, (Values{{"_", 1}, {"+", 2}}));
  // Exact, case-sensitive strings.
  const ValueTally types = TallyInteractionTypes(net);
  EXPECT_EQ(types.values, (Values{{"binding", 2}, {"Binding", 1}}));
  EXPECT_EQ(types.distinct(), 2u);
}

TEST(MetricsTally, UnexpectedEffectIsNegativeAndTalliedOnItsOwn) {
  const Network net = NetworkFromEdges("A B +\nB C -\nC D _\nD A -\n");
  EXPECT_EQ(TallyEffects(net).values, (Values{{"+", 1}, {"-", 2}, {"_", 1}}));
  const LinkCounters& b = net.molecule(net.findId("B")).links;
  EXPECT_EQ(b.outLinks, 1);
  EXPECT_EQ(b.negativeOutLinks, 1);
  EXPECT_EQ(b.positiveInLinks, 1);
  EXPECT_EQ(b.negativeLinks, 1);
  const LinkCounters& a = net.molecule(net.findId("A")).links;
  EXPECT_EQ(a.negativeInLinks, 1);
  EXPECT_EQ(a.inLinks, 1);
  // Every molecule has one signed link in and one out.
  const ConnectivityDistribution d = ComputeConnectivityDistribution(net);
  EXPECT_EQ(d.in, std::vector<std::size_t>{4});
  EXPECT_EQ(d.out, std::vector<std::size_t>{4});
}

TEST(MetricsTally, NeutralEffectRaisesNeitherInNorOutLinks) {
  const Network net = NetworkFromEdges("A B 0\nA C +\n");
  const LinkCounters& a = net.molecule(net.findId("A")).links;
  const LinkCounters& b = net.molecule(net.findId("B")).links;
  EXPECT_EQ(a.outLinks, 1);
  EXPECT_EQ(a.neutralLinks, 1);
  EXPECT_EQ(a.allLinks, 2);
  EXPECT_EQ(b.inLinks, 0);
  EXPECT_EQ(b.outLinks, 0);
  EXPECT_EQ(b.neutralLinks, 1);
  EXPECT_EQ(b.allLinks, 1);

  const ConnectivityDistribution d = ComputeConnectivityDistribution(net);
  EXPECT_EQ(d.links, (std::vector<std::size_t>{2, 1}));  // B and C have 1 link, A has 2
  EXPECT_EQ(d.in, std::vector<std::size_t>{1});          // only C
  EXPECT_EQ(d.out, std::vector<std::size_t>{1});         // only A
}

TEST(MetricsConnectivity, HistogramsCountDistinctNeighboursAndSkipZero) {
  // A-B twice (both directions) is one link; S's self-interaction is no neighbour.
  const Network net = NetworkFromEdges("A B +\nB A +\nA C +\nA D _\nS S +\n");
  const ConnectivityDistribution d = ComputeConnectivityDistribution(net);
  EXPECT_EQ(d.links, (std::vector<std::size_t>{3, 0, 1}));  // S has no link: in no entry
  // In links: B 1, C 1, D 1, A 1 (from B), S 1 (itself).
  EXPECT_EQ(d.in, (std::vector<std::size_t>{5}));
  // Out links: A 3, B 1, S 1.
  EXPECT_EQ(d.out, (std::vector<std::size_t>{2, 0, 1}));
  // Each computation starts afresh.
  const ConnectivityDistribution again = ComputeConnectivityDistribution(net);
  EXPECT_EQ(again.links, d.links);
  EXPECT_EQ(again.in, d.in);
  EXPECT_EQ(again.out, d.out);
}

TEST(MetricsConnectivity, ReferencesAndAverageLinks) {
  // Repeated rows merge their ids; the same id on two interactions counts once.
  const Network net = NetworkFromEdges("P Q + 11\nP Q + 12\nQ R + 11\nR R + 13\n");
  EXPECT_EQ(CountReferences(net), 3u);
  EXPECT_DOUBLE_EQ(AverageLinksPerNode(net), 4.0 / 3.0);
  EXPECT_EQ(AverageLinksPerNode(Network()), 0.0);
}

// ---------------------------------------------------------------------------------------
// Clustering and grid coefficients

TEST(MetricsCoefficients, ClusteringOfTriangleChainAndTriangleWithTail) {
  std::vector<double> per;
  EXPECT_DOUBLE_EQ(ClusteringCoefficient(NetworkFromEdges("A B +\nB C +\nC A +\n"), &per), 1.0);
  EXPECT_EQ(per, (std::vector<double>{1.0, 1.0, 1.0}));

  EXPECT_EQ(ClusteringCoefficient(NetworkFromEdges("P Q +\nQ R +\n"), &per), 0.0);
  EXPECT_EQ(per, (std::vector<double>{0.0, 0.0, 0.0}));

  // C's neighbours A, B, D hold one link (A-B) out of three; D has one neighbour.
  const Network tail = NetworkFromEdges("A B +\nB C +\nC A +\nC D +\n");
  EXPECT_DOUBLE_EQ(ClusteringCoefficient(tail, &per), (1 + 1 + 1.0 / 3 + 0) / 4);
  EXPECT_DOUBLE_EQ(PerMolecule(tail, per, "C"), 1.0 / 3);
  EXPECT_EQ(PerMolecule(tail, per, "D"), 0.0);
}

TEST(MetricsCoefficients, ClusteringIgnoresDirectionsDuplicatesAndSelfInteractions) {
  const Network net = NetworkFromEdges("A B +\nB A _\nB C +\nC B 0\nA C +\nA A +\n");
  std::vector<double> per;
  EXPECT_DOUBLE_EQ(ClusteringCoefficient(net, &per), 1.0);
}

TEST(MetricsCoefficients, GridOfSquareSquareWithDiagonalAndTriangle) {
  // Square A-B-C-D: for A, q = 2 (paths A-B-C-D and A-D-C-B), S = 1 + 1, k = 2:
  // (2/2) / (0 + 2*2*1/2) = 1/2, and the same for every corner.
  std::vector<double> per;
  EXPECT_DOUBLE_EQ(GridCoefficient(NetworkFromEdges("A B +\nB C +\nC D +\nD A +\n"), &per), 0.5);
  EXPECT_EQ(per, (std::vector<double>{0.5, 0.5, 0.5, 0.5}));

  // With the diagonal A-C. A: N = {B, D, C}; C is reached from B and D, B and D from C
  // once each: q = 2*1 = 2. S = 1 + 1 + 2 = 4, k = 3: denominator 2*3*1/2 + 4*3*2/2 = 15,
  // so 1/15. B: N = {A, C}; D is reached twice: q = 2, S = 2 + 2, denominator 4: 1/4.
  const Network diag = NetworkFromEdges("A B +\nB C +\nC D +\nD A +\nA C +\n");
  EXPECT_DOUBLE_EQ(GridCoefficient(diag, &per), (1.0 / 15 + 1.0 / 15 + 0.25 + 0.25) / 4);
  EXPECT_DOUBLE_EQ(PerMolecule(diag, per, "A"), 1.0 / 15);
  EXPECT_DOUBLE_EQ(PerMolecule(diag, per, "C"), 1.0 / 15);
  EXPECT_DOUBLE_EQ(PerMolecule(diag, per, "B"), 0.25);
  EXPECT_DOUBLE_EQ(PerMolecule(diag, per, "D"), 0.25);

  // A triangle closes no square.
  EXPECT_EQ(GridCoefficient(NetworkFromEdges("A B +\nB C +\nC A +\n"), &per), 0.0);
  // A chain has denominators but no squares; a lone link has neither.
  EXPECT_EQ(GridCoefficient(NetworkFromEdges("P Q +\nQ R +\nR S +\n")), 0.0);
  EXPECT_EQ(GridCoefficient(NetworkFromEdges("P Q +\n")), 0.0);
}

TEST(MetricsCoefficients, GridDenominatorOfLargeHubDoesNotOverflow) {
  // Two hubs H and G share k leaves. For H: q = k(k-1), S = k, so
  // (k(k-1)/2) / (k(k-1)(k-2)/2 + k*k(k-1)/2) = 1 / (2(k-1)); the denominator is about
  // k^3, beyond 32 bits for k = 3000. Each leaf: q = 2(k-1), S = 2(k-1): 1/2.
  constexpr int k = 3000;
  std::string edges;
  for (int i = 0; i < k; ++i) {
    edges += "H L" + std::to_string(i) + " +\nG L" + std::to_string(i) + " +\n";
  }
  const Network net = NetworkFromEdges(edges);
  std::vector<double> per;
  const double value = GridCoefficient(net, &per);
  EXPECT_DOUBLE_EQ(PerMolecule(net, per, "H"), 1.0 / (2.0 * (k - 1)));
  EXPECT_DOUBLE_EQ(PerMolecule(net, per, "G"), 1.0 / (2.0 * (k - 1)));
  EXPECT_DOUBLE_EQ(PerMolecule(net, per, "L17"), 0.5);
  EXPECT_DOUBLE_EQ(value, (2.0 / (2.0 * (k - 1)) + k * 0.5) / (k + 2));
}

// ---------------------------------------------------------------------------------------
// Islands and path lengths

TEST(MetricsIslands, CountsIslandsAndListsTheLargest) {
  // Ids: A1 B2 X3 Y4 C5 Z6 S7. Islands {A,B,C}, {X,Y,Z}, {S}: the tie goes to A's.
  const Network net = NetworkFromEdges("A B +\nX Y +\nB C +\nY Z _\nS S +\n");
  const Islands islands = FindIslands(net);
  EXPECT_EQ(islands.count, 3u);
  EXPECT_EQ(islands.largest, (std::vector<MoleculeId>{1, 2, 5}));

  const Network two = NetworkFromEdges("P Q +\nX Y +\nQ R +\nY Z +\nZ W +\n");
  const Islands second = FindIslands(two);
  EXPECT_EQ(second.count, 2u);
  EXPECT_EQ(second.largest, (std::vector<MoleculeId>{3, 4, 6, 7}));  // X Y Z W

  EXPECT_EQ(FindIslands(Network()).count, 0u);
}

TEST(MetricsPathLength, ChainTriangleAndTwoIslands) {
  NullProgress progress;
  const Network chain = NetworkFromEdges("P Q +\nQ R +\n");
  const PathLength pq = CharacteristicPathLength(chain, progress);
  EXPECT_DOUBLE_EQ(pq.value, 2.0);
  EXPECT_EQ(pq.perMolecule, (std::vector<double>{1.5, 1.0, 1.5}));

  // Every average is 2/2 = 1; the network value is 3/2.
  const PathLength tri =
      CharacteristicPathLength(NetworkFromEdges("A B +\nB C +\nC A +\n"), progress);
  EXPECT_DOUBLE_EQ(tri.value, 1.5);

  const Network islands = NetworkFromEdges("A B +\nC D +\n");
  const PathLength none = CharacteristicPathLength(islands, progress);
  EXPECT_EQ(none.value, 0.0);
  EXPECT_TRUE(none.perMolecule.empty());
  EXPECT_EQ(FindIslands(islands).count, 2u);
  EXPECT_EQ(FindIslands(islands).largest, (std::vector<MoleculeId>{1, 2}));

  // One molecule (a self-interaction) has no path length.
  EXPECT_EQ(CharacteristicPathLength(NetworkFromEdges("A A +\n"), progress).value, 0.0);
}

TEST(MetricsPathLength, LongChainAcrossSeveralPassesMatchesClosedForm) {
  // On a chain of n, molecule i (0-based) has distance sum i(i+1)/2 + (n-1-i)(n-i)/2.
  constexpr std::uint64_t n = 300;
  std::string edges;
  for (std::uint64_t i = 0; i + 1 < n; ++i) {
    edges += "M" + std::to_string(i) + " M" + std::to_string(i + 1) + " +\n";
  }
  const Network net = NetworkFromEdges(edges);
  NullProgress progress;
  const std::vector<std::uint64_t> sums = DistanceSums(net, progress);
  double total = 0;
  for (std::uint64_t i = 0; i < n; ++i) {
    const std::uint64_t expected = i * (i + 1) / 2 + (n - 1 - i) * (n - i) / 2;
    EXPECT_EQ(sums[net.findId("M" + std::to_string(i)) - 1], expected) << i;
    total += static_cast<double>(expected) / (n - 1);
  }
  EXPECT_DOUBLE_EQ(CharacteristicPathLength(net, progress).value, total / (n - 1));

  const std::vector<int> fromEnd = DistancesFrom(net, net.findId("M0"));
  EXPECT_EQ(fromEnd[net.findId("M299") - 1], 299);
  EXPECT_EQ(fromEnd[net.findId("M0") - 1], 0);
}

TEST(MetricsPathLength, DistancesFromMarksUnreachableMolecules) {
  const Network net = NetworkFromEdges("A B +\nB C +\nX Y +\nC A _\n");
  EXPECT_EQ(DistancesFrom(net, net.findId("A")), (std::vector<int>{0, 1, 1, -1, -1}));
  EXPECT_EQ(DistancesFrom(net, net.findId("Y")), (std::vector<int>{-1, -1, -1, 1, 0}));
  EXPECT_THROW(DistancesFrom(net, 0), std::out_of_range);
  EXPECT_THROW(DistancesFrom(net, 6), std::out_of_range);
}

// Test-only reference: a plain breadth-first search from every molecule.
std::vector<std::uint64_t> ReferenceDistanceSums(const Network& net) {
  const std::size_t n = net.moleculeCount();
  std::vector<std::uint64_t> sums(n, 0);
  for (MoleculeId source = 1; source <= n; ++source) {
    std::vector<int> distance(n, -1);
    std::vector<MoleculeId> queue{source};
    distance[source - 1] = 0;
    for (std::size_t head = 0; head < queue.size(); ++head) {
      for (const MoleculeId v : net.neighbours(queue[head])) {
        if (distance[v - 1] >= 0) continue;
        distance[v - 1] = distance[queue[head] - 1] + 1;
        sums[source - 1] += static_cast<std::uint64_t>(distance[v - 1]);
        queue.push_back(v);
      }
    }
  }
  return sums;
}

// `islands` random trees over n molecules (molecule i belongs to island i % islands),
// plus `extra` random interactions inside the islands, some repeated or reversed, some
// self-interactions and some neutral. The rows are shuffled so that the ids, given in
// order of first appearance, do not follow the trees.
Network RandomNetwork(std::size_t n, std::size_t islands, std::size_t extra, std::uint64_t seed) {
  std::mt19937_64 rng(seed);
  const auto name = [](std::size_t i) { return "N" + std::to_string(i); };
  // A random molecule of i's island below `limit` (i itself when there is none).
  const auto sameIsland = [&](std::size_t i, std::size_t limit) {
    std::size_t j = rng() % limit;
    j = j - j % islands + i % islands;
    if (j >= limit) j = j >= islands ? j - islands : i;
    return j;
  };
  const char* effects[] = {"+", "_", "0"};
  std::vector<std::string> rows;
  for (std::size_t i = islands; i < n; ++i) {
    rows.push_back(name(i) + " " + name(sameIsland(i, i)) + " " + effects[rng() % 3]);
  }
  for (std::size_t e = 0; e < extra; ++e) {
    const std::size_t i = rng() % n;
    rows.push_back(name(i) + " " + name(sameIsland(i, n)) + " " + effects[rng() % 3]);
  }
  std::shuffle(rows.begin(), rows.end(), rng);
  std::string edges;
  for (const std::string& row : rows) edges += row + "\n";
  return NetworkFromEdges(edges);
}

TEST(MetricsPathLength, BitParallelSearchAgreesWithPlainSearchOnRandomNetworks) {
  struct Case {
    std::size_t n, islands, extra;
  };
  const Case cases[] = {{65, 1, 40},   {127, 1, 10},  {128, 1, 200}, {200, 1, 0},
                        {257, 1, 500}, {300, 4, 150}, {191, 3, 60},  {130, 65, 0}};
  std::uint64_t seed = 7;
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << "n=" << c.n << " islands=" << c.islands);
    const Network net = RandomNetwork(c.n, c.islands, c.extra, seed++);
    ASSERT_EQ(net.moleculeCount(), c.n);
    ASSERT_EQ(FindIslands(net).count, c.islands);
    NullProgress progress;
    const std::vector<std::uint64_t> reference = ReferenceDistanceSums(net);
    EXPECT_EQ(DistanceSums(net, progress), reference);

    const PathLength cpl = CharacteristicPathLength(net, progress);
    if (c.islands > 1) {
      EXPECT_EQ(cpl.value, 0.0);
      continue;
    }
    ASSERT_EQ(cpl.perMolecule.size(), c.n);
    double total = 0;
    for (std::size_t v = 0; v < c.n; ++v) {
      const double expected = static_cast<double>(reference[v]) / static_cast<double>(c.n - 1);
      EXPECT_DOUBLE_EQ(cpl.perMolecule[v], expected);
      total += expected;
    }
    EXPECT_DOUBLE_EQ(cpl.value, total / static_cast<double>(c.n - 1));
    EXPECT_GT(cpl.value, 1.0);
  }
}

class RecordingProgress : public Progress {
 public:
  explicit RecordingProgress(std::size_t cancelAfter = std::numeric_limits<std::size_t>::max())
      : cancelAfter_(cancelAfter) {}
  void report(std::size_t done, std::size_t total, std::string_view) override {
    reports.emplace_back(done, total);
  }
  bool cancelled() const override { return reports.size() > cancelAfter_; }

  std::vector<std::pair<std::size_t, std::size_t>> reports;

 private:
  std::size_t cancelAfter_;
};

TEST(MetricsPathLength, ReportsProgressPerPassAndStopsWhenCancelled) {
  const Network net = RandomNetwork(150, 1, 100, 99);  // three passes of 64 sources
  RecordingProgress progress;
  CharacteristicPathLength(net, progress);
  ASSERT_EQ(progress.reports.size(), 4u);
  for (std::size_t k = 0; k < progress.reports.size(); ++k) {
    EXPECT_EQ(progress.reports[k], std::make_pair(k, std::size_t{3}));
  }

  RecordingProgress cancelling(1);
  EXPECT_THROW(CharacteristicPathLength(net, cancelling), Cancelled);
  EXPECT_LT(cancelling.reports.size(), 4u);
}

}  // namespace
}  // namespace tessel
