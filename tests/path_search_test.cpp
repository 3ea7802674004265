// Path search: link rules, simple paths, the size threshold that decides which map a pair
// keeps, and a brute-force cross-check of the pruned search on random networks.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <set>

#include "model/readers.h"
#include "pathways/path_search.h"
#include "test_support.h"

namespace tessel {
namespace {

using test::NetworkFromEdges;
constexpr std::size_t kNoLimit = 1u << 30;

std::set<std::string> Edges(const Network& net, const std::vector<std::uint32_t>& ids) {
  std::set<std::string> out;
  for (const std::uint32_t k : ids) {
    out.insert(net.sourceName(net.interactions()[k]) + ">" + net.targetName(net.interactions()[k]));
  }
  return out;
}

PathMap Search(const Network& net, const char* s, const char* t, int steps, bool direct,
               std::size_t limit = kNoLimit) {
  const MoleculeId target = net.findId(t);
  return FindPathMap(net, net.findId(s), target, steps, direct, StepsToTarget(net, target, direct),
                     limit);
}

PathwayQuery ByName(std::vector<std::string> sources, std::string target, int steps, int size) {
  PathwayQuery q;
  for (auto& s : sources) q.sources.push_back({ConditionKind::Name, s});
  q.targets = {{ConditionKind::Name, target}};
  q.maxSteps = steps;
  q.maxSize = size;
  return q;
}

class Recorder final : public Progress {
 public:
  void report(std::size_t, std::size_t, std::string_view t) override { texts.emplace_back(t); }
  bool cancelled() const override { return stopAfter > 0 && texts.size() > stopAfter; }
  std::vector<std::string> texts;
  std::size_t stopAfter = 0;
};

TEST(PathSearch, NeutralLinksSimplePathsAndStepCounts) {
  // The only S-T link is neutral and runs from T to S.
  const Network n0 = NetworkFromEdges("T S 0\nS X _\nA A +\n");
  EXPECT_TRUE(CanStep(n0, 2, 1, false));
  EXPECT_FALSE(CanStep(n0, 2, 1, true));
  EXPECT_FALSE(CanStep(n0, 3, 2, false));  // signed links run one way
  EXPECT_FALSE(CanStep(n0, 4, 4, false));  // a self-interaction is no step
  EXPECT_EQ(StepsToTarget(n0, 1, false), (std::vector<int>{0, 1, -1, -1}));
  EXPECT_EQ(StepsToTarget(n0, 1, true), (std::vector<int>{0, -1, -1, -1}));
  EXPECT_EQ(Edges(n0, Search(n0, "S", "T", 2, false).interactions), std::set<std::string>{"T>S"});
  EXPECT_TRUE(Search(n0, "S", "T", 9, true).interactions.empty());

  // S -> A -> S would revisit the source; T -> U -> V -> B runs on past the target.
  const Network net = NetworkFromEdges(
      "S A +\nA S +\nA B _\nB T +\nS T _\nT U +\nU V +\nV B +\nS C +\nC D +\nD E +\nE T +\n");
  const PathMap two = Search(net, "S", "T", 2, false);
  EXPECT_EQ(Edges(net, two.interactions), std::set<std::string>{"S>T"});
  const PathMap four = Search(net, "S", "T", 4, false);
  EXPECT_EQ(Edges(net, four.interactions), (std::set<std::string>{"S>T", "S>A", "A>B", "B>T"}));
  EXPECT_EQ(four.negativePaths, 2u);
  EXPECT_EQ(four.positivePaths, 0u);
  const PathMap all = Search(net, "S", "T", 9, false);
  EXPECT_EQ(all.interactions.size(), 8u);
  EXPECT_EQ(all.positivePaths, 1u);  // S-C-D-E-T
  // The search stops once the map outgrows the limit.
  EXPECT_TRUE(Search(net, "S", "T", 9, false, 3).exceeded);
  EXPECT_FALSE(Search(net, "S", "T", 9, false, 8).exceeded);
}

// Every simple path of at most `steps` molecules, without pruning, from a plain edge list.
struct Brute {
  std::set<std::uint32_t> interactions;
  std::size_t positive = 0, negative = 0;
  int shortest = -1;
};

Brute BruteForce(const Network& net, MoleculeId s, MoleculeId t, int steps, bool direct) {
  const std::size_t n = net.moleculeCount();
  std::vector<std::vector<int>> link(n + 1, std::vector<int>(n + 1, -1));
  std::vector<std::vector<int>> any(n + 1, std::vector<int>(n + 1, -1));
  for (std::size_t k = 0; k < net.interactions().size(); ++k) {
    any[net.interactions()[k].source][net.interactions()[k].target] = int(k);
  }
  const auto effect = [&](int k) { return net.interactions()[k].effect; };
  for (MoleculeId a = 1; a <= n; ++a) {
    for (MoleculeId b = 1; b <= n; ++b) {
      const int ab = any[a][b], ba = any[b][a];
      const bool ok = a != b && ((ab >= 0 && (!direct || effect(ab) != "0")) ||
                                 (!direct && ba >= 0 && effect(ba) == "0"));
      if (ok) link[a][b] = ab >= 0 ? ab : ba;
    }
  }
  Brute r;
  std::vector<MoleculeId> path{s};
  std::function<void()> walk = [&] {
    if (path.back() == t) {
      int negatives = 0;
      for (std::size_t k = 0; k + 1 < path.size(); ++k) {
        r.interactions.insert(link[path[k]][path[k + 1]]);
        negatives += effect(link[path[k]][path[k + 1]]) == "_";
      }
      ++(negatives % 2 ? r.negative : r.positive);
      if (r.shortest < 0 || int(path.size()) - 1 < r.shortest) r.shortest = int(path.size()) - 1;
      return;
    }
    for (MoleculeId y = 1; y <= n && int(path.size()) < steps; ++y) {
      if (link[path.back()][y] < 0 || std::count(path.begin(), path.end(), y)) continue;
      path.push_back(y);
      walk();
      path.pop_back();
    }
  };
  walk();
  return r;
}

TEST(PathSearch, MatchesBruteForceEnumerationOnRandomNetworks) {
  std::mt19937_64 rng(20240611);
  int compared = 0;
  for (int round = 0; round < 150; ++round) {
    const std::size_t n = 4 + rng() % 6;
    std::string text;
    for (std::size_t k = n + rng() % (2 * n); k > 0; --k) {
      text += "M" + std::to_string(rng() % n) + " M" + std::to_string(rng() % n) + " " +
              "+_0"[rng() % 3] + "\n";
    }
    const Network net = NetworkFromEdges(text);
    const auto m = MoleculeId(net.moleculeCount());
    for (int trial = 0; trial < 4; ++trial) {
      const auto s = MoleculeId(1 + rng() % m), t = MoleculeId(1 + rng() % m);
      const bool direct = rng() % 2;
      const int steps = 2 + int(rng() % (m + 1));
      if (s == t) continue;
      const std::vector<int> toTarget = StepsToTarget(net, t, direct);
      EXPECT_EQ(toTarget[s - 1], BruteForce(net, s, t, int(m), direct).shortest);
      const Brute want = BruteForce(net, s, t, steps, direct);
      const PathMap got = FindPathMap(net, s, t, steps, direct, toTarget, kNoLimit);
      const std::set<std::uint32_t> gotSet(got.interactions.begin(), got.interactions.end());
      EXPECT_EQ(gotSet.size(), got.interactions.size()) << "an interaction listed twice";
      EXPECT_EQ(gotSet, want.interactions) << text << s << "->" << t << " in " << steps;
      EXPECT_EQ(got.positivePaths, want.positive);
      EXPECT_EQ(got.negativePaths, want.negative);
      compared += !want.interactions.empty();
    }
  }
  EXPECT_GT(compared, 100);
}

TEST(PathwayMaps, KeepTheMapOfTheStepCountBeforeTheSizeLimitIsExceeded) {
  // S to T: 1 interaction at 2 steps, 3 at 3 steps, 6 at 4 steps.
  const Network net = NetworkFromEdges("S T +\nS A +\nA T _\nS B +\nB C +\nC T +\n");
  NullProgress quiet;
  const auto kept = FindPathwayMaps(net, ByName({"S"}, "T", 9, 4), quiet, 1);
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_EQ(kept[0].steps, 3);
  EXPECT_EQ(Edges(net, kept[0].map.interactions), (std::set<std::string>{"S>T", "S>A", "A>T"}));
  EXPECT_EQ(kept[0].map.negativePaths, 1u);
  // Never exceeded up to the step limit, or exceeded at 2 steps already: no map.
  EXPECT_TRUE(FindPathwayMaps(net, ByName({"S"}, "T", 9, 6), quiet, 1).empty());
  EXPECT_TRUE(FindPathwayMaps(net, ByName({"S"}, "T", 3, 4), quiet, 1).empty());
  Recorder recorder;
  EXPECT_TRUE(FindPathwayMaps(net, ByName({"S", "T"}, "T", 2, 0), recorder, 1).empty());
  EXPECT_EQ(recorder.texts,
            std::vector<std::string>{"Searching for pathways from S to T in 2 steps... "});

  const auto typed = [](const char* type) {
    Molecule m;
    m.moleculeType = type;
    return m;
  };
  EXPECT_TRUE(PathwayQuery::Default().isSource(typed("Ligand")));
  EXPECT_TRUE(PathwayQuery::Default().isTarget(typed("TF")));
  EXPECT_FALSE(PathwayQuery::Default().isTarget(typed("Ligand")));
  PathwayQuery unused;  // a condition with an empty value matches nothing
  unused.sources = {{ConditionKind::Location, ""}};
  EXPECT_FALSE(unused.isSource(Molecule{}));
}

TEST(PathwayMaps, SameResultForAnyThreadCountAndCancellable) {
  std::mt19937_64 rng(7);
  std::string sig;
  for (int k = 0; k < 260; ++k) {
    const int ab[2] = {int(rng() % 70), int(rng() % 70)};
    for (const int x : ab) {
      sig += "M" + std::to_string(x) +
             (x < 12   ? " NA NA Ligand C "
              : x < 55 ? " NA NA P C "
                       : " NA NA TF C ");
    }
    sig += std::string(1, "++_0"[rng() % 4]) + " NA 1\n";
  }
  const Network net = ReadSigText(sig, "random.sig");
  PathwayQuery query = PathwayQuery::Default();
  query.maxSteps = 7;
  query.maxSize = 12;
  const auto describe = [&](unsigned threads) {
    NullProgress quiet;
    std::string out;
    for (const PathwayMap& m : FindPathwayMaps(net, query, quiet, threads)) {
      out += std::to_string(m.source) + ">" + std::to_string(m.target) + " " +
             std::to_string(m.steps) + " " + std::to_string(m.map.negativePaths) + ":";
      for (const std::uint32_t k : m.map.interactions) out += " " + std::to_string(k);
      out += "\n";
    }
    return out;
  };
  const std::string one = describe(1);
  EXPECT_GT(std::count(one.begin(), one.end(), '\n'), 10);
  for (const unsigned threads : {2u, 3u, 0u}) EXPECT_EQ(describe(threads), one) << threads;
  NullProgress quiet;
  const auto maps = FindPathwayMaps(net, query, quiet, 1);
  for (std::size_t k = 1; k < maps.size(); ++k) {  // pairs by source, then target
    EXPECT_LT(std::pair(maps[k - 1].source, maps[k - 1].target),
              std::pair(maps[k].source, maps[k].target));
  }
  for (const unsigned threads : {1u, 3u}) {
    Recorder stopper;
    stopper.stopAfter = 5;
    EXPECT_THROW(FindPathwayMaps(net, query, stopper, threads), Cancelled);
  }
}

}  // namespace
}  // namespace tessel
