// Motif pages, index and drawings; safe file names for molecule pages.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "model/readers.h"
#include "motifs/motif_pages.h"
#include "output/drawing.h"
#include "test_support.h"
#include "util/safe_name.h"

namespace tessel {
namespace {

using test::NetworkFromEdges;

Motif MotifOf(const Network& net, std::vector<std::string> names) {
  Motif m;
  for (const auto& n : names) m.molecules.push_back(net.findId(n));
  for (std::size_t k = 0; k < m.molecules.size(); ++k) {
    const MoleculeId a = m.molecules[k];
    const MoleculeId b = m.molecules[(k + 1) % m.molecules.size()];
    const Interaction* i = net.findInteraction(a, b);
    if (!i) i = net.findInteraction(b, a);
    m.interactions.push_back(i->id - 1);
  }
  return m;
}

TEST(MotifPage, RowsOfFourAllClosedAndImageNamesMatchDrawings) {
  const Network net = NetworkFromEdges("A B +\nB C +\nC A +\n");
  const std::vector<Motif> five(5, MotifOf(net, {"A", "B", "C"}));
  EXPECT_EQ(MotifPage(net, MotifKind::Scaffold, five),
            "<html><body>Total found: 5<br><table>"
            "<tr><td><img src=\"scaffolds_30001.jpg\"></td><td><img src=\"scaffolds_30002.jpg\">"
            "</td><td><img src=\"scaffolds_30003.jpg\"></td><td><img src=\"scaffolds_30004.jpg\">"
            "</td></tr>\n<tr><td><img src=\"scaffolds_30005.jpg\"></td></tr>"
            "</table></body></html>");
  EXPECT_EQ(MotifPage(net, MotifKind::Bifan, {}),
            "<html><body>Total found: 0<br><table></table></body></html>");
  // Numbering continues past 9,999 motifs with the drawing's own name.
  EXPECT_EQ(MotifDrawingName(MotifKind::FeedbackLoop3, 12344), "feedback_loops3_42345");
  EXPECT_EQ(MotifDrawingName(MotifKind::Bifan, 0), "bifans_40001");
  EXPECT_EQ(MotifDrawingName(MotifKind::FeedbackLoop5, 0), "feedback_loops5_50001");
  // Without drawings the cells name the molecules, escaped.
  const Network odd = NetworkFromEdges("<a> b +\nb c +\nc <a> +\n");
  EXPECT_NE(MotifPage(odd, MotifKind::FeedbackLoop3, {MotifOf(odd, {"<a>", "b", "c"})}, false)
                .find("<td>&lt;a&gt; - b - c (+)</td>"),
            std::string::npos);
}

TEST(MotifPage, DrawsTheFirstMotifsWithSignsAndListsTheOthersByName) {
  const Network net = NetworkFromEdges("A B +\nB C _\nC A +\n");
  std::vector<Motif> six(6, MotifOf(net, {"A", "B", "C"}));
  for (std::size_t i = 0; i < six.size(); ++i) six[i].sign = i % 2 == 0 ? 1 : -1;
  const std::string page = MotifPage(net, MotifKind::FeedbackLoop3, six, 4);
  EXPECT_NE(page.find("Total found: 6<br><p>Showing drawings of the first 4 of 6 motifs; the "
                      "others are listed by name below.</p><table><tr>"
                      "<td><img src=\"feedback_loops3_30001.jpg\"><br>positive (+)</td>"
                      "<td><img src=\"feedback_loops3_30002.jpg\"><br>negative (-)</td>"),
            std::string::npos)
      << page;
  EXPECT_EQ(page.find("30005"), std::string::npos);
  EXPECT_NE(page.find("</tr>\n</table>\n<ol start=\"5\">\n<li>A - B - C (+)</li>\n"
                      "<li>A - B - C (-)</li>\n</ol></body></html>"),
            std::string::npos)
      << page;
  // All drawn, or none: no sentence, no list.
  EXPECT_EQ(MotifPage(net, MotifKind::FeedbackLoop3, six, 6).find("<ol"), std::string::npos);
  const std::string names = MotifPage(net, MotifKind::FeedbackLoop3, six, 0);
  EXPECT_EQ(names.find("Showing"), std::string::npos);
  EXPECT_NE(names.find("<td>A - B - C (-)</td></tr>\n<tr><td>A - B - C (+)</td>"),
            std::string::npos);
  // Unsigned kinds show no sign.
  EXPECT_EQ(MotifNames(net, MotifKind::Scaffold, six[1]), "A - B - C");
}

MotifResult ResultOf(MotifKind kind, std::size_t total, std::size_t positive = 0) {
  MotifResult r;
  r.kind = kind;
  r.motifs.resize(total);
  r.positive = positive;
  r.negative = MotifIsSigned(kind) ? total - positive : 0;
  return r;
}

TEST(MotifPage, IndexListsTheKindsSearchedInFixedOrderWithTheirCounts) {
  EXPECT_EQ(MotifsIndexPage({ResultOf(MotifKind::Bifan, 2)}),
            "<html><body>Found motifs:<br><a href=\"bifans.htm\">Bifans</a><br>"
            "<br><table border=\"1\" cellpadding=\"3\"><tr><th>Kind</th><th>Total</th>"
            "<th>Positive</th><th>Negative</th></tr>\n"
            "<tr><td><a href=\"bifans.htm\">Bifans</a></td><td>2</td><td>&ndash;</td>"
            "<td>&ndash;</td></tr>\n</table></body></html>");
  const std::string all =
      MotifsIndexPage({ResultOf(MotifKind::FeedforwardLoop4, 0), ResultOf(MotifKind::Scaffold, 1),
                       ResultOf(MotifKind::FeedbackLoop3, 5, 3)});
  EXPECT_LT(all.find("scaffolds.htm"), all.find("feedback_loops3.htm"));
  EXPECT_LT(all.find("feedback_loops3.htm"), all.find("feedforward_loops4.htm"));
  EXPECT_EQ(all.find("bifans.htm"), std::string::npos);
  EXPECT_NE(all.find("Feedback loops of size 3</a></td><td>5</td><td>3</td><td>2</td>"),
            std::string::npos);
  EXPECT_NE(all.find("Feedforward loops of size 4</a></td><td>0</td><td>0</td><td>0</td>"),
            std::string::npos);
}

TEST(MotifDrawing, NodesColoursAndTraversedEdges) {
  // The loop runs A -> B -> C -> A; the reverse link B -> A must not be drawn.
  const Network net = ReadSigText(
      "A NA NA Ligand Extracellular B NA NA Receptor Membrane + NA 1\n"
      "B NA NA Receptor Membrane A NA NA Ligand Extracellular _ NA 2\n"
      "B NA NA Receptor Membrane C\"q NA NA TF Nucleus _ NA 3\n"
      "C\"q NA NA TF Nucleus A NA NA Ligand Extracellular 0 NA 4\n",
      "m.sig");
  const ColorShapeTable colors = ColorShapeTable::Defaults();
  const std::string dot = MotifDot(net, colors, MotifOf(net, {"A", "B", "C\"q"}));
  EXPECT_EQ(dot,
            "digraph G {size=\"8,8\";concentrate=false;\n { "
            "1 [style=\"filled\", label=\"A\" shape=\"ellipse\", color=\"red\"];\n"
            "2 [style=\"filled\", label=\"B\" shape=\"ellipse\", color=\"limegreen\"];\n"
            "3 [style=\"filled\", label=\"C\\\"q\" shape=\"ellipse\", color=\"pink2\"];\n"
            " } \n"
            "1 -> 2 [arrowhead=\"normal\", color=\"darkgreen\"] ;"
            "2 -> 3 [arrowhead=\"tee\",arrowsize=\"3.0\", color=\"red1\"] ;"
            // The neutral link runs C -> A; it is drawn from the pair's second molecule.
            "1 -> 3 [arrowhead=\"box\",arrowtail=\"box\", color=\"blue1\"] ;}");
}

TEST(SafeFileName, KeepsPlainNamesAndIsInjectiveAndSafe) {
  EXPECT_EQ(SafeFileName("EGFR"), "EGFR");
  EXPECT_EQ(SafeFileName("IL-1.b"), "IL-1.b");
  EXPECT_EQ(SafeFileName("ERK1/2"), "ERK1_2F2");
  EXPECT_EQ(SafeFileName("a_b"), "a__b");
  EXPECT_EQ(SafeFileName(".."), "_2E.");
  EXPECT_EQ(SafeFileName(""), "_");

  std::mt19937 rng(7);
  const std::string alphabet = "ab_/.\\-\"<> \x01\xc3\xa9";
  std::set<std::string> names, files;
  for (int k = 0; k < 20000; ++k) {
    std::string name(1 + rng() % 6, ' ');
    for (char& c : name) c = alphabet[rng() % alphabet.size()];
    if (!names.insert(name).second) continue;
    const std::string file = SafeFileName(name);
    EXPECT_TRUE(files.insert(file).second) << "collision for " << name;
    EXPECT_EQ(file.find_first_of("/\\\"<> \x01"), std::string::npos) << file;
    EXPECT_NE(file[0], '.');
  }
  const std::string longA(5000, 'a');
  const std::string longB = longA + "b";
  EXPECT_LE(SafeFileName(longA).size(), 200u);
  EXPECT_NE(SafeFileName(longA), SafeFileName(longB));

  // Pairs: short ones joined as they are; long ones cut, distinct for the whole pair.
  EXPECT_EQ(SafePairFileName("EGF", "_TO_", "ERK1/2"), "EGF_TO_ERK1_2F2");
  const std::string pair = SafePairFileName(longA, "_TO_", longB);
  EXPECT_LE(pair.size(), 200u);
  for (const std::string& other :
       {SafePairFileName(longB, "_TO_", longA), SafePairFileName(longA, "_TO_", longA),
        SafePairFileName(longA + "_TO_" + longA, "_TO_", "b"), SafeFileName(longA)}) {
    EXPECT_NE(pair, other);
  }
}

}  // namespace
}  // namespace tessel

namespace tessel {
namespace {

TEST(MotifLimit, ACompleteNetworkIsRefusedBeforeSearchingUnlessForced) {
  // Every ordered pair of 300 molecules: billions of loops of 4.
  NetworkBuilder builder;
  for (int s = 0; s < 300; ++s) {
    for (int t = 0; t < 300; ++t) {
      if (s != t)
        builder.addRow({"M" + std::to_string(s)}, {"M" + std::to_string(t)}, "+", "NA", 1);
    }
  }
  const Network complete = builder.build();
  EXPECT_GT(EstimateMotifCount(complete, MotifKind::FeedbackLoop4), 1e9);
  test::ScratchDir dir;
  NullProgress progress;
  MotifCommandOptions options;
  options.kinds = MotifCommandOrder();
  try {
    RunMotifCommand(complete, ColorShapeTable::Defaults(), options, dir.path(), progress);
    FAIL();
  } catch (const MotifLimitError& e) {
    const std::string message = e.what();
    EXPECT_NE(message.find("fbl4 up to 2 billion"), std::string::npos) << message;
    EXPECT_NE(message.find("--force"), std::string::npos);
  }
  EXPECT_FALSE(std::filesystem::exists(dir / kMotifsFolder));

  // A small limit refuses a small network too; forcing searches and counts as usual, and the
  // motif lists are released once the pages are written.
  const Network net = LoadNetwork(test::DataDir() / "networks" / "signor_lbc.sig");
  options.kinds = {MotifKind::FeedbackLoop3, MotifKind::Scaffold};
  options.maxMotifs = 0;
  options.drawings = false;
  EXPECT_THROW(RunMotifCommand(net, ColorShapeTable::Defaults(), options, dir.path(), progress),
               MotifLimitError);
  options.force = true;
  const MotifCommandResult forced =
      RunMotifCommand(net, ColorShapeTable::Defaults(), options, dir.path(), progress);
  for (const MotifResult& r : forced.results) {
    EXPECT_TRUE(r.motifs.empty());
    EXPECT_EQ(r.total(), FindMotifs(net, r.kind, progress).total());
  }
}

TEST(ExampleDrawings, EveryMotifAndWholeNetworkDrawingRenders) {
  const std::vector<MotifKind> all = MotifCommandOrder();
  for (const char* name : {"signor_lbc.sig", "omnipath_signed.sig"}) {
    SCOPED_TRACE(name);
    const Network net = LoadNetwork(test::DataDir() / "networks" / name);
    test::ScratchDir dir;
    NullProgress progress;
    MotifCommandOptions options;
    options.kinds = all;
    options.threads = 2;
    options.context = {name, "tessel motifs", "2026-01-01 10:00", "1.0", ""};
    const MotifCommandResult result =
        RunMotifCommand(net, ColorShapeTable::Defaults(), options, dir.path(), progress);
    ASSERT_EQ(result.results.size(), all.size());
    std::size_t drawings = 0;
    for (const MotifResult& r : result.results) {
      const std::string page =
          test::ReadFile(result.folder / (std::string(MotifFileStem(r.kind)) + ".htm"));
      EXPECT_NE(page.find("Total found: " + std::to_string(r.total()) + "<br>"), std::string::npos);
      // Every page names the network and leads back to the index.
      EXPECT_NE(page.find(name), std::string::npos);
      EXPECT_NE(page.find("<a href=\"motifs.htm\">"), std::string::npos);
      const std::size_t drawn = std::min(r.total(), kDefaultMaxDrawings);
      EXPECT_FALSE(
          std::filesystem::exists(result.folder / (MotifDrawingName(r.kind, drawn) + ".jpg")));
      for (std::size_t i = 0; i < drawn; ++i, ++drawings) {
        const std::string jpeg =
            test::ReadFile(result.folder / (MotifDrawingName(r.kind, i) + ".jpg"));
        ASSERT_GT(jpeg.size(), 2u);
        EXPECT_EQ(jpeg.substr(0, 2), "\xFF\xD8");
      }
    }
    EXPECT_GT(drawings, 10u);
    EXPECT_TRUE(std::filesystem::exists(result.indexPage));
    // The whole network too.
    const DrawResult whole = DrawNetwork(net, ColorShapeTable::Defaults(), dir.path(), "whole");
    EXPECT_EQ(test::ReadFile(whole.jpeg).substr(0, 2), "\xFF\xD8");
    EXPECT_NE(test::ReadFile(whole.svg).find("</svg>"), std::string::npos);
  }
}

}  // namespace
}  // namespace tessel
