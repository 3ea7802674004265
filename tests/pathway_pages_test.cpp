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
    return "\"" + std::string(n) + "\" [style=\"filled\", URL=\"" + n +
           ".htm\" shape=\"ellipse\", color=\"pink\"];\n";
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
  EXPECT_EQ(page, ReadFile(test::GoldenDir() / "pathway_map_small.htm"));
  const std::string none = ConnectionMapPage(net, Map(net, "S", "T", {}));
  EXPECT_NE(none.find("</H3></CENTER>\nNo pathways were found!<br>\n"), std::string::npos);
  EXPECT_EQ(Count(none, "</html>"), 1u);

  // Names with "_" stay whole; file names are safe; text is escaped.
  const Network odd = NetworkFromEdges("IL_1 <R>&1 +\n<R>&1 ERK1/2 +\n");
  const PathwayMap map = Map(odd, "IL_1", "ERK1/2", {0, 1});
  EXPECT_EQ(PathwayMapBaseName(odd, map), SafeFileName("IL_1") + "_TO_" + SafeFileName("ERK1/2"));
  EXPECT_NE(ConnectionMapPage(odd, map).find("from <a href=\"IL__1.htm\">IL_1</a> to <a href=\"" +
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
  NullProgress progress;
  const auto r = RunPathwayCommand(net, ColorShapeTable::Defaults(), q, dir.path(), progress, 2);
  ASSERT_EQ(r.baseNames, std::vector<std::string>{"S_TO_T"});
  std::set<std::string> names;
  for (const auto& e : fs::directory_iterator(r.folder)) names.insert(e.path().filename());
  EXPECT_EQ(names, (std::set<std::string>{"S_TO_T.sig", "S_TO_T.svg", "S_TO_T_plain.svg",
                                          "S_TO_T.jpg", "S_TO_T.htm", "form.htm"}));
  EXPECT_EQ(r.form, dir / kPathwaysFolder / "form.htm");
  EXPECT_NE(ReadFile(r.folder / "S_TO_T.svg").find("id=\"Pathway\""), std::string::npos);
  EXPECT_EQ(ReadFile(r.folder / "S_TO_T_plain.svg").find("id=\"Pathway\""), std::string::npos);
  EXPECT_EQ(ReadFile(r.folder / "S_TO_T.jpg").substr(0, 3), "\xFF\xD8\xFF");
  EXPECT_EQ(ReadFile(r.folder / "S_TO_T.htm"), ConnectionMapPage(net, r.maps[0]));

  test::ScratchDir empty;  // no map kept: the folder alone
  q.maxSize = 70;
  const auto none = RunPathwayCommand(net, ColorShapeTable::Defaults(), q, empty.path(), progress);
  EXPECT_TRUE(none.form.empty());
  EXPECT_TRUE(fs::is_directory(none.folder) && fs::is_empty(none.folder));
}

}  // namespace
}  // namespace tessel
