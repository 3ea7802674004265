// DOT text for every drawing. Identifiers are always quoted DOT strings, so any molecule
// name draws (names such as "IL-1", "ERK1/2" or a"b).
#pragma once

#include <string>
#include <string_view>

#include "model/color_table.h"
#include "model/network.h"

namespace tessel {

// A quoted, escaped DOT string: "..." with " and \ escaped and line ends removed. Other
// control characters are dropped too, and bytes that are not valid UTF-8 are read as
// Latin-1, so that the drawing Graphviz makes of it is valid UTF-8 XML. Very long text is
// written as quoted pieces joined by "+" ("..."+"..."), which DOT reads as one string.
std::string DotQuote(std::string_view text);

// The attribute list drawn for an effect, with one blank on each side:
// "+"  [arrowhead="normal", color="darkgreen"]
// "_"  [arrowhead="tee",arrowsize="3.0", color="red1"]
// "0"  [arrowhead="box",arrowtail="box", color="blue1"]
// any other effect: empty (the default arrow).
std::string_view EffectAttributes(std::string_view effect);

// A node statement: name [style="filled", URL="url" shape="shape", color="colour"];\n
// (no URL attribute when `url` is empty).
std::string NodeStatement(std::string_view name, std::string_view url, std::string_view shape,
                          std::string_view color);

// An edge statement: "source" -> "target" attributes; (no line end).
std::string EdgeStatement(std::string_view source, std::string_view target,
                          std::string_view effect);

// The colours legend: the three kinds of interaction drawn with the drawings' own arrows,
// labelled activation "+", inhibition "_" and binding "0", then the molecule types as
// ColorShapeTable::legend orders them, top-down in one column.
std::string LegendDot(const ColorShapeTable& colors, const Network& network);

struct NetworkDrawingOptions {
  std::string size = "37.5,50";  // the size attribute's value
  bool concentrate = false;
  bool urls = true;  // nodes link to their molecule page (SafeFileName(name) + ".htm")
};

// The whole network: every molecule in display order, then every interaction.
std::string NetworkDot(const Network& network, const ColorShapeTable& colors,
                       const NetworkDrawingOptions& options = {});

}  // namespace tessel
