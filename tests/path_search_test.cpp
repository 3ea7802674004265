// Path search: link rules, the size threshold that decides which map a pair keeps, and a
// brute-force cross-check of the pruned search on random networks.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <set>
#include <tuple>

#include "model/readers.h"
#include "pathways/path_search.h"
#include "test_support.h"

namespace tessel {
namespace {

using test::NetworkFromEdges;

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

TEST(PathSearch, NeutralLinksRunBothWaysUnlessDirect) {
  // The only S-T link is neutral and runs from T to S (ids: T 1, S 2, X 3, A 4).
  const Network net = NetworkFromEdges("T S 0\nS X _\nA A +\n");
  EXPECT_TRUE(CanStep(net, 2, 1, false));
  EXPECT_FALSE(CanStep(net, 2, 1, true));
  EXPECT_TRUE(CanStep(net, 2, 3, true));
  EXPECT_FALSE(CanStep(net, 3, 2, false));  // signed links run one way
  EXPECT_FALSE(CanStep(net, 4, 4, false));  // a self-interaction is no step
}

// Every simple path of at most `steps` molecules, without pruning, from a plain edge list.
struct Brute {
  std::set<std::uint32_t> interactions;
  std::size_t positive = 0, negative = 0;
  int shortest = -1;
};

Brute BruteForce(const Network& net, MoleculeId s, MoleculeId t, int steps, bool direct) {
  const std::size_t n = net.moleculeCount();
  const auto& all = net.interactions();
  // The interaction a step from a to b uses, or -1: a -> b (signed, if direct only), or
  // else b -> a when neutral and not direct only.
  const auto link = [&](MoleculeId a, MoleculeId b) {
    int back = -1;
    for (std::size_t k = 0; k < all.size() && a != b; ++k) {
      const Interaction& i = all[k];
      if (i.source == a && i.target == b && (!direct || i.effect != "0")) return int(k);
      if (!direct && i.source == b && i.target == a && i.effect == "0") back = int(k);
    }
    return back;
  };
  Brute r;
  std::vector<MoleculeId> path{s};
  std::function<void()> walk = [&] {
    if (path.back() == t) {
      int negatives = 0;
      for (std::size_t k = 0; k + 1 < path.size(); ++k) {
        const int used = link(path[k], path[k + 1]);
        r.interactions.insert(used);
        negatives += all[used].effect == "_";
      }
      ++(negatives % 2 ? r.negative : r.positive);
      if (r.shortest < 0 || int(path.size()) - 1 < r.shortest) r.shortest = int(path.size()) - 1;
      return;
    }
    for (MoleculeId y = 1; y <= n && int(path.size()) < steps; ++y) {
      if (link(path.back(), y) < 0 || std::count(path.begin(), path.end(), y)) continue;
      path.push_back(y);
      walk();
      path.pop_back();
    }
  };
  walk();
  return r;
}

// Also checks the size limit: a map of exactly the limit is whole, one more exceeds it.
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
      SCOPED_TRACE(text + std::to_string(s) + "->" + std::to_string(t) + " in " +
                   std::to_string(steps) + (direct ? " direct" : ""));
      const std::vector<int> toTarget = StepsToTarget(net, t, direct);
      EXPECT_EQ(toTarget[s - 1], BruteForce(net, s, t, int(m), direct).shortest);
      const Brute want = BruteForce(net, s, t, steps, direct);
      const std::size_t size = want.interactions.size();
      const PathMap got = FindPathMap(net, s, t, steps, direct, toTarget, size);
      const std::set<std::uint32_t> gotSet(got.interactions.begin(), got.interactions.end());
      EXPECT_EQ(gotSet.size(), got.interactions.size()) << "an interaction listed twice";
      EXPECT_EQ(gotSet, want.interactions);
      EXPECT_EQ(got.positivePaths, want.positive);
      EXPECT_EQ(got.negativePaths, want.negative);
      EXPECT_FALSE(got.exceeded);
      // size - 1 wraps to no limit for an empty map
      EXPECT_EQ(FindPathMap(net, s, t, steps, direct, toTarget, size - 1).exceeded, size > 0);
      compared += size > 0;
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
  EXPECT_EQ(std::set(kept[0].map.interactions.begin(), kept[0].map.interactions.end()),
            (std::set<std::uint32_t>{0, 1, 2}));  // S>T, S>A, A>T
  EXPECT_EQ(kept[0].map.negativePaths, 1u);
  // A map that still fits at the step limit is kept whole, with that step count.
  for (const auto& [steps, size, interactions] :
       {std::tuple(9, 6, 6u), std::tuple(3, 4, 3u), std::tuple(2, 4, 1u)}) {
    const auto fits = FindPathwayMaps(net, ByName({"S"}, "T", steps, size), quiet, 1);
    ASSERT_EQ(fits.size(), 1u) << steps;
    EXPECT_EQ(fits[0].steps, steps);
    EXPECT_EQ(fits[0].map.interactions.size(), interactions);
  }
  // Exceeded as soon as the map has any interaction (S to C needs 3 steps and 2
  // interactions): no map rather than an empty one.
  EXPECT_TRUE(FindPathwayMaps(net, ByName({"S"}, "C", 9, 1), quiet, 1).empty());
  Recorder recorder;
  EXPECT_TRUE(FindPathwayMaps(net, ByName({"S", "T"}, "T", 2, 0), recorder, 1).empty());
  EXPECT_EQ(recorder.texts,
            std::vector<std::string>{"Searching for pathways from S to T in 2 steps... "});

  Molecule ligand, tf;
  ligand.moleculeType = "Ligand";
  tf.moleculeType = "TF";
  EXPECT_TRUE(PathwayQuery::Default().isSource(ligand) && PathwayQuery::Default().isTarget(tf));
  EXPECT_FALSE(PathwayQuery::Default().isTarget(ligand));
  PathwayQuery unused;  // a condition with an empty value matches nothing
  unused.sources = {{ConditionKind::Location, ""}};
  EXPECT_FALSE(unused.isSource(Molecule{}));
}

TEST(PathwayQueries, UnmatchedConditionsNameTheClosestValue) {
  const Network net = ReadSigText(
      "EGF NA NA Ligand Out EGFR NA NA Receptor Membrane + NA 1\n"
      "EGFR NA NA Receptor Membrane MYC NA NA TF Nucleus + NA 2\n",
      "q.sig");
  PathwayQuery q = PathwayQuery::Default();
  EXPECT_TRUE(UnmatchedConditions(net, q).empty());
  q.sources = {{ConditionKind::Name, "EGFRR"}, {ConditionKind::Type, ""}};  // empty: unused
  q.targets = {{ConditionKind::Type, "tf"},
               {ConditionKind::Location, "nucleus"},
               {ConditionKind::Location, "Membrane"}};
  EXPECT_EQ(UnmatchedConditions(net, q),
            (std::vector<std::string>{"no molecule has Name \"EGFRR\"; did you mean \"EGFR\"?",
                                      "no molecule has Type \"tf\"; did you mean \"TF\"?",
                                      "no molecule has Location \"nucleus\"; did you mean "
                                      "\"Nucleus\"?"}));
  // Edit distance when no value equals without case; the first of equally close ones.
  EXPECT_EQ(UnmatchedConditionMessage(net, {ConditionKind::Type, "Receptr"}),
            "no molecule has Type \"Receptr\"; did you mean \"Receptor\"? (Type values: "
            "Ligand, Receptor, TF)");
  EXPECT_EQ(ClosestValue(net, ConditionKind::Name, "EGF2"), "EGF");
  EXPECT_EQ(UnmatchedConditionMessage(Network{}, {ConditionKind::Type, "TF"}),
            "no molecule has Type \"TF\"");
}

TEST(PathwayRoutes, AreThePathsTheMapMerges) {
  // S reaches T directly, over A (inhibiting), over the neutral B -> S link walked
  // backwards, and over A and C, the last step walking the neutral T -> C link backwards.
  const Network net = NetworkFromEdges("S A _\nA T +\nB S 0\nB T +\nS T +\nA C +\nT C 0\n");
  const MoleculeId s = net.findId("S"), t = net.findId("T");
  const auto describe = [&](const RouteList& list) {
    std::vector<std::string> out;
    for (const Route& r : list.routes) {
      std::string text;
      for (const MoleculeId id : r.molecules) text += net.nameOf(id);
      out.push_back(text + (r.negative ? "-" : "+"));
    }
    return out;
  };
  const RouteList all = ListRoutes(net, s, t, 9, false, 50);
  EXPECT_EQ(describe(all), (std::vector<std::string>{"ST+", "SAT-", "SBT+", "SACT-"}));
  EXPECT_EQ(all.total, 4u);
  for (const bool direct : {false, true}) {
    for (int steps = 2; steps <= 5; ++steps) {
      const RouteList routes = ListRoutes(net, s, t, steps, direct, 50);
      const PathMap map = FindPathMap(net, s, t, steps, direct, StepsToTarget(net, t, direct), 99);
      const auto negative = std::count_if(routes.routes.begin(), routes.routes.end(),
                                          [](const Route& r) { return r.negative; });
      EXPECT_EQ(std::size_t(negative), map.negativePaths) << steps << direct;
      EXPECT_EQ(routes.total - negative, map.positivePaths) << steps << direct;
    }
  }
  // Capped: the shortest are kept, the total still counts every route.
  const RouteList two = ListRoutes(net, s, t, 9, false, 2);
  EXPECT_EQ(describe(two), (std::vector<std::string>{"ST+", "SAT-"}));
  EXPECT_EQ(two.total, 4u);
  EXPECT_TRUE(two.complete);
  const RouteList capped = ListRoutes(net, s, t, 9, false, 2, nullptr, 3);  // counting stops
  EXPECT_EQ(describe(capped), describe(two));
  EXPECT_EQ(capped.total, 3u);
  EXPECT_FALSE(capped.complete);
  EXPECT_EQ(ListRoutes(net, s, t, 9, true, 50).total, 2u);  // no neutral links
  EXPECT_EQ(ListRoutes(net, t, s, 9, false, 50).total, 0u);
}

TEST(PathwayMaps, SameResultForAnyThreadCountAndCancellable) {
  std::mt19937_64 rng(7);
  std::string sig;
  for (int k = 0; k < 260; ++k) {
    for (const int x : {int(rng() % 70), int(rng() % 70)}) {
      sig += "M" + std::to_string(x) + " NA NA " +
             (x < 12   ? "Ligand"
              : x < 55 ? "P"
                       : "TF") +
             " C ";
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
    std::pair<MoleculeId, MoleculeId> last{0, 0};
    for (const PathwayMap& m : FindPathwayMaps(net, query, quiet, threads)) {
      EXPECT_LT(last, std::pair(m.source, m.target));  // by source, then target
      last = {m.source, m.target};
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
  for (const unsigned threads : {1u, 3u}) {
    Recorder stopper;
    stopper.stopAfter = 5;
    EXPECT_THROW(FindPathwayMaps(net, query, stopper, threads), Cancelled);
  }
}

}  // namespace
}  // namespace tessel
