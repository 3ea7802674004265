#include "model/color_table.h"

#include <algorithm>
#include <set>
#include <system_error>

#include "util/error.h"
#include "util/files.h"
#include "util/text.h"

namespace tessel {
namespace fs = std::filesystem;

namespace {

constexpr std::string_view kDefaultTable[][3] = {
    {"Ligand", "red", "ellipse"},
    {"Channel", "lawngreen", "ellipse"},
    {"CellAdhesion", "lawngreen", "ellipse"},
    {"Cytoskeleton", "yellow1", "ellipse"},
    {"Activator", "turquoise", "ellipse"},
    {"NEF", "turquoise", "ellipse"},
    {"DualFunction", "violet", "ellipse"},
    {"Kinase", "turquoise", "ellipse"},
    {"Adapter", "turquoise", "ellipse"},
    {"Lipid", "turquoise", "ellipse"},
    {"Receptor", "limegreen", "ellipse"},
    {"TF", "pink2", "ellipse"},
    {"Ribosome", "pink3", "ellipse"},
    {"GTPase", "turquoise", "ellipse"},
    {"Phosphatase", "turquoise", "ellipse"},
    {"Cool", "turquoise", "ellipse"},
    {"Messenger", "turquoise", "ellipse"},
    {"Cyclase", "limegreen", "ellipse"},
    {"Phospholipase", "turquoise", "ellipse"},
    {"RNA", "pink3", "ellipse"},
    {"Bcl2Family", "sienna3", "ellipse"},
    {"PDE", "turquoise", "ellipse"},
    {"Inhibitor", "turquoise", "ellipse"},
    {"Synthase", "turquoise", "ellipse"},
    {"Vesicle", "purple1", "ellipse"},
    {"Ubiquitinase", "turquoise", "ellipse"},
    {"Protease", "sienna3", "ellipse"},
    {"DNase", "sienna3", "ellipse"},
    {"Lipase", "turquoise", "ellipse"},
    {"Gprotein", "turquoise", "ellipse"},
    {"GAP", "turquoise", "ellipse"},
    {"default", "turquoise", "ellipse"},
};

}  // namespace

ColorShapeTable ColorShapeTable::Defaults() {
  ColorShapeTable table;
  for (const auto& row : kDefaultTable) {
    table.entries_.push_back({std::string(row[0]), std::string(row[1]), std::string(row[2])});
  }
  return table;
}

std::string ColorShapeTable::DefaultText() {
  std::string text;
  for (const auto& row : kDefaultTable) {
    if (!text.empty()) text += '\n';
    text.append(row[0]).append(" ").append(row[1]).append(" ").append(row[2]);
  }
  return text;
}

ColorShapeTable ColorShapeTable::Parse(std::string_view text) {
  ColorShapeTable table;
  // The file is a stream of words: line ends separate words like blanks do.
  const std::vector<std::string_view> all = SplitFields(text);
  for (std::size_t i = 0; i + 2 < all.size(); i += 3) {
    table.entries_.push_back(
        {std::string(all[i]), std::string(all[i + 1]), std::string(all[i + 2])});
  }
  return table;
}

ColorShapeTable ColorShapeTable::LoadOrCreate(const std::vector<fs::path>& searchFolders,
                                              const fs::path& writeFolder, bool* wroteDefault) {
  if (wroteDefault) *wroteDefault = false;
  for (const fs::path& folder : searchFolders) {
    const fs::path file = folder / kColorTableFileName;
    std::error_code ec;
    if (!fs::is_regular_file(file, ec)) continue;
    try {
      ColorShapeTable table = Parse(ReadWholeFile(file));
      if (!table.empty()) return table;
    } catch (const InputError&) {
      // An unreadable table counts as a missing one.
    }
  }
  try {
    WriteFileAtomically(writeFolder / kColorTableFileName, DefaultText());
    if (wroteDefault) *wroteDefault = true;
  } catch (const OutputError&) {
    // The defaults are used either way; a read-only folder only means no file to edit.
  }
  return Defaults();
}

const ColorShapeEntry* ColorShapeTable::lookup(const Network& network,
                                               std::string_view moleculeName) const {
  const MoleculeId id = network.findId(moleculeName);
  const std::string_view key =
      id == 0 ? std::string_view("default") : std::string_view(network.molecule(id).moleculeType);
  for (const ColorShapeEntry& e : entries_) {
    if (e.type == key || e.type == moleculeName) return &e;
  }
  for (const ColorShapeEntry& e : entries_) {
    if (e.type == "default") return &e;
  }
  return nullptr;
}

std::string_view ColorShapeTable::colorOf(const Network& network,
                                          std::string_view moleculeName) const {
  const ColorShapeEntry* e = lookup(network, moleculeName);
  return e ? std::string_view(e->color) : std::string_view("lightblue3");
}

std::string_view ColorShapeTable::shapeOf(const Network& network,
                                          std::string_view moleculeName) const {
  const ColorShapeEntry* e = lookup(network, moleculeName);
  return e ? std::string_view(e->shape) : std::string_view("box");
}

std::vector<LegendEntry> ColorShapeTable::legend(const Network& network) const {
  std::set<std::string_view> used;  // the network's types and the names the table gives
  for (const Molecule& m : network.molecules()) used.insert(m.moleculeType);

  std::vector<LegendEntry> inNetwork;
  std::vector<LegendEntry> others;
  std::set<std::string_view> shown;
  for (const ColorShapeEntry& e : entries_) {
    if (!shown.insert(e.type).second) continue;
    const bool uses = used.contains(e.type) || network.findId(e.type) != 0;
    (uses ? inNetwork : others).push_back({e.type, e.color, e.shape, uses});
  }
  // Types the table does not name, drawn through "default" (or the built-in look).
  const ColorShapeEntry* fallback = nullptr;
  for (const ColorShapeEntry& e : entries_) {
    if (e.type == "default") {
      fallback = &e;
      break;
    }
  }
  for (const std::string_view type : used) {  // sorted by name
    if (shown.contains(type)) continue;
    inNetwork.push_back({std::string(type), fallback ? fallback->color : "lightblue3",
                         fallback ? fallback->shape : "box", true});
  }
  inNetwork.insert(inNetwork.end(), std::make_move_iterator(others.begin()),
                   std::make_move_iterator(others.end()));
  return inNetwork;
}

}  // namespace tessel
