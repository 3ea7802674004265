// The drawing of the whole network: its DOT text, a JPEG image and an SVG with the
// pan-and-zoom navigation bar, written side by side.
#pragma once

#include <filesystem>
#include <string_view>

#include "model/color_table.h"
#include "model/network.h"

namespace tessel {

struct DrawResult {
  std::filesystem::path dot;   // <folder>/<baseName>.dot
  std::filesystem::path jpeg;  // <folder>/<baseName>.jpg
  std::filesystem::path svg;   // <folder>/<baseName>.svg
};

// Draws every molecule and interaction of `network` (size "37.5,50", no edge
// concentration, nodes linking to their molecule pages) and writes baseName.dot,
// baseName.jpg and baseName.svg (navigation mode 2) into `folder`, creating it if needed.
// Both images are rendered before anything is written, and each file is replaced only by a
// complete new one. Throws std::invalid_argument when `baseName` is not a plain file name,
// RenderError when Graphviz fails and OutputError when a file cannot be written.
DrawResult DrawNetwork(const Network& network, const ColorShapeTable& colors,
                       const std::filesystem::path& folder, std::string_view baseName);

}  // namespace tessel
