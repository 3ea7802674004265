// tessel: the command line. One sub-command per analysis.
#include <CLI/CLI.hpp>
#include <iostream>
#include <string>

#include "app/cli/commands.h"
#include "app/cli/terminal_progress.h"
#include "model/molecule_condition.h"
#include "model/readers.h"
#include "motifs/motif_pages.h"
#include "output/drawing.h"
#include "util/error.h"
#include "util/progress.h"

namespace {

using tessel::cli::CommonOptions;

void AddCommonOptions(CLI::App& command, CommonOptions& options) {
  command
      .add_option("NETWORK", options.network,
                  "network file: SIG, two-column, CSV/TSV table, SIF, SIGNOR, OmniPath, "
                  "PSI-MI XML or TAB, GraphML")
      ->required();
  command.add_option("-o,--output", options.output,
                     "folder for the results (default: the current folder)");
  command.add_option("--format", options.format, "input format (default: from name and content)")
      ->check(CLI::IsMember(tessel::FormatNames()));
  // Columns of a table file, when its titles are not ones the reader knows.
  const std::string group = "Table columns (title or 1-based number; imply --format table)";
  tessel::TableColumns& c = options.columns;
  command.add_option("--source-col", c.source, "source molecule names")->group(group);
  command.add_option("--target-col", c.target, "target molecule names")->group(group);
  command.add_option("--effect-col", c.effect, "effect or sign")->group(group);
  command.add_option("--type-col", c.interactionType, "interaction type")->group(group);
  command.add_option("--pmid-col", c.pubmed, "PubMed ids or references")->group(group);
  command.add_option("--source-type-col", c.sourceType, "source molecule type")->group(group);
  command.add_option("--target-type-col", c.targetType, "target molecule type")->group(group);
  command.add_option("--source-location-col", c.sourceLocation, "source location")->group(group);
  command.add_option("--target-location-col", c.targetLocation, "target location")->group(group);
  command.add_option("--source-accession-col", c.sourceAccession, "source accession")->group(group);
  command.add_option("--target-accession-col", c.targetAccession, "target accession")->group(group);
  command.add_flag("--json", options.json, "print a machine-readable result on stdout");
  command.add_flag("--allow-empty", options.allowEmpty,
                   "load a file from which no interaction could be read (only molecules)");
  command.add_flag("-q,--quiet", options.quiet, "no progress or notes on stderr");
}

// Checks a KIND=VALUE molecule condition at parse time, so that a bad one is a usage error.
const CLI::Validator kConditionCheck(
    [](std::string& text) -> std::string {
      try {
        tessel::ParseCondition(text);
      } catch (const std::exception& e) {
        return e.what();
      }
      return {};
    },
    "KIND=VALUE", "condition");

// The command line as typed, each argument quoted when it holds a blank or a quote.
std::string CommandLineText(int argc, char** argv) {
  std::string text = "tessel";
  for (int k = 1; k < argc; ++k) {
    const std::string arg = argv[k];
    text += ' ';
    if (arg.empty() || arg.find_first_of(" \t\"'") != std::string::npos) {
      text += '"';
      for (char c : arg) {
        if (c == '"' || c == '\\') text += '\\';
        text += c;
      }
      text += '"';
    } else {
      text += arg;
    }
  }
  return text;
}

std::string OneLine(std::string text) {
  for (char& c : text) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace tessel::cli;
  CLI::App app{"tessel: analysis of cell-signalling networks"};
  app.set_version_flag("--version", std::string("tessel ") + TESSEL_VERSION);
  app.require_subcommand(1);

  CommonOptions stats, validate, save, motifs, draw, exportOptions, matrix, pathways, shuffle,
      reduce, propagate, website;

  auto* statsCmd = app.add_subcommand("stats", "network statistics: writes stats.htm");
  AddCommonOptions(*statsCmd, stats);

  auto* validateCmd = app.add_subcommand("validate", "conflicting entries: writes validation.htm");
  AddCommonOptions(*validateCmd, validate);

  std::string saveTo;
  auto* saveCmd = app.add_subcommand("save", "write the network as a SIG file");
  AddCommonOptions(*saveCmd, save);
  saveCmd->add_option("--to", saveTo, "the SIG file to write")->required();

  MotifOptions motifOptions;
  auto* motifsCmd = app.add_subcommand(
      "motifs", "feedback and feedforward loops, bifans, scaffolds: writes TESSEL_motifs/");
  AddCommonOptions(*motifsCmd, motifs);
  motifsCmd
      ->add_option("--kinds", motifOptions.kinds,
                   "comma-separated: fbl3,fbl4,fbl5,ffl3,ffl4,bifan,scaffold "
                   "(default: all but fbl5)")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(CLI::IsMember({"fbl3", "fbl4", "fbl5", "ffl3", "ffl4", "bifan", "scaffold"}));
  motifsCmd->add_flag("--no-drawings", motifOptions.noDrawings,
                      "write the pages without a drawing per motif");
  motifsCmd
      ->add_option("--max-drawings", motifOptions.maxDrawings,
                   "draw at most N motifs of each kind and list the others by name; 0 draws "
                   "none (default: 500)")
      ->check(CLI::NonNegativeNumber);
  motifsCmd
      ->add_option("--max-motifs", motifOptions.maxMotifs,
                   "refuse a search that could find more than N motifs of one kind, estimated "
                   "from the links before searching (default: " +
                       std::to_string(tessel::kDefaultMaxMotifs) + ", under 2 GB)")
      ->check(CLI::NonNegativeNumber);
  motifsCmd->add_flag("--force", motifOptions.force, "search even above --max-motifs");
  motifsCmd->add_option("--threads", motifOptions.threads, "worker threads (default: all cores)");

  std::string drawBase = "network";
  auto* drawCmd = app.add_subcommand(
      "draw", "the whole network drawn with Graphviz: writes NAME.dot, NAME.jpg, NAME.svg");
  AddCommonOptions(*drawCmd, draw);
  drawCmd->add_option("--base", drawBase, "base name of the files (default: network)");
  bool drawForce = false;
  drawCmd->add_flag("--force", drawForce,
                    "draw a network of more than " +
                        std::to_string(tessel::kLargeDrawingMolecules) +
                        " molecules (it can take long)");

  std::string exportFormat, exportTo;
  auto* exportCmd = app.add_subcommand(
      "export",
      "files for Pajek, MFinder, Cytoscape, the largest island as SIG, or the network with "
      "every field as GraphML, CSV table, signed SIF or CX2");
  exportCmd
      ->add_option("FORMAT", exportFormat,
                   "pajek, mfinder, sif, big-cluster, graphml, table, signed-sif or cx2")
      ->required()
      ->check(CLI::IsMember(
          {"pajek", "mfinder", "sif", "big-cluster", "graphml", "table", "signed-sif", "cx2"}));
  AddCommonOptions(*exportCmd, exportOptions);
  exportCmd->add_option("--to", exportTo, "the file to write (default: in the output folder)");

  std::string matrixTo;
  int matrixSize = 510;
  auto* matrixCmd = app.add_subcommand("matrix", "the interactions matrix as a PNG image");
  AddCommonOptions(*matrixCmd, matrix);
  matrixCmd->add_option("--to", matrixTo, "the PNG file (default: interactions_matrix.png)");
  matrixCmd->add_option("--size", matrixSize, "image width and height in pixels")
      ->check(CLI::Range(16, 8192));

  PathwayOptions pathwayOptions;
  auto* pathwaysCmd = app.add_subcommand(
      "pathways", "pathway maps from source to target molecules: writes TESSEL_pg/");
  AddCommonOptions(*pathwaysCmd, pathways);
  pathwaysCmd
      ->add_option("--source", pathwayOptions.sources,
                   "source condition KIND=VALUE, KIND one of Type, Location, Name; up to four, "
                   "any may match (default: Type=Ligand)")
      ->allow_extra_args(false)
      ->check(kConditionCheck);
  pathwaysCmd
      ->add_option("--target", pathwayOptions.targets,
                   "target condition KIND=VALUE; up to four, any may match (default: Type=TF)")
      ->allow_extra_args(false)
      ->check(kConditionCheck);
  auto* maxStepsOption =
      pathwaysCmd
          ->add_option("--max-steps", pathwayOptions.maxSteps,
                       "most molecules on a path, both ends counted (default: 9; with --easy "
                       "it bounds the routes listed, the map keeps 8)")
          ->check(CLI::Range(2, 1000));
  pathwaysCmd
      ->add_option("--max-size", pathwayOptions.maxSize,
                   "map-size threshold in interactions (default: 70)")
      ->check(CLI::Range(1, 1000000));
  pathwaysCmd->add_flag("--direct-only", pathwayOptions.directOnly,
                        "include only direct interactions (neutral links are not walked)");
  auto* easyOption =
      pathwaysCmd
          ->add_option("--easy", pathwayOptions.easy,
                       "SOURCE TARGET: one source and one target by name, 8 steps, size 50; "
                       "also lists the routes from SOURCE to TARGET")
          ->expected(2);
  pathwaysCmd->add_option("--threads", pathwayOptions.threads, "worker threads (default: all)");

  ShuffleOptions shuffleOptions;
  std::uint64_t shuffleSeed = 0;
  auto* shuffleCmd = app.add_subcommand(
      "shuffle", "shuffled and random networks, analysed: writes TESSEL_shuffled_nets/");
  AddCommonOptions(*shuffleCmd, shuffle);
  shuffleCmd
      ->add_option("--kind", shuffleOptions.kind,
                   "swap (swap targets, keeps degrees), effects (shuffle effects) or er "
                   "(Erdos-Renyi); default: swap")
      ->check(CLI::IsMember({"swap", "effects", "er"}));
  shuffleCmd->add_option("--count", shuffleOptions.count, "how many networks (default: 100)")
      ->check(CLI::Range(1, 1000000));
  shuffleCmd->add_flag("--one-island", shuffleOptions.oneIsland,
                       "keep only networks of one island (swap and er)");
  shuffleCmd
      ->add_option("--island-tries", shuffleOptions.islandTries,
                   "tries per network before --one-island gives up (default: 100)")
      ->check(CLI::Range(1, 1000000));
  shuffleCmd
      ->add_option("--analyze", shuffleOptions.analyze,
                   "comma-separated: clustering, motifs34, motifs5, or none "
                   "(default: clustering)")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(CLI::IsMember({"clustering", "motifs34", "motifs5", "none"}));
  shuffleCmd->add_option("--passes", shuffleOptions.passes, "swap passes (default: 10)")
      ->check(CLI::Range(1, 100000));
  auto* seedOption = shuffleCmd->add_option("--seed", shuffleSeed,
                                            "random seed (default: a random one, reported)");
  shuffleCmd->add_option("--threads", shuffleOptions.threads, "worker threads (default: all)");

  unsigned reduceThreads = 0;
  auto* reduceCmd = app.add_subcommand(
      "reduce", "sub-networks without hubs (4 to 50 links), analysed: writes TESSEL_reduced/");
  AddCommonOptions(*reduceCmd, reduce);
  reduceCmd->add_option("--threads", reduceThreads, "worker threads (default: all)");

  PropagateOptions propagateOptions;
  auto* propagateCmd = app.add_subcommand(
      "propagate",
      "sub-networks grown step by step from source molecules: writes TESSEL_from_sources/");
  AddCommonOptions(*propagateCmd, propagate);
  propagateCmd
      ->add_option("--condition", propagateOptions.condition,
                   "the sources: Type=VALUE, Location=VALUE or Name=VALUE")
      ->required()
      ->check(kConditionCheck);
  propagateCmd
      ->add_option("--steps", propagateOptions.steps, "largest number of steps (default: 15)")
      ->check(CLI::Range(1, 100000));
  propagateCmd
      ->add_option("--direction", propagateOptions.direction,
                   "forward or reverse (default: forward)")
      ->check(CLI::IsMember({"forward", "reverse"}, CLI::ignore_case));
  propagateCmd->add_option("--threads", propagateOptions.threads, "worker threads (default: all)");

  ServiceOptions serviceOptions;
  const auto addServiceOptions = [&serviceOptions](CLI::App& command, bool pubmed) {
    if (pubmed) {
      command.add_option("--eutils-url", serviceOptions.eutilsUrl,
                         "PubMed E-utilities base address (TESSEL_EUTILS_URL)");
      command.add_option("--api-key", serviceOptions.apiKey,
                         "NCBI API key: 10 requests a second instead of 3 (TESSEL_NCBI_API_KEY)");
      command.add_option("--cache-dir", serviceOptions.cacheDir,
                         "PubMed record cache (TESSEL_CACHE_DIR)");
      command.add_option("--pubmed-url", serviceOptions.pubmedUrl,
                         "base of PubMed article links (TESSEL_PUBMED_URL)");
      command.add_option("--uniprot-url", serviceOptions.uniprotUrl,
                         "base of UniProt entry links (TESSEL_UNIPROT_URL)");
    }
    command.add_option("--timeout", serviceOptions.timeout, "seconds per download (default: 60)")
        ->check(CLI::Range(0.1, 86400.0));
  };

  WebsiteOptions websiteOptions;
  auto* websiteCmd = app.add_subcommand(
      "website", "a browsable web site with drawings and references: writes TESSEL_website/");
  AddCommonOptions(*websiteCmd, website);
  websiteCmd->add_flag("--offline", websiteOptions.offline,
                       "PubMed records from the cache only (no download)");
  websiteCmd->add_option("--threads", websiteOptions.threads, "worker threads (default: all)");
  addServiceOptions(*websiteCmd, true);

  GeneListOptions geneOptions;
  CommonOptions genelist;
  auto* genelistCmd = app.add_subcommand(
      "genelist", "the sub-network connecting a list of genes in a reference network");
  genelistCmd->add_option("GENES", geneOptions.genes, "text file of gene or protein names")
      ->required()
      ->check(CLI::ExistingFile);
  genelistCmd->add_option("--reference", geneOptions.reference,
                          "reference network, a file or an http(s) URL "
                          "(default: TESSEL_REFERENCE_URL)");
  genelistCmd
      ->add_option("--intermediates", geneOptions.intermediates,
                   "most molecules between two listed ones: 1, 2 or 3 (default: 1)")
      ->check(CLI::Range(1, 3));
  genelistCmd->add_option("--to", geneOptions.to,
                          "the SIG file to write (default: subnetwork.sig in the output folder)");
  genelistCmd->add_option("-o,--output", genelist.output,
                          "folder for the results (default: the current folder)");
  genelistCmd->add_flag("--json", genelist.json, "print a machine-readable result on stdout");
  genelistCmd->add_flag("-q,--quiet", genelist.quiet, "no progress or notes on stderr");
  addServiceOptions(*genelistCmd, false);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    const int code = app.exit(e);
    return code == 0 ? 0 : 2;
  }
  const std::string commandLine = CommandLineText(argc, argv);
  for (CommonOptions* options : {&stats, &validate, &save, &motifs, &draw, &exportOptions, &matrix,
                                 &pathways, &shuffle, &reduce, &propagate, &website, &genelist}) {
    options->commandLine = commandLine;
  }

  // Ctrl-C and SIGTERM stop the command at its next check; what it wrote so far stays.
  InstallInterruptHandlers();
  try {
    if (*statsCmd) return RunStats(stats);
    if (*validateCmd) return RunValidate(validate);
    if (*saveCmd) return RunSave(save, saveTo);
    if (*motifsCmd) return RunMotifs(motifs, motifOptions);
    if (*drawCmd) return RunDraw(draw, drawBase, drawForce);
    if (*exportCmd) return RunExport(exportOptions, exportFormat, exportTo);
    if (*matrixCmd) return RunMatrix(matrix, matrixTo, matrixSize);
    if (*pathwaysCmd) {
      if (pathwayOptions.sources.size() > 4 || pathwayOptions.targets.size() > 4) {
        throw tessel::UsageError("at most four --source and four --target conditions");
      }
      if (*easyOption && (!pathwayOptions.sources.empty() || !pathwayOptions.targets.empty())) {
        throw tessel::UsageError(
            "--easy names its source and target; leave out --source and --target");
      }
      pathwayOptions.maxStepsGiven = maxStepsOption->count() > 0;
      return RunPathways(pathways, pathwayOptions);
    }
    if (*shuffleCmd) {
      if (*seedOption) shuffleOptions.seed = shuffleSeed;
      return RunShuffle(shuffle, shuffleOptions);
    }
    if (*reduceCmd) return RunReduce(reduce, reduceThreads);
    if (*propagateCmd) return RunPropagate(propagate, propagateOptions);
    if (*websiteCmd) return RunWebsite(website, websiteOptions, serviceOptions);
    if (*genelistCmd) return RunGeneList(genelist, geneOptions, serviceOptions);
  } catch (const tessel::Cancelled&) {
    std::cerr << "tessel: cancelled\n";
    return tessel::ExitStatusOf(tessel::ErrorCategory::Cancelled);
  } catch (const std::exception& e) {
    // Usage errors (settings checked before anything is written, and std::invalid_argument
    // from option checks) exit with 2, others with 1.
    std::cerr << "tessel: error: " << OneLine(e.what()) << "\n";
    return tessel::ExitStatusOf(tessel::CategoryOf(e));
  }
  return 2;
}
