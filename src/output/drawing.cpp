#include "output/drawing.h"

#include <stdexcept>
#include <string>

#include "output/dot.h"
#include "output/render.h"
#include "util/files.h"
#include "util/text.h"

namespace tessel {

bool IsPlainFileName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\\\0", 3)) == std::string_view::npos;
}

std::string DrawingSizeProblem(const Network& network) {
  const std::size_t elements = network.moleculeCount() + network.interactionCount();
  if (elements > kMaxDrawingElements) {
    return "the network is too large to draw: " + std::to_string(network.moleculeCount()) +
           " molecules and " + std::to_string(network.interactionCount()) +
           " interactions, more than " + std::to_string(kMaxDrawingElements) +
           " together; draw a sub-network (reduce, propagate) instead";
  }
  for (const Molecule& m : network.molecules()) {
    if (m.name.size() > kMaxDrawingNameLength) {
      return "molecule name \"" + Abbreviate(m.name, 40) + "\" is " +
             std::to_string(m.name.size()) + " characters long; drawings take names of at most " +
             std::to_string(kMaxDrawingNameLength);
    }
  }
  return {};
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
  const std::string base(baseName);
  DrawResult result;
  result.dot = folder / (base + ".dot");
  result.jpeg = folder / (base + ".jpg");
  result.svg = folder / (base + ".svg");
  if (const std::string problem = DrawingSizeProblem(network); !problem.empty()) {
    throw RenderError(result.jpeg.string() + ": " + problem);
  }
  NetworkDrawingOptions options;
  options.size = "37.5,50";
  options.concentrate = false;
  options.urls = true;
  options.fastLayout = UsesFastLayout(network);
  const std::string dot = NetworkDot(network, colors, options);
  RenderedDrawing rendered;
  try {
    rendered = RenderSvgAndJpeg(dot, progress);
  } catch (const RenderError& e) {
    throw RenderError(result.jpeg.string() + ": " + e.what());
  }
  const std::string& jpeg = rendered.jpeg;
  const std::string svg = AddSvgNavigation(rendered.svg, 2);

  WriteFileAtomically(result.dot, dot);
  WriteFileAtomically(result.jpeg, jpeg);
  WriteFileAtomically(result.svg, svg);
  return result;
}

}  // namespace tessel
