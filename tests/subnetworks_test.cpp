// Sub-networks by connectivity and grown from sources: random networks checked against a
// plain breadth-first search and plain link counts, small files worked out by hand, and a
// golden pair of pages.
#include <gtest/gtest.h>

#include <atomic>
#include <iterator>
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

int Index(const Molecule& m) {
  return std::stoi(m.name.substr(1));
}

struct RandomEdge {
  int source, target;
  char effect;
};

// The SIG rows of the edges, in order, whose two ends pass `keep`.
std::string RowsAmong(const std::vector<RandomEdge>& edges, const auto& keep) {
  std::string out;
  for (const RandomEdge& e : edges) {
    if (!keep(e.source) || !keep(e.target)) continue;
    out += "M" + std::to_string(e.source) + " NA NA Protein Cytosol M" + std::to_string(e.target) +
           " NA NA Protein Cytosol " + e.effect + " NA 1\n";
  }
  return out;
}

// A random network over molecules M0..M(n-1): distinct ordered pairs (self-links included)
// with effects "+", "_" and "0".
std::pair<std::vector<RandomEdge>, Network> RandomNetwork(std::mt19937_64& rng, int molecules,
                                                          int edges) {
  std::uniform_int_distribution<int> pick(0, molecules - 1), effect(0, 2);
  std::set<std::pair<int, int>> seen;
  std::vector<RandomEdge> out;
  for (int k = 0; k < edges; ++k) {
    const int s = pick(rng), t = pick(rng);
    if (seen.insert({s, t}).second) out.push_back({s, t, "+_0"[effect(rng)]});
  }
  return {out, ReadSigText(RowsAmong(out, [](int) { return true; }), "random")};
}

TEST(Subnetworks, RandomNetworksMatchAPlainBreadthFirstSearchAndPlainLinkCounts) {
  std::mt19937_64 rng(20240611);
  for (int round = 0; round < 40; ++round) {
    SCOPED_TRACE(round);
    const int n = 4 + static_cast<int>(rng() % 30);
    const auto [edges, net] = RandomNetwork(rng, n, static_cast<int>(rng() % (4 * n)) + 1);
    // Connectivity: the links among molecules with at most k neighbours.
    std::vector<std::set<int>> neighbours(n);
    for (const RandomEdge& e : edges) {
      if (e.source == e.target) continue;
      neighbours[e.source].insert(e.target);
      neighbours[e.target].insert(e.source);
    }
    for (std::size_t k = 0; k <= 12; ++k) {
      ASSERT_EQ(SigRowsText(ConnectivitySubnetwork(net, k)),
                RowsAmong(edges, [&](int m) { return neighbours[m].size() <= k; }));
    }
    // Propagation: a step along a link, or back across a neutral one; Reverse mirrors it.
    for (const Direction dir : {Direction::Forward, Direction::Reverse}) {
      std::vector<std::set<int>> step(n);
      for (const RandomEdge& e : edges) {
        const int from = dir == Direction::Forward ? e.source : e.target;
        const int to = e.source + e.target - from;
        step[from].insert(to);
        if (e.effect == '0') step[to].insert(from);
      }
      for (const Molecule& source : net.molecules()) {
        std::vector<int> expected(n, -1), queue{Index(source)};
        expected[queue[0]] = 0;
        for (std::size_t head = 0; head < queue.size(); ++head) {
          for (const int y : step[queue[head]]) {
            if (expected[y] >= 0) continue;
            expected[y] = expected[queue[head]] + 1;
            queue.push_back(y);
          }
        }
        const std::vector<int> got = PropagationDepths(net, source.id, dir);
        for (const Molecule& m : net.molecules()) {
          ASSERT_EQ(got[m.id - 1], expected[Index(m)]) << source.name << " to " << m.name;
        }
        // The sub-network of each depth: the links among molecules within that depth.
        for (int d = 0; d <= 3; ++d) {
          ASSERT_EQ(SigRowsText(ReachedSubnetwork(net, got, d)),
                    RowsAmong(edges, [&](int m) { return expected[m] >= 0 && expected[m] <= d; }));
        }
      }
    }
  }
}

TEST(Propagation, FilesAndPagesOfSourcesWithAndWithoutFiles) {
  // A -> B -> C. Reverse from C reaches B in one step and A in two; forward, nothing.
  const Network chain = NetworkFromEdges("A B +\nB C -\n");
  ScratchDir dir;
  NullProgress progress;
  const PropagateResult r =
      RunPropagateCommand(chain, {NameIs("C"), 2, Direction::Reverse, 1}, dir.path(), progress);
  const fs::path folder = dir / kFromSourcesFolder;
  ASSERT_EQ(r.files, (std::vector<fs::path>{folder / "C_sub_net_depth1.sig",
                                            folder / "C_sub_net_depth2.sig"}));
  const std::string bc = "B NA NA Protein Cytosol C NA NA Protein Cytosol - NA 1\n";
  EXPECT_EQ(ReadFile(r.files[0]), bc);
  EXPECT_EQ(ReadFile(r.files[1]), "A NA NA Protein Cytosol B NA NA Protein Cytosol + NA 1\n" + bc);

  const PropagateResult stuck =
      RunPropagateCommand(chain, {NameIs("C"), 15, Direction::Forward, 1}, dir / "stuck", progress);
  EXPECT_TRUE(stuck.files.empty());
  EXPECT_EQ(std::distance(fs::directory_iterator(stuck.folder), fs::directory_iterator()), 2);
  // Each page links to the other.
  const std::string toDips =
      "</table>\n<p>Motif participation per molecule: <a href=\"dips.htm\">dips.htm</a></p>\n"
      "</body></html>";
  EXPECT_EQ(ReadFile(stuck.statsPage), "<html><body><table><tr><td>C</td></tr>" +
                                           FigureHeaderRow("steps", stuck.titles) + toDips);
  EXPECT_EQ(ReadFile(stuck.dipsPage),
            "<html><body><table>\n</table>\n<p>Figures of every sub-network: <a "
            "href=\"stats_for_steps_networks.htm\">stats_for_steps_networks.htm</a></p>\n"
            "</body></html>");

  const PropagateResult none = RunPropagateCommand(
      chain, {{ConditionKind::Type, "Ligand"}, 15, Direction::Forward, 1}, dir / "none", progress);
  EXPECT_TRUE(none.sources.empty());
  EXPECT_EQ(ReadFile(none.statsPage), "<html><body><table>" + toDips);

  EXPECT_EQ(ParseDirection("REVERSE"), Direction::Reverse);
  EXPECT_EQ(ParseDirection("forward"), Direction::Forward);
  EXPECT_THROW(ParseDirection("backward"), std::invalid_argument);
}

TEST(Reduce, WritesNestedFilesAndOneRowPerConnectivity) {
  // H has 6 links, Y 2, every other molecule 1: up to 5 links only X -> Y -> Z is left.
  const Network net =
      NetworkFromEdges("H L1 +\nX Y +\nH L2 _\nH L3 0\nY Z _\nL4 H +\nH L5 +\nH L6 +\n");
  ScratchDir dir;
  NullProgress progress;
  const ReduceResult r = RunReduceCommand(net, dir.path(), progress, 1);
  ASSERT_EQ(r.files.size(), 47u);
  EXPECT_EQ(r.files.back(), dir / kReducedFolder / "reduced_net50.sig");
  const std::string xyz =
      "X NA NA Protein Cytosol Y NA NA Protein Cytosol + NA 1\n"
      "Y NA NA Protein Cytosol Z NA NA Protein Cytosol _ NA 1\n";
  const std::vector<SigRow> all = ConnectivitySubnetwork(net, 6);
  ASSERT_EQ(all.size(), 8u);
  const std::string whole = SigRowsText(all);
  for (std::size_t f = 0; f < r.files.size(); ++f) {
    EXPECT_EQ(ReadFile(r.files[f]), f < 2 ? xyz : whole) << r.files[f];
  }
  EXPECT_EQ(r.rows[0][0], 2);  // k = 4: two interactions
  EXPECT_EQ(r.rows[2][8], 2);  // k = 6: everything, in two islands
  std::string page = "<html><body><table>" + FigureHeaderRow("allowed connectivity", r.titles);
  for (int k = 4; k <= 50; ++k) page += FigureValueRow(std::to_string(k), r.titles, r.rows[k - 4]);
  EXPECT_EQ(ReadFile(r.page), page + "</table></body></html>");
  EXPECT_EQ(ReadFile(RunReduceCommand(net, dir / "three", progress, 3).page), ReadFile(r.page));

  // A star of 6 leaves keeps nothing below 6 links; the empty files still get rows.
  const Network star = NetworkFromEdges("H A +\nH B +\nH C +\nH D +\nH E +\nH F +\n");
  const ReduceResult s = RunReduceCommand(star, dir / "star", progress, 2);
  EXPECT_EQ(ReadFile(s.files[1]), "");
  EXPECT_EQ(s.rows[1], std::vector<double>(s.titles.size(), 0.0));
  EXPECT_EQ(s.rows[2][1], 7);  // k = 6: seven molecules
}

// Records the status texts; with `stopAtAnalysis`, asks to stop once a sub-network has been
// analysed.
class RecordingProgress final : public Progress {
 public:
  void report(std::size_t, std::size_t, std::string_view text) override {
    texts.emplace_back(text);
    if (stopAtAnalysis && text.starts_with("Analyzed")) stop = true;
  }
  bool cancelled() const override { return stop; }
  std::vector<std::string> texts;
  bool stopAtAnalysis = false;
  std::atomic<bool> stop{false};
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
    RecordingProgress stop;
    stop.stopAtAnalysis = true;
    EXPECT_THROW(RunReduceCommand(net, dir / "stopped", stop, threads), Cancelled);
    EXPECT_FALSE(fs::exists(dir / "stopped" / kReducedFolder / kReducedPage));
  }
}

// Sources in creation order: S&1, B, C, D, E, F. Forward with 2 steps, every one but F (whose
// only link enters it) grows a sub-network; S&1 and E reach a feedforward loop. The pages do
// not depend on the thread count.
TEST(Subnetworks, GoldenStepsAndDipsPages) {
  const Network net = NetworkFromEdges("S&1 B +\nB C +\nS&1 C _\nC D 0\nE S&1 +\nC F _\n");
  for (const unsigned threads : {1u, 3u}) {
    ScratchDir dir;
    NullProgress progress;
    const PropagateResult r = RunPropagateCommand(
        net, {{ConditionKind::Location, "Cytosol"}, 2, Direction::Forward, threads}, dir.path(),
        progress);
    EXPECT_EQ(r.files.size(), 10u);
    EXPECT_TRUE(fs::exists(dir / kFromSourcesFolder / "S_261_sub_net_depth2.sig"));
    test::ExpectGolden(ReadFile(r.statsPage), "propagate_stats.htm");
    test::ExpectGolden(ReadFile(r.dipsPage), "propagate_dips.htm");
  }
}

}  // namespace
}  // namespace tessel
