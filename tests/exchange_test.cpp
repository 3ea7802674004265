// Exchange files: the CSV edge table, the signed SIF and CX2 on a small network with awkward
// names, and the files WriteExchange writes. The GraphML writer is tested through the reader
// in graphml_test.cpp; tests/exchange_readback.py loads all of them with outside readers.
#include <gtest/gtest.h>

#include <string>

#include <nlohmann/json.hpp>

#include "model/color_table.h"
#include "model/graphml.h"
#include "model/readers.h"
#include "output/exchange.h"
#include "test_support.h"

namespace tessel {
namespace {

using Json = nlohmann::json;

Network Tricky() {
  return ReadSigText(test::ReadFile(test::SourceDir() / "tests" / "data" / "exchange_tricky.sig"),
                     "exchange_tricky.sig");
}

// Molecules that only a program would write: a line break and a tab inside names, a byte that
// is not UTF-8, a molecule without interactions and one that only acts on itself.
Network Awkward() {
  NetworkBuilder builder;
  builder.addRow({"two\nlines"}, {"tab\tbed", "P1"}, "+", "NA", 5);
  builder.addMolecule({"LONE"});
  builder.addRow({"SELF"}, {"SELF"}, "?", "NA", 6);
  builder.addRow({"caf\xE9"}, {"SELF"}, "_", "NA", 7);
  return builder.build();
}

TEST(ExchangeTable, HeaderRowsAndQuoting) {
  const std::string csv = EdgeTableCsv(Tricky());
  EXPECT_EQ(csv,
            "source,source_accession,source_extra_id,source_type,source_location,target,"
            "target_accession,target_extra_id,target_type,target_location,effect,"
            "interaction_type,pubmed\n"
            "A&B,P00001,NA,Kinase,Cytosol,C/D,P00002,NA,TF,Nucleus,+,phosphorylation,"
            "1001;1002;1003\n"
            "C/D,P00002,NA,TF,Nucleus,C/D,P00002,NA,TF,Nucleus,-,transcriptional_regulation,1004\n"
            "\"\"\"quoted\"\"\",NA,NA,Ligand,Extracellular,A&B,NA,NA,Receptor,Membrane,_,binding,"
            "1005\n"
            "<tag>,NA,x1,Protein,Cytosol,\"\"\"quoted\"\"\",NA,NA,Ligand,Extracellular,0,NA,1006\n"
            "\"X,Y\",Q00003,NA,Protein,Cytosol,IL-1\xCE\xB2,NA,NA,Protein,Cytosol,+,NA,1007\n"
            "it's,NA,NA,NA,NA,\"X,Y\",Q00003,NA,Protein,Cytosol,_,NA,1008\n"
            "it's,NA,NA,Adaptor,Membrane,<tag>,NA,NA,Protein,Cytosol,0,complex_formation,1009\n");
  const std::string awkward = EdgeTableCsv(Awkward());
  EXPECT_NE(awkward.find("\n\"two\nlines\",NA,NA,NA,NA,tab\tbed,P1,"), std::string::npos)
      << awkward;
}

TEST(ExchangeSignedSif, RelationsRawEffectsAndLoneMolecules) {
  EXPECT_EQ(SignedSifText(Tricky()),
            "A&B\tactivates\tC/D\n"
            "C/D\t-\tC/D\n"
            "\"quoted\"\tinhibits\tA&B\n"
            "<tag>\tbinds\t\"quoted\"\n"
            "X,Y\tactivates\tIL-1\xCE\xB2\n"
            "it's\tinhibits\tX,Y\n"
            "it's\tbinds\t<tag>\n");
  // A molecule acting only on itself is not alone; tabs and line breaks cannot stay.
  EXPECT_EQ(SignedSifText(Awkward()),
            "two_lines\tactivates\ttab_bed\n"
            "SELF\t?\tSELF\n"
            "caf\xE9\tinhibits\tSELF\n"
            "LONE\n");
}

// The layout of the aspects, what each holds and the declarations of every attribute are
// checked by exchange_readback.py; here only what the network's own values become.
TEST(ExchangeCx2, NameIdsValuesAndPubmedLists) {
  const Network net = Tricky();
  const ColorShapeTable table = ColorShapeTable::Defaults();
  const Json cx = Json::parse(Cx2Json(net, table, "tricky & co"));
  ASSERT_EQ(cx.size(), 7u);
  EXPECT_EQ(cx[3], Json::parse(R"({"networkAttributes":[{"name":"tricky & co"}]})"));
  const Json& nodes = cx[4].at("nodes");
  const Json& edges = cx[5].at("edges");
  ASSERT_EQ(nodes.size(), net.moleculeCount());
  ASSERT_EQ(edges.size(), net.interactionCount());
  EXPECT_EQ(nodes[0], Json::parse(R"({"id":1,"v":{"name":"A&B","accession":"P00001",
      "extra_id":"NA","type":"Kinase","location":"Cytosol","color":"turquoise",
      "shape":"ellipse"}})"));
  EXPECT_EQ(edges[0].at("v").at("pubmed"), Json::parse("[1001,1002,1003]"));
  EXPECT_EQ(edges[0].at("v").at("interaction"), "activates");
  EXPECT_EQ(edges[1].at("v").at("effect"), "-");
  EXPECT_EQ(edges[1].at("v").at("interaction"), "-");
  EXPECT_EQ(edges[1].at("s"), edges[1].at("t"));
  EXPECT_EQ(edges[2].at("s"), 3);
  EXPECT_EQ(edges[2].at("t"), 1);
  EXPECT_EQ(edges[2].at("v").at("target_type"), "Receptor");

  // Bytes that are not UTF-8 are taken as Latin-1 rather than failing the whole file.
  const Json awkward = Json::parse(Cx2Json(Awkward(), table));
  EXPECT_EQ(awkward[4].at("nodes")[4].at("v").at("name"), "caf\xC3\xA9");
}

TEST(ExchangeWrite, EachFormatWritesItsTextAndGraphMlReadsBack) {
  const test::ScratchDir dir;
  const Network net = Awkward();
  const ColorShapeTable table = ColorShapeTable::Defaults();
  WriteExchange(net, table, ExchangeFormat::GraphMl, dir / "a.graphml");
  WriteExchange(net, table, ExchangeFormat::Table, dir / "a.csv");
  WriteExchange(net, table, ExchangeFormat::SignedSif, dir / "a.sif");
  WriteExchange(net, table, ExchangeFormat::Cx2, dir / "sub" / "awkward.cx2");
  EXPECT_EQ(test::ReadFile(dir / "a.graphml"), GraphMlText(net, table));
  EXPECT_EQ(test::ReadFile(dir / "a.csv"), EdgeTableCsv(net));
  EXPECT_EQ(test::ReadFile(dir / "a.sif"), SignedSifText(net));
  EXPECT_EQ(test::ReadFile(dir / "sub" / "awkward.cx2"), Cx2Json(net, table, "awkward"));

  // The GraphML of this network is well-formed even with control characters and a stray
  // byte in names: the reader gets every molecule back, the lone one included.
  Warnings warnings;
  const Network back = ReadGraphMlText(test::ReadFile(dir / "a.graphml"), "a.graphml", &warnings);
  ASSERT_EQ(back.moleculeCount(), net.moleculeCount());
  EXPECT_EQ(back.molecule(1).name, "two_lines");
  EXPECT_EQ(back.molecule(3).name, "LONE");
  EXPECT_EQ(back.molecule(5).name, "caf\xC3\xA9");
  EXPECT_EQ(back.interactions()[1].effect, "0");  // "?" is no sign
  EXPECT_EQ(warnings.size(), 1u);
}

}  // namespace
}  // namespace tessel
