// The interactions matrix: molecules from the most to the least connected along both axes,
// a black cell where two molecules are linked, a red diagonal, white elsewhere.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "model/network.h"

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

}  // namespace tessel
