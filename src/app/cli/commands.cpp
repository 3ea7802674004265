#include "app/cli/commands.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <random>
#include <stdexcept>

#include "analysis/statistics.h"
#include "analysis/validation.h"
#include "app/cli/cli_options.h"
#include "app/cli/terminal_progress.h"
#include "derived/genelist.h"
#include "derived/motif_significance.h"
#include "derived/shuffle.h"
#include "derived/subnetworks.h"
#include "model/color_table.h"
#include "model/load.h"
#include "model/readers.h"
#include "motifs/motif_pages.h"
#include "output/drawing.h"
#include "output/export_formats.h"
#include "output/matrix.h"
#include "output/results_json.h"
#include "output/website.h"
#include "pathways/pathway_pages.h"
#include "util/error.h"
#include "util/files.h"
#include "util/rank_group.h"
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

// What the pages of this run say about where they come from.
PageContext ContextOf(const CommonOptions& options) {
  return MakePageContext(options.network, options.commandLine);
}

// Names from a network file may hold bytes that are not UTF-8 (an old Latin-1 file): they
// are printed as U+FFFD, one per bad sequence, the same replacement the pages make.
void Print(const Json& j) {
  std::cout << JsonText(j, 2) << "\n";
}

// A --to path that cannot take the output is a usage error, reported before any work.
bool UsableOutput(const fs::path& to, bool folderMayBeCreated) {
  const std::string problem = OutputPathProblem(to, folderMayBeCreated);
  if (problem.empty()) return true;
  std::cerr << "tessel: error: --to: " << problem << "\n";
  return false;
}

// In a run over several ranks, the options of a rank other than 0: it shows no progress,
// notes or warnings (rank 0 shows them).
CommonOptions OptionsOfRank(const CommonOptions& options, const RankGroup& group) {
  CommonOptions own = options;
  if (!group.lead()) own.quiet = true;
  return own;
}

// Every rank loads the network itself; rank 0 also reads (or writes) the colours table,
// which only its drawings need. A failure to load ends every rank.
Loaded LoadOnRanks(const CommonOptions& options, RankGroup& group) {
  Loaded loaded;
  RunAgreed(group, [&] {
    if (group.lead()) {
      loaded = Load(options);
    } else {
      loaded.network = LoadNetworkOf(options);
    }
  });
  return loaded;
}

// The seed given, or one drawn by rank 0 and shared, so every rank makes the same networks.
std::uint64_t SeedOnRanks(const std::optional<std::uint64_t>& given, RankGroup& group) {
  if (given) return *given;
  std::string text = std::to_string(std::random_device{}());
  group.broadcast(text);
  return std::stoull(text);
}

}  // namespace

Command AddStatsCommand(CLI::App& app) {
  struct State {
    CommonOptions common;
    unsigned threads = 0;
  };
  auto s = std::make_shared<State>();
  CLI::App* command = app.add_subcommand("stats", "network statistics: writes stats.htm");
  AddCommonOptions(*command, s->common);
  command->add_option("--threads", s->threads, "worker threads (default: all)");
  return {command, [s](const std::string& commandLine) {
            s->common.commandLine = commandLine;
            return RunStats(s->common, s->threads);
          }};
}

int RunStats(const CommonOptions& options, unsigned threads) {
  const Network network = Load(options).network;
  TerminalProgress progress(!options.quiet);
  Statistics stats;
  const fs::path page =
      WriteStatisticsPage(network, options.output, progress, &stats, ContextOf(options), threads);
  progress.finish();
  if (options.json) {
    Json j = StatisticsJson(stats);
    j["page"] = page.string();
    Print(j);
  } else {
    std::cout << "Molecules: " << stats.molecules << "\nInteractions: " << stats.interactions
              << "\nReferences: " << stats.references << "\nIslands: " << stats.islands.count
              << "\nStatistics page: " << page.string() << "\n";
  }
  return 0;
}

Command AddValidateCommand(CLI::App& app) {
  auto options = std::make_shared<CommonOptions>();
  CLI::App* command = app.add_subcommand("validate", "conflicting entries: writes validation.htm");
  AddCommonOptions(*command, *options);
  return {command, [options](const std::string& commandLine) {
            options->commandLine = commandLine;
            return RunValidate(*options);
          }};
}

int RunValidate(const CommonOptions& options) {
  const Network network = LoadNetworkOf(options);  // no drawing: no colours table
  const std::vector<Finding> findings = ValidationFindings(network);
  const ValidationSummary summary = SummaryOf(findings);
  const fs::path page = WriteValidationReport(findings, options.output, ContextOf(options));
  if (options.json) {
    Json j;
    j["self_loops"] = summary.selfLoops;
    j["code_conflicts"] = summary.codeConflicts;
    j["effect_conflicts"] = summary.effectConflicts;
    j["reversed_pairs"] = summary.reversedPairs;
    j["unknown_effects"] = summary.unknownEffects;
    j["molecule_conflicts"] = summary.moleculeConflicts;
    j["page"] = page.string();
    j["findings"] = FindingsJson(network, findings);
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

Command AddSaveCommand(CLI::App& app) {
  struct State {
    CommonOptions common;
    std::string to;
  };
  auto s = std::make_shared<State>();
  CLI::App* command = app.add_subcommand("save", "write the network as a SIG file");
  AddCommonOptions(*command, s->common);
  command->add_option("--to", s->to, "the SIG file to write")->required();
  return {command, [s](const std::string& commandLine) {
            s->common.commandLine = commandLine;
            return RunSave(s->common, s->to);
          }};
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

Command AddMotifsCommand(CLI::App& app) {
  struct State {
    CommonOptions common;
    MotifOptions motifs;
  };
  auto s = std::make_shared<State>();
  CLI::App* command = app.add_subcommand(
      "motifs", "feedback and feedforward loops, bifans, scaffolds: writes TESSEL_motifs/");
  AddCommonOptions(*command, s->common);
  std::vector<std::string> names, notDefault;
  for (const MotifKindInfo& kind : MotifKinds()) {
    names.emplace_back(kind.name);
    if (!kind.isDefault) notDefault.emplace_back(kind.name);
  }
  command
      ->add_option("--kinds", s->motifs.kinds,
                   "comma-separated: " + ListText(names, ",", ",") + " (default: all but " +
                       ListText(notDefault) + ")")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(CLI::IsMember(names));
  command->add_flag("--no-drawings", s->motifs.noDrawings,
                    "write the pages without a drawing per motif");
  CLI::Option* noPages = command->add_flag(
      "--no-pages", s->motifs.noPages,
      "print the counts only and write nothing; the search then keeps counts, not motifs, "
      "so no --max-motifs limit applies");
  command
      ->add_option("--max-drawings", s->motifs.maxDrawings,
                   "draw at most N motifs of each kind and list the others by name; 0 draws "
                   "none (default: 500)")
      ->check(CLI::NonNegativeNumber);
  command
      ->add_option("--max-motifs", s->motifs.maxMotifs,
                   "refuse a search that could find more than N motifs of one kind, estimated "
                   "from the links before searching (default: " +
                       std::to_string(kDefaultMaxMotifs) + ", under 2 GB)")
      ->check(CLI::NonNegativeNumber);
  command->add_flag("--force", s->motifs.force, "search even above --max-motifs");
  command->add_option("--threads", s->motifs.threads, "worker threads (default: all cores)");
  command
      ->add_option("--significance", s->motifs.significance,
                   "compare the counts with those of N random networks: mean, SD, z-score and "
                   "empirical p-values; writes TESSEL_motifs/significance.htm")
      ->check(CLI::Range(1, 1000000))
      ->excludes(noPages);
  command
      ->add_option("--random-kind", s->motifs.randomKind,
                   "random networks for --significance: swap, effects or er (default: swap)")
      ->check(CLI::IsMember({"swap", "effects", "er"}));
  command->add_option("--seed", s->motifs.seed,
                      "random seed for --significance (default: a random one, reported)");
  const auto run = [s](const std::string& commandLine, RankGroup& group) {
    s->common.commandLine = commandLine;
    return RunMotifs(s->common, s->motifs, group);
  };
  return {command,
          [run](const std::string& commandLine) {
            SingleRank one;
            return run(commandLine, one);
          },
          run};
}

namespace {

Json SignificanceJson(const std::vector<MotifSignificance>& rows) {
  Json list = Json::array();
  for (const MotifSignificance& r : rows) {
    const ColumnComparison& c = r.comparison;
    list.push_back({{"kind", MotifKindName(r.entry.kind)},
                    {"sign", r.entry.sign},
                    {"network", c.figures.value},
                    {"mean", c.hasMean() ? Json(c.figures.mean) : Json(nullptr)},
                    {"sd", c.hasSd() ? Json(c.figures.sd) : Json(nullptr)},
                    {"z", c.figures.hasZ ? Json(c.figures.z) : Json(nullptr)},
                    {"random_at_least", r.atLeast},
                    {"random_at_most", r.atMost},
                    {"p_at_least", r.pAtLeast},
                    {"p_at_most", r.pAtMost}});
  }
  return list;
}

void PrintSignificance(const std::vector<MotifSignificance>& rows) {
  std::cout << std::left << std::setw(10) << "kind" << std::setw(10) << "sign" << std::right
            << std::setw(10) << "network" << std::setw(12) << "random mean" << std::setw(12)
            << "random sd" << std::setw(9) << "z" << std::setw(10) << "p(>=)" << std::setw(10)
            << "p(<=)"
            << "\n";
  for (const MotifSignificance& r : rows) {
    const ColumnComparison& c = r.comparison;
    std::cout << std::left << std::setw(10) << MotifKindName(r.entry.kind) << std::setw(10)
              << r.entry.sign << std::right << std::setw(10) << FormatNumber(c.figures.value)
              << std::setw(12) << c.meanText() << std::setw(12) << c.sdText() << std::setw(9)
              << c.zText() << std::setw(10) << FormatP(r.pAtLeast) << std::setw(10)
              << FormatP(r.pAtMost) << "\n";
  }
}

}  // namespace

int RunMotifs(const CommonOptions& given, const MotifOptions& motifOptions, RankGroup& group) {
  const bool significance = motifOptions.significance > 0;
  // Without --significance there is nothing to share: rank 0 runs the command alone.
  if (!significance && !group.lead()) return 0;
  const CommonOptions options = OptionsOfRank(given, group);
  MotifCommandOptions command;
  command.drawings = !motifOptions.noDrawings;
  command.pages = !motifOptions.noPages;
  if (motifOptions.maxDrawings) command.maxDrawings = *motifOptions.maxDrawings;
  if (motifOptions.maxMotifs) command.maxMotifs = *motifOptions.maxMotifs;
  command.force = motifOptions.force;
  command.threads = motifOptions.threads;
  command.context = ContextOf(options);
  command.significance = significance;
  if (motifOptions.kinds.empty()) command.kinds = DefaultMotifKinds();
  for (const std::string& name : motifOptions.kinds) {
    const auto kind = ParseMotifKind(name);
    if (!kind) throw std::invalid_argument("unknown motif kind: " + name);
    command.kinds.push_back(*kind);
  }
  Loaded loaded;
  if (command.pages) {
    loaded = LoadOnRanks(options, group);
  } else {
    loaded.network = LoadNetworkOf(options);  // counts only: no drawing, no colours table
  }

  SignificanceSettings settings;
  std::vector<std::vector<double>> random;
  if (significance) {
    // The search limit is checked before the random networks are counted (every rank
    // finds the same answer).
    if (!command.force) {
      const std::string problem =
          MotifLimitProblem(loaded.network, command.kinds, command.maxMotifs);
      if (!problem.empty()) {
        if (group.lead())
          std::cerr << "tessel: error: " << options.network << ": " << problem << "\n";
        return 2;
      }
    }
    settings.kinds = command.kinds;
    settings.randomKind = ParseShuffleKind(motifOptions.randomKind);
    settings.count = motifOptions.significance;
    settings.seed = SeedOnRanks(motifOptions.seed, group);
    settings.threads = motifOptions.threads;
    if (!options.quiet && !options.json) std::cerr << "tessel: seed " << settings.seed << "\n";
    TerminalProgress progress(!options.quiet);
    random = RandomMotifCounts(loaded.network, settings, progress, group);
    progress.finish();
  }

  // Rank 0 searches the user's network and writes every page.
  MotifCommandResult result;
  std::vector<MotifSignificance> rows;
  fs::path significancePage;
  int status = 0;
  RunAgreed(group, [&] {
    if (!group.lead()) return;
    TerminalProgress progress(!options.quiet);
    try {
      result = RunMotifCommand(loaded.network, loaded.colors, command, options.output, progress);
    } catch (const MotifLimitError& e) {
      progress.finish();
      std::cerr << "tessel: error: " << options.network << ": " << e.what() << "\n";
      status = 2;
      return;
    }
    progress.finish();
    if (!significance) return;
    rows = CompareMotifCounts(command.kinds, MotifCountRow(command.kinds, result.results), random);
    significancePage = result.folder / kSignificancePage;
    WriteFileAtomically(
        significancePage,
        SignificancePage(settings, rows, command.context.linkingTo(kMotifsIndexPage)));
  });
  if (!group.lead() || status != 0) return status;

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
    if (command.pages) j["page"] = result.indexPage.string();
    if (significance) {
      j["seed"] = settings.seed;
      j["random_kind"] = motifOptions.randomKind;
      j["random_networks"] = settings.count;
      j["significance"] = SignificanceJson(rows);
      j["significance_page"] = significancePage.string();
    }
    Print(j);
  } else {
    for (const MotifResult& r : result.results) {
      std::cout << MotifFileStem(r.kind) << ": " << r.total();
      if (MotifIsSigned(r.kind)) {
        std::cout << " (" << r.positive << " positive, " << r.negative << " negative)";
      }
      std::cout << "\n";
    }
    if (command.pages) std::cout << "Motif pages: " << result.indexPage.string() << "\n";
    if (significance) {
      std::cout << "Against " << settings.count << " random networks (seed " << settings.seed
                << "):\n";
      PrintSignificance(rows);
      std::cout << "Significance page: " << significancePage.string() << "\n";
    }
  }
  return 0;
}

Command AddDrawCommand(CLI::App& app) {
  struct State {
    CommonOptions common;
    std::string base = "network";
    bool force = false;
  };
  auto s = std::make_shared<State>();
  CLI::App* command = app.add_subcommand(
      "draw", "the whole network drawn with Graphviz: writes NAME.dot, NAME.jpg, NAME.svg");
  AddCommonOptions(*command, s->common);
  command->add_option("--base", s->base, "base name of the files (default: network)");
  command->add_flag("--force", s->force,
                    "draw a network of more than " + std::to_string(kLargeDrawingMolecules) +
                        " molecules (it can take long)");
  return {command, [s](const std::string& commandLine) {
            s->common.commandLine = commandLine;
            return RunDraw(s->common, s->base, s->force);
          }};
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

Command AddExportCommand(CLI::App& app) {
  struct State {
    CommonOptions common;
    std::string format, to;
  };
  auto s = std::make_shared<State>();
  // The files for other tools first, then the exchange formats that carry every field.
  std::vector<std::string> names, tools, exchange;
  for (const ExportFormatInfo& format : ExportFormats()) {
    names.emplace_back(format.name);
    (format.format ? tools : exchange).emplace_back(format.purpose);
  }
  CLI::App* command = app.add_subcommand("export", "files for " + ListText(tools, ", ", ", ") +
                                                       ", or the network with every field as " +
                                                       ListText(exchange));
  command->add_option("FORMAT", s->format, ListText(names))
      ->required()
      ->check(CLI::IsMember(names));
  AddCommonOptions(*command, s->common);
  command->add_option("--to", s->to, "the file to write (default: in the output folder)");
  return {command, [s](const std::string& commandLine) {
            s->common.commandLine = commandLine;
            return RunExport(s->common, s->format, s->to);
          }};
}

int RunExport(const CommonOptions& options, const std::string& format, std::string to) {
  const ExportFormatInfo* choice = FindExportFormat(format);
  if (choice == nullptr) throw std::invalid_argument("unknown export format: " + format);
  const bool given = !to.empty();
  if (!given) to = (fs::path(options.output) / choice->defaultFile).string();
  if (!UsableOutput(to, !given)) return 2;
  const Loaded loaded = Load(options);
  const std::vector<fs::path> written =
      WriteExportFormat(loaded.network, loaded.colors, *choice, to);
  if (options.json) {
    Json files = Json::array();
    for (const fs::path& f : written) files.push_back(f.string());
    Print(Json{{"format", format}, {"files", files}});
  } else {
    for (const fs::path& f : written) std::cout << "Wrote " << f.string() << "\n";
  }
  return 0;
}

Command AddMatrixCommand(CLI::App& app) {
  struct State {
    CommonOptions common;
    std::string to;
    int size = 510;
  };
  auto s = std::make_shared<State>();
  CLI::App* command = app.add_subcommand("matrix", "the interactions matrix as a PNG image");
  AddCommonOptions(*command, s->common);
  command->add_option("--to", s->to, "the PNG file (default: interactions_matrix.png)");
  command->add_option("--size", s->size, "image width and height in pixels")
      ->check(CLI::Range(16, 8192));
  return {command, [s](const std::string& commandLine) {
            s->common.commandLine = commandLine;
            return RunMatrix(s->common, s->to, s->size);
          }};
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

Command AddPathwaysCommand(CLI::App& app) {
  struct State {
    CommonOptions common;
    PathwayOptions pathways;
  };
  auto s = std::make_shared<State>();
  CLI::App* command = app.add_subcommand(
      "pathways", "pathway maps from source to target molecules: writes TESSEL_pg/");
  AddCommonOptions(*command, s->common);
  command
      ->add_option("--source", s->pathways.sources,
                   "source condition KIND=VALUE, KIND one of Type, Location, Name; up to four, "
                   "any may match (default: Type=Ligand)")
      ->allow_extra_args(false)
      ->check(kConditionCheck);
  command
      ->add_option("--target", s->pathways.targets,
                   "target condition KIND=VALUE; up to four, any may match (default: Type=TF)")
      ->allow_extra_args(false)
      ->check(kConditionCheck);
  CLI::Option* maxSteps =
      command
          ->add_option("--max-steps", s->pathways.maxSteps,
                       "most molecules on a path, both ends counted (default: 9; with --easy "
                       "it bounds the routes listed, the map keeps 8)")
          ->check(CLI::Range(2, 1000));
  command
      ->add_option("--max-size", s->pathways.maxSize,
                   "map-size threshold in interactions (default: 70)")
      ->check(CLI::Range(1, 1000000));
  command->add_flag("--direct-only", s->pathways.directOnly,
                    "include only direct interactions (neutral links are not walked)");
  CLI::Option* easy =
      command
          ->add_option("--easy", s->pathways.easy,
                       "SOURCE TARGET: one source and one target by name, 8 steps, size 50; "
                       "also lists the routes from SOURCE to TARGET")
          ->expected(2);
  command->add_option("--threads", s->pathways.threads, "worker threads (default: all)");
  return {
      command, [s, maxSteps, easy](const std::string& commandLine) {
        PathwayOptions& p = s->pathways;
        if (p.sources.size() > 4 || p.targets.size() > 4) {
          throw UsageError("at most four --source and four --target conditions");
        }
        if (*easy && (!p.sources.empty() || !p.targets.empty())) {
          throw UsageError("--easy names its source and target; leave out --source and --target");
        }
        p.maxStepsGiven = maxSteps->count() > 0;
        s->common.commandLine = commandLine;
        return RunPathways(s->common, p);
      }};
}

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

Command AddShuffleCommand(CLI::App& app) {
  struct State {
    CommonOptions common;
    ShuffleOptions shuffle;
    std::uint64_t seed = 0;
  };
  auto s = std::make_shared<State>();
  CLI::App* command = app.add_subcommand(
      "shuffle", "shuffled and random networks, analysed: writes TESSEL_shuffled_nets/");
  AddCommonOptions(*command, s->common);
  command
      ->add_option("--kind", s->shuffle.kind,
                   "swap (swap targets, keeps degrees), effects (shuffle effects) or er "
                   "(Erdos-Renyi); default: swap")
      ->check(CLI::IsMember({"swap", "effects", "er"}));
  command->add_option("--count", s->shuffle.count, "how many networks (default: 100)")
      ->check(CLI::Range(1, 1000000));
  command->add_flag("--one-island", s->shuffle.oneIsland,
                    "keep only networks of one island (swap and er)");
  command
      ->add_option("--island-tries", s->shuffle.islandTries,
                   "tries per network before --one-island gives up (default: 100)")
      ->check(CLI::Range(1, 1000000));
  command
      ->add_option("--analyze", s->shuffle.analyze,
                   "comma-separated: clustering, motifs34, motifs5, or none "
                   "(default: clustering)")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(CLI::IsMember({"clustering", "motifs34", "motifs5", "none"}));
  command->add_option("--passes", s->shuffle.passes, "swap passes (default: 10)")
      ->check(CLI::Range(1, 100000));
  CLI::Option* seed =
      command->add_option("--seed", s->seed, "random seed (default: a random one, reported)");
  command->add_option("--threads", s->shuffle.threads, "worker threads (default: all)");
  const auto run = [s, seed](const std::string& commandLine, RankGroup& group) {
    if (*seed) s->shuffle.seed = s->seed;
    s->common.commandLine = commandLine;
    return RunShuffle(s->common, s->shuffle, group);
  };
  return {command,
          [run](const std::string& commandLine) {
            SingleRank one;
            return run(commandLine, one);
          },
          run};
}

int RunShuffle(const CommonOptions& given, const ShuffleOptions& shuffleOptions, RankGroup& group) {
  const CommonOptions options = OptionsOfRank(given, group);
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
  settings.context = ContextOf(options);
  const Network network = LoadOnRanks(options, group).network;
  settings.seed = SeedOnRanks(shuffleOptions.seed, group);
  if (!options.quiet && !options.json) std::cerr << "tessel: seed " << settings.seed << "\n";
  TerminalProgress progress(!options.quiet);
  const ShuffleResult result =
      RunShuffleCommand(network, settings, options.output, progress, group);
  progress.finish();
  if (!group.lead()) return 0;
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

Command AddReduceCommand(CLI::App& app) {
  struct State {
    CommonOptions common;
    unsigned threads = 0;
  };
  auto s = std::make_shared<State>();
  CLI::App* command = app.add_subcommand(
      "reduce", "sub-networks without hubs (4 to 50 links), analysed: writes TESSEL_reduced/");
  AddCommonOptions(*command, s->common);
  command->add_option("--threads", s->threads, "worker threads (default: all)");
  return {command, [s](const std::string& commandLine) {
            s->common.commandLine = commandLine;
            return RunReduce(s->common, s->threads);
          }};
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

Command AddPropagateCommand(CLI::App& app) {
  struct State {
    CommonOptions common;
    PropagateOptions propagate;
  };
  auto s = std::make_shared<State>();
  CLI::App* command = app.add_subcommand(
      "propagate",
      "sub-networks grown step by step from source molecules: writes TESSEL_from_sources/");
  AddCommonOptions(*command, s->common);
  command
      ->add_option("--condition", s->propagate.condition,
                   "the sources: Type=VALUE, Location=VALUE or Name=VALUE")
      ->required()
      ->check(kConditionCheck);
  command->add_option("--steps", s->propagate.steps, "largest number of steps (default: 15)")
      ->check(CLI::Range(1, 100000));
  command
      ->add_option("--direction", s->propagate.direction, "forward or reverse (default: forward)")
      ->check(CLI::IsMember({"forward", "reverse"}, CLI::ignore_case));
  command->add_option("--threads", s->propagate.threads, "worker threads (default: all)");
  return {command, [s](const std::string& commandLine) {
            s->common.commandLine = commandLine;
            return RunPropagate(s->common, s->propagate);
          }};
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

Command AddWebsiteCommand(CLI::App& app) {
  struct State {
    CommonOptions common;
    WebsiteOptions website;
    ServiceOptions services;
  };
  auto s = std::make_shared<State>();
  CLI::App* command = app.add_subcommand(
      "website", "a browsable web site with drawings and references: writes TESSEL_website/");
  AddCommonOptions(*command, s->common);
  command->add_flag("--offline", s->website.offline,
                    "PubMed records from the cache only (no download)");
  command->add_option("--threads", s->website.threads, "worker threads (default: all)");
  AddServiceOptions(*command, s->services, true);
  return {command, [s](const std::string& commandLine) {
            s->common.commandLine = commandLine;
            return RunWebsite(s->common, s->website, s->services);
          }};
}

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

// The gene list command reads no network file: of the common options it takes only the
// output folder, --json and --quiet.
Command AddGeneListCommand(CLI::App& app) {
  struct State {
    CommonOptions common;
    GeneListOptions genes;
    ServiceOptions services;
  };
  auto s = std::make_shared<State>();
  CLI::App* command = app.add_subcommand(
      "genelist", "the sub-network connecting a list of genes in a reference network");
  command->add_option("GENES", s->genes.genes, "text file of gene or protein names")
      ->required()
      ->check(CLI::ExistingFile);
  command->add_option("--reference", s->genes.reference,
                      "reference network, a file or an http(s) URL "
                      "(default: TESSEL_REFERENCE_URL)");
  command
      ->add_option("--intermediates", s->genes.intermediates,
                   "most molecules between two listed ones: 1, 2 or 3 (default: 1)")
      ->check(CLI::Range(1, 3));
  command->add_option("--to", s->genes.to,
                      "the SIG file to write (default: subnetwork.sig in the output folder)");
  command->add_option("-o,--output", s->common.output,
                      "folder for the results (default: the current folder)");
  command->add_flag("--json", s->common.json, "print a machine-readable result on stdout");
  command->add_flag("-q,--quiet", s->common.quiet, "no progress or notes on stderr");
  AddServiceOptions(*command, s->services, false);
  return {command, [s](const std::string& commandLine) {
            s->common.commandLine = commandLine;
            return RunGeneList(s->common, s->genes, s->services);
          }};
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
