// Pathway map files and pages in "TESSEL_pg": per map a SIG file, the drawing (SVG with the
// navigation bar, plain SVG, JPEG) and a page with its measures; and "form.htm", where the
// user picks a source and a target and is taken to their map.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "model/color_table.h"
#include "model/network.h"
#include "output/page_context.h"
#include "pathways/path_search.h"
#include "util/progress.h"

namespace tessel {

inline constexpr const char* kPathwaysFolder = "TESSEL_pg";
inline constexpr const char* kQueryFormPage = "form.htm";
inline constexpr const char* kNoPathwaysMessage =
    "No pathways with the following query were found!";

// "<safe source>_TO_<safe target>" (SafeFileName of each name), cut and ending in a hash of
// the pair when that is too long for a file name (SafePairFileName).
std::string PathwayMapBaseName(const Network& network, const PathwayMap& map);

// The page written beside the maps for a molecule without a web site page:
// "molecule-" + SafeFileName(name) + ".htm". A map's name is two safe names joined by
// "_TO_", which a safe name cannot hold at a point where a safe name could end, so the
// two kinds of page never share a name.
std::string OwnMoleculePageName(const Network& network, MoleculeId id);

// Where the maps link a molecule: to its page in the web site beside the maps
// ("../TESSEL_website/<stem>.htm") when that page exists, else to its own page beside the
// maps (OwnMoleculePageName).
class MoleculeLinks {
 public:
  MoleculeLinks() = default;  // no web site: every molecule has its own page

  // Looks for the site pages of the molecules of `maps` in <outputDir>/TESSEL_website.
  static MoleculeLinks Find(const Network& network, const std::vector<PathwayMap>& maps,
                            const std::filesystem::path& outputDir);

  bool inSite(MoleculeId id) const { return id < site_.size() && site_[id] != 0; }
  std::string linkOf(const Network& network, MoleculeId id) const;

 private:
  std::vector<std::uint8_t> site_;  // indexed by id
};

struct PathwayPageSettings {
  MoleculeLinks links;
  PageContext context;  // shown on every page; an empty context adds nothing
  std::string query;    // DescribeQuery text stated on map pages; empty: not stated
};

// The map's SIG text: one row per interaction, in the map's order, first PubMed id.
std::string PathwayMapSigText(const Network& network, const PathwayMap& map);

// DOT text: size "8,8", concentrate=true, one node per molecule of the map's interactions
// (linking to its page, opened as a whole page: target="_top"), then one edge per
// interaction in list order.
std::string PathwayMapDot(const Network& network, const ColorShapeTable& colors,
                          const PathwayMap& map, const MoleculeLinks& links = {});

// The map's page: "Connection map from S to T", molecule and interaction counts, path
// length, clustering and grid coefficients of the map network, the SIG link and the drawing.
// With a query text, a line under the context line states it and links to form.htm.
std::string ConnectionMapPage(const Network& network, const PathwayMap& map,
                              const PathwayPageSettings& settings = {});

// form.htm: a source list and a target list (distinct names, first appearance order) and a
// "Draw Pathway" button that opens the chosen pair's page.
std::string QueryFormPage(const Network& network, const std::vector<PathwayMap>& maps,
                          const PageContext& context = {});

// A molecule's own page beside the maps: its name, type, location and accession, the maps
// it is part of, and its interactions within those maps with their effects and PubMed links.
std::string OwnMoleculePage(const Network& network, MoleculeId id,
                            const std::vector<PathwayMap>& maps,
                            const PathwayPageSettings& settings = {});

struct PathwayCommandResult {
  std::filesystem::path folder;  // <output>/TESSEL_pg
  std::filesystem::path form;    // form.htm; empty when no map was kept
  std::vector<PathwayMap> maps;
  std::vector<std::string> baseNames;  // parallel to maps
  std::size_t moleculePages = 0;       // own molecule pages written (no site page)
};

// Searches, then writes every map's files and page, the own page of every map molecule
// that has no page in the web site beside the maps, and the form. Nothing is written but
// the folder when no map is kept. Progress ends with "Done generating pathways...".
// Every page carries `context`, linking to form.htm as its start page.
PathwayCommandResult RunPathwayCommand(const Network& network, const ColorShapeTable& colors,
                                       const PathwayQuery& query,
                                       const std::filesystem::path& outputDir, Progress& progress,
                                       unsigned threads = 0, const PageContext& context = {});

}  // namespace tessel
