// Files for other network tools: Pajek (against a checked copy), MFinder arcs and names,
// the Cytoscape interaction words, the SIG rows of the largest island, and writing them,
// each format of the export command with its own writer.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "model/readers.h"
#include "output/export_formats.h"
#include "output/exports.h"
#include "test_support.h"
#include "util/error.h"

namespace tessel {
namespace {

namespace fs = std::filesystem;
using test::NetworkFromEdges;
using test::ReadFile;

TEST(Exports, PajekMatchesGoldenFile) {
  // Every vertex style, a quoted name, display order against creation ids, every arc colour,
  // a self-interaction kept and a "-" left out.
  test::ExpectGolden(PajekText(LoadNetwork(test::GoldenDir() / "pajek_small.sig")),
                     "pajek_small.net");
  EXPECT_EQ(PajekText(Network{}), "*Vertices    0\n*Arcs\n");
}

TEST(Exports, SifWordByTheFirstMatchingRuleOnTheInteractionsOwnTypes) {
  NetworkBuilder b;
  b.addRow({"cAMP", "NA", "NA", "Messenger"}, {"Gene", "NA", "NA", "DNA"}, "+", "NA", 1);
  b.addRow({"cAMP", "NA", "NA", "Messenger"}, {"PKA", "NA", "NA", "Kinase"}, "+", "NA", 1);
  b.addRow({"PKA"}, {"Ca", "NA", "NA", "Ion"}, "_", "NA", 1);
  b.addRow({"PKA"}, {"cAMP", "NA", "NA", "Messenger"}, "0", "NA", 1);
  b.addRow({"PKA"}, {"Gene", "NA", "NA", "Protein"}, "+", "NA", 1);  // Gene is DNA elsewhere
  b.addRow({"Ca"}, {"PKA"}, "+", "NA", 1);
  EXPECT_EQ(CytoscapeSifText(b.build()),
            "cAMP pd Gene\ncAMP mp PKA\nPKA pm Ca\nPKA pm cAMP\nPKA pp Gene\nCa pp PKA\n");
}

TEST(Exports, BigClusterRowsOfTheLargestIslandWithEmptyFieldsAsNA) {
  const EndPoint a{"A", "P1", "X1", "Receptor", "Membrane"},
      b{"B", "P2", "NA", "Kinase", "Cytosol"}, c{"C", "P3", "NA", "TF", "Nucleus"};
  NetworkBuilder builder;
  builder.addRow(a, b, "+", "binding", 11);
  builder.addRow({"D", "P4"}, {"E", "P5"}, "_", "NA", 20);
  builder.addRow(a, b, "+", "binding", 12);  // merged: the first reference is written
  builder.addRow(c, c, "-", "NA", 14);
  builder.addRow({"F", "", "", "", ""}, b, "0", "", 15);
  builder.addRow(c, {"B", "P2", "NA", "Kinase", "Nucleus"}, "0", "complex", 13);
  EXPECT_EQ(BigClusterSigText(builder.build()),
            "A P1 X1 Receptor Membrane B P2 NA Kinase Cytosol + binding 11\n"
            "C P3 NA TF Nucleus C P3 NA TF Nucleus - NA 14\n"
            "F NA NA NA NA B P2 NA Kinase Cytosol 0 NA 15\n"
            "C P3 NA TF Nucleus B P2 NA Kinase Nucleus 0 complex 13\n");
}

TEST(Exports, WriteMfinderWithNamesBesideAndEachOtherFormat) {
  test::ScratchDir dir;
  // Ids C 1, D 2, A 3, B 4. MFinder leaves self-interactions out, writes the reverse of a
  // neutral interaction first and "-" once; the names are in display order.
  const Network net = NetworkFromEdges("C D -\nA B +\nB B 0\nB C 0\nC C +\nD A _\n");
  const fs::path file = dir / "out" / "input_for_mfinder.txt";
  EXPECT_EQ(WriteExport(net, ExportFormat::Mfinder, file),
            (std::vector<fs::path>{file, dir / "out" / "names.txt"}));
  EXPECT_EQ(ReadFile(file),
            "   1    2    1\n   3    4    1\n   1    4    1\n   4    1    1\n   2    3    1\n");
  EXPECT_EQ(ReadFile(dir / "out" / "names.txt"), "3 A\n4 B\n1 C\n2 D\n");
  test::WriteFile(dir / "names.txt", "kept\n");  // the arcs cannot go over the names
  EXPECT_THROW(WriteExport(net, ExportFormat::Mfinder, dir / "names.txt"), OutputError);
  EXPECT_EQ(ReadFile(dir / "names.txt"), "kept\n");

  for (const auto& [format, name, text] :
       {std::tuple{ExportFormat::Pajek, "n.net", PajekText(net)},
        {ExportFormat::Sif, "n.sif", CytoscapeSifText(net)},
        {ExportFormat::BigCluster, "n.sig", BigClusterSigText(net)}}) {
    EXPECT_EQ(WriteExport(net, format, dir / name), std::vector<fs::path>{dir / name});
    EXPECT_EQ(ReadFile(dir / name), text);
  }
}

TEST(Exports, EveryFormatWritesItsDefaultFileWithItsOwnWriter) {
  test::ScratchDir dir;
  const Network net = NetworkFromEdges("A B +\nB C _\nC A 0\n");
  const ColorShapeTable colors = ColorShapeTable::Defaults();
  // How each file starts: the writer behind each name.
  const std::vector<std::pair<std::string, std::string>> starts = {
      {"pajek", "*Vertices"},
      {"mfinder", "   1    2    1"},
      {"sif", "A pp B"},
      {"big-cluster", "A NA NA Protein Cytosol B"},
      {"graphml", "<?xml"},
      {"table", "source,source_accession"},
      {"signed-sif", "A\tactivates\tB"},
      {"cx2", "["}};
  ASSERT_EQ(ExportFormats().size(), starts.size());
  std::set<std::string> files;
  for (const auto& [name, start] : starts) {
    const ExportFormatInfo* format = FindExportFormat(name);
    ASSERT_NE(format, nullptr) << name;
    EXPECT_TRUE(files.insert(std::string(format->defaultFile)).second) << "shared default file";
    const fs::path file = dir / format->defaultFile;
    EXPECT_EQ(WriteExportFormat(net, colors, *format, file).front(), file);
    EXPECT_EQ(ReadFile(file).substr(0, start.size()), start) << name;
  }
  EXPECT_EQ(FindExportFormat("csv"), nullptr);
}

}  // namespace
}  // namespace tessel
