// The colours-and-shapes table: defaults, parsing and lookups.
#include <gtest/gtest.h>

#include "model/color_table.h"
#include "model/readers.h"
#include "test_support.h"

namespace tessel {
namespace {

TEST(ColorTable, MissingFileWritesTheDefaultsWhichReadBackIdentically) {
  test::ScratchDir dir;
  bool wrote = false;
  const ColorShapeTable table = ColorShapeTable::LoadOrCreate({dir.path()}, dir.path(), &wrote);
  EXPECT_TRUE(wrote);
  const std::string text = test::ReadFile(dir / "colors_and_shapes.txt");
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 31);  // 32 lines, no final line end
  EXPECT_EQ(text.substr(0, 19), "Ligand red ellipse\n");
  EXPECT_EQ(text.substr(text.size() - 26), "\ndefault turquoise ellipse");
  ASSERT_EQ(table.entries().size(), 32u);

  // A second load reads the written file and writes nothing.
  const ColorShapeTable again = ColorShapeTable::LoadOrCreate({dir.path()}, dir.path(), &wrote);
  EXPECT_FALSE(wrote);
  ASSERT_EQ(again.entries().size(), 32u);
  EXPECT_EQ(again.entries()[11].type, "TF");
  EXPECT_EQ(again.entries()[11].color, "pink2");
}

TEST(ColorTable, EmptyFileIsReplacedAndSearchOrderIsRespected) {
  test::ScratchDir networkDir, outputDir;
  test::WriteFile(networkDir / "colors_and_shapes.txt", "");
  test::WriteFile(outputDir / "colors_and_shapes.txt", "Kinase gold box");
  bool wrote = true;
  const ColorShapeTable table = ColorShapeTable::LoadOrCreate({networkDir.path(), outputDir.path()},
                                                              outputDir.path(), &wrote);
  EXPECT_FALSE(wrote);  // the empty file is skipped, the one-line table further on is valid
  ASSERT_EQ(table.entries().size(), 1u);
  EXPECT_EQ(table.entries()[0].color, "gold");
}

TEST(ColorTable, ParseIsAStreamOfWordsWithoutPhantomEntries) {
  EXPECT_EQ(ColorShapeTable::Parse("Ligand red ellipse\nTF pink2 ellipse\n").entries().size(), 2u);
  // A short line shifts the following words into the next entry; the incomplete tail is dropped.
  const ColorShapeTable shifted = ColorShapeTable::Parse("Ligand red\nTF pink2 ellipse\n");
  ASSERT_EQ(shifted.entries().size(), 1u);
  EXPECT_EQ(shifted.entries()[0].shape, "TF");
}

TEST(ColorTable, LookupsByNameTypeAndDefault) {
  const Network net = ReadSigText(
      "L NA NA Ligand Extracellular R1 NA NA Receptor Membrane + NA 1\n"
      "L NA NA Ligand Extracellular R2 NA NA Receptor Membrane + NA 2\n"
      "R1 NA NA Receptor Membrane X NA NA Mystery Cytosol + NA 3\n",
      "t.sig");
  const ColorShapeTable table = ColorShapeTable::Parse(
      "R1 yellow1 box\nReceptor limegreen ellipse\nLigand red ellipse\ndefault turquoise ellipse");
  EXPECT_EQ(table.colorOf(net, "R1"), "yellow1");
  EXPECT_EQ(table.shapeOf(net, "R1"), "box");
  EXPECT_EQ(table.colorOf(net, "R2"), "limegreen");
  EXPECT_EQ(table.colorOf(net, "L"), "red");
  EXPECT_EQ(table.colorOf(net, "X"), "turquoise");               // unknown type
  EXPECT_EQ(table.colorOf(net, "not-in-network"), "turquoise");  // not a molecule

  const ColorShapeTable noDefault = ColorShapeTable::Parse("Ligand red ellipse");
  EXPECT_EQ(noDefault.colorOf(net, "X"), "lightblue3");
  EXPECT_EQ(noDefault.shapeOf(net, "X"), "box");
}

}  // namespace
}  // namespace tessel
