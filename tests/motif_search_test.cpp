// Motif search: every result is checked for its written form (cyclic order, directions,
// signs, distinct sets, hits); random networks are compared with a plain search over all
// ordered tuples of distinct molecules, with one, two and three threads, listing and
// counting only; small networks
// worked out by hand pin the rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "motifs/motif_search.h"
#include "test_support.h"

namespace tessel {
namespace {

// Each kind as the tests see it. A shape lists the directions of the links around the
// cycle of molecules, pair i joining molecules[i] and molecules[i + 1]: 'F' a signed link
// from molecules[i] to molecules[i + 1], 'B' a signed link the other way, '*' a neutral
// link either way. A feedforward loop runs from its source along the longer path to the
// sink and back along the other; a bifan from a source to a target, back to the other
// source and on to the other target.
struct Kind {
  MotifKind kind;
  std::string_view name;
  bool isSigned;
  std::vector<std::string> shapes;
  std::size_t size() const { return shapes[0].size(); }
};

const std::vector<Kind> kKinds = {
    {MotifKind::FeedbackLoop3, "fbl3", true, {"FFF"}},
    {MotifKind::FeedbackLoop4, "fbl4", true, {"FFFF"}},
    {MotifKind::FeedbackLoop5, "fbl5", true, {"FFFFF"}},
    {MotifKind::FeedforwardLoop3, "ffl3", true, {"FFB"}},
    {MotifKind::FeedforwardLoop4, "ffl4", true, {"FFBB", "FFFB"}},
    {MotifKind::Bifan, "bifan", false, {"FBFB"}},
    {MotifKind::Scaffold, "scaffold", false, {"***"}},
};

// The result made of these motifs: their signs (odd number of "_" links is negative),
// counts and hits.
MotifResult Tally(const Network& net, const Kind& kind, std::vector<Motif> motifs) {
  MotifResult r{kind.kind, std::move(motifs), 0, 0,
                std::vector<std::uint32_t>(net.moleculeCount())};
  for (Motif& m : r.motifs) {
    int inhibiting = 0;
    for (const std::uint32_t i : m.interactions) inhibiting += net.interactions()[i].effect == "_";
    m.sign = !kind.isSigned ? 0 : inhibiting % 2 == 0 ? 1 : -1;
    if (m.sign != 0) ++(m.sign > 0 ? r.positive : r.negative);
    for (const MoleculeId id : m.molecules) ++r.hits[id - 1];
  }
  return r;
}

void ExpectSame(const MotifResult& want, const MotifResult& got) {
  EXPECT_EQ(got.positive, want.positive);
  EXPECT_EQ(got.negative, want.negative);
  EXPECT_EQ(got.hits, want.hits);
  ASSERT_EQ(got.total(), want.total());
  for (std::size_t i = 0; i < want.motifs.size(); ++i) {
    const Motif &g = got.motifs[i], &w = want.motifs[i];
    EXPECT_EQ(std::tie(g.molecules, g.interactions, g.sign),
              std::tie(w.molecules, w.interactions, w.sign))
        << "motif " << i;
  }
}

// What every result must satisfy: each motif on distinct molecules in one of the shapes of
// its kind, with the sign of its "_" links; sets listed once, in order; counts and hits.
void CheckResult(const Network& net, const Kind& kind, const MotifResult& r) {
  const std::size_t k = kind.size();
  std::set<std::vector<MoleculeId>> sets;
  for (std::size_t m = 0; m < r.motifs.size(); ++m) {
    SCOPED_TRACE("motif " + std::to_string(m));
    const Motif& motif = r.motifs[m];
    ASSERT_TRUE(motif.molecules.size() == k && motif.interactions.size() == k);
    EXPECT_TRUE(m == 0 || r.motifs[m - 1].molecules < motif.molecules) << "out of order";
    std::string directions;
    for (std::size_t i = 0; i < k; ++i) {
      const MoleculeId a = motif.molecules[i], b = motif.molecules[(i + 1) % k];
      ASSERT_TRUE(a >= 1 && a <= net.moleculeCount() &&
                  motif.interactions[i] < net.interactionCount());
      const Interaction& x = net.interactions()[motif.interactions[i]];
      const bool forward = x.source == a && x.target == b;
      const bool backward = x.source == b && x.target == a;
      directions += !forward && !backward ? '?' : x.effect == "0" ? '*' : forward ? 'F' : 'B';
    }
    EXPECT_GT(std::count(kind.shapes.begin(), kind.shapes.end(), directions), 0)
        << "runs " << directions;
    std::vector<MoleculeId> set = motif.molecules;
    std::sort(set.begin(), set.end());
    EXPECT_TRUE(std::adjacent_find(set.begin(), set.end()) == set.end()) << "repeated molecule";
    EXPECT_TRUE(sets.insert(set).second) << "set listed twice";
  }
  ExpectSame(Tally(net, kind, r.motifs), r);
}

MotifResult Find(const Network& net, const Kind& kind, unsigned threads = 1) {
  NullProgress progress;
  MotifResult r = FindMotifs(net, kind.kind, progress, threads);
  CheckResult(net, kind, r);
  return r;
}

// Every instance of the kind: an ordered tuple of distinct molecules in one of its shapes,
// with any one fitting link per pair, taken from a scan of all interactions. Of the
// instances on one set it keeps the one whose (molecules, interactions) is the smallest.
MotifResult PlainSearch(const Network& net, const Kind& kind) {
  const std::size_t n = net.moleculeCount(), k = kind.size();
  // joins[(a - 1) * n + b - 1][d]: the interactions joining a to b in direction d.
  std::vector<std::map<char, std::vector<std::uint32_t>>> joins(n * n);
  for (std::uint32_t i = 0; i < net.interactionCount(); ++i) {
    const Interaction& x = net.interactions()[i];
    const std::size_t s = x.source - 1, t = x.target - 1;
    joins[s * n + t][x.effect == "0" ? '*' : 'F'].push_back(i);
    joins[t * n + s][x.effect == "0" ? '*' : 'B'].push_back(i);
  }
  std::set<std::pair<std::vector<MoleculeId>, std::vector<std::uint32_t>>> found;
  Motif m;  // the molecules end with the first one again once the cycle is closed
  const auto grow = [&](const auto& self, std::string_view shape) -> void {
    const std::size_t i = m.interactions.size();
    if (i == k) {
      found.insert({{m.molecules.begin(), m.molecules.end() - 1}, m.interactions});
      return;
    }
    for (MoleculeId v = 1; v <= n; ++v) {
      const bool used = std::find(m.molecules.begin(), m.molecules.end(), v) != m.molecules.end();
      if (i + 1 == k ? v != m.molecules[0] : used) continue;
      for (const std::uint32_t x : joins[(m.molecules.back() - 1) * n + v - 1][shape[i]]) {
        m.molecules.push_back(v);
        m.interactions.push_back(x);
        self(self, shape);
        m.molecules.pop_back();
        m.interactions.pop_back();
      }
    }
  };
  for (const std::string& shape : kind.shapes) {
    for (MoleculeId v = 1; v <= n; ++v) {
      m.molecules = {v};
      grow(grow, shape);
    }
  }
  // In order of (molecules, interactions) the first instance of each set is the one kept,
  // and the kept ones come in order of molecules.
  std::set<std::vector<MoleculeId>> sets;
  std::vector<Motif> kept;
  for (const auto& [molecules, interactions] : found) {
    std::vector<MoleculeId> set = molecules;
    std::sort(set.begin(), set.end());
    if (sets.insert(set).second) kept.push_back({molecules, interactions});
  }
  return Tally(net, kind, kept);
}

// A random network with reciprocal links, self-interactions and every effect.
Network RandomNetwork(std::mt19937& rng, std::size_t molecules, std::size_t rows) {
  const std::array<std::string, 8> effects = {"+", "+", "_", "_", "0", "0", "0", "-"};
  std::uniform_int_distribution<std::size_t> node(0, molecules - 1), effect(0, 7);
  std::uniform_real_distribution<double> unit(0, 1);
  NetworkBuilder b;
  for (std::size_t r = 0; r < rows; ++r) {
    const std::size_t s = node(rng), t = unit(rng) < 0.04 ? s : node(rng);
    const std::string a = "M" + std::to_string(s), z = "M" + std::to_string(t);
    b.addRow({a}, {z}, effects[effect(rng)], "NA", 1);
    if (unit(rng) < 0.25) b.addRow({z}, {a}, effects[effect(rng)], "NA", 1);
  }
  return b.build();
}

TEST(MotifKinds, NamesSizesAndSigns) {
  for (const Kind& kind : kKinds) {
    EXPECT_EQ(MotifKindName(kind.kind), kind.name);
    EXPECT_EQ(ParseMotifKind(kind.name), kind.kind);
    EXPECT_EQ(MotifSize(kind.kind), kind.size()) << kind.name;
    EXPECT_EQ(MotifIsSigned(kind.kind), kind.isSigned) << kind.name;
  }
  for (const std::string_view bad : {"", "fbl6", "fbl", "bifans", "scaffold ", "ffl2"})
    EXPECT_FALSE(ParseMotifKind(bad).has_value()) << bad;
  // The table holds every kind once; the defaults are all but fbl5, in kind order.
  ASSERT_EQ(MotifKinds().size(), kKinds.size());
  for (std::size_t k = 0; k < kKinds.size(); ++k) EXPECT_EQ(MotifKinds()[k].kind, kKinds[k].kind);
  EXPECT_EQ(DefaultMotifKinds(),
            (std::vector<MotifKind>{MotifKind::FeedbackLoop3, MotifKind::FeedbackLoop4,
                                    MotifKind::FeedforwardLoop3, MotifKind::FeedforwardLoop4,
                                    MotifKind::Bifan, MotifKind::Scaffold}));
}

TEST(MotifSearch, SmallNetworksWorkedOutByHand) {
  struct Case {
    std::string_view kinds;  // names, or "*" for every kind
    std::string_view edges;
    std::string_view expected;  // "<motifs> <negative ones> <molecules of the first motif>"
  };
  // Neutral links in both directions between every two of A, B, C and D.
  const std::string_view neutral4 =
      "A B 0\nB A 0\nA C 0\nC A 0\nA D 0\nD A 0\nB C 0\nC B 0\nB D 0\nD B 0\nC D 0\nD C 0";
  const std::vector<Case> cases = {
      // Only "_" inhibits: the sign follows the number of "_" links.
      {"fbl3", "A B +\nB C _\nC A _", "1 0 A B C"},
      {"fbl3", "A B -\nB C +\nC A _", "1 1 A B C"},
      // One set carrying several loops counts once, as its first instance from the
      // smallest id: A -> B -> C -> A before A -> C -> B -> A, and A -> B -> C -> D -> A
      // before A -> C -> B -> D -> A.
      {"fbl3", "A B +\nB C +\nC A +\nA C _\nC B +\nB A +", "1 0 A B C"},
      {"fbl3", "A B +\nB C +\nC A _\nA C +\nC B +\nB A +", "1 1 A B C"},
      {"fbl4", "A B +\nB C +\nC D +\nD A +\nA C _\nC B +\nB D +", "1 0 A B C D"},
      {"fbl4", "A B _\nB C +\nC D +\nD A +\nA C +\nC B +\nB D +", "1 1 A B C D"},
      // Self-interactions never take part in a motif.
      {"*", "S Y +\nY Y _\nY S +\nS S +", "0 0"},
      {"fbl3", "A A _\nA B +\nB B _\nB C +\nC A +", "1 0 A B C"},
      {"*", "", "0 0"},
      // Neutral links take part in scaffolds only, and signed links never do.
      {"fbl3 fbl4 ffl3 ffl4 bifan", neutral4, "0 0"},
      {"scaffold", neutral4, "4 0 A B C"},
      {"scaffold", "A B 0\nC B 0\nC A 0", "1 0 A B C"},
      {"scaffold", "A B 0\nB C 0\nC A +", "0 0"},
      // Feedforward loops start at the source, forward along the longer path; both shapes
      // of four. When both fit one set, the one with the smaller third interaction counts.
      {"ffl3", "S A +\nS B _\nB A +", "1 1 S B A"},
      {"ffl4", "S A +\nA B +\nS C +\nC B _", "1 1 S A B C"},
      {"ffl4", "S A +\nS C +\nC B +\nB A +", "1 0 S C B A"},
      {"ffl4", "S A +\nA B +\nS C +\nC B +\nB C _", "1 0 S A B C"},
      {"ffl4", "S A +\nA B +\nS C +\nB C _\nC B +", "1 1 S A B C"},
      // A bifan starts at a source.
      {"bifan", "S A +\nS C _\nB A +\nB C +", "1 0 S A B C"},
  };
  for (const Case& c : cases) {
    const Network net =
        c.edges.empty() ? NetworkBuilder().build() : test::NetworkFromEdges(c.edges);
    int tried = 0;
    for (const Kind& kind : kKinds) {
      if (c.kinds != "*" && c.kinds.find(kind.name) == std::string::npos) continue;
      ++tried;
      SCOPED_TRACE(std::string(kind.name) + " in\n" + std::string(c.edges));
      const MotifResult r = Find(net, kind);
      std::string got = std::to_string(r.total()) + " " + std::to_string(r.negative);
      for (const MoleculeId id : r.total() > 0 ? r.motifs[0].molecules : std::vector<MoleculeId>())
        got += " " + net.nameOf(id);
      EXPECT_EQ(got, c.expected);
      ExpectSame(PlainSearch(net, kind), r);
    }
    EXPECT_GT(tried, 0) << c.kinds;
  }
}

TEST(MotifSearch, RandomNetworksMatchThePlainSearchWithOneTwoAndThreeThreads) {
  std::mt19937 rng(20240611);
  std::map<MotifKind, std::multiset<int>> signs;  // of all motifs found
  for (int round = 0; round < 40; ++round) {
    // Up to 49 molecules: up to four batches of start molecules to share.
    const std::size_t molecules = 10 + round;
    const Network net = RandomNetwork(rng, molecules, molecules * (2 + round % 3));
    for (const Kind& kind : kKinds) {
      const MotifResult want = PlainSearch(net, kind);
      for (const Motif& motif : want.motifs) signs[kind.kind].insert(motif.sign);
      // The estimate made before searching is an upper bound.
      EXPECT_GE(EstimateMotifCount(net, kind.kind), static_cast<double>(want.total())) << kind.name;
      for (const unsigned threads : {1u, 2u, 3u}) {
        SCOPED_TRACE(testing::Message()
                     << kind.name << " round " << round << " threads " << threads);
        ExpectSame(want, Find(net, kind, threads));
        // Counting only gives the same counts and hits.
        NullProgress progress;
        const MotifResult counted = CountMotifs(net, kind.kind, progress, threads);
        EXPECT_TRUE(counted.motifs.empty());
        EXPECT_EQ(std::tie(counted.released, counted.positive, counted.negative, counted.hits),
                  std::make_tuple(want.motifs.size(), want.positive, want.negative, want.hits));
      }
    }
  }
  // The networks are dense enough for every kind to occur, with both signs.
  for (const Kind& kind : kKinds) {
    EXPECT_GT(signs[kind.kind].size(), 50u) << kind.name;
    EXPECT_EQ(signs[kind.kind].count(1) > 0 && signs[kind.kind].count(-1) > 0, kind.isSigned)
        << kind.name;
  }
}

struct RecordingProgress : Progress {
  explicit RecordingProgress(std::size_t after) : cancelAfter(after) {}
  void report(std::size_t now, std::size_t total, std::string_view) override {
    done.push_back(now);
    totals.insert(total);
  }
  bool cancelled() const override { return done.size() > cancelAfter; }
  std::size_t cancelAfter;
  std::vector<std::size_t> done;
  std::set<std::size_t> totals;
};

TEST(MotifSearch, LargeNetworkReportsProgressStopsWhenCancelledAndIgnoresThreadCount) {
  std::mt19937 rng(7);
  const Network net = RandomNetwork(rng, 600, 2400);  // many batches of start molecules
  const std::size_t n = net.moleculeCount();
  for (const Kind& kind : kKinds) {
    std::vector<MotifResult> results;
    for (const unsigned threads : {1u, 2u, 3u, 0u}) {
      SCOPED_TRACE(std::string(kind.name) + ", " + std::to_string(threads) + " threads");
      RecordingProgress progress(SIZE_MAX);
      results.push_back(FindMotifs(net, kind.kind, progress, threads));
      CheckResult(net, kind, results.back());
      ExpectSame(results[0], results.back());
      ASSERT_EQ(progress.totals, std::set<std::size_t>{n});
      EXPECT_TRUE(std::is_sorted(progress.done.begin(), progress.done.end()));
      EXPECT_EQ(progress.done.back(), n);
      RecordingProgress before(0);
      EXPECT_THROW(FindMotifs(net, kind.kind, before, threads), Cancelled);
    }
    EXPECT_GT(results[0].total(), 0u) << kind.name;
  }
  // Cancelled after the first batches: the search stops before it is done.
  RecordingProgress midway(2);
  EXPECT_THROW(FindMotifs(net, MotifKind::FeedbackLoop5, midway, 1), Cancelled);
  EXPECT_LT(midway.done.back(), n);
}

}  // namespace
}  // namespace tessel
