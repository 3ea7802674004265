// The statistics page: its texts, the connectivity table, escaping, well-formed markup,
// the page of a real network against a checked copy, and writing it into a folder.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "analysis/statistics.h"
#include "model/readers.h"
#include "test_support.h"

namespace tessel {
namespace {

namespace fs = std::filesystem;
using test::NetworkFromEdges;

std::string PageOf(const Network& net) {
  NullProgress progress;
  return StatisticsPage(ComputeStatistics(net, progress));
}

bool Contains(const std::string& text, std::string_view part) {
  return text.find(part) != std::string::npos;
}

// The rows of the connectivity table, each as its list of cell texts.
std::vector<std::vector<std::string>> ConnectivityRows(const std::string& page) {
  std::vector<std::vector<std::string>> rows;
  std::size_t at = page.find("<B>Connectivity distribution: </B>");
  if (at == std::string::npos) return rows;
  const std::size_t end = page.find("</TABLE>", at);
  while ((at = page.find("<TR>", at)) < end) {
    const std::size_t rowEnd = page.find("</TR>", at);
    std::vector<std::string> cells;
    std::size_t cell = at;
    while ((cell = page.find("<TD>", cell)) < rowEnd) {
      const std::size_t close = page.find("</TD>", cell);
      cells.push_back(page.substr(cell + 4, close - cell - 4));
      cell = close;
    }
    rows.push_back(cells);
    at = rowEnd;
  }
  return rows;
}

// Checks that every opened element is closed in order; <BR> is the only empty element.
// Returns the first problem found, or an empty string.
std::string MarkupProblem(const std::string& page) {
  std::vector<std::string> open;
  std::size_t at = 0;
  std::size_t htmlCloses = 0;
  while ((at = page.find('<', at)) != std::string::npos) {
    const std::size_t close = page.find('>', at);
    if (close == std::string::npos) return "unterminated tag";
    std::string tag = page.substr(at + 1, close - at - 1);
    at = close + 1;
    if (tag == "BR") continue;
    if (tag.empty() || tag.find_first_of(" <&") != std::string::npos) return "bad tag <" + tag;
    if (tag[0] != '/') {
      open.push_back(tag);
      continue;
    }
    tag.erase(0, 1);
    if (tag == "HTML") ++htmlCloses;
    if (open.empty() || open.back() != tag) return "</" + tag + "> does not close the last tag";
    open.pop_back();
  }
  if (!open.empty()) return "<" + open.back() + "> is never closed";
  if (htmlCloses != 1) return "not one </HTML>";
  return "";
}

TEST(StatisticsPage, MatchesCheckedCopyForSignorNetwork) {
  const Network net = LoadNetwork(test::SharedDataDir() / "networks" / "signor_lbc.sig");
  const std::string page = PageOf(net);
  EXPECT_EQ(page, test::ReadFile(test::GoldenDir() / "stats_signor_lbc.htm"));
  EXPECT_EQ(MarkupProblem(page), "");
}

TEST(StatisticsPage, ChainGivesEveryLineInOrder) {
  // The chain P-Q-R-P2, with one neutral and one unexpected effect. Distance sums 6, 4, 4,
  // 6: averages 2, 4/3, 4/3, 2, network value (20/3) / 3.
  const std::string page = PageOf(NetworkFromEdges("P Q + 5\nQ R 0 6\nR P2 - 5\n"));
  const std::vector<std::string> expectedInOrder = {
      "<HTML><BODY><B>Number of components: </B>4<BR>",
      "<B>Number of interactions: </B>3<BR>",
      "<B>Number of references: </B>2<BR>",
      "<TABLE><TR><TD><BR><BR><BR><BR><BR><B>Types of molecules:</B><BR>"
      "Total types of molecules: 1<BR>Protein: 4<BR></TD><TD></TD><TD>"
      "<B>Types of locations:</B><BR>Total types of locations: 1<BR>Cytosol: 4<BR>"
      "<BR><B>Effects:</B><BR>Total types of effects: 3<BR>+: 1<BR>0: 1<BR>-: 1<BR>"
      "<BR><B>Types of interactions:</B><BR>Total types of interactions: 1<BR>NA: 3<BR>"
      "</TD></TR></TABLE><BR><B>Connectivity distribution: </B><BR><TABLE><TR><TD>1</TD>",
      "<TD>50</TD><TD>>50</TD></TR><TR>",
      "</TR></TABLE>\n<BR><B>Average links per node: </B>1.5<BR>"
      "<B>Characteristic Path Length: </B>2.22222<BR>"
      "<B>Clustering Coefficient: </B>0<BR><B>Grid Coefficient: </B>0<BR><BR></BODY></HTML>"};
  std::size_t at = 0;
  for (const std::string& part : expectedInOrder) {
    const std::size_t found = page.find(part, at);
    ASSERT_NE(found, std::string::npos) << "missing or out of order: " << part << "\n" << page;
    at = found + part.size();
  }
  EXPECT_EQ(at, page.size());
  EXPECT_FALSE(Contains(page, "downstream"));
  EXPECT_EQ(MarkupProblem(page), "");

  // Links: P 1, Q 2, R 2, P2 1. In: Q (from P), P2 (from R); the neutral Q-R counts in
  // neither direction. Out: P, R.
  const auto rows = ConnectivityRows(page);
  ASSERT_EQ(rows.size(), 4u);
  for (const auto& row : rows) ASSERT_EQ(row.size(), 51u);
  EXPECT_EQ(rows[1][0], "2");
  EXPECT_EQ(rows[1][1], "2");
  EXPECT_EQ(rows[2][0], "2");
  EXPECT_EQ(rows[2][1], "0");
  EXPECT_EQ(rows[3][0], "2");
}

TEST(StatisticsPage, TwoIslandsHaveNoPathLengthLineButCoefficients) {
  const std::string page = PageOf(NetworkFromEdges("A B +\nB C +\nC A +\nX Y _\n"));
  EXPECT_FALSE(Contains(page, "Characteristic Path Length"));
  EXPECT_TRUE(Contains(page, "<B>Clustering Coefficient: </B>0.6<BR>"));
  EXPECT_TRUE(Contains(page, "<B>Grid Coefficient: </B>0<BR>"));
}

TEST(StatisticsPage, AllPositiveEffectsGiveOneDistinctEffect) {
  const std::string page = PageOf(NetworkFromEdges("A B +\nB C +\nC D +\nD A +\nA C +\n"));
  EXPECT_TRUE(Contains(page, "Total types of effects: 1<BR>+: 5<BR><BR><B>Types of"));
  // The square with a diagonal: grid (1/15 + 1/15 + 1/4 + 1/4) / 4.
  EXPECT_TRUE(Contains(page, "<B>Grid Coefficient: </B>0.158333<BR>"));
  // Clustering: A and C 2/3, B and D 1.
  EXPECT_TRUE(Contains(page, "<B>Clustering Coefficient: </B>0.833333<BR>"));
}

TEST(StatisticsPage, HubsAboveFiftyLinksFillTheLastColumn) {
  // H activates 60 leaves; 50 other leaves inhibit G. H: 60 links, 60 out. G: 50 links,
  // 50 in, exactly on the last numbered column.
  std::string edges;
  for (int i = 0; i < 60; ++i) edges += "H L" + std::to_string(i) + " +\n";
  for (int i = 0; i < 50; ++i) edges += "K" + std::to_string(i) + " G _\n";
  const std::string page = PageOf(NetworkFromEdges(edges));
  const auto rows = ConnectivityRows(page);
  ASSERT_EQ(rows.size(), 4u);
  EXPECT_EQ(rows[0][49], "50");
  EXPECT_EQ(rows[0][50], ">50");
  const std::vector<std::string> links = rows[1], in = rows[2], out = rows[3];
  ASSERT_EQ(links.size(), 51u);
  EXPECT_EQ(links[0], "110");
  EXPECT_EQ(links[49], "1");
  EXPECT_EQ(links[50], "1");
  EXPECT_EQ(in[0], "60");
  EXPECT_EQ(in[49], "1");
  EXPECT_EQ(in[50], "0");
  EXPECT_EQ(out[0], "50");
  EXPECT_EQ(out[49], "0");
  EXPECT_EQ(out[50], "1");
  for (std::size_t k = 1; k < 49; ++k) {
    EXPECT_EQ(links[k] + in[k] + out[k], "000") << "column " << k + 1;
  }
}

TEST(StatisticsPage, TalliedStringsAreEscapedAndMarkupStaysWellFormed) {
  NetworkBuilder b;
  b.addRow({"A&B", "NA", "NA", "<Kinase>", "Cell \"wall\""}, {"C", "NA", "NA", "TF", "O'Nucleus"},
           "+<", "a&b", 1);
  const std::string page = PageOf(b.build());
  EXPECT_TRUE(Contains(page, "&lt;Kinase&gt;: 1<BR>"));
  EXPECT_TRUE(Contains(page, "Cell &quot;wall&quot;: 1<BR>"));
  EXPECT_TRUE(Contains(page, "O&#39;Nucleus: 1<BR>"));
  EXPECT_TRUE(Contains(page, "+&lt;: 1<BR>"));
  EXPECT_TRUE(Contains(page, "a&amp;b: 1<BR>"));
  EXPECT_EQ(MarkupProblem(page), "");
}

TEST(StatisticsPage, PathLengthIsShownInSinglePrecision) {
  Statistics stats;
  // The double 1.234565 lies just below 1.234565 and would show as 1.23456; the nearest
  // float, 1.23456502, shows as 1.23457.
  stats.pathLength.value = 1.234565;
  EXPECT_TRUE(Contains(StatisticsPage(stats), "<B>Characteristic Path Length: </B>1.23457<BR>"));
  EXPECT_TRUE(Contains(StatisticsPage(stats), "<B>Average links per node: </B>0<BR>"));
  stats.pathLength.value = 0;
  EXPECT_FALSE(Contains(StatisticsPage(stats), "Characteristic"));
}

TEST(StatisticsCompute, AgreesWithTheSingleMetrics) {
  const Network net = NetworkFromEdges("A B +\nB C +\nC A _\nC D +\nD E 0\nX Y +\n");
  NullProgress progress;
  const Statistics stats = ComputeStatistics(net, progress);
  EXPECT_EQ(stats.molecules, 7u);
  EXPECT_EQ(stats.interactions, 6u);
  EXPECT_EQ(stats.references, 1u);
  EXPECT_EQ(stats.islands.count, 2u);
  EXPECT_EQ(stats.islands.largest.size(), 5u);
  EXPECT_EQ(stats.pathLength.value, 0.0);
  EXPECT_DOUBLE_EQ(stats.clustering, (1 + 1 + 1.0 / 3) / 7);
  EXPECT_EQ(stats.clusteringPerMolecule.size(), 7u);
  EXPECT_EQ(stats.gridPerMolecule.size(), 7u);
  EXPECT_DOUBLE_EQ(stats.linksPerNode, 12.0 / 7);
  EXPECT_EQ(stats.connectivity.links, (std::vector<std::size_t>{3, 3, 1}));
  EXPECT_EQ(stats.effects.values.size(), 3u);
  // Nothing carries over between computations.
  EXPECT_EQ(StatisticsPage(ComputeStatistics(net, progress)), StatisticsPage(stats));
}

TEST(StatisticsWrite, WritesTheComputedPageIntoTheFolderOnly) {
  test::ScratchDir dir;
  const fs::path before = fs::current_path();
  const fs::path folder = dir / "out";
  const Network net = NetworkFromEdges("P Q +\nQ R +\n");
  NullProgress progress;
  Statistics stats;
  const fs::path page = WriteStatisticsPage(net, folder, progress, &stats);
  EXPECT_EQ(page, folder / "stats.htm");
  EXPECT_EQ(fs::current_path(), before);
  EXPECT_EQ(stats.molecules, 3u);
  EXPECT_DOUBLE_EQ(stats.pathLength.value, 2.0);
  const std::string text = test::ReadFile(page);
  EXPECT_EQ(text, StatisticsPage(stats));
  EXPECT_TRUE(Contains(text, "<B>Characteristic Path Length: </B>2<BR>"));

  // A later page replaces the earlier one, and only the page is in the folder.
  WriteStatisticsPage(NetworkFromEdges("A B +\nC D +\n"), folder, progress);
  EXPECT_FALSE(Contains(test::ReadFile(page), "Characteristic"));
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(folder)) ++files;
  EXPECT_EQ(files, 1u);
}

}  // namespace
}  // namespace tessel
