// Exchange files: the CSV edge table, the signed SIF and CX2 on a small network with awkward
// names, and the files WriteExchange writes. The GraphML writer is tested through the reader
// in graphml_test.cpp; tests/exchange_readback.py loads all of them with outside readers.
#include <gtest/gtest.h>

#include <map>
#include <set>
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

// The CX2 declaration type that a JSON value has, as far as this writer uses them.
std::string Cx2TypeOf(const Json& value) {
  if (value.is_string()) return "string";
  if (value.is_array()) {
    for (const Json& item : value) {
      if (!item.is_number_integer()) return "list of something else";
    }
    return "list_of_long";
  }
  return "other";
}

TEST(ExchangeCx2, AspectsCountsDeclarationsAndReferences) {
  const Network net = Tricky();
  const ColorShapeTable table = ColorShapeTable::Defaults();
  const Json cx = Json::parse(Cx2Json(net, table, "tricky & co"));
  ASSERT_TRUE(cx.is_array());
  ASSERT_EQ(cx.size(), 7u);
  EXPECT_EQ(cx.front(), Json::parse(R"({"CXVersion":"2.0","hasFragments":false})"));
  EXPECT_EQ(cx.back(), Json::parse(R"({"status":[{"error":"","success":true}]})"));

  std::map<std::string, const Json*> aspects;
  for (std::size_t k = 1; k < cx.size(); ++k) {
    const Json& aspect = cx[k];
    ASSERT_EQ(aspect.size(), 1u);
    aspects[aspect.begin().key()] = &aspect.begin().value();
  }
  for (const Json& meta : *aspects.at("metaData")) {
    SCOPED_TRACE(meta.dump());
    const std::string name = meta.at("name").get<std::string>();
    ASSERT_TRUE(aspects.count(name));
    EXPECT_EQ(meta.at("elementCount").get<std::size_t>(), aspects.at(name)->size());
  }
  EXPECT_EQ(aspects.at("metaData")->size(), 4u);
  EXPECT_EQ(*aspects.at("networkAttributes"), Json::parse(R"([{"name":"tricky & co"}])"));

  const Json& nodes = *aspects.at("nodes");
  const Json& edges = *aspects.at("edges");
  ASSERT_EQ(nodes.size(), net.moleculeCount());
  ASSERT_EQ(edges.size(), net.interactionCount());
  const Json& declared = aspects.at("attributeDeclarations")->at(0);
  std::set<long long> nodeIds;
  for (const Json& node : nodes) {
    EXPECT_TRUE(nodeIds.insert(node.at("id").get<long long>()).second);
    const Molecule& m = net.molecule(node.at("id").get<MoleculeId>());
    EXPECT_EQ(node.at("v").at("name"), m.name);
    EXPECT_EQ(node.at("v").at("color"), std::string(table.colorOf(net, m.name)));
    for (const auto& [name, value] : node.at("v").items()) {
      EXPECT_EQ(declared.at("nodes").at(name).at("d"), Cx2TypeOf(value)) << name;
    }
  }
  for (const Json& edge : edges) {
    EXPECT_TRUE(nodeIds.count(edge.at("s").get<long long>()));
    EXPECT_TRUE(nodeIds.count(edge.at("t").get<long long>()));
    for (const auto& [name, value] : edge.at("v").items()) {
      EXPECT_EQ(declared.at("edges").at(name).at("d"), Cx2TypeOf(value)) << name;
    }
  }
  EXPECT_EQ(declared.at("networkAttributes").at("name").at("d"), "string");
  EXPECT_EQ(edges[0].at("v").at("pubmed"), Json::parse("[1001,1002,1003]"));
  EXPECT_EQ(edges[0].at("v").at("interaction"), "activates");
  EXPECT_EQ(edges[1].at("v").at("effect"), "-");
  EXPECT_EQ(edges[1].at("s"), edges[1].at("t"));
  EXPECT_EQ(edges[2].at("v").at("target_type"), "Receptor");
  EXPECT_EQ(nodes[0].at("v").at("type"), "Kinase");

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
