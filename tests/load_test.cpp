// Loading a network with its colours table: where the table comes from and when the
// default one is written.
#include "model/load.h"

#include <gtest/gtest.h>

#include "test_support.h"
#include "util/error.h"

namespace tessel {
namespace {

constexpr std::string_view kRow =
    "EGF P1 NA Ligand Extracellular EGFR P2 NA Receptor Membrane + binding 1\n";

TEST(LoadWithColors, WritesTheDefaultTableOnceIntoTheOutputFolder) {
  test::ScratchDir in, out;
  test::WriteFile(in / "net.sig", kRow);
  Warnings warnings;
  NetworkWithColors first = LoadNetworkWithColors(in / "net.sig", {}, out.path(), &warnings);
  EXPECT_EQ(first.network.interactionCount(), 1u);
  EXPECT_EQ(first.colorsWritten, out / "colors_and_shapes.txt");
  EXPECT_EQ(test::ReadFile(first.colorsWritten), ColorShapeTable::DefaultText());
  EXPECT_FALSE(std::filesystem::exists(in / "colors_and_shapes.txt"));
  // The next load finds the table written and writes nothing.
  const NetworkWithColors second = LoadNetworkWithColors(in / "net.sig", {}, out.path());
  EXPECT_TRUE(second.colorsWritten.empty());
  EXPECT_EQ(second.colors.entries().size(), first.colors.entries().size());
}

TEST(LoadWithColors, PrefersTheTableBesideTheNetworkAndWritesNothingForABadFile) {
  test::ScratchDir in, out;
  test::WriteFile(in / "net.sig", kRow);
  test::WriteFile(in / "colors_and_shapes.txt", "Ligand gold box");
  test::WriteFile(out / "colors_and_shapes.txt", "Ligand red ellipse");
  const NetworkWithColors loaded = LoadNetworkWithColors(in / "net.sig", {}, out.path());
  EXPECT_TRUE(loaded.colorsWritten.empty());
  EXPECT_EQ(loaded.colors.colorOf(loaded.network, "EGF"), "gold");
  std::filesystem::path written = "stale";
  EXPECT_EQ(LoadColorsFor(in / "net.sig", out.path(), &written).entries().size(), 1u);
  EXPECT_TRUE(written.empty());

  // A file that is not a network fails before any table is written.
  test::ScratchDir empty;
  test::WriteFile(in / "bad.sig", "A B C\n");
  EXPECT_THROW(LoadNetworkWithColors(in / "bad.sig", {}, empty.path()), InputError);
  EXPECT_FALSE(std::filesystem::exists(empty / "colors_and_shapes.txt"));
}

}  // namespace
}  // namespace tessel
