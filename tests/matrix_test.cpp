// The interactions matrix: order by links, cells by hand, bands and aggregation, the PNG
// file decoded again with libpng, the pixel-to-cell mapping and the page with the names.
#include <gtest/gtest.h>
#include <png.h>

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "output/matrix.h"
#include "test_support.h"

namespace tessel {
namespace {

using test::NetworkFromEdges;

// The matrix of `edges` in `size` pixels, one string per row of pixels: R for the red
// diagonal, K for black and W for white (any other colour throws).
std::vector<std::string> Cells(std::string_view edges, int size) {
  static const std::map<unsigned, char> kinds = {{0xC80000, 'R'}, {0, 'K'}, {0xFFFFFF, 'W'}};
  const RgbImage image = DrawInteractionsMatrix(NetworkFromEdges(edges), size);
  std::vector<std::string> rows(static_cast<std::size_t>(image.height));
  for (std::size_t i = 0; i < image.pixels.size(); i += 3) {
    const unsigned rgb = image.pixels[i] << 16 | image.pixels[i + 1] << 8 | image.pixels[i + 2];
    rows[i / 3 / image.width] += kinds.at(rgb);
  }
  return rows;
}

TEST(Matrix, OrderCellsByHandAndBandsThatTileTheImage) {
  // Links: hub 3, a 2, B 2 (B -> a is the same neighbour), c 1 (a self-interaction is no
  // link), d 1, e 1; ties in display order.
  const Network net = NetworkFromEdges("e d +\nhub B +\nhub a +\nhub c +\na B +\nB a _\nc c +\n");
  std::string order;
  for (const MoleculeId id : MatrixOrder(net)) order += net.nameOf(id) + " ";
  EXPECT_EQ(order, "hub a B c d e ");

  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"A B +\nA C _\n", {"RKK", "KRW", "KWR"}},  // true adjacency, last row and column too
      {"A A +\nB B 0\n", {"RW", "WR"}},           // a self-interaction is only the diagonal
      {"hub a +\nhub b +\nhub c +\na b 0\n", {"RKKK", "KRKW", "KKRW", "KWWR"}},  // by links
      // More molecules than pixels: A-F and B-E land in one pixel, C-D inside the diagonal.
      {"A F +\nB E _\nC D 0\n", {"RWK", "WRW", "KWR"}},
  };
  for (const auto& [edges, rows] : cases) {
    EXPECT_EQ(Cells(edges, static_cast<int>(rows.size())), rows) << edges;
  }
  EXPECT_EQ(DrawInteractionsMatrix(Network{}, 2).pixels, std::vector<std::uint8_t>(12, 255));
  EXPECT_THROW(DrawInteractionsMatrix(net, 0), std::invalid_argument);

  // Three molecules in the default 510 pixels: bands of 170.
  const std::vector<std::string> small = Cells("A B +\nA C _\n", 3),
                                 large = Cells("A B +\nA C _\n", 510);
  ASSERT_EQ(large.size(), 510u);
  for (std::size_t y = 0; y < 510; ++y) {
    const std::string& s = small[y / 170];
    ASSERT_EQ(large[y], std::string(170, s[0]) + std::string(170, s[1]) + std::string(170, s[2]));
  }
  // Every pair linked: no pixel stays white, whatever the rounding of the bands.
  for (const int size : {4, 7, 509}) {
    for (const std::string& row : Cells("A B +\nB C +\nC A +\n", size)) {
      ASSERT_EQ(row.find('W'), std::string::npos) << size << ": " << row;
    }
  }
}

TEST(Matrix, PngFileDecodesToTheDrawnImage) {
  test::ScratchDir dir;
  const Network net = NetworkFromEdges("A B +\nB C _\nC D 0\nD A +\nE E +\nF A -\n");
  WriteInteractionsMatrixPng(net, dir / "sub" / "matrix.png", 37);
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  ASSERT_TRUE(png_image_begin_read_from_file(&png, (dir / "sub" / "matrix.png").c_str()));
  png.format = PNG_FORMAT_RGB;
  std::vector<std::uint8_t> pixels(PNG_IMAGE_SIZE(png));
  ASSERT_TRUE(png_image_finish_read(&png, nullptr, pixels.data(), 0, nullptr)) << png.message;
  EXPECT_TRUE(pixels == DrawInteractionsMatrix(net, 37).pixels);
}

TEST(Matrix, PixelsMapToTheCellsTheImageShows) {
  // Uneven bands (4 molecules in 10 pixels): every pixel's cell agrees with its colour.
  const Network net = NetworkFromEdges("hub a +\nhub b _\nc hub 0\na b +\nb a -\n");
  const std::vector<std::string> image = Cells("hub a +\nhub b _\nc hub 0\na b +\nb a -\n", 10);
  const MatrixLayout layout(net, 10);
  for (int y = 0; y < 10; ++y) {
    for (int x = 0; x < 10; ++x) {
      const MatrixCell cell = layout.cellAt(x, y);
      const char expected =
          cell.row == cell.column ? 'R' : (cell.forward || cell.backward ? 'K' : 'W');
      ASSERT_EQ(image[y][x], expected) << x << "," << y;
    }
  }
  const auto at = [&](int x, int y) { return layout.describe(layout.cellAt(x, y)); };
  EXPECT_EQ(at(9, 0), "c -> hub (0)");  // order: hub, a, b, c
  EXPECT_EQ(at(0, 9), "c -> hub (0)");
  EXPECT_EQ(at(9, 3), "a / c: no interaction");
  EXPECT_EQ(at(5, 3), "a -> b (+), b -> a (-)");
  EXPECT_EQ(at(10, 0), "");
  EXPECT_EQ(layout.cellAt(0, -1).row, 0u);

  // More molecules than pixels: a pixel shows the first molecule of its band.
  const Network six = NetworkFromEdges("A F +\nB E _\nC D 0\n");
  const MatrixLayout small(six, 3);
  std::string rows;
  for (int y = 0; y < 3; ++y) rows += six.nameOf(small.cellAt(0, y).row);
  EXPECT_EQ(rows, "ACE");
}

TEST(Matrix, PageNamesTheAxesWhenCellsAreWideEnough) {
  const Network net = NetworkFromEdges("A B +\nA <C&> _\n");
  EXPECT_TRUE(MatrixLayout(net, 24).labelsFit());  // 8 pixels a cell
  EXPECT_FALSE(MatrixLayout(net, 23).labelsFit());
  EXPECT_FALSE(MatrixLayout(Network{}, 510).labelsFit());

  const std::string labelled = InteractionsMatrixPage(net, "my matrix.png", 24);
  EXPECT_NE(labelled.find("<image href=\"my%20matrix.png\""), std::string::npos) << labelled;
  // Each name twice (rows, columns), escaped, with its tooltip.
  const std::string label = ">&lt;C&amp;&gt;<title>&lt;C&amp;&gt;</title></text>";
  const std::size_t first = labelled.find(label);
  ASSERT_NE(first, std::string::npos) << labelled;
  EXPECT_NE(labelled.find(label, first + 1), std::string::npos);
  EXPECT_EQ(labelled.find("<ol>"), std::string::npos);

  const std::string listed = InteractionsMatrixPage(net, "m.png", 23);
  EXPECT_NE(listed.find("<img src=\"m.png\""), std::string::npos);
  EXPECT_NE(listed.find("<ol>\n<li>A</li>\n<li>&lt;C&amp;&gt;</li>\n<li>B</li>\n</ol>"),
            std::string::npos)
      << listed;
  EXPECT_EQ(listed.find("<text"), std::string::npos);
}

}  // namespace
}  // namespace tessel
