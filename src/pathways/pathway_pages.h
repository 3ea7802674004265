// Pathway map files and pages in "TESSEL_pg": per map a SIG file, the drawing (SVG with the
// navigation bar, plain SVG, JPEG) and a page with its measures; and "form.htm", where the
// user picks a source and a target and is taken to their map.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "model/color_table.h"
#include "model/network.h"
#include "pathways/path_search.h"
#include "util/progress.h"

namespace tessel {

inline constexpr const char* kPathwaysFolder = "TESSEL_pg";
inline constexpr const char* kQueryFormPage = "form.htm";
inline constexpr const char* kNoPathwaysMessage =
    "No pathways with the following query were found!";

// "<safe source>_TO_<safe target>" (SafeFileName of each name).
std::string PathwayMapBaseName(const Network& network, const PathwayMap& map);

// The map's SIG text: one row per interaction, in the map's order, first PubMed id.
std::string PathwayMapSigText(const Network& network, const PathwayMap& map);

// DOT text: size "8,8", concentrate=true, one node per molecule of the map's interactions
// (linking to its page), then one edge per interaction in list order.
std::string PathwayMapDot(const Network& network, const ColorShapeTable& colors,
                          const PathwayMap& map);

// The map's page: "Connection map from S to T", molecule and interaction counts, path
// length, clustering and grid coefficients of the map network, the SIG link and the drawing.
std::string ConnectionMapPage(const Network& network, const PathwayMap& map);

// form.htm: a source list and a target list (distinct names, first appearance order) and a
// "Draw Pathway" button that opens the chosen pair's page.
std::string QueryFormPage(const Network& network, const std::vector<PathwayMap>& maps);

struct PathwayCommandResult {
  std::filesystem::path folder;  // <output>/TESSEL_pg
  std::filesystem::path form;    // form.htm; empty when no map was kept
  std::vector<PathwayMap> maps;
  std::vector<std::string> baseNames;  // parallel to maps
};

// Searches, then writes every map's files and page and the form. Nothing is written but
// the folder when no map is kept. Progress ends with "Done generating pathways...".
PathwayCommandResult RunPathwayCommand(const Network& network, const ColorShapeTable& colors,
                                       const PathwayQuery& query,
                                       const std::filesystem::path& outputDir, Progress& progress,
                                       unsigned threads = 0);

}  // namespace tessel
