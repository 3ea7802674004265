// Sub-networks by connectivity and sub-networks grown from sources: small networks worked
// out by hand, a golden pair of pages, and random networks checked against a plain
// breadth-first search and plain link counts.
#include <gtest/gtest.h>

#include <atomic>
#include <iterator>
#include <map>
#include <queue>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "derived/subnetworks.h"
#include "test_support.h"

namespace tessel {
namespace {

namespace fs = std::filesystem;
using test::NetworkFromEdges;
using test::ReadFile;
using test::ScratchDir;

MoleculeCondition NameIs(std::string name) {
  return {ConditionKind::Name, std::move(name)};
}

// "SOURCE>TARGET" per row, in order.
std::vector<std::string> Links(const std::vector<SigRow>& rows) {
  std::vector<std::string> out;
  for (const SigRow& r : rows)
    out.push_back(std::string(r.source.name) + ">" + std::string(r.target.name));
  return out;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> out;
  std::size_t start = 0;
  while (start < text.size()) {
    const std::size_t end = text.find('\n', start);
    out.push_back(text.substr(start, end - start));
    start = end == std::string::npos ? text.size() : end + 1;
  }
  return out;
}

std::size_t Count(const std::string& text, const std::string& what) {
  std::size_t n = 0;
  for (std::size_t p = text.find(what); p != std::string::npos; p = text.find(what, p + 1)) ++n;
  return n;
}

TEST(Propagation, DepthsAndFilesOnSmallChains) {
  // Ids B = 1, A = 2, C = 3. The neutral B->A is crossed both ways; C->B only in reverse.
  const Network neutral = NetworkFromEdges("B A 0\nC B +\n");
  EXPECT_EQ(PropagationDepths(neutral, 2, Direction::Forward), (std::vector<int>{1, 0, -1}));
  EXPECT_EQ(PropagationDepths(neutral, 2, Direction::Reverse), (std::vector<int>{1, 0, 2}));
  EXPECT_EQ(PropagationDepths(neutral, 3, Direction::Reverse), (std::vector<int>{-1, -1, 0}));

  const Network chain = NetworkFromEdges("A B +\nB C -\n");
  ScratchDir dir;
  NullProgress progress;
  const PropagateResult r =
      RunPropagateCommand(chain, {NameIs("A"), 3, Direction::Forward, 1}, dir.path(), progress);
  const fs::path folder = dir / kFromSourcesFolder;
  ASSERT_EQ(r.files,
            (std::vector<fs::path>{folder / "A_sub_net_depth1.sig", folder / "A_sub_net_depth2.sig",
                                   folder / "A_sub_net_depth3.sig"}));
  EXPECT_EQ(ReadFile(r.files[0]), "A NA NA Protein Cytosol B NA NA Protein Cytosol + NA 1\n");
  const std::string both =
      ReadFile(r.files[0]) + "B NA NA Protein Cytosol C NA NA Protein Cytosol - NA 1\n";
  EXPECT_EQ(ReadFile(r.files[1]), both);
  EXPECT_EQ(ReadFile(r.files[2]), both);  // nothing new at depth 3, but the file is written
  ASSERT_EQ(r.sources.size(), 1u);
  EXPECT_EQ(r.sources[0].depths, (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(r.sources[0].rows[1][1], 3);  // nodes

  // Reverse from C mirrors the forward walk from A.
  const PropagateResult rev =
      RunPropagateCommand(chain, {NameIs("C"), 2, Direction::Reverse, 1}, dir.path(), progress);
  ASSERT_EQ(rev.files.size(), 2u);
  EXPECT_EQ(ReadFile(rev.files[0]), "B NA NA Protein Cytosol C NA NA Protein Cytosol - NA 1\n");
  EXPECT_EQ(ReadFile(rev.files[1]), both);
}

TEST(Propagation, SourcesWithoutFilesAndConditionsMatchingNothing) {
  const Network chain = NetworkFromEdges("A B +\nB C -\n");
  ScratchDir dir;
  NullProgress progress;
  const PropagateResult stuck =
      RunPropagateCommand(chain, {NameIs("C"), 15, Direction::Forward, 1}, dir.path(), progress);
  EXPECT_TRUE(stuck.files.empty());
  EXPECT_EQ(std::distance(fs::directory_iterator(stuck.folder), fs::directory_iterator()), 2);
  EXPECT_EQ(ReadFile(stuck.statsPage), "<html><body><table><tr><td>C</td></tr>" +
                                           FigureHeaderRow("steps", stuck.titles) +
                                           "</table></body></html>");
  EXPECT_EQ(ReadFile(stuck.dipsPage), "<html><body><table>\n</table></body></html>");

  const PropagateResult none = RunPropagateCommand(
      chain, {{ConditionKind::Type, "Ligand"}, 15, Direction::Forward, 1}, dir.path(), progress);
  EXPECT_TRUE(none.sources.empty());
  EXPECT_EQ(ReadFile(none.statsPage), "<html><body><table></table></body></html>");
  EXPECT_EQ(ReadFile(none.dipsPage), "<html><body><table>\n</table></body></html>");

  EXPECT_EQ(ParseDirection("REVERSE"), Direction::Reverse);
  EXPECT_EQ(ParseDirection("forward"), Direction::Forward);
  EXPECT_THROW(ParseDirection("backward"), std::invalid_argument);
}

TEST(Propagation, SubnetworkHoldsEveryLinkAmongReachedMolecules) {
  // The walk from A goes A->B->C; C->A and B->A join reached molecules without being
  // walked; D->A leaves an unreached molecule.
  const Network net = NetworkFromEdges("A B +\nB C +\nC A _\nD A +\nB A 0\n");
  const auto depths = PropagationDepths(net, net.findId("A"), Direction::Forward);
  EXPECT_EQ(Links(ReachedSubnetwork(net, depths, 0)), std::vector<std::string>{});
  EXPECT_EQ(Links(ReachedSubnetwork(net, depths, 1)), (std::vector<std::string>{"A>B", "B>A"}));
  EXPECT_EQ(Links(ReachedSubnetwork(net, depths, 2)),
            (std::vector<std::string>{"A>B", "B>C", "C>A", "B>A"}));
}

struct RandomEdge {
  int source, target;
  std::string effect;
};

// A random network over molecules M0..M(n-1) with distinct ordered pairs (self-links
// included) and effects "+", "_" and "0".
std::vector<RandomEdge> RandomEdges(std::mt19937_64& rng, int molecules, int edges) {
  std::uniform_int_distribution<int> pick(0, molecules - 1);
  const char* effects[] = {"+", "_", "0"};
  std::uniform_int_distribution<int> effect(0, 2);
  std::set<std::pair<int, int>> seen;
  std::vector<RandomEdge> out;
  for (int k = 0; k < edges; ++k) {
    const int s = pick(rng), t = pick(rng);
    if (!seen.insert({s, t}).second) continue;
    out.push_back({s, t, effects[effect(rng)]});
  }
  return out;
}

std::string Name(int m) {
  return "M" + std::to_string(m);
}

Network BuildNetwork(const std::vector<RandomEdge>& edges) {
  std::string text;
  for (const RandomEdge& e : edges)
    text += Name(e.source) + " " + Name(e.target) + " " + e.effect + "\n";
  return NetworkFromEdges(text);
}

TEST(Propagation, DepthsMatchAPlainBreadthFirstSearchOnRandomNetworks) {
  std::mt19937_64 rng(20240611);
  for (int round = 0; round < 40; ++round) {
    const int n = 4 + static_cast<int>(rng() % 30);
    const auto edges = RandomEdges(rng, n, static_cast<int>(rng() % (3 * n)) + 1);
    const Network net = BuildNetwork(edges);
    for (const Direction dir : {Direction::Forward, Direction::Reverse}) {
      // step[x] = molecules one step away from x, straight from the edge list.
      std::vector<std::set<int>> step(n);
      for (const RandomEdge& e : edges) {
        const bool forward = dir == Direction::Forward;
        step[forward ? e.source : e.target].insert(forward ? e.target : e.source);
        if (e.effect == "0")
          step[forward ? e.target : e.source].insert(forward ? e.source : e.target);
      }
      for (const Molecule& m : net.molecules()) {
        const int s = std::stoi(m.name.substr(1));
        std::vector<int> expected(n, -1);
        expected[s] = 0;
        std::queue<int> queue;
        queue.push(s);
        while (!queue.empty()) {
          const int x = queue.front();
          queue.pop();
          for (const int y : step[x]) {
            if (expected[y] < 0) {
              expected[y] = expected[x] + 1;
              queue.push(y);
            }
          }
        }
        const std::vector<int> got = PropagationDepths(net, m.id, dir);
        for (const Molecule& other : net.molecules()) {
          ASSERT_EQ(got[other.id - 1], expected[std::stoi(other.name.substr(1))])
              << "round " << round << " from " << m.name << " to " << other.name;
        }
        // The sub-network of each depth is the edges among molecules within that depth.
        for (int d = 0; d <= 3; ++d) {
          std::vector<std::string> induced;
          for (const RandomEdge& e : edges) {
            const int ds = expected[e.source], dt = expected[e.target];
            if (ds >= 0 && ds <= d && dt >= 0 && dt <= d) {
              induced.push_back(Name(e.source) + ">" + Name(e.target));
            }
          }
          ASSERT_EQ(Links(ReachedSubnetwork(net, got, d)), induced);
        }
      }
    }
  }
}

TEST(Reduce, KeepsLinksWhoseEndsHaveFewLinksOnRandomNetworks) {
  std::mt19937_64 rng(77);
  for (int round = 0; round < 30; ++round) {
    const int n = 5 + static_cast<int>(rng() % 25);
    const auto edges = RandomEdges(rng, n, static_cast<int>(rng() % (4 * n)) + 1);
    const Network net = BuildNetwork(edges);
    std::vector<std::set<int>> neighbours(n);
    for (const RandomEdge& e : edges) {
      if (e.source == e.target) continue;
      neighbours[e.source].insert(e.target);
      neighbours[e.target].insert(e.source);
    }
    for (std::size_t k = 0; k <= 12; ++k) {
      std::vector<std::string> expected;
      for (const RandomEdge& e : edges) {
        if (neighbours[e.source].size() <= k && neighbours[e.target].size() <= k) {
          expected.push_back(Name(e.source) + ">" + Name(e.target));
        }
      }
      ASSERT_EQ(Links(ConnectivitySubnetwork(net, k)), expected) << "round " << round << " k " << k;
    }
  }
}

TEST(Reduce, WritesNestedFilesAndOneClosedRowPerConnectivity) {
  // H has 6 links, Y 2, every other molecule 1.
  const Network net =
      NetworkFromEdges("H L1 +\nX Y +\nH L2 _\nH L3 0\nY Z _\nL4 H +\nH L5 +\nH L6 +\n");
  ScratchDir dir;
  NullProgress progress;
  const ReduceResult r = RunReduceCommand(net, dir.path(), progress, 1);
  ASSERT_EQ(r.files.size(), 47u);
  EXPECT_EQ(r.files.back(), dir / kReducedFolder / "reduced_net50.sig");
  const std::vector<std::string> all = Lines(ReadFile(r.files.back()));
  ASSERT_EQ(all.size(), 8u);
  EXPECT_EQ(Lines(ReadFile(r.files[0])), (std::vector<std::string>{all[1], all[4]}));
  EXPECT_EQ(ReadFile(r.files[1]), ReadFile(r.files[0]));
  for (std::size_t f = 2; f < r.files.size(); ++f) EXPECT_EQ(Lines(ReadFile(r.files[f])), all);

  const std::string page = ReadFile(r.page);
  EXPECT_TRUE(
      page.starts_with("<html><body><table>" + FigureHeaderRow("allowed connectivity", r.titles)));
  EXPECT_EQ(Count(page, "<tr><td>"), 48u);
  EXPECT_EQ(Count(page, "</td></tr>\n"), 48u);
  EXPECT_TRUE(page.ends_with("</td></tr>\n</table></body></html>"));
  EXPECT_EQ(r.rows[0][0], 2);  // k = 4: X>Y and Y>Z
  EXPECT_EQ(r.rows[2][8], 2);  // k = 6: everything, in two islands
  EXPECT_NE(page.find(FigureValueRow("50", r.titles, r.rows[46])), std::string::npos);

  // No molecule has more than 4 links: every file is the whole network.
  const Network small = NetworkFromEdges("A B +\nA C _\nA D 0\nA E +\nB C +\n");
  const ReduceResult sr = RunReduceCommand(small, dir / "small", progress, 2);
  for (const fs::path& f : sr.files) EXPECT_EQ(Lines(ReadFile(f)).size(), 5u);

  // A star of 6 leaves keeps nothing below 6 links; the empty files still get rows.
  const Network star = NetworkFromEdges("H A +\nH B +\nH C +\nH D +\nH E +\nH F +\n");
  const ReduceResult s = RunReduceCommand(star, dir / "star", progress, 2);
  EXPECT_EQ(ReadFile(s.files[1]), "");
  EXPECT_EQ(s.rows[1], std::vector<double>(s.titles.size(), 0.0));
  EXPECT_EQ(s.rows[2][1], 7);
}

TEST(Subnetworks, PagesDoNotDependOnTheThreadCount) {
  std::mt19937_64 rng(5);
  const Network net = BuildNetwork(RandomEdges(rng, 25, 70));
  ScratchDir dir;
  NullProgress progress;
  const PropagateSettings one{{ConditionKind::Type, "Protein"}, 4, Direction::Forward, 1};
  PropagateSettings three = one;
  three.threads = 3;
  const PropagateResult a = RunPropagateCommand(net, one, dir / "one", progress);
  const std::string stats = ReadFile(a.statsPage), dips = ReadFile(a.dipsPage);
  const PropagateResult b = RunPropagateCommand(net, three, dir / "three", progress);
  EXPECT_EQ(ReadFile(b.statsPage), stats);
  EXPECT_EQ(ReadFile(b.dipsPage), dips);
  EXPECT_GT(a.files.size(), 10u);

  const ReduceResult c = RunReduceCommand(net, dir / "one", progress, 1);
  const ReduceResult d = RunReduceCommand(net, dir / "three", progress, 3);
  EXPECT_EQ(ReadFile(c.page), ReadFile(d.page));
}

// Records the status texts; with `stopAtAnalysis`, asks to stop once a sub-network has been
// analysed.
class RecordingProgress final : public Progress {
 public:
  explicit RecordingProgress(bool stopAtAnalysis = false) : stopAtAnalysis_(stopAtAnalysis) {}
  void report(std::size_t, std::size_t, std::string_view text) override {
    texts.emplace_back(text);
    if (stopAtAnalysis_ && text.starts_with("Analyzed")) stop_ = true;
  }
  bool cancelled() const override { return stop_; }
  std::vector<std::string> texts;

 private:
  bool stopAtAnalysis_;
  std::atomic<bool> stop_{false};
};

TEST(Subnetworks, StatusTextsAndCancellation) {
  const Network net = NetworkFromEdges("A B +\nB C _\n");
  ScratchDir dir;
  RecordingProgress p;
  RunReduceCommand(net, dir.path(), p, 2);
  ASSERT_EQ(p.texts.size(), 47u * 2 + 1);
  EXPECT_EQ(p.texts[0], "Created 0 sub-networks out of 46...");
  EXPECT_EQ(p.texts[46], "Created 46 sub-networks out of 46...");
  EXPECT_EQ(p.texts[93], "Analyzed 46 sub-networks out of 46...");
  EXPECT_EQ(p.texts[94], "Finished analyzing sub-networks based on connectivity...");

  RecordingProgress q;
  RunPropagateCommand(net, {NameIs("A"), 1, Direction::Forward, 1}, dir.path(), q);
  EXPECT_EQ(q.texts, (std::vector<std::string>{"Created file A_sub_net_depth1.sig...",
                                               "Analyzed the file A_sub_net_depth1.sig...",
                                               "Done analyzing steps sub-networks..."}));

  // Every worker stops, the error reaches the caller and no page is written.
  for (const unsigned threads : {1u, 3u}) {
    RecordingProgress stop(true);
    EXPECT_THROW(RunReduceCommand(net, dir / "stopped", stop, threads), Cancelled);
    EXPECT_FALSE(fs::exists(dir / "stopped" / kReducedFolder / kReducedPage));
  }
}

// Sources in creation order: S&1, B, C, D, E, F. Forward with 2 steps, every one but F (whose
// only link enters it) grows a sub-network; S&1 and E reach a feedforward loop.
TEST(Subnetworks, GoldenStepsAndDipsPages) {
  const Network net = NetworkFromEdges("S&1 B +\nB C +\nS&1 C _\nC D 0\nE S&1 +\nC F _\n");
  ScratchDir dir;
  NullProgress progress;
  const PropagateResult r = RunPropagateCommand(
      net, {{ConditionKind::Location, "Cytosol"}, 2, Direction::Forward, 2}, dir.path(), progress);
  EXPECT_EQ(r.files.size(), 10u);
  EXPECT_TRUE(fs::exists(dir / kFromSourcesFolder / "S_261_sub_net_depth2.sig"));
  EXPECT_EQ(ReadFile(r.statsPage), ReadFile(test::GoldenDir() / "propagate_stats.htm"));
  EXPECT_EQ(ReadFile(r.dipsPage), ReadFile(test::GoldenDir() / "propagate_dips.htm"));
}

}  // namespace
}  // namespace tessel
