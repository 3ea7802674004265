// The drawing of the whole network: its DOT text, a JPEG image and an SVG with the
// pan-and-zoom navigation bar, written side by side.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "model/color_table.h"
#include "model/network.h"
#include "util/progress.h"

namespace tessel {

// Whole-network drawings of more molecules than this are hard to read and can take long:
// the window asks before drawing one, the command line wants --force.
inline constexpr std::size_t kLargeDrawingMolecules = 100;

// Above either of these sizes the whole network is laid out with kFastLayoutEngine instead
// of dot. dot's time grows steeply with the interactions: measured on synthetic networks,
// 100 molecules with 300 interactions took 5 s, with 400 interactions 24 s, and 300 with
// 900 more than 2 minutes; sfdp lays out 3,000 molecules in seconds.
inline constexpr std::size_t kFastLayoutMolecules = 150;
inline constexpr std::size_t kFastLayoutInteractions = 300;
inline constexpr const char* kFastLayoutEngine = "sfdp";

// Beyond these sizes the drawing is refused, with --force or without, before Graphviz is
// called: molecules and interactions together, and the bytes of one molecule name.
// Measured: a chain of 20,000 molecules (39,999 elements) takes 90 s and 150 MB with sfdp,
// and a chain of 50,000 had not finished after 8 minutes; a chain of 300,000 overflowed
// the stack. A
// name of 60,000 letters still drew, one of 80,000 gave an empty JPEG (the image is scaled
// to 37.5 inches, and the name's node becomes too thin to draw); the limit keeps a margin
// for wide letters.
inline constexpr std::size_t kMaxDrawingElements = 40000;
inline constexpr std::size_t kMaxDrawingNameLength = 32768;

// Empty when DrawNetwork can draw `network`; otherwise why not, in words.
std::string DrawingSizeProblem(const Network& network);

// True when DrawNetwork lays `network` out with kFastLayoutEngine.
bool UsesFastLayout(const Network& network);

struct DrawResult {
  std::filesystem::path dot;   // <folder>/<baseName>.dot
  std::filesystem::path jpeg;  // <folder>/<baseName>.jpg
  std::filesystem::path svg;   // <folder>/<baseName>.svg
};

// Whether `name` can name a file in a folder: not empty, not "." or "..", no separator.
bool IsPlainFileName(std::string_view name);

// Draws every molecule and interaction of `network` (size "37.5,50", no edge
// concentration, nodes linking to their molecule pages) and writes baseName.dot,
// baseName.jpg and baseName.svg (navigation mode 2) into `folder`, creating it if needed.
// A large network (UsesFastLayout) is laid out with the fast engine, which its DOT file
// names. The layout is made once for both images, with the layout, SVG and JPEG reported
// as steps to `progress`. Both images are rendered before anything is written, and each
// file is replaced only by a complete new one. Throws std::invalid_argument when
// `baseName` is not a plain file name, RenderError naming the drawing's file when the
// network is beyond the limits above (before Graphviz is called) or Graphviz fails, and
// OutputError when a file cannot be written.
DrawResult DrawNetwork(const Network& network, const ColorShapeTable& colors,
                       const std::filesystem::path& folder, std::string_view baseName,
                       Progress& progress);
DrawResult DrawNetwork(const Network& network, const ColorShapeTable& colors,
                       const std::filesystem::path& folder, std::string_view baseName);

}  // namespace tessel
