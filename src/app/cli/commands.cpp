#include "app/cli/commands.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "analysis/statistics.h"
#include "analysis/validation.h"
#include "app/cli/terminal_progress.h"
#include "model/color_table.h"
#include "model/readers.h"
#include "motifs/motif_pages.h"
#include "output/drawing.h"
#include "output/exports.h"
#include "output/matrix.h"

namespace tessel::cli {
namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

namespace {

struct Loaded {
  Network network;
  ColorShapeTable colors;
};

// Loads the network and the colours table the drawings use; warnings go to stderr.
Loaded Load(const CommonOptions& options) {
  Warnings warnings;
  const fs::path path = options.network;
  Network network = LoadNetwork(path, ParseNetworkFormat(options.format), &warnings);
  if (!options.quiet) {
    const std::size_t shown = std::min<std::size_t>(warnings.size(), 5);
    for (std::size_t k = 0; k < shown; ++k) std::cerr << "tessel: warning: " << warnings[k] << "\n";
    if (warnings.size() > shown) {
      std::cerr << "tessel: warning: " << warnings.size() - shown << " more warnings like these\n";
    }
  }
  const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
  bool wroteDefault = false;
  ColorShapeTable colors =
      ColorShapeTable::LoadOrCreate({folder, options.output}, options.output, &wroteDefault);
  if (wroteDefault && !options.quiet) {
    std::cerr << "tessel: note: wrote the default colours table "
              << (fs::path(options.output) / kColorTableFileName).string() << "\n";
  }
  return {std::move(network), std::move(colors)};
}

Json TallyJson(const ValueTally& tally) {
  Json object = Json::object();
  for (const auto& [value, count] : tally.values) object[value] = count;
  return object;
}

void Print(const Json& j) {
  std::cout << j.dump(2) << "\n";
}

}  // namespace

int RunStats(const CommonOptions& options) {
  const Network network = Load(options).network;
  TerminalProgress progress(!options.quiet);
  Statistics stats;
  const fs::path page = WriteStatisticsPage(network, options.output, progress, &stats);
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
  const Network network = Load(options).network;
  ValidationSummary summary;
  const fs::path page = WriteValidationReport(network, options.output, &summary);
  if (options.json) {
    Json j;
    j["self_loops"] = summary.selfLoops;
    j["code_conflicts"] = summary.codeConflicts;
    j["effect_conflicts"] = summary.effectConflicts;
    j["reversed_pairs"] = summary.reversedPairs;
    j["page"] = page.string();
    Print(j);
  } else {
    std::cout << "Self-interactions: " << summary.selfLoops
              << "\nSame name, different codes: " << summary.codeConflicts
              << "\nSame pair, different effect or type: " << summary.effectConflicts
              << "\nReversed pairs: " << summary.reversedPairs
              << "\nValidation page: " << page.string() << "\n";
  }
  return 0;
}

int RunSave(const CommonOptions& options, const std::string& to) {
  const Network network = Load(options).network;
  WriteSigFile(network, to);
  std::size_t rows = 0;
  for (const Interaction& i : network.interactions()) rows += i.pubmedIds.size();
  if (options.json) {
    Print(Json{{"file", to},
               {"rows", rows},
               {"molecules", network.moleculeCount()},
               {"interactions", network.interactionCount()}});
  } else {
    std::cout << "Saved " << rows << " rows (" << network.interactionCount() << " interactions) to "
              << to << "\n";
  }
  return 0;
}

int RunMotifs(const CommonOptions& options, const MotifOptions& motifOptions) {
  MotifCommandOptions command;
  command.drawings = !motifOptions.noDrawings;
  command.threads = motifOptions.threads;
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
  const MotifCommandResult result =
      RunMotifCommand(loaded.network, loaded.colors, command, options.output, progress);
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

int RunDraw(const CommonOptions& options, const std::string& base) {
  const Loaded loaded = Load(options);
  const DrawResult drawn = DrawNetwork(loaded.network, loaded.colors, options.output, base);
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
  struct Choice {
    const char* name;
    ExportFormat format;
    const char* defaultFile;
  };
  static const Choice choices[] = {
      {"pajek", ExportFormat::Pajek, "network.net"},
      {"mfinder", ExportFormat::Mfinder, "input_for_mfinder.txt"},
      {"sif", ExportFormat::Sif, "network4cytoscape.sif"},
      {"big-cluster", ExportFormat::BigCluster, "big_cluster.sig"},
  };
  const auto* choice = std::find_if(std::begin(choices), std::end(choices),
                                    [&](const Choice& c) { return format == c.name; });
  if (choice == std::end(choices)) throw std::invalid_argument("unknown export format: " + format);
  if (to.empty()) to = (fs::path(options.output) / choice->defaultFile).string();
  const Network network = Load(options).network;
  const std::vector<fs::path> written = WriteExport(network, choice->format, to);
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
  if (to.empty()) to = (fs::path(options.output) / "interactions_matrix.png").string();
  const Network network = Load(options).network;
  WriteInteractionsMatrixPng(network, to, size);
  if (options.json) {
    Print(Json{{"file", to}, {"molecules", network.moleculeCount()}, {"size", size}});
  } else {
    std::cout << "Interactions matrix of " << network.moleculeCount() << " molecules: " << to
              << "\n";
  }
  return 0;
}

}  // namespace tessel::cli
