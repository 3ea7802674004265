#include "output/drawing.h"

#include <stdexcept>
#include <string>

#include "output/dot.h"
#include "output/render.h"
#include "util/files.h"

namespace tessel {

bool IsPlainFileName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\\\0", 3)) == std::string_view::npos;
}

bool UsesFastLayout(const Network& network) {
  return network.moleculeCount() > kFastLayoutMolecules ||
         network.interactionCount() > kFastLayoutInteractions;
}

DrawResult DrawNetwork(const Network& network, const ColorShapeTable& colors,
                       const std::filesystem::path& folder, std::string_view baseName) {
  NullProgress progress;
  return DrawNetwork(network, colors, folder, baseName, progress);
}

DrawResult DrawNetwork(const Network& network, const ColorShapeTable& colors,
                       const std::filesystem::path& folder, std::string_view baseName,
                       Progress& progress) {
  if (!IsPlainFileName(baseName)) {
    throw std::invalid_argument("not a plain file name for the drawing: \"" +
                                std::string(baseName) + "\"");
  }
  NetworkDrawingOptions options;
  options.size = "37.5,50";
  options.concentrate = false;
  options.urls = true;
  options.fastLayout = UsesFastLayout(network);
  const std::string dot = NetworkDot(network, colors, options);
  RenderedDrawing rendered = RenderSvgAndJpeg(dot, progress);
  const std::string& jpeg = rendered.jpeg;
  const std::string svg = AddSvgNavigation(rendered.svg, 2);

  const std::string base(baseName);
  DrawResult result;
  result.dot = folder / (base + ".dot");
  result.jpeg = folder / (base + ".jpg");
  result.svg = folder / (base + ".svg");
  WriteFileAtomically(result.dot, dot);
  WriteFileAtomically(result.jpeg, jpeg);
  WriteFileAtomically(result.svg, svg);
  return result;
}

}  // namespace tessel
