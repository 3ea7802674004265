// The motif command: searches the chosen kinds and writes, into "TESSEL_motifs", one page
// per kind with a grid of drawings (one JPEG per distinct motif) and the index "motifs.htm".
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "model/color_table.h"
#include "motifs/motif_search.h"

namespace tessel {

inline constexpr const char* kMotifsFolder = "TESSEL_motifs";
inline constexpr const char* kMotifsIndexPage = "motifs.htm";

// The kinds the motif command offers, in the order it processes them.
const std::vector<MotifKind>& MotifCommandOrder();

// Page and drawing file stem of a kind ("scaffolds", "bifans", "feedback_loops3", ...).
std::string_view MotifFileStem(MotifKind kind);
// The status line shown while a kind is searched ("Searching for bifans... please wait!").
std::string MotifStatusText(MotifKind kind);

// The DOT text of one motif's drawing: numbered nodes labelled with the molecule names,
// coloured by type, and the traversed interactions with their effects' arrows.
std::string MotifDot(const Network& network, const ColorShapeTable& colors, const Motif& motif);

// Drawing base name of the motif at `index` (0-based) of its kind: stem_30001 onward for
// three molecules, stem_40001 for four, stem_50001 for five.
std::string MotifDrawingName(MotifKind kind, std::size_t index);

// The kind's page: the total and a table of four drawings a row (without drawings, each
// cell names the motif's molecules).
std::string MotifPage(const Network& network, MotifKind kind, const std::vector<Motif>& motifs,
                      bool drawings = true);

// The index page linking the pages of the kinds searched.
std::string MotifsIndexPage(const std::vector<MotifKind>& kinds);

struct MotifCommandOptions {
  std::vector<MotifKind> kinds;  // any order; processed in MotifCommandOrder()
  bool drawings = true;
  unsigned threads = 0;
};

struct MotifCommandResult {
  std::vector<MotifResult> results;  // in processing order
  std::filesystem::path folder;      // the TESSEL_motifs folder
  std::filesystem::path indexPage;   // motifs.htm
};

// Runs the searches and writes pages (and drawings) below `outputDir`/TESSEL_motifs.
MotifCommandResult RunMotifCommand(const Network& network, const ColorShapeTable& colors,
                                   const MotifCommandOptions& options,
                                   const std::filesystem::path& outputDir, Progress& progress);

}  // namespace tessel
