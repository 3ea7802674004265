// The motif command: searches the chosen kinds and writes, into "TESSEL_motifs", one page
// per kind with a grid of drawings (one JPEG per distinct motif) and the index "motifs.htm".
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "model/color_table.h"
#include "motifs/motif_search.h"
#include "output/page_context.h"

namespace tessel {

inline constexpr const char* kMotifsFolder = "TESSEL_motifs";
inline constexpr const char* kMotifsIndexPage = "motifs.htm";
// The motif counts against random networks (motifs --significance), beside the index.
inline constexpr const char* kSignificancePage = "significance.htm";

// How many motifs of each kind are drawn by default. A large network holds tens of
// thousands of motifs of a kind; drawing them all fills the disk and gives pages that take
// long to open. The motifs beyond the limit are listed by name.
inline constexpr std::size_t kDefaultMaxDrawings = 500;

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

// A motif's molecule names joined by " - ", followed by its sign for signed kinds:
// "EGF - EGFR - GRB2 (+)". Not escaped.
std::string MotifNames(const Network& network, MotifKind kind, const Motif& motif);

// The kind's page: the total and a table of four drawings a row, each with its sign for
// signed kinds. Only the first `maxDrawings` motifs are drawn; the page says so and lists
// the others by name below the table. With `maxDrawings` 0 the table's cells name the
// motifs instead.
std::string MotifPage(const Network& network, MotifKind kind, const std::vector<Motif>& motifs,
                      std::size_t maxDrawings = kDefaultMaxDrawings,
                      const PageContext& context = {});

// The index page linking the pages of the kinds searched, with a table of each kind's
// total and, for signed kinds, its positive and negative counts; with `significance`, a
// link to kSignificancePage below the table.
std::string MotifsIndexPage(const std::vector<MotifResult>& results,
                            const PageContext& context = {}, bool significance = false);

// The motif command refuses a search whose bound (EstimateMotifCount) exceeds this many
// motifs of one kind, unless forced: at kBytesPerMotif bytes each, 10 million motifs keep
// the search under 2 GB. One kind's motifs are held at a time.
inline constexpr std::size_t kDefaultMaxMotifs = 10'000'000;

// A motif search refused before it started because it could exceed the limit.
class MotifLimitError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Empty when every kind's bound is within `maxMotifs`; otherwise the message that says
// which kinds could exceed it, by how much and what memory they could take.
std::string MotifLimitProblem(const Network& network, const std::vector<MotifKind>& kinds,
                              std::size_t maxMotifs);

struct MotifCommandOptions {
  std::vector<MotifKind> kinds;  // any order; processed in MotifCommandOrder()
  bool drawings = true;          // false draws nothing, as maxDrawings 0 does
  // false counts only (CountMotifs): no folder, pages or drawings, and no limit, since
  // the counts take the same memory for any number of motifs.
  bool pages = true;
  unsigned threads = 0;
  std::size_t maxDrawings = kDefaultMaxDrawings;  // per kind
  std::size_t maxMotifs = kDefaultMaxMotifs;      // per kind, as estimated beforehand
  bool force = false;                             // search even above maxMotifs
  PageContext context;        // shown on every page (the start page link is set here)
  bool significance = false;  // the index links to kSignificancePage (written by the caller)
};

struct MotifCommandResult {
  std::vector<MotifResult> results;  // in processing order
  std::filesystem::path folder;      // the TESSEL_motifs folder (empty without pages)
  std::filesystem::path indexPage;   // motifs.htm (empty without pages)
};

// Runs the searches and writes pages (and drawings) below `outputDir`/TESSEL_motifs. Throws
// MotifLimitError, before searching, when MotifLimitProblem finds a kind over the limit and
// `force` is not set. Each kind's motif list is released once its page is written (the
// results keep the counts).
MotifCommandResult RunMotifCommand(const Network& network, const ColorShapeTable& colors,
                                   const MotifCommandOptions& options,
                                   const std::filesystem::path& outputDir, Progress& progress);

}  // namespace tessel
