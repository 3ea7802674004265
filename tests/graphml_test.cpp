// GraphML reader: round trips through the GraphML writer, files as networkx, igraph,
// Cytoscape and yEd write them, key matching, escapes, and bad input.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "model/color_table.h"
#include "model/graphml.h"
#include "model/readers.h"
#include "output/exchange.h"
#include "test_support.h"
#include "util/error.h"

namespace tessel {
namespace {

std::string DataFile(const std::string& name) {
  return test::ReadFile(test::SourceDir() / "tests" / "data" / name);
}

std::string ErrorOf(std::string_view text) {
  try {
    ReadGraphMlText(text, "g.graphml");
  } catch (const InputError& e) {
    return std::to_string(e.line()) + ": " + e.message();
  }
  return "no error";
}

// A minimal GraphML document around node and edge elements.
std::string Graph(std::string_view keys, std::string_view body) {
  return std::string(
             "<?xml version=\"1.0\"?>\n<graphml "
             "xmlns=\"http://graphml.graphdrawing.org/xmlns\">\n") +
         std::string(keys) + "<graph edgedefault=\"directed\">\n" + std::string(body) +
         "</graph>\n</graphml>\n";
}

TEST(GraphMlRoundTrip, SigThroughGraphMlGivesTheSameRowsAndMolecules) {
  const ColorShapeTable table = ColorShapeTable::Defaults();
  for (const std::string name : {"networks/signor_lbc.sig", "exchange_tricky.sig"}) {
    SCOPED_TRACE(name);
    const Network net = ReadSigText(DataFile(name), name);
    Warnings warnings;
    const std::string graphml = GraphMlText(net, table);
    const Network back = ReadGraphMlText(graphml, "back.graphml", &warnings);
    EXPECT_TRUE(warnings.empty()) << warnings.lines().front();

    // The reader maps effects to signs, so the "-" that SIG keeps as written comes back "_".
    std::string expected = SigText(net);
    for (std::size_t at = expected.find(" - "); at != std::string::npos;
         at = expected.find(" - ", at)) {
      expected[at + 1] = '_';
    }
    EXPECT_EQ(SigText(back), expected);
    // Molecules keep their ids and their own fields, which differ from the end-point fields
    // of some interactions and were completed by later rows.
    EXPECT_EQ(test::MoleculeFields(back), test::MoleculeFields(net));
    // Writing what was read gives the same file again (up to that one effect).
    if (name == "networks/signor_lbc.sig") {
      EXPECT_EQ(GraphMlText(back, table), graphml);
    }
  }
}

TEST(GraphMlRoundTrip, NamesOnlyAProgramWritesAndLoneMoleculesSurvive) {
  // XML specials, a CDATA end, a tab and a line break, a byte that is not UTF-8, a molecule
  // without interactions and an effect that is no sign.
  NetworkBuilder builder;
  builder.addRow({"A&B<1>", "P1"}, {"say \"hi\"", "P2"}, "+", "it's", 7);
  builder.addMolecule({"lone]]>", "NA", "NA", "Protein", "Cytosol"});
  builder.addRow({"tab\there\nand"}, {"caf\xE9"}, "?", "NA", 8);
  Warnings warnings;
  const Network back = ReadGraphMlText(GraphMlText(builder.build(), ColorShapeTable::Defaults()),
                                       "back.graphml", &warnings);
  // Blanks inside a field become "_" on the way back, as in SIG files; the stray byte is
  // taken as Latin-1.
  EXPECT_EQ(test::MoleculeFields(back),
            "A&B<1>/P1/NA/NA/NA\nsay_\"hi\"/P2/NA/NA/NA\nlone]]>/NA/NA/Protein/Cytosol\n"
            "tab_here_and/NA/NA/NA/NA\ncaf\xC3\xA9/NA/NA/NA/NA\n");
  EXPECT_EQ(SigText(back),
            "A&B<1> P1 NA NA NA say_\"hi\" P2 NA NA NA + it's 7\n"
            "tab_here_and NA NA NA NA caf\xC3\xA9 NA NA NA NA 0 NA 8\n");
  EXPECT_EQ(warnings.size(), 1u);  // "?" is read as "0"
}

TEST(GraphMlReader, FilesAsNetworkxIgraphAndCytoscapeWriteThem) {
  // networkx: names are the node ids, signs are decimals, an isolated node. igraph: a name
  // key, molecule_type and compartment, numeric PubMed ids. Cytoscape: node and edge keys
  // sharing ids, capitalised titles, "pp" for an interaction.
  const std::vector<std::tuple<std::string, std::string, std::string>> files = {
      {"graphml_networkx.graphml",
       "EGF NA NA Ligand Extracellular EGFR NA NA Receptor Membrane + binding 1001\n"
       "EGF NA NA Ligand Extracellular EGFR NA NA Receptor Membrane + binding 1002\n"
       "EGFR NA NA Receptor Membrane Protein_kinase_C NA NA Kinase Cytosol + phosphorylation 1003\n"
       "Protein_kinase_C NA NA Kinase Cytosol TP53 NA NA TF Nucleus _ phosphorylation 1004\n"
       "TP53 NA NA TF Nucleus TP53 NA NA TF Nucleus 0 transcriptional_regulation 1005\n",
       ""},
      {"graphml_igraph.graphml",
       "MAPK1 NA NA Kinase Cytosol ELK1 NA NA TF Nucleus + phosphorylation 2001\n"
       "ELK1 NA NA TF Nucleus FOS NA NA TF Nucleus + transcriptional_regulation 2002\n"
       "DUSP6 NA NA Phosphatase Cytosol MAPK1 NA NA Kinase Cytosol _ dephosphorylation 2003\n",
       ""},
      {"graphml_cytoscape.graphml",
       "MTOR NA NA Kinase Cytosol RPS6KB1 NA NA Kinase Cytosol + NA 12150926\n"
       "MTOR NA NA Kinase Cytosol RPS6KB1 NA NA Kinase Cytosol + NA 15066126\n"
       "MTOR NA NA Kinase Cytosol EIF4EBP1 NA NA Protein Cytosol _ NA 12150926\n"
       "RPS6KB1 NA NA Kinase Cytosol RPS6 NA NA Protein Cytosol 0 NA 0\n",
       "graphml_cytoscape.graphml:69: effect \"pp\" is not a known sign; the interaction is read "
       "as \"0\""}};
  for (const auto& [file, sig, warning] : files) {
    Warnings warnings;
    const Network net = ReadGraphMlText(DataFile(file), file, &warnings);
    EXPECT_EQ(SigText(net), sig) << file;
    EXPECT_EQ(warnings.empty() ? "" : FormatWarning(warnings.entries()[0]), warning) << file;
    EXPECT_LE(warnings.size(), 1u) << file;
  }
  const Network nx = ReadGraphMlText(DataFile("graphml_networkx.graphml"), "nx");
  EXPECT_EQ(test::MoleculeFields(nx).substr(test::MoleculeFields(nx).rfind("ORPHAN")),
            "ORPHAN/NA/NA/Protein/Cytosol\n");
}

TEST(GraphMlReader, KeyChoiceDefaultsYedLabelsAndNestedGraphs) {
  const std::string yed = R"(<?xml version="1.0" encoding="UTF-8" standalone="no"?>
<graphml xmlns="http://graphml.graphdrawing.org/xmlns" xmlns:y="http://www.yworks.com/xml/graphml">
  <key for="node" id="d5" attr.name="description" attr.type="string"/>
  <key for="node" id="d6" yfiles.type="nodegraphics"/>
  <key for="edge" id="d10" yfiles.type="edgegraphics"/>
  <key for="node" id="d7" attr.name="type" attr.type="string"><default>Protein</default></key>
  <key for="edge" id="d8" attr.name="effect" attr.type="string"/>
  <key for="edge" id="d9" attr.name="interaction" attr.type="string"/>
  <key for="all" id="d11" attr.name="Symbol" attr.type="string"/>
  <graph edgedefault="undirected" id="G">
    <node id="n0">
      <data key="d5">first</data>
      <data key="d6"><y:ShapeNode><y:Geometry x="0"/><y:NodeLabel>RAF1</y:NodeLabel></y:ShapeNode></data>
    </node>
    <node id="n1">
      <data key="d6"><y:ShapeNode><y:NodeLabel>ignored label</y:NodeLabel></y:ShapeNode></data>
      <data key="d11"> MAP2K1 </data>
      <data key="d7">Kinase</data>
      <graph id="n1:" edgedefault="directed">
        <node id="n1::n0"/>
        <edge source="n1::n0" target="n0"><data key="d9">-|</data></edge>
      </graph>
    </node>
    <edge source="n0" target="n1">
      <data key="d9">inhibits</data>
      <data key="d8">up-regulates activity</data>
      <data key="d10"><y:PolyLineEdge/></data>
    </edge>
  </graph>
</graphml>
)";
  Warnings warnings;
  const Network net = ReadGraphMlText(yed, "yed.graphml", &warnings);
  EXPECT_TRUE(warnings.empty());
  // The drawn label names a node only when no name key does; "effect" outranks
  // "interaction"; a key default fills nodes without their own data; undirected edges are
  // read source to target; nested graphs are read in document order.
  EXPECT_EQ(test::MoleculeFields(net),
            "RAF1/NA/NA/Protein/NA\nMAP2K1/NA/NA/Kinase/NA\nn1::n0/NA/NA/Protein/NA\n");
  EXPECT_EQ(SigText(net),
            "n1::n0 NA NA Protein NA RAF1 NA NA Protein NA _ NA 0\n"
            "RAF1 NA NA Protein NA MAP2K1 NA NA Kinase NA + NA 0\n");
}

TEST(GraphMlReader, EffectsPubmedIdsAndEscapes) {
  const std::string keys =
      "<key id=\"e\" for=\"edge\" attr.name=\"sign\"/>\n"
      "<key id=\"p\" for=\"edge\" attr.name=\"PMID\"/>\n"
      "<key id=\"m\" for=\"edge\" attr.name=\"Mechanism\"/>\n"
      "<key id=\"l\" for=\"node\" attr.name=\"label\"/>\n";
  const std::string body =
      "<node id=\"a\"><data key=\"l\">A&amp;B &lt;x&gt; &#945;</data></node>\n"
      "<node id=\"b\"><data key=\"l\"><![CDATA[<B&C>]]></data></node>\n"
      "<node id=\"c\"><data key=\"l\">&undeclared;</data></node>\n"
      "<edge source=\"a\" target=\"b\"><data key=\"e\">maybe</data>"
      "<data key=\"p\">pubmed:123; PMID 456.0, 123 and 0</data>"
      "<data key=\"m\">post translational\tmodification</data></edge>\n"
      "<edge source=\"b\" target=\"c\"><data key=\"e\">-0.5</data></edge>\n"
      "<edge source=\"c\" target=\"a\"><data key=\"e\">sometimes</data></edge>\n"
      "<edge source=\"a\" target=\"c\"><data key=\"e\"> Down-regulates </data></edge>\n";
  Warnings warnings;
  const Network net = ReadGraphMlText(Graph(keys, body), "e.graphml", &warnings);
  // Entities and CDATA are decoded, an undeclared entity is left as written; every number
  // of the PubMed field counts once, without fraction parts and without 0.
  EXPECT_EQ(SigText(net),
            "A&B_<x>_\xCE\xB1 NA NA NA NA <B&C> NA NA NA NA 0 post_translational_modification 123\n"
            "A&B_<x>_\xCE\xB1 NA NA NA NA <B&C> NA NA NA NA 0 post_translational_modification 456\n"
            "<B&C> NA NA NA NA &undeclared; NA NA NA NA _ NA 0\n"
            "&undeclared; NA NA NA NA A&B_<x>_\xCE\xB1 NA NA NA NA 0 NA 0\n"
            "A&B_<x>_\xCE\xB1 NA NA NA NA &undeclared; NA NA NA NA _ NA 0\n");
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings.entries()[0].count, 2u);
  EXPECT_EQ(warnings.entries()[0].line, 11u);
  EXPECT_NE(warnings.entries()[0].message.find("\"maybe\""), std::string::npos);
}

TEST(GraphMlReader, BadInputIsReportedWithItsLine) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", "0: the file is empty"},
      {"<graphml>\n<graph>\n<node id=\"a\">\n</graph>\n</graphml>\n",
       "4: malformed XML: Start-end tags mismatch"},
      {"<?xml version=\"1.0\"?>\n\n<gexf><graph/></gexf>",
       "3: not a GraphML file: the root element is <gexf>, not <graphml>"},
      {Graph("",
             "<node id=\"a\"/>\n<node id=\"b\"/>\n<edge source=\"a\" target=\"b\"/>\n"
             "<edge source=\"a\" target=\"z\"/>\n"),
       "7: the edge's target \"z\" is not the id of any node"},
      {Graph("", "<node id=\"a\"/>\n<edge target=\"a\"/>\n"), "5: an <edge> without a source"},
      {Graph("", "<node id=\"a\"/>\n\n<node id=\"a\"/>\n"),
       "6: node id \"a\" is declared twice (first on line 4)"},
      {Graph("", "<node/>\n"), "4: a <node> without an id"},
      {Graph("", ""), "2: the graph holds no nodes"},
      {"<graphml>\n<key id=\"k\"/>\n</graphml>", "1: the file holds no <graph> element"}};
  for (const auto& [text, error] : cases) EXPECT_EQ(ErrorOf(text), error) << text;
  // A DOCTYPE is skipped, so its entities are never expanded.
  const std::string doctype =
      "<?xml version=\"1.0\"?>\n<!DOCTYPE graphml [<!ENTITY x \"expanded\">]>\n"
      "<graphml><graph><node id=\"&x;\"/></graph></graphml>\n";
  EXPECT_EQ(ReadGraphMlText(doctype, "d").molecule(1).name, "&x;");
}

}  // namespace
}  // namespace tessel
