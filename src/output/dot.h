// DOT text for every drawing. Identifiers are always quoted DOT strings, so any molecule
// name draws (names such as "IL-1", "ERK1/2" or a"b).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

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

// An edge statement with a minimum rank distance: "a" -> "b" attributes [minlen=2];
// (unchanged when `minlen` is 1 or less).
std::string WithMinimumLength(std::string edgeStatement, std::size_t minlen);

// A molecule's neighbourhood drawing (the given interactions, each touching `hub`) with
// dot puts all the hub's targets on one rank and all its sources on another: with many
// neighbours a strip too wide to read. Above kSpreadNeighbours neighbours on one side the
// neighbours of each side are spread over several ranks, round-robin in the order they
// appear, by giving their edges minimum lengths 1, 2, ..., up to about the square root of
// the side's count, so that the drawing keeps a readable shape.
inline constexpr std::size_t kSpreadNeighbours = 12;
// The minimum length of each interaction's edge (all 1 for a small neighbourhood).
std::vector<std::size_t> NeighbourhoodEdgeLengths(const Network& network, MoleculeId hub,
                                                  const std::vector<std::uint32_t>& interactions);
// Graph attributes for a spread neighbourhood (some length above 1): a narrow node
// separation, since every long edge passes each rank as a column of its own. Empty
// otherwise.
std::string_view NeighbourhoodSpreadAttributes(const std::vector<std::size_t>& lengths);

// The graph attributes that lay a large drawing out quickly: the sfdp engine, overlap
// removal and straight edges, with a resolution that keeps the JPEG image bounded. Written
// after the size and concentrate fragments, with a comment saying why.
std::string_view FastLayoutAttributes();

struct NetworkDrawingOptions {
  std::string size = "37.5,50";  // the size attribute's value
  bool concentrate = false;
  bool urls = true;         // nodes link to their molecule page (SafeFileName(name) + ".htm")
  bool fastLayout = false;  // add FastLayoutAttributes()
};

// The whole network: every molecule in display order, then every interaction.
std::string NetworkDot(const Network& network, const ColorShapeTable& colors,
                       const NetworkDrawingOptions& options = {});

}  // namespace tessel
