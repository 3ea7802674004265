// Exchange files on what only a program can put in a network: a line break and a tab inside
// names, a byte that is not UTF-8, a molecule without interactions, one that only acts on
// itself. Networks read from SIG files are checked by tests/exchange_readback.py, which loads
// every exchange file with outside readers; the GraphML reader and writer in graphml_test.cpp.
#include <gtest/gtest.h>

#include <string>

#include <nlohmann/json.hpp>

#include "model/color_table.h"
#include "model/readers.h"
#include "output/exchange.h"
#include "test_support.h"

namespace tessel {
namespace {

using Json = nlohmann::json;

Network Awkward() {
  NetworkBuilder builder;
  builder.addRow({"two\nlines"}, {"tab\tbed", "P1"}, "+", "NA", 5);
  builder.addMolecule({"LONE"});
  builder.addRow({"SELF"}, {"SELF"}, "?", "NA", 6);
  builder.addRow({"caf\xE9"}, {"SELF"}, "_", "NA", 7);
  return builder.build();
}

TEST(ExchangeText, TableQuotesLineBreaksAndSifReplacesThem) {
  EXPECT_EQ(EdgeTableCsv(Awkward()).substr(EdgeTableCsv(Awkward()).find('\n') + 1),
            "\"two\nlines\",NA,NA,NA,NA,tab\tbed,P1,NA,NA,NA,+,NA,5\n"
            "SELF,NA,NA,NA,NA,SELF,NA,NA,NA,NA,?,NA,6\n"
            "caf\xE9,NA,NA,NA,NA,SELF,NA,NA,NA,NA,_,NA,7\n");
  // A molecule acting only on itself is not alone; tabs and line breaks cannot stay.
  EXPECT_EQ(SignedSifText(Awkward()),
            "two_lines\tactivates\ttab_bed\n"
            "SELF\t?\tSELF\n"
            "caf\xE9\tinhibits\tSELF\n"
            "LONE\n");
}

// The layout of the aspects, their counts and the declared types are checked by
// exchange_readback.py; here the network's name, a node's drawing and what is not UTF-8.
TEST(ExchangeCx2, NameNodeDrawingAndLatin1Bytes) {
  const test::ScratchDir dir;
  const Network net = Awkward();
  const ColorShapeTable table = ColorShapeTable::Defaults();
  WriteExchange(net, table, ExchangeFormat::Cx2, dir / "sub" / "awkward & co.cx2");
  const std::string text = test::ReadFile(dir / "sub" / "awkward & co.cx2");
  EXPECT_EQ(text, Cx2Json(net, table, "awkward & co"));
  const Json cx = Json::parse(text);
  ASSERT_EQ(cx.size(), 7u);
  EXPECT_EQ(cx[3], Json::parse(R"({"networkAttributes":[{"name":"awkward & co"}]})"));
  EXPECT_EQ(cx[4].at("nodes")[1], Json::parse(R"({"id":2,"v":{"name":"tab\tbed",
      "accession":"P1","extra_id":"NA","type":"NA","location":"NA","color":"turquoise",
      "shape":"ellipse"}})"));
  // Bytes that are not UTF-8 are taken as Latin-1 rather than failing the whole file.
  EXPECT_EQ(cx[4].at("nodes")[4].at("v").at("name"), "caf\xC3\xA9");
}

}  // namespace
}  // namespace tessel
