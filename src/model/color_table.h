// The colours-and-shapes table: which Graphviz fill colour and node shape each molecule
// type (or a single named molecule) is drawn with. Kept in "colors_and_shapes.txt".
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "model/network.h"

namespace tessel {

inline constexpr std::string_view kColorTableFileName = "colors_and_shapes.txt";

struct ColorShapeEntry {
  std::string type;  // a molecule type, "default", or one molecule's name
  std::string color;
  std::string shape;
};

// One line of the colours legend: a word of the table (or a type the network uses that the
// table lacks) and how the drawings show it.
struct LegendEntry {
  std::string type;
  std::string color;
  std::string shape;
  bool inNetwork = false;  // a molecule type (or molecule name) of the network
};

class ColorShapeTable {
 public:
  // The built-in table written when the file is missing or empty.
  static ColorShapeTable Defaults();
  // The default file's text: one "type colour shape" line per entry, no final line end.
  static std::string DefaultText();

  // Reads the file as a stream of words, three to an entry; an incomplete trailing entry
  // is dropped. The table may come out empty.
  static ColorShapeTable Parse(std::string_view text);

  // Loads "colors_and_shapes.txt" from the first folder of `searchFolders` that holds a
  // table of at least one entry. When none does, writes the default file into
  // `writeFolder` (replacing an empty one there) and returns the defaults; `wroteDefault`
  // then becomes true. A failure to write the default file is not an error.
  static ColorShapeTable LoadOrCreate(const std::vector<std::filesystem::path>& searchFolders,
                                      const std::filesystem::path& writeFolder,
                                      bool* wroteDefault = nullptr);

  const std::vector<ColorShapeEntry>& entries() const { return entries_; }
  bool empty() const { return entries_.empty(); }

  // The first entry named after the molecule itself or its type (or "default" when the
  // molecule is not in the network), else the first "default" entry; lightblue3 / box when
  // neither exists.
  std::string_view colorOf(const Network& network, std::string_view moleculeName) const;
  std::string_view shapeOf(const Network& network, std::string_view moleculeName) const;

  // The legend, top-down: first what the network uses, in table order (a type the table
  // lacks follows, by name, with the look the drawings give it); then the rest of the table
  // in its order. A word that repeats in the table is shown once, as the drawings use it:
  // with its first entry.
  std::vector<LegendEntry> legend(const Network& network) const;

 private:
  const ColorShapeEntry* lookup(const Network& network, std::string_view moleculeName) const;

  std::vector<ColorShapeEntry> entries_;
};

}  // namespace tessel
