// tessel: the command line. One sub-command per analysis; every command loads the
// network, runs the same core function the desktop application runs and reports where its
// results are (or, with --json, one JSON object on stdout).
#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>

#include "analysis/statistics.h"
#include "analysis/validation.h"
#include "app/cli/terminal_progress.h"
#include "model/color_table.h"
#include "model/readers.h"
#include "util/error.h"

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

namespace tessel::cli {
namespace {

// Options shared by every command.
struct CommonOptions {
  std::string network;
  std::string output = ".";
  std::string format = "auto";
  bool json = false;
  bool quiet = false;
};

void AddCommonOptions(CLI::App& command, CommonOptions& options) {
  command.add_option("NETWORK", options.network, "network file (SIG, two-column)")->required();
  command.add_option("-o,--output", options.output,
                     "folder for the results (default: the current folder)");
  command.add_option("--format", options.format, "input format (default: from name and content)")
      ->check(CLI::IsMember({"auto", "sig", "pairs", "psimi", "mitab"}));
  command.add_flag("--json", options.json, "print a machine-readable result on stdout");
  command.add_flag("-q,--quiet", options.quiet, "no progress or notes on stderr");
}

std::string OneLine(std::string text) {
  for (char& c : text) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  return text;
}

// Loads the network and the colours table the drawings will use; warnings go to stderr.
Network Load(const CommonOptions& options) {
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
  ColorShapeTable::LoadOrCreate({folder, options.output}, options.output, &wroteDefault);
  if (wroteDefault && !options.quiet) {
    std::cerr << "tessel: note: wrote the default colours table "
              << (fs::path(options.output) / kColorTableFileName).string() << "\n";
  }
  return network;
}

Json TallyJson(const ValueTally& tally) {
  Json object = Json::object();
  for (const auto& [value, count] : tally.values) object[value] = count;
  return object;
}

int RunStats(const CommonOptions& options) {
  const Network network = Load(options);
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
    std::cout << j.dump(2) << "\n";
  } else {
    std::cout << "Molecules: " << stats.molecules << "\nInteractions: " << stats.interactions
              << "\nReferences: " << stats.references << "\nIslands: " << stats.islands.count
              << "\nStatistics page: " << page.string() << "\n";
  }
  return 0;
}

int RunValidate(const CommonOptions& options) {
  const Network network = Load(options);
  ValidationSummary summary;
  const fs::path page = WriteValidationReport(network, options.output, &summary);
  if (options.json) {
    Json j;
    j["self_loops"] = summary.selfLoops;
    j["code_conflicts"] = summary.codeConflicts;
    j["effect_conflicts"] = summary.effectConflicts;
    j["reversed_pairs"] = summary.reversedPairs;
    j["page"] = page.string();
    std::cout << j.dump(2) << "\n";
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
  const Network network = Load(options);
  WriteSigFile(network, to);
  std::size_t rows = 0;
  for (const Interaction& i : network.interactions()) rows += i.pubmedIds.size();
  if (options.json) {
    Json j;
    j["file"] = to;
    j["rows"] = rows;
    j["molecules"] = network.moleculeCount();
    j["interactions"] = network.interactionCount();
    std::cout << j.dump(2) << "\n";
  } else {
    std::cout << "Saved " << rows << " rows (" << network.interactionCount()
              << " interactions) to " << to << "\n";
  }
  return 0;
}

}  // namespace
}  // namespace tessel::cli

int main(int argc, char** argv) {
  using namespace tessel::cli;
  CLI::App app{"tessel: analysis of cell-signalling networks"};
  app.set_version_flag("--version", std::string("tessel ") + TESSEL_VERSION);
  app.require_subcommand(1);

  CommonOptions stats, validate, save;
  std::string saveTo;
  auto* statsCmd = app.add_subcommand("stats", "network statistics: writes stats.htm");
  AddCommonOptions(*statsCmd, stats);
  auto* validateCmd =
      app.add_subcommand("validate", "conflicting entries: writes validation.htm");
  AddCommonOptions(*validateCmd, validate);
  auto* saveCmd = app.add_subcommand("save", "write the network as a SIG file");
  AddCommonOptions(*saveCmd, save);
  saveCmd->add_option("--to", saveTo, "the SIG file to write")->required();

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    const int code = app.exit(e);
    return code == 0 ? 0 : 2;
  }

  try {
    if (*statsCmd) return RunStats(stats);
    if (*validateCmd) return RunValidate(validate);
    if (*saveCmd) return RunSave(save, saveTo);
  } catch (const tessel::InputError& e) {
    std::cerr << "tessel: error: " << OneLine(e.what()) << "\n";
    return 1;
  } catch (const tessel::OutputError& e) {
    std::cerr << "tessel: error: " << OneLine(e.what()) << "\n";
    return 1;
  } catch (const tessel::Cancelled&) {
    std::cerr << "tessel: cancelled\n";
    return 1;
  } catch (const std::exception& e) {
    std::cerr << "tessel: error: " << OneLine(e.what()) << "\n";
    return 1;
  }
  return 2;
}
