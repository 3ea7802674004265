// The statistics page: a real network against a checked copy, then what that page does not
// show (molecules beyond the last connectivity column, escaping, single precision, the
// largest island's path length for two islands), and writing the page.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "analysis/statistics.h"
#include "model/readers.h"
#include "test_support.h"

namespace tessel {
namespace {

using test::NetworkFromEdges;

std::string PageOf(const Network& net) {
  NullProgress progress;
  return StatisticsPage(ComputeStatistics(net, progress));
}

TEST(StatisticsPage, MatchesCheckedCopyForSignorNetwork) {
  test::ExpectGolden(PageOf(LoadNetwork(test::DataDir() / "networks" / "signor_lbc.sig")),
                     "stats_signor_lbc.htm");
}

TEST(StatisticsPage, ConnectivityRowsShowOneToFiftyLinksThenMore) {
  // H activates 51 leaves and 50 others inhibit G: H has 51 links and 51 out, just beyond
  // the last numbered column, G 50 links and 50 in, on it.
  std::string edges;
  for (int i = 0; i < 51; ++i) edges += "H L" + std::to_string(i) + " +\n";
  for (int i = 0; i < 50; ++i) edges += "K" + std::to_string(i) + " G _\n";
  std::string zeros;
  for (int i = 2; i < 50; ++i) zeros += "<TD>0</TD>";
  EXPECT_NE(PageOf(NetworkFromEdges(edges))
                .find("<TD>49</TD><TD>50</TD><TD>>50</TD></TR><TR><TD>101</TD>" + zeros +
                      "<TD>1</TD><TD>1</TD></TR><TR><TD>51</TD>" + zeros +
                      "<TD>1</TD><TD>0</TD></TR><TR><TD>50</TD>" + zeros +
                      "<TD>0</TD><TD>1</TD></TR></TABLE>"),
            std::string::npos);
}

TEST(StatisticsPage, EscapesTalliedStringsAndShowsThePathLengthInSinglePrecision) {
  NetworkBuilder b;
  b.addRow({"A", "NA", "NA", "<Kinase>", "O'Nucleus"}, {"C"}, "+<", "a&b", 1);
  const std::string page = PageOf(b.build());
  for (const char* escaped : {"&lt;Kinase&gt;: 1", "O&#39;Nucleus: 1", "+&lt;: 1", "a&amp;b: 1"}) {
    EXPECT_NE(page.find(escaped), std::string::npos) << escaped << "\n" << page;
  }
  // The double 1.234565 lies just below 1.234565 and would show as 1.23456; the nearest
  // float, 1.23456502, shows as 1.23457.
  Statistics stats;
  stats.pathLength.value = 1.234565;
  EXPECT_NE(StatisticsPage(stats).find("<B>Characteristic Path Length: </B>1.23457<BR>"),
            std::string::npos);
}

TEST(StatisticsWrite, TwoIslandsHaveCoefficientsAndTheLargestIslandsPathLength) {
  test::ScratchDir dir;
  NullProgress progress;
  Statistics stats;
  const auto path = WriteStatisticsPage(NetworkFromEdges("A B +\nB C +\nC A +\nX Y _\n"),
                                        dir / "out", progress, &stats);
  EXPECT_EQ(path, dir / "out" / "stats.htm");
  const std::string page = test::ReadFile(path);
  EXPECT_EQ(page, StatisticsPage(stats));
  EXPECT_EQ(page.find("Characteristic Path Length"), std::string::npos) << page;
  // The triangle has its own path length, 1.5. Clustering: 1 for each molecule of the
  // triangle, 0 for X and Y.
  EXPECT_NE(page.find("<B>Characteristic path length of the largest island (3 molecules): "
                      "</B>1.5<BR><B>Clustering Coefficient: </B>0.6<BR><B>Grid Coefficient: "
                      "</B>0<BR>"),
            std::string::npos)
      << page;
  EXPECT_EQ(stats.clusteringPerMolecule, (std::vector<double>{1, 1, 1, 0, 0}));
  EXPECT_EQ(stats.connectivity.links, (std::vector<std::size_t>{2, 3}));  // X, Y; A, B, C
}

}  // namespace
}  // namespace tessel
