// Shuffled and random networks: the three generators keep what they promise on random small
// networks; the command's files and page depend on the seed only, not on the thread count;
// the one-island option keeps one island or gives up; the comparison rows under the table
// worked out by hand, path lengths taken from the networks of one island only.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "analysis/metrics.h"
#include "derived/shuffle.h"
#include "test_support.h"

namespace tessel {
namespace {

namespace fs = std::filesystem;
using test::NetworkFromEdges;

// Rows M0 -> M0, M1 <-> M2, then random pairs; the first four effects "+", "_", "0" and "-".
// About a fifth of the end points carry an accession other than their molecule's own.
Network RandomNetwork(std::uint64_t seed, int molecules, int rows) {
  std::mt19937_64 random(seed);
  std::uniform_int_distribution<int> molecule(0, molecules - 1), pick(0, 59);
  const char* effects[] = {"+", "_", "0", "-"};
  std::string text;
  const auto add = [&](int s, int t, const char* effect) {
    for (const std::string& id : {std::to_string(s), std::to_string(t)}) {
      text += "M" + id + " A" + id + (pick(random) % 5 ? " E" : "x E") + id + " T" + id + " L" +
              id + " ";
    }
    text += effect + std::string(pick(random) % 2 ? " binding " : " NA ");
    text += std::to_string(1 + pick(random)) + "\n";
  };
  add(0, 0, "+");
  add(1, 2, "_");
  add(2, 1, "0");
  for (int r = 3; r < rows; ++r) {
    const int s = molecule(random);
    int t = molecule(random);
    while (t == s) t = molecule(random);
    add(s, t, effects[r == 3 ? 3 : pick(random) % 4]);
  }
  return ReadSigText(text, "random");
}

std::string Text(const SigRow& row) {
  return SigRowsText({&row, 1});
}
std::string Text(const EndPoint& e) {
  return Text(SigRow{e, e, "+", "NA", 1});
}

EndPoint OwnFields(const Network& net, std::string_view name) {
  const Molecule& m = net.molecule(net.findId(name));
  return {m.name, m.accession, m.extraId, m.moleculeType, m.location};
}

std::vector<SigRow> RowsOf(const Network& net) {
  std::vector<SigRow> rows;
  for (const Interaction& i : net.interactions()) rows.push_back(FirstRowOf(net, i));
  return rows;
}

std::map<std::string, std::string> FolderContents(const fs::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::directory_iterator(folder)) {
    files[entry.path().filename().string()] = test::ReadFile(entry.path());
  }
  return files;
}

ShuffleResult RunQuietly(const Network& net, const ShuffleSettings& s, const fs::path& dir) {
  NullProgress progress;
  return RunShuffleCommand(net, s, dir, progress);
}

TEST(Shuffle, NamesAndKinds) {
  EXPECT_EQ(ParseShuffleKind("swap"), ShuffleKind::SwapTargets);
  EXPECT_EQ(ParseShuffleKind("effects"), ShuffleKind::ShuffleEffects);
  EXPECT_EQ(ParseShuffleKind("er"), ShuffleKind::ErdosRenyi);
  EXPECT_THROW(ParseShuffleKind("milo"), std::invalid_argument);
  EXPECT_EQ(ShuffledFileName(ShuffleKind::SwapTargets, 7), "random_milo_7.sig");
  EXPECT_EQ(ShuffledFileName(ShuffleKind::ShuffleEffects, 1), "random_effect_1.sig");
  EXPECT_EQ(ShuffledFileName(ShuffleKind::ErdosRenyi, 12), "random_er_12.sig");
  EXPECT_NE(NetworkRandom(5, 3)(), NetworkRandom(5, 4)());
  EXPECT_NE(NetworkRandom(5, 3)(), NetworkRandom(5 + (1ull << 32), 3)());
}

TEST(Shuffle, GeneratorsKeepWhatTheyPromiseOnRandomNetworks) {
  // Erdos-Renyi draws the effects "+", then "_", then "0", then "-" (the only other one).
  const auto rank = [](const SigRow& r) { return std::string_view("+_0-").find(r.effect); };
  int swapped = 0, shuffled = 0;
  for (std::uint64_t seed = 1; seed <= 30; ++seed) {
    SCOPED_TRACE(seed);
    const Network net = RandomNetwork(seed, 8 + static_cast<int>(seed % 8), 12 + seed);
    const std::vector<SigRow> before = RowsOf(net);
    std::mt19937_64 random(seed);
    const std::vector<SigRow> swaps = SwapTargets(net, 1 + static_cast<int>(seed % 3), random);
    const std::vector<SigRow> effects = ShuffleEffects(net, random);
    const std::vector<SigRow> er = ErdosRenyi(net, random);
    const std::size_t n = before.size();
    ASSERT_TRUE(swaps.size() == n && effects.size() == n && er.size() == n);
    EXPECT_TRUE(std::ranges::is_sorted(er, {}, rank));
    // Swaps move whole target fields and nothing else, so in and out degrees are kept; the
    // effects shuffle moves effects only.
    std::multiset<std::string> targetsBefore, targetsAfter, effectsBefore, effectsAfter, erEffects;
    std::set<std::pair<std::string_view, std::string_view>> pairsBefore, pairsAfter, erPairs;
    for (std::size_t k = 0; k < n; ++k) {
      const SigRow& b = before[k];
      SigRow same = swaps[k];
      same.target = b.target;
      EXPECT_EQ(Text(same), Text(b));
      targetsBefore.insert(Text(b.target));
      targetsAfter.insert(Text(swaps[k].target));
      pairsBefore.emplace(b.source.name, b.target.name);
      EXPECT_TRUE(pairsAfter.emplace(swaps[k].source.name, swaps[k].target.name).second);

      same = effects[k];
      same.effect = b.effect;
      EXPECT_EQ(Text(same), Text(b));
      effectsBefore.emplace(b.effect);
      effectsAfter.emplace(effects[k].effect);

      const SigRow& r = er[k];
      erEffects.emplace(r.effect);
      EXPECT_NE(r.source.name, r.target.name);
      EXPECT_TRUE(erPairs.emplace(r.source.name, r.target.name).second);
      EXPECT_EQ(Text(r), Text(SigRow{OwnFields(net, r.source.name), OwnFields(net, r.target.name),
                                     r.effect, "Unknown", 0}));
    }
    EXPECT_EQ(targetsAfter, targetsBefore);
    EXPECT_EQ(effectsAfter, effectsBefore);
    EXPECT_EQ(erEffects, effectsBefore);
    for (const auto& [s, t] : pairsAfter) {  // any new link is no self-link and no reverse
      EXPECT_TRUE(pairsBefore.contains({s, t}) || (s != t && !pairsAfter.contains({t, s})))
          << s << " -> " << t;
    }
    swapped += SigRowsText(swaps) != SigRowsText(before);
    shuffled += SigRowsText(effects) != SigRowsText(before);
  }
  EXPECT_EQ(swapped, 30);
  EXPECT_EQ(shuffled, 30);

  // Two self-links are never exchanged into a reciprocal pair; links whose swap would add a
  // reverse pair, and a single link, stay as they are.
  std::mt19937_64 random(1);
  for (const char* edges : {"A A +\nB B _\n", "A B +\nC D +\nD A 0\nB C 0\n", "A B +\n"}) {
    const Network net = NetworkFromEdges(edges);
    EXPECT_EQ(SigRowsText(SwapTargets(net, 20, random)), SigRowsText(RowsOf(net))) << edges;
  }
  // Two molecules have two ordered pairs: both are drawn; a third link is impossible.
  EXPECT_EQ(ErdosRenyi(NetworkFromEdges("A B +\nB A _\n"), random).size(), 2u);
  EXPECT_THROW(ErdosRenyi(NetworkFromEdges("A B +\nB A _\nA A 0\n"), random),
               std::invalid_argument);
}

class RecordingProgress final : public Progress {
 public:
  void report(std::size_t, std::size_t, std::string_view text) override { texts.emplace(text); }
  bool cancelled() const override { return cancel; }
  std::multiset<std::string> texts;
  bool cancel = false;
};

TEST(Shuffle, CommandFilesPageAndProgressDependOnTheSeedNotTheThreads) {
  const Network net = RandomNetwork(3, 20, 60);
  for (const ShuffleKind kind :
       {ShuffleKind::SwapTargets, ShuffleKind::ShuffleEffects, ShuffleKind::ErdosRenyi}) {
    SCOPED_TRACE(ShuffledFileName(kind, 0));
    ShuffleSettings s{.kind = kind, .count = 5, .columns = {true, true, true}, .seed = 11};
    test::ScratchDir one, three, other;
    s.threads = 1;
    const ShuffleResult result = RunQuietly(net, s, one.path());
    s.threads = 3;
    RecordingProgress progress;
    RunShuffleCommand(net, s, three.path(), progress);
    s.seed = 12;
    RunQuietly(net, s, other.path());
    const auto files = FolderContents(result.folder);
    EXPECT_EQ(files, FolderContents(three / kShuffledFolder));
    const auto otherFiles = FolderContents(other / kShuffledFolder);
    ASSERT_EQ(files.size(), 6u);
    EXPECT_EQ(progress.texts.size(), 10u);

    // The page: one row per file with the figures of that file as read back.
    EXPECT_EQ(result.page, one / kShuffledFolder / kShuffledPage);
    EXPECT_EQ(result.titles, FigureTitles(s.columns));
    NullProgress none;
    EXPECT_EQ(result.networkValues, ComputeFigures(net, s.columns, none).values);
    std::string rows = FigureHeaderRow("random network #", result.titles);
    for (int i = 1; i <= 5; ++i) {
      const std::string name = ShuffledFileName(kind, i), out = " random networks out of 5";
      EXPECT_EQ(progress.texts.count("Created " + std::to_string(i) + out), 1u);
      EXPECT_EQ(progress.texts.count("Analyzed " + std::to_string(i) + out), 1u);
      EXPECT_EQ(result.files.at(i - 1), one / kShuffledFolder / name);
      EXPECT_NE(files.at(name), otherFiles.at(name));
      const Network back = ReadSigText(files.at(name), "back");
      EXPECT_EQ(back.interactionCount(), net.interactionCount());
      EXPECT_EQ(result.random.at(i - 1), ComputeFigures(back, s.columns, none).values);
      rows += FigureValueRow(std::to_string(i), result.titles, result.random[i - 1]);
    }
    EXPECT_NE(files.at(kShuffledPage).find("<table>" + rows + "<tr><td>user network</td>"),
              std::string::npos);
    progress.cancel = true;
    EXPECT_THROW(RunShuffleCommand(net, s, other.path(), progress), Cancelled);
  }
}

TEST(Shuffle, OneIslandIsKeptOrGivenUpAfterItsTries) {
  // tries 0: the option is off.
  const auto run = [](const std::string& edges, ShuffleKind kind, int tries, const fs::path& dir) {
    ShuffleSettings s{.kind = kind, .count = 8, .islandTries = tries, .analyze = false};
    s.maintainOneIsland = tries > 0;
    s.threads = 2;
    return RunQuietly(NetworkFromEdges(edges), s, dir);
  };
  // Every swap of A -> B and C -> D leaves two islands. The option does not apply to effects;
  // without analysis no page is written.
  test::ScratchDir dir;
  try {
    run("A B +\nC D _\n", ShuffleKind::SwapTargets, 3, dir.path());
    ADD_FAILURE() << "no error";
  } catch (const std::runtime_error& e) {
    const std::string what = e.what();
    EXPECT_TRUE(what.starts_with("random network ") && what.ends_with(" in 3 tries")) << what;
  }
  const ShuffleResult effects = run("A B +\nC D _\n", ShuffleKind::ShuffleEffects, 1, dir.path());
  EXPECT_TRUE(effects.page.empty() && effects.random.empty());
  EXPECT_EQ(FolderContents(effects.folder).size(), 8u);

  // A ring of 12: swaps cut it into smaller rings and random links leave pieces apart, unless
  // the option keeps every file one island.
  std::string ring;
  for (int k = 0; k < 12; ++k)
    ring += "R" + std::to_string(k) + " R" + std::to_string((k + 1) % 12) + " +\n";
  const auto islands = [](const fs::path& file) {
    return FindIslands(ReadSigText(test::ReadFile(file), file.string())).count;
  };
  for (const ShuffleKind kind : {ShuffleKind::SwapTargets, ShuffleKind::ErdosRenyi}) {
    SCOPED_TRACE(ShuffledFileName(kind, 0));
    test::ScratchDir free, kept;
    std::size_t split = 0;
    for (const fs::path& f : run(ring, kind, 0, free.path()).files) split += islands(f) > 1;
    EXPECT_GT(split, 0u);
    for (const fs::path& f : run(ring, kind, 1000, kept.path()).files)
      EXPECT_EQ(islands(f), 1u) << f;
  }
}

TEST(Shuffle, ComparisonByHandLeavesNetworksOfSeveralIslandsOutOfThePathLength) {
  // FBL3 2, 4, 6, 4: mean 4, SD sqrt(8/3) = 1.63299, z (5 - 4) / 1.63299 = 0.61.
  // CPL of the first two only (one island each): 2 and 3, mean 2.5, SD 0.707107, z 0.
  // islands 1, 1, 2, 3: mean 1.75, SD sqrt(2.75/3) = 0.957427, z -0.78.
  const std::vector<std::string> titles{"FBL3", "CPL", "islands"};
  const std::vector<std::vector<double>> random{{2, 2, 1}, {4, 3, 1}, {6, 0, 2}, {4, 0, 3}};
  const std::vector<ColumnComparison> c = ShuffleComparison(titles, {5, 2.5, 1}, random);
  ASSERT_EQ(c.size(), 3u);
  const auto check = [](const ColumnComparison& col, double mean, double sd, std::string z,
                        std::size_t used, std::size_t leftOut) {
    SCOPED_TRACE(col.title);
    EXPECT_DOUBLE_EQ(col.figures.mean, mean);
    EXPECT_NEAR(col.figures.sd, sd, 1e-6);
    EXPECT_EQ(col.figures.hasZ ? FormatZ(col.figures.z) : "-", z);
    EXPECT_EQ(col.used, used);
    EXPECT_EQ(col.leftOut, leftOut);
  };
  check(c[0], 4, 1.632993, "0.61", 4, 0);
  check(c[1], 2.5, 0.707107, "0.00", 2, 2);
  check(c[2], 1.75, 0.957427, "-0.78", 4, 0);
  // A user network of several islands has no path length to compare; one random network
  // of one island gives a mean but no SD.
  const std::vector<ColumnComparison> split = ShuffleComparison(titles, {5, 0, 2}, random);
  EXPECT_FALSE(split[1].figures.hasZ);
  EXPECT_TRUE(split[2].figures.hasZ);
  const ColumnComparison one = ShuffleComparison(titles, {5, 2.5, 1}, {{1, 2, 1}, {1, 0, 2}})[1];
  check(one, 2, 0, "-", 1, 1);
}

TEST(Shuffle, PageShowsTheSettingsTheUserRowAndTheSummaryRows) {
  // Swaps cut a ring of 12 into smaller rings now and then: those networks have no path length.
  std::string ring;
  for (int k = 0; k < 12; ++k)
    ring += "R" + std::to_string(k) + " R" + std::to_string((k + 1) % 12) + " +\n";
  ShuffleSettings s{.count = 8, .passes = 3, .columns = {true, false, false}, .seed = 4};
  s.context.network = "ring.sig";
  test::ScratchDir dir;
  const ShuffleResult r = RunQuietly(NetworkFromEdges(ring), s, dir.path());
  const std::string page = test::ReadFile(r.page);
  EXPECT_NE(page.find("<p>8 random networks: target swaps keeping every molecule's in and out "
                      "links, 3 passes over the interactions; seed 4.</p>\n<table>"),
            std::string::npos)
      << page;
  EXPECT_NE(page.find("ring.sig"), std::string::npos);
  const std::size_t cpl = 7, islands = 8;
  ASSERT_EQ(r.titles.at(cpl), "CPL");
  std::size_t split = 0;
  for (const auto& row : r.random) split += row.at(islands) != 1;
  ASSERT_GT(split, 0u);
  ASSERT_LT(split, 8u);
  EXPECT_EQ(r.comparison.at(cpl).leftOut, split);
  EXPECT_EQ(r.comparison.at(cpl).used, 8 - split);
  // The ring: every molecule's distances 1, 1, 2, 2, ... 6 sum to 36, over 11.
  EXPECT_DOUBLE_EQ(r.networkValues.at(cpl), 36.0 / 11 * 12 / 11);
  std::string z = "<tr><td>z-score";
  for (const ColumnComparison& c : r.comparison)
    z += "</td><td>" + (c.figures.hasZ ? FormatZ(c.figures.z) : std::string("-"));
  EXPECT_NE(page.find(FigureValueRow("user network", r.titles, r.networkValues) +
                      "<tr><td>mean</td><td>12</td><td>12</td><td>12</td>"),
            std::string::npos)
      << page;
  EXPECT_NE(page.find("<tr><td>SD</td><td>0</td>"), std::string::npos);
  EXPECT_NE(page.find(z + "</td></tr>\n</table>\n<p>" + std::to_string(split) +
                      " of 8 random networks have several islands and no path length; the "
                      "path-length figures use the other " +
                      std::to_string(8 - split) + ".</p>"),
            std::string::npos)
      << page;
}

}  // namespace
}  // namespace tessel
