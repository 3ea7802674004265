// The interactions matrix: molecules from the most to the least connected along both axes,
// a black cell where two molecules are linked, a red diagonal, white elsewhere.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/network.h"
#include "output/page_context.h"

namespace tessel {

// Rows and columns: molecule ids in descending order of links (distinct neighbours); ties
// keep the display order.
std::vector<MoleculeId> MatrixOrder(const Network& network);

// An RGB image of `size` x `size` pixels. Each molecule gets a band of size / n pixels;
// when there are more molecules than pixels, a pixel shows black if any pair it covers is
// linked, and red if it covers a diagonal cell.
struct RgbImage {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> pixels;  // row-major, 3 bytes a pixel
};
RgbImage DrawInteractionsMatrix(const Network& network, int size = 510);

// Writes the matrix as a PNG file (atomically).
void WriteInteractionsMatrixPng(const Network& network, const std::filesystem::path& path,
                                int size = 510);

// Molecule names go beside the rows and above the columns when a cell is at least this
// many pixels wide: smaller text cannot be read.
inline constexpr double kMatrixLabelMinCell = 8.0;

// What one pixel of the image shows: the molecules of its row and column (0 outside the
// image) and the interactions between them in either direction, or none.
struct MatrixCell {
  MoleculeId row = 0;
  MoleculeId column = 0;
  const Interaction* forward = nullptr;   // row -> column
  const Interaction* backward = nullptr;  // column -> row
};

// The layout of a matrix image of `size` pixels: which molecule each band of pixels shows.
// Built once; answers pixel questions (a tooltip) without drawing again. The network must
// outlive it.
class MatrixLayout {
 public:
  explicit MatrixLayout(const Network& network, int size = 510);

  const std::vector<MoleculeId>& order() const { return order_; }
  int size() const { return size_; }
  // The pixels [first, last) of the band of the molecule at `position`, along either axis.
  std::pair<int, int> band(std::size_t position) const;
  // True when a cell is wide enough for names (kMatrixLabelMinCell).
  bool labelsFit() const;

  // The cell under pixel (x, y). Where several molecules share a pixel (more molecules than
  // pixels) the first of them is taken.
  MatrixCell cellAt(int x, int y) const;
  // "EGFR -> GRB2 (+)" and the like; both directions when both exist; "EGF / JUN: no
  // interaction"; empty outside the image.
  std::string describe(const MatrixCell& cell) const;

 private:
  std::size_t positionAt(int pixel) const;

  const Network* network_;
  int size_;
  std::vector<MoleculeId> order_;
};

// The page shown beside the PNG: the image with the molecule names along both axes when
// they fit (MatrixLayout::labelsFit), else the image and the list of names in axis order.
// `pngName` is the image's file name as the page links to it.
std::string InteractionsMatrixPage(const Network& network, std::string_view pngName, int size = 510,
                                   const PageContext& context = {});

// Writes the PNG and, beside it, the page (the PNG's name with ".htm"); returns the page.
std::filesystem::path WriteInteractionsMatrix(const Network& network,
                                              const std::filesystem::path& pngPath, int size = 510,
                                              const PageContext& context = {});

}  // namespace tessel
