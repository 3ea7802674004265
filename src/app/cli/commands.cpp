#include "app/cli/commands.h"

#include <algorithm>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <random>
#include <stdexcept>

#include "analysis/statistics.h"
#include "analysis/validation.h"
#include "app/cli/terminal_progress.h"
#include "derived/genelist.h"
#include "derived/shuffle.h"
#include "derived/subnetworks.h"
#include "model/color_table.h"
#include "model/load.h"
#include "model/readers.h"
#include "motifs/motif_pages.h"
#include "output/drawing.h"
#include "output/exchange.h"
#include "output/exports.h"
#include "output/matrix.h"
#include "output/website.h"
#include "pathways/pathway_pages.h"
#include "util/error.h"
#include "util/files.h"
#include "util/text.h"

namespace tessel::cli {
namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

namespace {

struct Loaded {
  Network network;
  ColorShapeTable colors;
};

// How the network file is to be read, from the common options.
ReadOptions ReadOptionsOf(const CommonOptions& options) {
  ReadOptions read;
  read.format = ParseNetworkFormat(options.format);
  read.columns = options.columns;
  read.allowEmpty = options.allowEmpty;
  if (read.columns.any() && read.format != NetworkFormat::Auto &&
      read.format != NetworkFormat::Table) {
    throw std::invalid_argument("column options (--source-col, ...) are for --format table");
  }
  return read;
}

// How the file was read and the first warnings of the load, on stderr.
void ShowLoadWarnings(const CommonOptions& options, const Warnings& warnings) {
  if (options.quiet) return;
  for (const std::string& note : warnings.notes()) std::cerr << "tessel: note: " << note << "\n";
  const std::vector<std::string> lines = warnings.lines();
  const std::size_t shown = std::min<std::size_t>(lines.size(), 10);
  for (std::size_t k = 0; k < shown; ++k) std::cerr << "tessel: warning: " << lines[k] << "\n";
  if (lines.size() > shown) {
    std::cerr << "tessel: warning: " << lines.size() - shown << " more kinds of warning\n";
  }
}

void ShowColorsWritten(const CommonOptions& options, const fs::path& written) {
  if (!written.empty() && !options.quiet) {
    std::cerr << "tessel: note: wrote the default colours table " << written.string() << "\n";
  }
}

// Loads the network; warnings go to stderr.
Network LoadNetworkOf(const CommonOptions& options) {
  Warnings warnings;
  const ReadOptions read = ReadOptionsOf(options);
  Network network;
  try {
    network = LoadNetwork(fs::path(options.network), read, &warnings);
  } catch (const InputError&) {
    ShowLoadWarnings(options,
                     warnings);  // what the reader left out explains a file that gave nothing
    throw;
  }
  ShowLoadWarnings(options, warnings);
  return network;
}

// The colours table the drawings use, from beside the network or the output folder; the
// default table is written to the output folder when there is none.
ColorShapeTable LoadColorsOf(const CommonOptions& options) {
  fs::path written;
  ColorShapeTable colors = LoadColorsFor(options.network, options.output, &written);
  ShowColorsWritten(options, written);
  return colors;
}

// Loads the network and the colours table the drawings use.
Loaded Load(const CommonOptions& options) {
  Warnings warnings;
  const ReadOptions read = ReadOptionsOf(options);
  NetworkWithColors loaded;
  try {
    loaded = LoadNetworkWithColors(options.network, read, options.output, &warnings);
  } catch (const InputError&) {
    ShowLoadWarnings(options, warnings);
    throw;
  }
  ShowLoadWarnings(options, warnings);
  ShowColorsWritten(options, loaded.colorsWritten);
  return {std::move(loaded.network), std::move(loaded.colors)};
}

Json TallyJson(const ValueTally& tally) {
  Json object = Json::object();
  for (const auto& [value, count] : tally.values) object[value] = count;
  return object;
}

// What the pages of this run say about where they come from.
PageContext ContextOf(const CommonOptions& options) {
  return MakePageContext(options.network, options.commandLine);
}

// Names from a network file may hold bytes that are not UTF-8 (an old Latin-1 file): they
// are printed as U+FFFD, one per bad sequence, the same replacement the pages make.
void Print(const Json& j) {
  std::cout << j.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

// A --to path that cannot take the output is a usage error, reported before any work.
bool UsableOutput(const fs::path& to, bool folderMayBeCreated) {
  const std::string problem = OutputPathProblem(to, folderMayBeCreated);
  if (problem.empty()) return true;
  std::cerr << "tessel: error: --to: " << problem << "\n";
  return false;
}

}  // namespace

int RunStats(const CommonOptions& options) {
  const Network network = Load(options).network;
  TerminalProgress progress(!options.quiet);
  Statistics stats;
  const fs::path page =
      WriteStatisticsPage(network, options.output, progress, &stats, ContextOf(options));
  progress.finish();
  if (options.json) {
    Json j;
    j["molecules"] = stats.molecules;
    j["interactions"] = stats.interactions;
    j["references"] = stats.references;
    j["links_per_node"] = stats.linksPerNode;
    j["clustering"] = stats.clustering;
    j["grid"] = stats.grid;
    j["cpl"] = stats.pathLength.value;
    j["cpl_largest_island"] = stats.pathLength.largestIsland;
    j["islands"] = stats.islands.count;
    j["largest_island"] = stats.islands.largest.size();
    j["types"] = TallyJson(stats.moleculeTypes);
    j["locations"] = TallyJson(stats.locations);
    j["effects"] = TallyJson(stats.effects);
    j["interaction_types"] = TallyJson(stats.interactionTypes);
    j["connectivity"] = {{"links", stats.connectivity.links},
                         {"in", stats.connectivity.in},
                         {"out", stats.connectivity.out}};
    j["page"] = page.string();
    Print(j);
  } else {
    std::cout << "Molecules: " << stats.molecules << "\nInteractions: " << stats.interactions
              << "\nReferences: " << stats.references << "\nIslands: " << stats.islands.count
              << "\nStatistics page: " << page.string() << "\n";
  }
  return 0;
}

int RunValidate(const CommonOptions& options) {
  const Network network = LoadNetworkOf(options);  // no drawing: no colours table
  const std::vector<Finding> findings = ValidationFindings(network);
  const ValidationSummary summary = SummaryOf(findings);
  const fs::path page = WriteValidationReport(findings, options.output, ContextOf(options));
  if (options.json) {
    Json list = Json::array();
    for (const Finding& f : findings) {
      Json interactions = Json::array();
      for (const std::uint32_t k : f.interactions) {
        const Interaction& i = network.interactions()[k];
        interactions.push_back(Json::array({network.sourceName(i), network.targetName(i)}));
      }
      list.push_back({{"kind", FindingKindName(f.kind)},
                      {"message", f.message},
                      {"molecules", f.molecules},
                      {"interactions", interactions},
                      {"lines", f.lines},
                      {"pubmed_ids", f.pubmedIds}});
    }
    Json j;
    j["self_loops"] = summary.selfLoops;
    j["code_conflicts"] = summary.codeConflicts;
    j["effect_conflicts"] = summary.effectConflicts;
    j["reversed_pairs"] = summary.reversedPairs;
    j["unknown_effects"] = summary.unknownEffects;
    j["molecule_conflicts"] = summary.moleculeConflicts;
    j["page"] = page.string();
    j["findings"] = list;
    Print(j);
  } else {
    std::cout << "Self-interactions: " << summary.selfLoops
              << "\nSame name, different codes: " << summary.codeConflicts
              << "\nSame pair, different effect or type: " << summary.effectConflicts
              << "\nReversed pairs: " << summary.reversedPairs
              << "\nEffects other than +, _, 0: " << summary.unknownEffects
              << "\nMolecules with differing type or location: " << summary.moleculeConflicts
              << "\nValidation page: " << page.string() << "\n";
  }
  return 0;
}

int RunSave(const CommonOptions& options, const std::string& to) {
  if (!UsableOutput(to, false)) return 2;
  const Network network = Load(options).network;
  WriteSigFile(network, to);
  std::size_t rows = 0;
  for (const Interaction& i : network.interactions()) rows += i.pubmedIds.size();
  const SigLosses losses = SigLossesOf(network);
  if (!options.quiet && losses.moleculesWithoutInteractions > 0) {
    std::cerr << "tessel: warning: " << losses.moleculesWithoutInteractions
              << " molecule(s) without interactions are not in " << to
              << " (a SIG row is an interaction)\n";
  }
  if (!options.quiet && losses.namesStartingWithDigit > 0) {
    std::cerr << "tessel: note: " << losses.namesStartingWithDigit
              << " molecule name(s) start with a digit and read back from " << to
              << " with \"P\" in front\n";
  }
  if (options.json) {
    Print(Json{{"file", to},
               {"rows", rows},
               {"molecules", network.moleculeCount()},
               {"interactions", network.interactionCount()},
               {"dropped_molecules", losses.moleculesWithoutInteractions},
               {"names_gaining_p", losses.namesStartingWithDigit}});
  } else {
    std::cout << "Saved " << rows << " rows (" << network.interactionCount() << " interactions) to "
              << to << "\n";
  }
  return 0;
}

int RunMotifs(const CommonOptions& options, const MotifOptions& motifOptions) {
  MotifCommandOptions command;
  command.drawings = !motifOptions.noDrawings;
  if (motifOptions.maxDrawings) command.maxDrawings = *motifOptions.maxDrawings;
  if (motifOptions.maxMotifs) command.maxMotifs = *motifOptions.maxMotifs;
  command.force = motifOptions.force;
  command.threads = motifOptions.threads;
  command.context = ContextOf(options);
  if (motifOptions.kinds.empty()) {
    command.kinds = {MotifKind::Scaffold,         MotifKind::Bifan,
                     MotifKind::FeedbackLoop3,    MotifKind::FeedbackLoop4,
                     MotifKind::FeedforwardLoop3, MotifKind::FeedforwardLoop4};
  }
  for (const std::string& name : motifOptions.kinds) {
    const auto kind = ParseMotifKind(name);
    if (!kind) throw std::invalid_argument("unknown motif kind: " + name);
    command.kinds.push_back(*kind);
  }
  const Loaded loaded = Load(options);
  TerminalProgress progress(!options.quiet);
  MotifCommandResult result;
  try {
    result = RunMotifCommand(loaded.network, loaded.colors, command, options.output, progress);
  } catch (const MotifLimitError& e) {
    progress.finish();
    std::cerr << "tessel: error: " << options.network << ": " << e.what() << "\n";
    return 2;
  }
  progress.finish();
  if (options.json) {
    Json j;
    for (const MotifResult& r : result.results) {
      Json counts = {{"total", r.total()}};
      if (MotifIsSigned(r.kind)) {
        counts["positive"] = r.positive;
        counts["negative"] = r.negative;
      }
      j[std::string(MotifKindName(r.kind))] = counts;
    }
    j["page"] = result.indexPage.string();
    Print(j);
  } else {
    for (const MotifResult& r : result.results) {
      std::cout << MotifFileStem(r.kind) << ": " << r.total();
      if (MotifIsSigned(r.kind)) {
        std::cout << " (" << r.positive << " positive, " << r.negative << " negative)";
      }
      std::cout << "\n";
    }
    std::cout << "Motif pages: " << result.indexPage.string() << "\n";
  }
  return 0;
}

int RunDraw(const CommonOptions& options, const std::string& base, bool force) {
  // The name and the size are checked before the colours table is written.
  if (!IsPlainFileName(base)) {
    throw UsageError("--base: not a plain file name for the drawing: \"" + base + "\"");
  }
  Network network = LoadNetworkOf(options);
  const std::size_t molecules = network.moleculeCount();
  // Beyond what Graphviz can draw at all: no use asking for --force.
  if (const std::string problem = DrawingSizeProblem(network); !problem.empty()) {
    throw RenderError(options.network + ": " + problem);
  }
  if (molecules > kLargeDrawingMolecules && !force) {
    throw UsageError(options.network + " has " + std::to_string(molecules) +
                     " molecules; drawings above " + std::to_string(kLargeDrawingMolecules) +
                     " molecules can take long; add --force to draw it");
  }
  const Loaded loaded{std::move(network), LoadColorsOf(options)};
  if (UsesFastLayout(loaded.network) && !options.quiet) {
    std::cerr << "tessel: note: " << molecules << " molecules and "
              << loaded.network.interactionCount() << " interactions: laid out with "
              << kFastLayoutEngine << " instead of dot, with straight edges\n";
  }
  TerminalProgress progress(!options.quiet);
  const DrawResult drawn =
      DrawNetwork(loaded.network, loaded.colors, options.output, base, progress);
  progress.finish();
  if (options.json) {
    Print(Json{{"dot", drawn.dot.string()},
               {"jpg", drawn.jpeg.string()},
               {"svg", drawn.svg.string()},
               {"molecules", loaded.network.moleculeCount()},
               {"interactions", loaded.network.interactionCount()}});
  } else {
    std::cout << "Done creating " << drawn.svg.string() << ", " << drawn.dot.string() << " and "
              << drawn.jpeg.string() << "\n";
  }
  return 0;
}

int RunExport(const CommonOptions& options, const std::string& format, std::string to) {
  // The files for other tools written from the network alone, and the exchange formats that
  // carry every field (colours and shapes from the colours table).
  struct Choice {
    const char* name;
    std::optional<ExportFormat> format;
    std::optional<ExchangeFormat> exchange;
    const char* defaultFile;
  };
  static const Choice choices[] = {
      {"pajek", ExportFormat::Pajek, std::nullopt, "network.net"},
      {"mfinder", ExportFormat::Mfinder, std::nullopt, "input_for_mfinder.txt"},
      {"sif", ExportFormat::Sif, std::nullopt, "network4cytoscape.sif"},
      {"big-cluster", ExportFormat::BigCluster, std::nullopt, "big_cluster.sig"},
      {"graphml", std::nullopt, ExchangeFormat::GraphMl, "network.graphml"},
      {"table", std::nullopt, ExchangeFormat::Table, "network.csv"},
      {"signed-sif", std::nullopt, ExchangeFormat::SignedSif, "network_signed.sif"},
      {"cx2", std::nullopt, ExchangeFormat::Cx2, "network.cx2"},
  };
  const auto* choice = std::find_if(std::begin(choices), std::end(choices),
                                    [&](const Choice& c) { return format == c.name; });
  if (choice == std::end(choices)) throw std::invalid_argument("unknown export format: " + format);
  const bool given = !to.empty();
  if (!given) to = (fs::path(options.output) / choice->defaultFile).string();
  if (!UsableOutput(to, !given)) return 2;
  const Loaded loaded = Load(options);
  std::vector<fs::path> written;
  if (choice->format) {
    written = WriteExport(loaded.network, *choice->format, to);
  } else {
    WriteExchange(loaded.network, loaded.colors, *choice->exchange, to);
    written.push_back(to);
  }
  if (options.json) {
    Json files = Json::array();
    for (const fs::path& f : written) files.push_back(f.string());
    Print(Json{{"format", format}, {"files", files}});
  } else {
    for (const fs::path& f : written) std::cout << "Wrote " << f.string() << "\n";
  }
  return 0;
}

int RunMatrix(const CommonOptions& options, std::string to, int size) {
  const bool given = !to.empty();
  if (!given) to = (fs::path(options.output) / "interactions_matrix.png").string();
  if (!UsableOutput(to, !given)) return 2;
  const Network network = Load(options).network;
  const fs::path page = WriteInteractionsMatrix(network, to, size, ContextOf(options));
  if (options.json) {
    Print(Json{{"file", to},
               {"page", page.string()},
               {"molecules", network.moleculeCount()},
               {"size", size},
               {"labels", MatrixLayout(network, size).labelsFit()}});
  } else {
    std::cout << "Interactions matrix of " << network.moleculeCount() << " molecules: " << to
              << "\nPage: " << page.string() << "\n";
  }
  return 0;
}

namespace {

// The routes the easy query prints: the shortest first, at most this many.
constexpr std::size_t kRoutesShown = 50;

std::string RouteText(const Network& network, const Route& route) {
  return RouteNames(network, route) + "  (" + (route.negative ? "-" : "+") + ", " +
         std::to_string(route.molecules.size()) + " steps)";
}

}  // namespace

int RunPathways(const CommonOptions& options, const PathwayOptions& pathwayOptions) {
  const Network network = LoadNetworkOf(options);
  PathwayQuery query;
  const bool easy = !pathwayOptions.easy.empty();
  if (easy) {
    query = PathwayQuery::Easy(pathwayOptions.easy.at(0), pathwayOptions.easy.at(1),
                               pathwayOptions.directOnly);
  } else {
    query = PathwayQuery::Default();
    if (!pathwayOptions.sources.empty()) query.sources.clear();
    for (const std::string& c : pathwayOptions.sources) query.sources.push_back(ParseCondition(c));
    if (!pathwayOptions.targets.empty()) query.targets.clear();
    for (const std::string& c : pathwayOptions.targets) query.targets.push_back(ParseCondition(c));
    query.maxSteps = pathwayOptions.maxSteps;
    query.maxSize = pathwayOptions.maxSize;
    query.directOnly = pathwayOptions.directOnly;
  }
  // A condition that picks no molecule is almost always a misspelling: say so before
  // anything is written.
  const std::vector<std::string> unmatched = UnmatchedConditions(network, query);
  if (!unmatched.empty()) {
    std::string message;
    for (const std::string& m : unmatched) message += (message.empty() ? "" : "; ") + m;
    throw UsageError(options.network + ": " + message);
  }
  const ColorShapeTable colors = LoadColorsOf(options);
  TerminalProgress progress(!options.quiet);

  // The easy query also lists the routes themselves.
  RouteList routes;
  int routeSteps = query.maxSteps;
  if (easy) {
    if (pathwayOptions.maxStepsGiven) routeSteps = pathwayOptions.maxSteps;
    routes = ListRoutes(network, network.findId(pathwayOptions.easy[0]),
                        network.findId(pathwayOptions.easy[1]), routeSteps, query.directOnly,
                        kRoutesShown, &progress);
  }

  const PathwayCommandResult result = RunPathwayCommand(
      network, colors, query, options.output, progress, pathwayOptions.threads, ContextOf(options));
  progress.finish();
  if (options.json) {
    Json maps = Json::array();
    for (std::size_t k = 0; k < result.maps.size(); ++k) {
      const PathwayMap& m = result.maps[k];
      maps.push_back({{"source", network.nameOf(m.source)},
                      {"target", network.nameOf(m.target)},
                      {"steps", m.steps},
                      {"interactions", m.map.interactions.size()},
                      {"positive_paths", m.map.positivePaths},
                      {"negative_paths", m.map.negativePaths},
                      {"page", (result.folder / (result.baseNames[k] + ".htm")).string()}});
    }
    Json j{{"maps", maps}, {"folder", result.folder.string()}};
    j["form"] = result.maps.empty() ? Json(nullptr) : Json(result.form.string());
    if (result.maps.empty()) j["message"] = kNoPathwaysMessage;
    if (easy) {
      Json list = Json::array();
      for (const Route& route : routes.routes) {
        Json names = Json::array();
        for (const MoleculeId id : route.molecules) names.push_back(network.nameOf(id));
        list.push_back({{"molecules", names},
                        {"sign", route.negative ? "-" : "+"},
                        {"steps", route.molecules.size()}});
      }
      j["routes"] = list;
      j["routes_total"] = routes.total;
      j["routes_complete"] = routes.complete;
    }
    Print(j);
    return 0;
  }
  if (easy) {
    if (routes.total == 0) {
      std::cout << "No route from " << pathwayOptions.easy[0] << " to " << pathwayOptions.easy[1]
                << " in up to " << routeSteps << " steps\n";
    } else {
      std::cout << (routes.complete ? "" : "at least ") << routes.total
                << (routes.total == 1 ? " route" : " routes") << " from " << pathwayOptions.easy[0]
                << " to " << pathwayOptions.easy[1] << " in up to " << routeSteps
                << " steps (molecules on the route), shortest first:\n";
      for (const Route& route : routes.routes) std::cout << RouteText(network, route) << "\n";
      if (routes.total > routes.routes.size()) {
        std::cout << "... and " << (routes.complete ? "" : "at least ")
                  << routes.total - routes.routes.size() << " more routes\n";
      }
    }
  }
  if (result.maps.empty()) {
    std::cout << kNoPathwaysMessage << "\n";
  } else {
    for (std::size_t k = 0; k < result.maps.size(); ++k) {
      const PathwayMap& m = result.maps[k];
      std::cout << network.nameOf(m.source) << " to " << network.nameOf(m.target) << ": "
                << m.map.interactions.size() << " interactions in " << m.steps << " steps\n";
    }
    std::cout << "Done generating pathways... " << result.maps.size()
              << " maps; query form: " << result.form.string() << "\n";
  }
  return 0;
}

namespace {

Json ComparisonJson(const std::vector<ColumnComparison>& comparison) {
  Json columns = Json::object();
  for (const ColumnComparison& c : comparison) {
    const Comparison& f = c.figures;
    columns[c.title] = {{"network", f.value},
                        {"mean", c.hasMean() ? Json(f.mean) : Json(nullptr)},
                        {"sd", c.hasSd() ? Json(f.sd) : Json(nullptr)},
                        {"z", f.hasZ ? Json(f.z) : Json(nullptr)},
                        {"used", c.used},
                        {"left_out", c.leftOut}};
  }
  return columns;
}

void PrintComparison(const std::vector<ColumnComparison>& comparison) {
  std::cout << std::left << std::setw(16) << "column" << std::right << std::setw(14) << "network"
            << std::setw(14) << "random mean" << std::setw(12) << "random sd" << std::setw(10)
            << "z"
            << "\n";
  for (const ColumnComparison& c : comparison) {
    std::cout << std::left << std::setw(16) << c.title << std::right << std::setw(14)
              << FormatNumber(c.figures.value) << std::setw(14) << c.meanText() << std::setw(12)
              << c.sdText() << std::setw(10) << c.zText() << "\n";
  }
  for (const ColumnComparison& c : comparison) {
    if (c.leftOut == 0) continue;
    std::cout << c.leftOut << " of " << c.used + c.leftOut
              << " random networks have several islands and no path length; the " << c.title
              << " figures use the other " << c.used << ".\n";
  }
}

// One table row as an object: the label's key and value, then one key per column.
Json FigureRowJson(const std::vector<std::string>& titles, const std::vector<double>& values,
                   Json row) {
  for (std::size_t c = 0; c < titles.size() && c < values.size(); ++c) row[titles[c]] = values[c];
  return row;
}

}  // namespace

int RunShuffle(const CommonOptions& options, const ShuffleOptions& shuffleOptions) {
  ShuffleSettings settings;
  settings.kind = ParseShuffleKind(shuffleOptions.kind);
  settings.count = shuffleOptions.count;
  settings.maintainOneIsland = shuffleOptions.oneIsland;
  settings.islandTries = shuffleOptions.islandTries;
  settings.passes = shuffleOptions.passes;
  settings.threads = shuffleOptions.threads;
  settings.columns = {false, false, false};
  for (const std::string& a : shuffleOptions.analyze) {
    if (a == "clustering") settings.columns.clustering = true;
    if (a == "motifs34") settings.columns.motifs34 = true;
    if (a == "motifs5") settings.columns.motifs5 = true;
  }
  settings.analyze = settings.columns.any();
  settings.seed = shuffleOptions.seed ? *shuffleOptions.seed : std::random_device{}();
  settings.context = ContextOf(options);
  const Network network = Load(options).network;
  if (!options.quiet && !options.json) std::cerr << "tessel: seed " << settings.seed << "\n";
  TerminalProgress progress(!options.quiet);
  const ShuffleResult result = RunShuffleCommand(network, settings, options.output, progress);
  progress.finish();
  if (options.json) {
    Json j{{"seed", settings.seed},
           {"kind", shuffleOptions.kind},
           {"count", settings.count},
           {"folder", result.folder.string()},
           {"files", result.files.size()}};
    j["page"] = result.page.empty() ? Json(nullptr) : Json(result.page.string());
    if (!result.page.empty()) {
      j["columns"] = ComparisonJson(result.comparison);
    }
    Print(j);
  } else {
    std::cout << "Seed: " << settings.seed << "\nCreated " << result.files.size()
              << " random networks in " << result.folder.string() << "\n";
    if (!result.page.empty()) {
      PrintComparison(result.comparison);
      std::cout << "Done analyzing shuffled networks: " << result.page.string() << "\n";
    } else {
      std::cout << "Done creating shuffled networks\n";
    }
  }
  return 0;
}

int RunReduce(const CommonOptions& options, unsigned threads) {
  const Network network = Load(options).network;
  TerminalProgress progress(!options.quiet);
  const ReduceResult result =
      RunReduceCommand(network, options.output, progress, threads, ContextOf(options));
  progress.finish();
  if (options.json) {
    Json rows = Json::array();
    for (std::size_t r = 0; r < result.rows.size(); ++r) {
      const int k = kFirstAllowedConnectivity + static_cast<int>(r);
      rows.push_back(FigureRowJson(result.titles, result.rows[r], Json{{"allowed", k}}));
    }
    Print(Json{{"folder", result.folder.string()},
               {"page", result.page.string()},
               {"files", result.files.size()},
               {"rows", rows}});
  } else {
    std::cout << "Created " << result.files.size() << " sub-networks in " << result.folder.string()
              << "\nDone analyzing sub-networks based on connectivity: " << result.page.string()
              << "\n";
  }
  return 0;
}

int RunPropagate(const CommonOptions& options, const PropagateOptions& propagateOptions) {
  PropagateSettings settings;
  settings.condition = ParseCondition(propagateOptions.condition);
  settings.maxSteps = propagateOptions.steps;
  settings.direction = ParseDirection(propagateOptions.direction);
  settings.threads = propagateOptions.threads;
  settings.context = ContextOf(options);
  const Network network = Load(options).network;
  TerminalProgress progress(!options.quiet);
  const PropagateResult result = RunPropagateCommand(network, settings, options.output, progress);
  progress.finish();
  if (options.json) {
    Json sources = Json::array();
    for (const PropagatedSource& s : result.sources) {
      Json rows = Json::array();
      for (std::size_t r = 0; r < s.depths.size(); ++r) {
        rows.push_back(FigureRowJson(result.titles, s.rows[r], Json{{"steps", s.depths[r]}}));
      }
      sources.push_back({{"name", s.name}, {"rows", rows}});
    }
    Print(Json{{"folder", result.folder.string()},
               {"stats_page", result.statsPage.string()},
               {"dips_page", result.dipsPage.string()},
               {"files", result.files.size()},
               {"sources", sources}});
  } else {
    std::cout << "Sources: " << result.sources.size() << "\nCreated " << result.files.size()
              << " sub-networks in " << result.folder.string()
              << "\nDone analyzing steps sub-networks: " << result.statsPage.string()
              << "\nMotif participation per molecule: " << result.dipsPage.string() << "\n";
  }
  return 0;
}

namespace {

ServiceSettings Services(const ServiceOptions& o) {
  ServiceSettings s = ServiceSettings::FromEnvironment();
  if (!o.eutilsUrl.empty()) s.eutilsUrl = o.eutilsUrl;
  if (!o.apiKey.empty()) s.apiKey = o.apiKey;
  if (!o.pubmedUrl.empty()) s.pubmedUrl = o.pubmedUrl;
  if (!o.uniprotUrl.empty()) s.uniprotUrl = o.uniprotUrl;
  if (!o.cacheDir.empty()) s.cacheDir = o.cacheDir;
  return s;
}

HttpSettings Http(const ServiceOptions& o) {
  HttpSettings h;
  h.totalTimeout = std::chrono::milliseconds(static_cast<long long>(o.timeout * 1000));
  h.connectTimeout = std::min(h.connectTimeout, h.totalTimeout);
  return h;
}

}  // namespace

int RunWebsite(const CommonOptions& options, const WebsiteOptions& websiteOptions,
               const ServiceOptions& serviceOptions) {
  const Loaded loaded = Load(options);
  WebsiteSettings settings;
  settings.offline = websiteOptions.offline;
  settings.services = Services(serviceOptions);
  settings.http = Http(serviceOptions);
  settings.threads = websiteOptions.threads;
  settings.context = ContextOf(options);
  TerminalProgress progress(!options.quiet);
  const WebsiteResult result =
      RunWebsiteCommand(loaded.network, loaded.colors, settings, options.output, progress);
  progress.finish();
  if (!options.quiet) {
    for (const std::string& w : result.warnings) std::cerr << "tessel: warning: " << w << "\n";
  }
  if (options.json) {
    Json warnings = Json::array();
    for (const std::string& w : result.warnings) warnings.push_back(w);
    Print(Json{{"folder", result.folder.string()},
               {"index", result.index.string()},
               {"molecule_pages", result.moleculePages},
               {"references", result.references},
               {"references_shown", result.referencesShown},
               {"warnings", warnings}});
  } else {
    std::cout << "Done! Site is ready for viewing: " << result.index.string() << "\n"
              << result.moleculePages << " molecule pages; " << result.referencesShown << " of "
              << result.references << " references with their record"
              << (settings.offline ? " (offline)" : "") << "\n";
  }
  return 0;
}

int RunGeneList(const CommonOptions& options, const GeneListOptions& geneOptions,
                const ServiceOptions& serviceOptions) {
  std::string reference = geneOptions.reference;
  if (reference.empty()) reference = ServiceSettings::FromEnvironment().referenceUrl;
  if (reference.empty()) {
    throw UsageError("no reference network: give --reference FILE|URL or set TESSEL_REFERENCE_URL");
  }
  // A relative --to goes into the output folder, which is created when missing.
  fs::path to = geneOptions.to;
  const bool inOutput = to.is_relative();
  if (inOutput) to = fs::path(options.output) / to;
  if (!UsableOutput(to, inOutput)) return 2;
  GeneListSettings settings;
  settings.listFile = geneOptions.genes;
  settings.reference = reference;
  settings.intermediates = geneOptions.intermediates;
  settings.http = Http(serviceOptions);
  settings.output = to;
  TerminalProgress progress(!options.quiet);
  const GeneListOutcome result = RunGeneListCommand(settings, progress);
  progress.finish();
  if (!options.quiet) {
    for (const std::string& w : result.warnings.lines()) {
      std::cerr << "tessel: warning: " << w << "\n";
    }
  }
  if (options.json) {
    Json j{{"message", result.message()},
           {"interactions", result.interactions},
           {"found", result.found},
           {"absent", result.absent}};
    j["file"] = result.connected() ? Json(result.file.string()) : Json(nullptr);
    Print(j);
  } else {
    std::cout << result.message() << "\n";
    if (!result.absent.empty()) {
      std::cout << "Not in the reference network:";
      for (const std::string& g : result.absent) std::cout << " " << g;
      std::cout << "\n";
    }
    if (result.connected()) {
      std::cout << result.interactions << " interactions written to " << result.file.string()
                << "\n";
    }
  }
  return 0;
}

}  // namespace tessel::cli
