// Shuffled and random networks: the three generators keep what they promise on random
// small networks (reciprocal pairs, a self-interaction, every effect and a "-" one, end-point
// fields that differ from the molecules' own); the command writes the same files and page
// for a seed whatever the number of threads, and the one-island option keeps or gives up.
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "analysis/metrics.h"
#include "derived/shuffle.h"
#include "test_support.h"

namespace tessel {
namespace {

namespace fs = std::filesystem;
using Fields = std::array<std::string, 5>;

Fields FieldsOf(const EndPoint& e) {
  return {std::string(e.name), std::string(e.accession), std::string(e.extraId),
          std::string(e.moleculeType), std::string(e.location)};
}
Fields FieldsOf(const Molecule& m) {
  return {m.name, m.accession, m.extraId, m.moleculeType, m.location};
}

// Molecules M0 ... M(n-1) with their own accession, extra id, type and location; a fifth of
// the rows give an end point a different accession (kept by the interaction only). Rows:
// M0 -> M0, the reciprocal pair M1 <-> M2, then random pairs; the first four rows carry
// "+", "_", "0" and "-".
Network RandomNetwork(std::uint64_t seed, int molecules, int rows) {
  std::mt19937_64 random(seed);
  const char* effects[] = {"+", "_", "0", "-"};
  const char* types[] = {"Protein", "Ligand", "Receptor"};
  const char* interactionTypes[] = {"binding", "phosphorylation", "NA"};
  std::uniform_int_distribution<int> molecule(0, molecules - 1), effect(0, 3), type(0, 2),
      pubmed(1, 1000), variant(0, 4);
  NetworkBuilder builder;
  const auto add = [&](int s, int t, int e) {
    std::array<std::array<std::string, 5>, 2> f;
    for (int k = 0; k < 2; ++k) {
      const int m = k == 0 ? s : t;
      f[k] = {"M" + std::to_string(m), "A" + std::to_string(m) + (variant(random) ? "" : "x"),
              "E" + std::to_string(m), types[m % 3], "L" + std::to_string(m % 4)};
    }
    const auto end = [](const auto& x) { return EndPoint{x[0], x[1], x[2], x[3], x[4]}; };
    builder.addRow(end(f[0]), end(f[1]), effects[e], interactionTypes[type(random)],
                   pubmed(random));
  };
  add(0, 0, 0);
  add(1, 2, 1);
  add(2, 1, 2);
  for (int r = 3; r < rows; ++r) {
    const int s = molecule(random);
    int t = molecule(random);
    while (t == s) t = molecule(random);
    add(s, t, r == 3 ? 3 : effect(random));
  }
  return builder.build();
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

class RecordingProgress final : public Progress {
 public:
  void report(std::size_t, std::size_t, std::string_view text) override { texts.emplace(text); }
  bool cancelled() const override { return cancel; }
  std::multiset<std::string> texts;
  bool cancel = false;
};

TEST(Shuffle, NamesAndKinds) {
  EXPECT_EQ(ParseShuffleKind("swap"), ShuffleKind::SwapTargets);
  EXPECT_EQ(ParseShuffleKind("effects"), ShuffleKind::ShuffleEffects);
  EXPECT_EQ(ParseShuffleKind("er"), ShuffleKind::ErdosRenyi);
  EXPECT_THROW(ParseShuffleKind("milo"), std::invalid_argument);
  EXPECT_EQ(ShuffledFileName(ShuffleKind::SwapTargets, 7), "random_milo_7.sig");
  EXPECT_EQ(ShuffledFileName(ShuffleKind::ShuffleEffects, 1), "random_effect_1.sig");
  EXPECT_EQ(ShuffledFileName(ShuffleKind::ErdosRenyi, 12), "random_er_12.sig");
  EXPECT_EQ(NetworkRandom(5, 3)(), NetworkRandom(5, 3)());
  EXPECT_NE(NetworkRandom(5, 3)(), NetworkRandom(5, 4)());
  EXPECT_NE(NetworkRandom(5, 3)(), NetworkRandom(5 + (1ull << 32), 3)());
}

TEST(Shuffle, SwapTargetsKeepDegreesAndAddNoDuplicateReverseOrSelfInteraction) {
  int changed = 0;
  for (std::uint64_t seed = 1; seed <= 30; ++seed) {
    SCOPED_TRACE(seed);
    const Network net = RandomNetwork(seed, 10 + static_cast<int>(seed % 10), 12 + seed);
    const std::vector<SigRow> before = RowsOf(net);
    std::mt19937_64 random(seed);
    const std::vector<SigRow> rows = SwapTargets(net, 1 + static_cast<int>(seed % 3), random);
    ASSERT_EQ(rows.size(), before.size());
    std::multiset<Fields> targetsBefore, targetsAfter;
    std::map<std::string, int> outBefore, outAfter, inBefore, inAfter;
    std::set<std::pair<std::string, std::string>> pairsBefore, pairsAfter;
    bool differs = false;
    for (std::size_t k = 0; k < rows.size(); ++k) {
      const SigRow &b = before[k], &a = rows[k];
      EXPECT_EQ(FieldsOf(a.source), FieldsOf(b.source));
      EXPECT_EQ(std::tie(a.effect, a.interactionType, a.pubmedId),
                std::tie(b.effect, b.interactionType, b.pubmedId));
      targetsBefore.insert(FieldsOf(b.target));
      targetsAfter.insert(FieldsOf(a.target));
      ++outBefore[std::string(b.source.name)], ++inBefore[std::string(b.target.name)];
      ++outAfter[std::string(a.source.name)], ++inAfter[std::string(a.target.name)];
      pairsBefore.emplace(b.source.name, b.target.name);
      EXPECT_TRUE(pairsAfter.emplace(a.source.name, a.target.name).second)
          << "repeated " << a.source.name << " -> " << a.target.name;
      differs |= FieldsOf(a.target) != FieldsOf(b.target);
    }
    EXPECT_EQ(targetsAfter, targetsBefore);  // target fields move whole
    EXPECT_EQ(outAfter, outBefore);
    EXPECT_EQ(inAfter, inBefore);
    for (const auto& [s, t] : pairsAfter) {
      if (s == t) {
        EXPECT_TRUE(pairsBefore.count({s, t})) << "new self-interaction " << s;
      }
      if (pairsAfter.count({t, s})) {
        EXPECT_TRUE(pairsBefore.count({s, t}) && pairsBefore.count({t, s}))
            << "new reverse pair " << s << " <-> " << t;
      }
    }
    changed += differs;
  }
  EXPECT_EQ(changed, 30);

  // Two self-interactions are never exchanged into a reciprocal pair; two links whose swap
  // would add a reverse pair, a single link and no links stay as they are.
  for (const char* edges : {"A A +\nB B _\n", "A B +\nC D +\nD A 0\nB C 0\n", "A B +\n"}) {
    const Network net = test::NetworkFromEdges(edges);
    std::mt19937_64 random(1);
    EXPECT_EQ(SigRowsText(SwapTargets(net, 20, random)), SigRowsText(RowsOf(net))) << edges;
  }
  std::mt19937_64 random(1);
  EXPECT_TRUE(SwapTargets(NetworkBuilder().build(), 3, random).empty());
}

TEST(Shuffle, ShuffleEffectsKeepsWiringAndEffects) {
  int changed = 0;
  for (std::uint64_t seed = 1; seed <= 10; ++seed) {
    const Network net = RandomNetwork(seed, 10, 30);
    const std::vector<SigRow> before = RowsOf(net);
    std::mt19937_64 random(seed);
    const std::vector<SigRow> rows = ShuffleEffects(net, random);
    ASSERT_EQ(rows.size(), before.size());
    std::multiset<std::string_view> effectsBefore, effectsAfter;
    bool differs = false;
    for (std::size_t k = 0; k < rows.size(); ++k) {
      EXPECT_EQ(FieldsOf(rows[k].source), FieldsOf(before[k].source));
      EXPECT_EQ(FieldsOf(rows[k].target), FieldsOf(before[k].target));
      EXPECT_EQ(std::tie(rows[k].interactionType, rows[k].pubmedId),
                std::tie(before[k].interactionType, before[k].pubmedId));
      effectsBefore.insert(before[k].effect);
      effectsAfter.insert(rows[k].effect);
      differs |= rows[k].effect != before[k].effect;
    }
    EXPECT_EQ(effectsAfter, effectsBefore);
    changed += differs;
  }
  EXPECT_EQ(changed, 10);
}

TEST(Shuffle, ErdosRenyiKeepsEffectCountsWithoutSelfOrRepeatedPairs) {
  for (std::uint64_t seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(seed);
    const Network net = RandomNetwork(seed, 5 + static_cast<int>(seed % 4), 12 + seed);
    std::mt19937_64 random(seed);
    const std::vector<SigRow> rows = ErdosRenyi(net, random);
    ASSERT_EQ(rows.size(), net.interactionCount());
    std::map<std::string, std::size_t> want;
    for (const Interaction& i : net.interactions()) ++want[i.effect];
    // "+", then "_", then "0", then "-" (the only other effect).
    std::vector<std::string_view> order;
    for (const char* e : {"+", "_", "0", "-"}) order.insert(order.end(), want[e], e);
    std::set<std::pair<std::string_view, std::string_view>> pairs;
    for (std::size_t k = 0; k < rows.size(); ++k) {
      const SigRow& r = rows[k];
      EXPECT_EQ(r.effect, order[k]);
      EXPECT_NE(r.source.name, r.target.name);
      EXPECT_TRUE(pairs.emplace(r.source.name, r.target.name).second);
      EXPECT_EQ(FieldsOf(r.source), FieldsOf(net.molecule(net.findId(r.source.name))));
      EXPECT_EQ(FieldsOf(r.target), FieldsOf(net.molecule(net.findId(r.target.name))));
      EXPECT_EQ(r.interactionType, "Unknown");
      EXPECT_EQ(r.pubmedId, 0);
    }
  }
  // Two molecules have two ordered pairs: both are drawn; a third link is impossible.
  std::mt19937_64 random(3);
  EXPECT_EQ(ErdosRenyi(test::NetworkFromEdges("A B +\nB A _\n"), random).size(), 2u);
  EXPECT_THROW(ErdosRenyi(test::NetworkFromEdges("A B +\nB A _\nA A 0\n"), random),
               std::invalid_argument);
  EXPECT_TRUE(ErdosRenyi(NetworkBuilder().build(), random).empty());
}

TEST(Shuffle, CommandWritesTheSameFilesAndPageForASeedWhateverTheThreads) {
  const Network net = RandomNetwork(3, 20, 60);
  const FigureColumns columns{true, true, true};
  for (const ShuffleKind kind :
       {ShuffleKind::SwapTargets, ShuffleKind::ShuffleEffects, ShuffleKind::ErdosRenyi}) {
    SCOPED_TRACE(ShuffledFileName(kind, 0));
    const auto run = [&](std::uint64_t seed, unsigned threads, const fs::path& dir) {
      ShuffleSettings s;
      s.kind = kind;
      s.count = 5;
      s.columns = columns;
      s.seed = seed;
      s.threads = threads;
      NullProgress progress;
      return RunShuffleCommand(net, s, dir, progress);
    };
    test::ScratchDir one, three, other;
    const ShuffleResult result = run(11, 1, one.path());
    run(11, 3, three.path());
    run(12, 2, other.path());
    const auto files = FolderContents(one / kShuffledFolder);
    EXPECT_EQ(files, FolderContents(three / kShuffledFolder));
    const auto otherFiles = FolderContents(other / kShuffledFolder);
    ASSERT_EQ(files.size(), 6u);
    ASSERT_EQ(otherFiles.size(), 6u);
    for (const auto& [name, text] : files) {
      if (name != kShuffledPage) {
        EXPECT_NE(text, otherFiles.at(name)) << name;
      }
    }

    // One file per network; the page: header, one closed row per network with the figures
    // of that file as read back, then the end.
    EXPECT_EQ(result.folder, one / kShuffledFolder);
    EXPECT_EQ(result.page, result.folder / kShuffledPage);
    const std::vector<std::string> titles = FigureTitles(columns);
    EXPECT_EQ(result.titles, titles);
    NullProgress progress;
    EXPECT_EQ(result.networkValues, ComputeFigures(net, columns, progress).values);
    std::string page = "<html><body><table><tr><td>random network #";
    for (const std::string& t : titles) page += "</td><td>" + t;
    page += "</td></tr>\n";
    ASSERT_EQ(result.files.size(), 5u);
    ASSERT_EQ(result.random.size(), 5u);
    for (int i = 1; i <= 5; ++i) {
      const fs::path& file = result.files[i - 1];
      EXPECT_EQ(file, result.folder / ShuffledFileName(kind, i));
      const Network back = ReadSigText(files.at(file.filename().string()), "back");
      EXPECT_EQ(back.interactionCount(), net.interactionCount());
      const std::vector<double> values = ComputeFigures(back, columns, progress).values;
      EXPECT_EQ(result.random[i - 1], values);
      page += FigureValueRow(std::to_string(i), titles, values);
    }
    page += "</table></body></html>";
    EXPECT_EQ(files.at(kShuffledPage), page);
  }
}

TEST(Shuffle, CommandProgressCancellationAndNoAnalysis) {
  const Network net = RandomNetwork(4, 12, 30);
  ShuffleSettings s;
  s.count = 4;
  s.threads = 2;
  test::ScratchDir dir;
  RecordingProgress progress;
  RunShuffleCommand(net, s, dir.path(), progress);
  for (int k = 1; k <= 4; ++k) {
    EXPECT_EQ(progress.texts.count("Created " + std::to_string(k) + " random networks out of 4"),
              1u);
    EXPECT_EQ(progress.texts.count("Analyzed " + std::to_string(k) + " random networks out of 4"),
              1u);
  }
  EXPECT_EQ(progress.texts.size(), 8u);

  s.analyze = false;
  test::ScratchDir quiet;
  const ShuffleResult r = RunShuffleCommand(net, s, quiet.path(), progress);
  EXPECT_TRUE(r.page.empty());
  EXPECT_TRUE(r.random.empty());
  EXPECT_EQ(FolderContents(quiet / kShuffledFolder).size(), 4u);
  EXPECT_FALSE(fs::exists(quiet / kShuffledFolder / kShuffledPage));

  progress.cancel = true;
  EXPECT_THROW(RunShuffleCommand(net, s, quiet.path(), progress), Cancelled);
  s.kind = ShuffleKind::ErdosRenyi;
  EXPECT_THROW(
      RunShuffleCommand(test::NetworkFromEdges("A B +\nB A _\nA A 0\n"), s, quiet.path(), progress),
      std::invalid_argument);
}

TEST(Shuffle, OneIslandIsKeptOrGivenUpAfterItsTries) {
  const auto run = [](const Network& net, ShuffleKind kind, bool oneIsland, int tries,
                      const fs::path& dir) {
    ShuffleSettings s;
    s.kind = kind;
    s.count = 8;
    s.maintainOneIsland = oneIsland;
    s.islandTries = tries;
    s.analyze = false;
    s.threads = 2;
    NullProgress progress;
    return RunShuffleCommand(net, s, dir, progress);
  };
  const auto islands = [](const fs::path& file) {
    return FindIslands(ReadSigText(test::ReadFile(file), file.string())).count;
  };

  // Out-degree 1 at A and C, in-degree 1 at B and D: every swap leaves two islands. Twenty
  // disjoint links among forty molecules: twenty random links make one island only by a
  // very rare chance.
  std::string pairs;
  for (int k = 0; k < 20; ++k) pairs += "S" + std::to_string(k) + " T" + std::to_string(k) + " +\n";
  const struct {
    std::string edges;
    ShuffleKind kind;
  } never[] = {{"A B +\nC D _\n", ShuffleKind::SwapTargets}, {pairs, ShuffleKind::ErdosRenyi}};
  for (const auto& c : never) {
    test::ScratchDir dir;
    try {
      run(test::NetworkFromEdges(c.edges), c.kind, true, 3, dir.path());
      ADD_FAILURE() << "no error for " << ShuffledFileName(c.kind, 1);
    } catch (const std::runtime_error& e) {
      EXPECT_NE(std::string(e.what()).find("in 3 tries"), std::string::npos) << e.what();
      EXPECT_NE(std::string(e.what()).find("random network "), std::string::npos) << e.what();
    }
  }
  // Effects keep the wiring: the option does not apply.
  test::ScratchDir effects;
  EXPECT_EQ(run(test::NetworkFromEdges("A B +\nC D _\n"), ShuffleKind::ShuffleEffects, true, 1,
                effects.path())
                .files.size(),
            8u);

  // A ring of 12 molecules: without the option, swaps cut it into smaller rings and random
  // links leave pieces apart; with it every file is one island.
  std::string ring;
  for (int k = 0; k < 12; ++k)
    ring += "R" + std::to_string(k) + " R" + std::to_string((k + 1) % 12) + " +\n";
  const Network net = test::NetworkFromEdges(ring);
  for (const ShuffleKind kind : {ShuffleKind::SwapTargets, ShuffleKind::ErdosRenyi}) {
    SCOPED_TRACE(ShuffledFileName(kind, 0));
    test::ScratchDir free, kept;
    std::size_t split = 0;
    for (const fs::path& f : run(net, kind, false, 1, free.path()).files) split += islands(f) > 1;
    EXPECT_GT(split, 0u);
    for (const fs::path& f : run(net, kind, true, 1000, kept.path()).files) {
      EXPECT_EQ(islands(f), 1u) << f;
    }
  }
}

}  // namespace
}  // namespace tessel
