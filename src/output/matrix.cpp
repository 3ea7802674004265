#include "output/matrix.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

#include "net/http.h"
#include "util/error.h"
#include "util/files.h"
#include "util/text.h"

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

MatrixLayout::MatrixLayout(const Network& network, int size)
    : network_(&network), size_(size), order_(MatrixOrder(network)) {
  if (size <= 0) {
    throw std::invalid_argument("the matrix image size must be positive, not " +
                                std::to_string(size));
  }
}

std::pair<int, int> MatrixLayout::band(std::size_t position) const {
  const Band b = BandMap(order_.size(), static_cast<std::size_t>(size_))(position);
  return {static_cast<int>(b.first), static_cast<int>(b.last)};
}

bool MatrixLayout::labelsFit() const {
  return !order_.empty() &&
         static_cast<double>(size_) / static_cast<double>(order_.size()) >= kMatrixLabelMinCell;
}

// The first position whose band reaches past `pixel`: band ends never decrease.
std::size_t MatrixLayout::positionAt(int pixel) const {
  std::size_t low = 0;
  std::size_t high = order_.size() - 1;
  while (low < high) {
    const std::size_t middle = low + (high - low) / 2;
    if (band(middle).second > pixel) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  return low;
}

MatrixCell MatrixLayout::cellAt(int x, int y) const {
  MatrixCell cell;
  if (order_.empty() || x < 0 || y < 0 || x >= size_ || y >= size_) return cell;
  cell.row = order_[positionAt(y)];
  cell.column = order_[positionAt(x)];
  cell.forward = network_->findInteraction(cell.row, cell.column);
  cell.backward =
      cell.row == cell.column ? nullptr : network_->findInteraction(cell.column, cell.row);
  return cell;
}

std::string MatrixLayout::describe(const MatrixCell& cell) const {
  if (cell.row == 0 || cell.column == 0) return {};
  const std::string& row = network_->nameOf(cell.row);
  const std::string& column = network_->nameOf(cell.column);
  if (cell.forward == nullptr && cell.backward == nullptr) {
    return row + " / " + column + ": no interaction";
  }
  std::string text;
  if (cell.forward != nullptr) text = row + " -> " + column + " (" + cell.forward->effect + ")";
  if (cell.backward != nullptr) {
    if (!text.empty()) text += ", ";
    text += column + " -> " + row + " (" + cell.backward->effect + ")";
  }
  return text;
}

namespace {

// Names longer than this are cut (whole UTF-8 characters) and end in "...": the full name
// is the label's tooltip.
constexpr std::size_t kLabelCharacters = 24;

std::string ShortLabel(std::string_view name) {
  std::size_t characters = 0;
  for (std::size_t at = 0; at < name.size(); ++at) {
    const auto byte = static_cast<unsigned char>(name[at]);
    if ((byte & 0xC0) == 0x80) continue;  // inside a character
    if (++characters > kLabelCharacters) return std::string(name.substr(0, at)) + "...";
  }
  return std::string(name);
}

std::size_t CharacterCount(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

// One name as SVG text, with the full name as its tooltip.
void AppendLabel(std::string& out, std::string_view name, std::string_view position) {
  out += "<text ";
  out += position;
  out += '>';
  out += HtmlEscape(ShortLabel(name));
  out += "<title>";
  out += HtmlEscape(name);
  out += "</title></text>\n";
}

}  // namespace

std::string InteractionsMatrixPage(const Network& network, std::string_view pngName, int size,
                                   const PageContext& context) {
  const MatrixLayout layout(network, size);
  const std::vector<MoleculeId>& order = layout.order();
  const std::string image = HtmlEscape(UrlEncode(pngName));  // a relative link
  std::string page = "<html><body>\n<h3>Interactions Matrix</h3>\n";

  if (!layout.labelsFit()) {
    page += "<p><img src=\"" + image + "\" width=\"" + std::to_string(size) + "\" height=\"" +
            std::to_string(size) + "\" alt=\"Interactions matrix\"></p>\n";
    if (!order.empty()) {
      page += "<p>The names of the " + std::to_string(order.size()) +
              " molecules do not fit beside the matrix (names need cells of " +
              FormatNumber(kMatrixLabelMinCell) + " pixels, these have " +
              FormatNumber(static_cast<double>(size) / static_cast<double>(order.size())) +
              "). Rows from the top and columns from the left:</p>\n<ol>\n";
      for (const MoleculeId id : order) page += "<li>" + HtmlEscape(network.nameOf(id)) + "</li>\n";
      page += "</ol>\n";
    }
  } else {
    const double cell = static_cast<double>(size) / static_cast<double>(order.size());
    const int font = static_cast<int>(std::min(12.0, std::floor(cell) - 1.0));
    std::size_t longest = 0;
    for (const MoleculeId id : order) {
      longest = std::max(longest, CharacterCount(ShortLabel(network.nameOf(id))));
    }
    // Room for the longest name: about 0.6 of the font size per character.
    const int margin = static_cast<int>(std::ceil(0.6 * font * static_cast<double>(longest))) + 8;
    const int total = margin + size;
    page += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + std::to_string(total) +
            "\" height=\"" + std::to_string(total) + "\" font-family=\"sans-serif\" font-size=\"" +
            std::to_string(font) + "\">\n<image href=\"" + image + "\" x=\"" +
            std::to_string(margin) + "\" y=\"" + std::to_string(margin) + "\" width=\"" +
            std::to_string(size) + "\" height=\"" + std::to_string(size) + "\"/>\n";
    // A frame, so that the white cells at the edges still show where the matrix ends.
    page += "<rect x=\"" + std::to_string(margin) + "\" y=\"" + std::to_string(margin) +
            "\" width=\"" + std::to_string(size) + "\" height=\"" + std::to_string(size) +
            "\" fill=\"none\" stroke=\"#999\"/>\n";
    for (std::size_t p = 0; p < order.size(); ++p) {
      const auto [first, last] = layout.band(p);
      const std::string middle = FormatNumber(margin + (first + last) / 2.0);
      const std::string& name = network.nameOf(order[p]);
      // Row names end at the image's left edge; column names rise from its top edge.
      AppendLabel(page, name,
                  "x=\"" + std::to_string(margin - 4) + "\" y=\"" + middle +
                      "\" text-anchor=\"end\" dominant-baseline=\"central\"");
      AppendLabel(page, name,
                  "transform=\"translate(" + middle + "," + std::to_string(margin - 4) +
                      ") rotate(-90)\" dominant-baseline=\"central\"");
    }
    page += "</svg>\n";
  }
  page += "</body></html>\n";
  return WithPageContext(std::move(page), context, "Interactions Matrix");
}

std::filesystem::path WriteInteractionsMatrix(const Network& network,
                                              const std::filesystem::path& pngPath, int size,
                                              const PageContext& context) {
  WriteInteractionsMatrixPng(network, pngPath, size);
  std::filesystem::path page = pngPath;
  page.replace_extension(".htm");
  WriteFileAtomically(page,
                      InteractionsMatrixPage(network, pngPath.filename().string(), size, context));
  return page;
}

}  // namespace tessel
