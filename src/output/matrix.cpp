#include "output/matrix.h"

#include <png.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

#include "util/error.h"
#include "util/files.h"

namespace tessel {
namespace {

struct Rgb {
  std::uint8_t r, g, b;
};
constexpr Rgb kBlack{0, 0, 0};
constexpr Rgb kDiagonal{200, 0, 0};

// The pixels [first, last) along one axis that show the molecule at a position. With at
// least as many pixels as molecules every band is at least one pixel wide and the bands
// tile the axis; with more molecules than pixels several positions share one pixel.
struct Band {
  std::size_t first;
  std::size_t last;
};

class BandMap {
 public:
  BandMap(std::size_t molecules, std::size_t pixels) : n_(molecules), size_(pixels) {}
  Band operator()(std::size_t position) const {
    const std::size_t first = position * size_ / n_;
    const std::size_t last = std::max(first + 1, (position + 1) * size_ / n_);
    return {first, last};
  }

 private:
  std::size_t n_;
  std::size_t size_;
};

void Fill(RgbImage& image, Band rows, Band columns, Rgb colour) {
  const auto width = static_cast<std::size_t>(image.width);
  for (std::size_t y = rows.first; y < rows.last; ++y) {
    std::uint8_t* p = image.pixels.data() + (y * width + columns.first) * 3;
    for (std::size_t x = columns.first; x < columns.last; ++x) {
      *p++ = colour.r;
      *p++ = colour.g;
      *p++ = colour.b;
    }
  }
}

}  // namespace

std::vector<MoleculeId> MatrixOrder(const Network& network) {
  const auto display = network.displayOrder();
  std::vector<MoleculeId> order(display.begin(), display.end());
  std::stable_sort(order.begin(), order.end(), [&network](MoleculeId a, MoleculeId b) {
    return network.linkCount(a) > network.linkCount(b);
  });
  return order;
}

RgbImage DrawInteractionsMatrix(const Network& network, int size) {
  if (size <= 0) {
    throw std::invalid_argument("the matrix image size must be positive, not " +
                                std::to_string(size));
  }
  RgbImage image;
  image.width = size;
  image.height = size;
  const auto pixels = static_cast<std::size_t>(size);
  image.pixels.assign(pixels * pixels * 3, 255);

  const std::size_t n = network.moleculeCount();
  if (n == 0) return image;

  const std::vector<MoleculeId> order = MatrixOrder(network);
  std::vector<std::size_t> position(n + 1);
  for (std::size_t p = 0; p < n; ++p) position[order[p]] = p;
  const BandMap band(n, pixels);

  // Only linked pairs are visited, so the cost grows with the links and the image area,
  // not with the square of the molecule count. Neighbour lists are symmetric, so both
  // cells of a pair are painted.
  for (std::size_t p = 0; p < n; ++p) {
    const Band rows = band(p);
    for (const MoleculeId other : network.neighbours(order[p])) {
      Fill(image, rows, band(position[other]), kBlack);
    }
  }
  // Last, so that a pixel covering a diagonal cell is red even when it also covers a link.
  for (std::size_t p = 0; p < n; ++p) Fill(image, band(p), band(p), kDiagonal);
  return image;
}

void WriteInteractionsMatrixPng(const Network& network, const std::filesystem::path& path,
                                int size) {
  const RgbImage image = DrawInteractionsMatrix(network, size);

  png_image png;
  std::memset(&png, 0, sizeof png);
  png.version = PNG_IMAGE_VERSION;
  png.width = static_cast<png_uint_32>(image.width);
  png.height = static_cast<png_uint_32>(image.height);
  png.format = PNG_FORMAT_RGB;

  std::string encoded(PNG_IMAGE_PNG_SIZE_MAX(png), '\0');
  png_alloc_size_t bytes = encoded.size();
  const int ok =
      png_image_write_to_memory(&png, encoded.data(), &bytes, 0, image.pixels.data(), 0, nullptr);
  const std::string message = png.message;
  png_image_free(&png);
  if (!ok) throw OutputError(path.string() + ": cannot encode the PNG image: " + message);
  encoded.resize(bytes);
  WriteFileAtomically(path, encoded);
}

}  // namespace tessel
