// Pathway map files: SIG rows, DOT text, the connection map page, the query form and the
// whole command on a small network.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "pathways/pathway_pages.h"
#include "test_support.h"
#include "util/safe_name.h"

namespace tessel {
namespace {

namespace fs = std::filesystem;
using test::NetworkFromEdges;
using test::ReadFile;

std::size_t Count(const std::string& text, const std::string& what) {
  std::size_t n = 0;
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

PathwayMap Map(const Network& net, const char* s, const char* t, std::vector<std::uint32_t> ids) {
  PathwayMap m;
  m.source = net.findId(s);
  m.target = net.findId(t);
  m.map.interactions = std::move(ids);
  return m;
}

TEST(PathwayMapFiles, SigRowsAndDotInNetworkOrder) {
  // Rows in the map's order, S->A with its first PubMed id; arrows in the network's order.
  const Network net = NetworkFromEdges("S A + 11\nA B + 12\nB T + 15\nS T _ 16\nS A + 99\n");
  const auto row = [](std::string a, std::string b, std::string rest) {
    return a + " NA NA Protein Cytosol " + b + " NA NA Protein Cytosol " + rest + "\n";
  };
  EXPECT_EQ(PathwayMapSigText(net, Map(net, "S", "T", {0, 3, 2})),
            row("S", "A", "+ NA 11") + row("S", "T", "_ NA 16") + row("B", "T", "+ NA 15"));

  const ColorShapeTable colors = ColorShapeTable::Parse("Protein pink ellipse\n");
  const auto node = [](const char* n) {
    return "\"" + std::string(n) + "\" [style=\"filled\", URL=\"molecule-" + n +
           ".htm\" target=\"_top\" shape=\"ellipse\", color=\"pink\"];\n";
  };
  EXPECT_EQ(PathwayMapDot(net, colors, Map(net, "S", "T", {3, 0, 2})),
            "digraph G {size=\"8,8\";concentrate=true;\n { " + node("S") + node("A") + node("B") +
                node("T") +
                " } \n\"S\" -> \"A\" [arrowhead=\"normal\", color=\"darkgreen\"] ;"
                "\"B\" -> \"T\" [arrowhead=\"normal\", color=\"darkgreen\"] ;"
                "\"S\" -> \"T\" [arrowhead=\"tee\",arrowsize=\"3.0\", color=\"red1\"] ;}");
}

TEST(PathwayMapFiles, ConnectionMapPages) {
  // A square S-A-T-B with the neutral A-B diagonal: measures checked by hand in the golden.
  const Network net = NetworkFromEdges("S A +\nA T +\nS B _\nB T +\nA B 0\nT Z +\n");
  const std::string page = ConnectionMapPage(net, Map(net, "S", "T", {0, 1, 2, 3, 4}));
  test::ExpectGolden(page, "pathway_map_small.htm");
  const std::string none = ConnectionMapPage(net, Map(net, "S", "T", {}));
  EXPECT_NE(none.find("</H3></CENTER>\nNo pathways were found!<br>\n"), std::string::npos);
  EXPECT_EQ(Count(none, "</html>"), 1u);

  // Names with "_" stay whole; file names are safe; text is escaped.
  const Network odd = NetworkFromEdges("IL_1 <R>&1 +\n<R>&1 ERK1/2 +\n");
  const PathwayMap map = Map(odd, "IL_1", "ERK1/2", {0, 1});
  EXPECT_EQ(PathwayMapBaseName(odd, map), SafeFileName("IL_1") + "_TO_" + SafeFileName("ERK1/2"));
  EXPECT_NE(ConnectionMapPage(odd, map).find(
                "from <a href=\"molecule-IL__1.htm\">IL_1</a> to <a href=\"molecule-" +
                SafeFileName("ERK1/2") + ".htm\">ERK1/2</a>"),
            std::string::npos);
  // The form lists each source and target once, in order of first appearance.
  const std::string form = QueryFormPage(odd, {map, Map(odd, "IL_1", "<R>&1", {0})});
  const std::size_t split = form.find("<select name=\"target\"");
  EXPECT_EQ(Count(form.substr(0, split), "<option "), 1u);
  EXPECT_NE(form.find("<option value=\"IL__1\">IL_1</option>"), std::string::npos);
  EXPECT_EQ(Count(form.substr(split), "<option "), 2u);
  const std::size_t escaped = form.find(">&lt;R&gt;&amp;1</option>");
  EXPECT_TRUE(form.find(">ERK1/2</option>") < escaped && escaped != std::string::npos);
  EXPECT_NE(form.find("url = source + \"_TO_\" + target"), std::string::npos);
  for (const std::string tag : {"html", "body", "form", "table", "tr", "td", "select", "option"}) {
    EXPECT_EQ(Count(form, "<" + tag + ">") + Count(form, "<" + tag + " "),
              Count(form, "</" + tag + ">"))
        << tag;
  }
}

TEST(PathwayCommand, WritesEveryMapFileAndTheForm) {
  test::ScratchDir dir;
  const Network net = NetworkFromEdges("S T +\nS A +\nA T _\nS B +\nB C +\nC T +\nX T +\n");
  PathwayQuery q;
  q.sources = {{ConditionKind::Name, "S"}, {ConditionKind::Name, "X"}};
  q.targets = {{ConditionKind::Name, "T"}};
  q.maxSize = 4;
  // The web site beside the maps has a page for S only.
  fs::create_directories(dir / "TESSEL_website");
  test::WriteFile(dir / "TESSEL_website" / "S.htm", "S");
  PageContext context;
  context.network = "net.sig";
  NullProgress progress;
  const auto r =
      RunPathwayCommand(net, ColorShapeTable::Defaults(), q, dir.path(), progress, 2, context);
  // S to T outgrows the size at 4 steps and keeps 3 steps; X to T fits at every count.
  ASSERT_EQ(r.baseNames, (std::vector<std::string>{"S_TO_T", "X_TO_T"}));
  std::set<std::string> names;
  for (const auto& e : fs::directory_iterator(r.folder)) names.insert(e.path().filename());
  std::set<std::string> want{"form.htm", "molecule-T.htm", "molecule-A.htm", "molecule-X.htm"};
  for (const std::string base : {"S_TO_T", "X_TO_T"}) {
    for (const char* ext : {".sig", ".svg", "_plain.svg", ".jpg", ".htm"}) want.insert(base + ext);
  }
  EXPECT_EQ(names, want);
  EXPECT_EQ(r.moleculePages, 3u);
  EXPECT_EQ(r.form, dir / kPathwaysFolder / "form.htm");
  EXPECT_NE(ReadFile(r.folder / "S_TO_T.svg").find("id=\"Pathway\""), std::string::npos);
  EXPECT_EQ(ReadFile(r.folder / "S_TO_T_plain.svg").find("id=\"Pathway\""), std::string::npos);
  EXPECT_EQ(ReadFile(r.folder / "S_TO_T.jpg").substr(0, 3), "\xFF\xD8\xFF");

  // Node links: the site page of S, the own pages of the others, opened as whole pages.
  const std::string svg = ReadFile(r.folder / "S_TO_T_plain.svg");
  EXPECT_NE(svg.find("href=\"../TESSEL_website/S.htm\""), std::string::npos);
  EXPECT_NE(svg.find("href=\"molecule-A.htm\""), std::string::npos);
  EXPECT_NE(svg.find("target=\"_top\""), std::string::npos);
  // Every page carries the context, the map page the query and the form link too.
  const std::string page = ReadFile(r.folder / "S_TO_T.htm");
  EXPECT_NE(page.find("from <a href=\"../TESSEL_website/S.htm\">S</a> to <a "
                      "href=\"molecule-T.htm\">T</a>"),
            std::string::npos);
  const std::size_t contextLine = page.find("Network <b>net.sig</b>");
  const std::size_t queryLine = page.find(
      "Query: sources Name=S or Name=X; targets Name=T; up "
      "to 9 molecules per path; maps up to 4 interactions");
  EXPECT_TRUE(contextLine < queryLine && queryLine != std::string::npos);
  EXPECT_NE(page.find("<a href=\"form.htm\">Query form</a>"), std::string::npos);
  EXPECT_NE(ReadFile(r.form).find("Network <b>net.sig</b>"), std::string::npos);
  // A molecule's own page: its interactions in the maps with PubMed links, its maps.
  const std::string own = ReadFile(r.folder / "molecule-T.htm");
  EXPECT_NE(own.find("Network <b>net.sig</b>"), std::string::npos);
  EXPECT_EQ(Count(own, "<tr><td>"), 3u);  // S>T, A>T, X>T; not B>T or C>T (4 steps)
  EXPECT_NE(own.find("inhibition (_)"), std::string::npos);
  EXPECT_NE(own.find("<a href=\"https://pubmed.ncbi.nlm.nih.gov/1/\">1</a>"), std::string::npos);
  EXPECT_NE(own.find("<a href=\"X_TO_T.htm\">X to T</a>"), std::string::npos);

  test::ScratchDir empty;  // no map kept: the folder alone
  q.maxSize = 0;
  const auto none = RunPathwayCommand(net, ColorShapeTable::Defaults(), q, empty.path(), progress);
  EXPECT_TRUE(none.form.empty());
  EXPECT_TRUE(fs::is_directory(none.folder) && fs::is_empty(none.folder));
}

}  // namespace
}  // namespace tessel
