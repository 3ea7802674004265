// The gene-list sub-network: list reading, case-insensitive matching, and the molecules on
// short paths, checked against a plain enumeration of simple paths.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "derived/genelist.h"
#include "local_http_server.h"
#include "test_support.h"
#include "util/error.h"

namespace tessel {
namespace {

std::set<std::pair<std::string, std::string>> Pairs(const std::vector<SigRow>& rows) {
  std::set<std::pair<std::string, std::string>> out;
  for (const SigRow& r : rows) out.emplace(r.source.name, r.target.name);
  return out;
}

TEST(GeneList, ReadsUpperCasedDistinctNamesAndRefusesAnEmptyList) {
  EXPECT_EQ(ReadGeneList("egfr Tp53\n\nEGFR  akt1\n", "genes.txt"),
            (std::vector<std::string>{"EGFR", "TP53", "AKT1"}));
  try {
    ReadGeneList(" \n\t\n", "empty.txt");
    FAIL() << "an empty list was accepted";
  } catch (const InputError& e) {
    EXPECT_NE(std::string(e.what()).find("empty.txt"), std::string::npos);
  }
}

TEST(GeneList, KeepsOnlyTheLinksOnShortPathsMatchingNamesInAnyCase) {
  // P and R meet only through Q; S hangs off Q and T off P.
  const Network net = test::NetworkFromEdges("p Q +\nR Q _\nQ S +\nT p 0\n");
  NullProgress progress;
  GeneListResult r = GeneListSubnetwork(net, {"P", "r"}, 1, progress);
  EXPECT_EQ(Pairs(r.rows), (std::set<std::pair<std::string, std::string>>{{"p", "Q"}, {"R", "Q"}}));
  EXPECT_EQ(r.found, (std::vector<std::string>{"P", "r"}));
  // One listed name, or names the network does not hold: no pair, no rows.
  r = GeneListSubnetwork(net, {"P", "NOPE"}, 3, progress);
  EXPECT_TRUE(r.rows.empty());
  EXPECT_EQ(r.absent, std::vector<std::string>{"NOPE"});
  EXPECT_THROW(GeneListSubnetwork(net, {"P"}, 4, progress), std::invalid_argument);
}

TEST(GeneList, ReadsTheReferenceFromAFileOrAnAddress) {
  test::LocalHttpServer server;
  const Network fromUrl = LoadReferenceNetwork(server.url("/networks/signor_lbc.sig"));
  const Network fromFile =
      LoadReferenceNetwork((test::DataDir() / "networks" / "signor_lbc.sig").string());
  EXPECT_EQ(SigText(fromUrl), SigText(fromFile));
  EXPECT_EQ(fromUrl.moleculeCount(), 30u);
  EXPECT_THROW(LoadReferenceNetwork(server.url("/missing")), HttpError);
}

TEST(GeneList, CommandWritesTheSubnetworkAndSaysWhatItFound) {
  test::ScratchDir dir;
  test::WriteFile(dir / "reference.sig", SigText(test::NetworkFromEdges("P Q +\nR Q _\nQ S +\n")));
  test::WriteFile(dir / "genes.txt", "p r\nnope\n");
  GeneListSettings settings;
  settings.listFile = dir / "genes.txt";
  settings.reference = (dir / "reference.sig").string();
  settings.output = dir / "out" / "sub.sig";
  NullProgress progress;
  GeneListOutcome outcome = RunGeneListCommand(settings, progress);
  EXPECT_EQ(outcome.genes, (std::vector<std::string>{"P", "R", "NOPE"}));
  EXPECT_EQ(outcome.found, (std::vector<std::string>{"P", "R"}));
  EXPECT_EQ(outcome.absent, std::vector<std::string>{"NOPE"});
  EXPECT_EQ(outcome.interactions, 2u);
  EXPECT_EQ(outcome.molecules, 3u);
  EXPECT_EQ(outcome.file, settings.output);
  EXPECT_STREQ(outcome.message(), kGeneListSuccessMessage);
  const Network sub = ReadSigText(test::ReadFile(settings.output), "sub.sig");
  EXPECT_EQ(sub.interactionCount(), 2u);
  EXPECT_EQ(sub.findId("S"), 0u);

  // One name connects nothing: no file is written.
  test::WriteFile(dir / "one.txt", "P\n");
  settings.listFile = dir / "one.txt";
  settings.output = dir / "none.sig";
  outcome = RunGeneListCommand(settings, progress);
  EXPECT_FALSE(outcome.connected());
  EXPECT_STREQ(outcome.message(), kNoConnectionsMessage);
  EXPECT_TRUE(outcome.file.empty());
  EXPECT_FALSE(std::filesystem::exists(settings.output));

  // A reference that cannot be read is told apart, with its cause's category.
  settings.reference = (dir / "missing.sig").string();
  try {
    RunGeneListCommand(settings, progress);
    FAIL() << "a missing reference was accepted";
  } catch (const ReferenceError& e) {
    EXPECT_EQ(e.category(), ErrorCategory::Input);
    EXPECT_NE(std::string(e.what()).find("missing.sig"), std::string::npos);
  }
  settings.intermediates = 4;
  EXPECT_THROW(RunGeneListCommand(settings, progress), std::invalid_argument);
}

// Every molecule on a simple path of at most `maxLinks` links between a and b (undirected),
// by plain enumeration.
void Enumerate(const Network& net, MoleculeId b, int maxLinks, std::vector<MoleculeId>& path,
               std::set<MoleculeId>& on) {
  const MoleculeId x = path.back();
  if (x == b) {
    on.insert(path.begin(), path.end());
    return;
  }
  if (static_cast<int>(path.size()) - 1 == maxLinks) return;
  for (const MoleculeId y : net.neighbours(x)) {
    if (std::find(path.begin(), path.end(), y) != path.end()) continue;
    path.push_back(y);
    Enumerate(net, b, maxLinks, path, on);
    path.pop_back();
  }
}

TEST(GeneList, MatchesAPlainEnumerationOfSimplePathsOnRandomNetworks) {
  std::mt19937 random(11);
  for (int round = 0; round < 60; ++round) {
    const int n = 6 + static_cast<int>(random() % 10);
    std::string edges;
    const int m = n + static_cast<int>(random() % (2 * n));
    for (int k = 0; k < m; ++k) {
      edges += "M" + std::to_string(random() % n) + " M" + std::to_string(random() % n) + " " +
               "+_0"[random() % 3] + "\n";
    }
    const Network net = test::NetworkFromEdges(edges);
    std::vector<std::string> genes;
    for (const Molecule& mol : net.molecules()) {
      if (random() % 3 == 0) genes.push_back(mol.name);
    }
    for (int intermediates = 1; intermediates <= 3; ++intermediates) {
      std::set<std::pair<std::string, std::string>> expected;
      for (std::size_t i = 0; i < genes.size(); ++i) {
        for (std::size_t j = i + 1; j < genes.size(); ++j) {
          std::set<MoleculeId> on;
          std::vector<MoleculeId> path{net.findId(genes[i])};
          Enumerate(net, net.findId(genes[j]), intermediates + 1, path, on);
          for (const Interaction& e : net.interactions()) {
            if (on.contains(e.source) && on.contains(e.target)) {
              expected.emplace(net.sourceName(e), net.targetName(e));
            }
          }
        }
      }
      NullProgress progress;
      const GeneListResult r = GeneListSubnetwork(net, genes, intermediates, progress);
      ASSERT_EQ(Pairs(r.rows), expected)
          << "round " << round << ", " << intermediates << " intermediates\n"
          << edges;
    }
  }
}

}  // namespace
}  // namespace tessel
