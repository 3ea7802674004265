// DOT text: quoting, long text in pieces, the whole-network drawing text and the legend.
#include <gtest/gtest.h>

#include <pugixml.hpp>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "model/color_table.h"
#include "model/readers.h"
#include "output/dot.h"
#include "output/render.h"
#include "test_support.h"

namespace tessel {
namespace {

TEST(Dot, QuoteEscapesDropsControlCharactersAndKeepsTheTextValidUtf8) {
  // Bytes outside well-formed UTF-8 (a Latin-1 letter, a cut-off sequence, an overlong form,
  // a surrogate, a value above U+10FFFF) are read as Latin-1.
  const std::pair<const char*, const char*> cases[] = {
      {"ERK1/2", "ERK1/2"},
      {"a\"b\\", "a\\\"b\\\\"},
      {"two\r\nlines\n", "twolines"},
      {"a\x01z\x7f\tb", "az\x7f\tb"},
      {"\xC3\xA9\xE2\x86\x92\xF0\x9F\xA7\xAC", nullptr},
      {"caf\xE9", "caf\xC3\xA9"},
      {"\xC3", "\xC3\x83"},
      {"\xC0\x80", "\xC3\x80\xC2\x80"},
      {"\xED\xA0\x80", "\xC3\xAD\xC2\xA0\xC2\x80"},
      {"\xF4\x90\x80\x80", "\xC3\xB4\xC2\x90\xC2\x80\xC2\x80"}};
  for (const auto& [text, inner] : cases) {
    EXPECT_EQ(DotQuote(text), '"' + std::string(inner ? inner : text) + '"') << text;
  }
}

TEST(Dot, LongTextIsSplitIntoPiecesBetweenEscapesAndCharacters) {
  const std::string a(4095, 'a');
  EXPECT_EQ(DotQuote(a + "a"), '"' + a + "a\"");
  EXPECT_EQ(DotQuote(a + "ab"), '"' + a + "a\"+\"b\"");
  EXPECT_EQ(DotQuote(a + "\"b"), '"' + a + "\\\"\"+\"b\"");
  EXPECT_EQ(DotQuote(a + "\xC3\xA9" + "b"), '"' + a + "\xC3\xA9\"+\"b\"");
}

TEST(Dot, NetworkDrawingMatchesGolden) {
  // Awkward names, every effect and a "-", a self-interaction, a colour entry for one
  // molecule by name and one for the type.
  const Network network = test::NetworkFromEdges(
      "IL-1 ERK1/2 +\nERK1/2 a\"b _\na\"b a\\b 0\na\\b <x> -\n<x> \xC3\xA9 +\n"
      "\xC3\xA9 IL-1 _\nIL-1 IL-1 0\n9G IL-1 +\n");
  const ColorShapeTable colors =
      ColorShapeTable::Parse("IL-1 red box\nProtein yellow1 ellipse\ndefault turquoise ellipse");
  test::ExpectGolden(NetworkDot(network, colors), "dot_awkward_names.dot");
  // Only the exact effects get their own arrows.
  for (const char* other : {"", "+ ", " _", "00"}) EXPECT_EQ(EffectAttributes(other), "") << other;
}

TEST(Dot, NetworkDrawingOptionsAndTheEmptyNetwork) {
  const std::string dot = NetworkDot(test::NetworkFromEdges("B A +\n"), ColorShapeTable::Defaults(),
                                     {.size = "7,7", .concentrate = true, .urls = false});
  EXPECT_TRUE(dot.starts_with("digraph G {size=\"7,7\";concentrate=true;\n { \"A\" [")) << dot;
  EXPECT_EQ(dot.find("URL="), std::string::npos) << dot;
  EXPECT_EQ(NetworkDot(Network(), ColorShapeTable::Defaults()),
            "digraph G {size=\"37.5,50\";concentrate=false;\n {  } \n}");
}

// The legend as drawn: arrows first, then the network's types in table order (a molecule
// named in the table counts; types the table lacks follow with the default look), then the
// rest of the table; a repeated word once, as its first entry.
TEST(Dot, LegendShowsArrowsThenTheNetworksTypesTopDown) {
  const Network network = ReadSigText(
      "EGF NA NA Ligand Out EGFR NA NA Receptor Membrane + b 1\n"
      "RAF NA NA Kinase Cytosol ZZZ NA NA Zeta Cytosol _ b 2\n"
      "RAF NA NA Kinase Cytosol AAA NA NA Alpha Cytosol 0 b 3\n",
      "legend.sig");
  const ColorShapeTable colors = ColorShapeTable::Parse(
      "TF pink2 ellipse\nKinase turquoise box\nReceptor limegreen ellipse\nLigand red ellipse\n"
      "Kinase gold box\nEGF yellow1 box\ndefault khaki1 diamond");
  std::string entries;
  for (const LegendEntry& e : colors.legend(network)) {
    entries += e.type + " " + e.color + " " + e.shape + (e.inNetwork ? "\n" : " -\n");
  }
  EXPECT_EQ(entries,
            "Kinase turquoise box\nReceptor limegreen ellipse\nLigand red ellipse\n"
            "EGF yellow1 box\nAlpha khaki1 diamond\nZeta khaki1 diamond\nTF pink2 ellipse -\n"
            "default khaki1 diamond -\n");

  const std::string dot = LegendDot(colors, network);
  for (const char* effect : {"+", "_", "0"}) {
    EXPECT_NE(dot.find(std::string(EffectAttributes(effect)) + ";"), std::string::npos) << effect;
  }
  pugi::xml_document svg;
  ASSERT_TRUE(svg.load_string(RenderSvg(dot).c_str()));
  std::vector<std::pair<double, std::string>> texts;
  for (const auto& text : svg.select_nodes("//g[@class='node']/text")) {
    texts.emplace_back(std::atof(text.node().attribute("y").value()), text.node().text().get());
  }
  std::sort(texts.begin(), texts.end());
  std::string column;
  for (const auto& [y, text] : texts) column += text + "|";
  EXPECT_EQ(column,
            "Interactions|activation \"+\"|inhibition \"_\"|binding \"0\"|"
            "Molecule types in this network|Kinase|Receptor|Ligand|EGF|Alpha|Zeta|"
            "Other entries of the colours table|TF|default|");
}

TEST(Dot, HubNeighbourhoodsAreSpreadOverRanksAndSmallOnesAreLeftAlone) {
  // H acts on 20 molecules and is acted on by 3: only the larger side is spread,
  // round-robin over ceil(sqrt(20)) = 5 ranks; the self-interaction keeps length 1.
  std::string edges = "S1 H +\nS2 H _\nS3 H +\nH H +\n";
  for (int k = 0; k < 20; ++k) edges += "H T" + std::to_string(k) + " +\n";
  const Network network = test::NetworkFromEdges(edges);
  const MoleculeId hub = network.findId("H");
  std::vector<std::uint32_t> all(network.interactionCount());
  for (std::uint32_t k = 0; k < all.size(); ++k) all[k] = k;
  std::vector<std::size_t> expected = {1, 1, 1, 1};
  for (std::size_t k = 0; k < 20; ++k) expected.push_back(1 + k % 5);
  const std::vector<std::size_t> lengths = NeighbourhoodEdgeLengths(network, hub, all);
  EXPECT_EQ(lengths, expected);
  EXPECT_EQ(NeighbourhoodSpreadAttributes(lengths), "nodesep=0.05;\n");
  EXPECT_EQ(WithMinimumLength("\"H\" -> \"T1\" [color=\"x\"] ;", 2),
            "\"H\" -> \"T1\" [color=\"x\"]  [minlen=2];");

  const std::vector<std::uint32_t> few(all.begin(), all.begin() + 4 + kSpreadNeighbours);
  const std::vector<std::size_t> plain = NeighbourhoodEdgeLengths(network, hub, few);
  EXPECT_EQ(plain, std::vector<std::size_t>(few.size(), 1));
  EXPECT_EQ(NeighbourhoodSpreadAttributes(plain), "");
  EXPECT_EQ(WithMinimumLength("\"H\" -> \"T1\";", 1), "\"H\" -> \"T1\";");
}

}  // namespace
}  // namespace tessel
