// Rendering of Graphviz DOT text to SVG text and JPEG files, through the Graphviz library.
// Graphviz is not thread-safe: every call takes one process-wide lock.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "util/error.h"
#include "util/progress.h"

namespace tessel {

// The layout engine is dot unless the DOT text names another in the graph's "layout"
// attribute (large drawings use sfdp).

// Lays out and returns the SVG document. Throws RenderError, carrying Graphviz's
// own message, when the DOT text cannot be read, laid out or rendered.
std::string RenderSvg(std::string_view dot);

// Lays out and returns the JPEG image bytes.
std::string RenderJpeg(std::string_view dot);

struct RenderedDrawing {
  std::string svg;
  std::string jpeg;
};

// Lays the drawing out once and renders both images, reporting the layout, the SVG and the
// JPEG as steps to `progress`. Throws Cancelled when asked to stop between steps.
RenderedDrawing RenderSvgAndJpeg(std::string_view dot, Progress& progress);

// Renders and writes `path` atomically (the file is replaced only by a complete image). A
// RenderError's message starts with the file's path.
void RenderSvgFile(std::string_view dot, const std::filesystem::path& path);
void RenderJpegFile(std::string_view dot, const std::filesystem::path& path);

// Rewrites an SVG drawing so that it carries a pan-and-zoom navigation bar (735 x 600
// pixels, a 60-pixel bar on top) and forwards clicks to the page that frames it.
// Mode 1 suits downstream maps, mode 2 pathway maps and whole networks; any other mode
// throws std::invalid_argument. The drawing's root element is replaced and its content
// moved into the group "Pathway" that the bar moves. Text without a recognisable root
// start tag, or without a closing "</g>" and "</svg>" at its end, and a drawing that
// already has the bar, are returned unchanged.
std::string AddSvgNavigation(std::string_view svg, int mode);

}  // namespace tessel
