// tessel: the command line. One sub-command per analysis.
#include <CLI/CLI.hpp>
#include <iostream>
#include <string>

#include "app/cli/commands.h"
#include "util/error.h"
#include "util/progress.h"

namespace {

using tessel::cli::CommonOptions;

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

}  // namespace

int main(int argc, char** argv) {
  using namespace tessel::cli;
  CLI::App app{"tessel: analysis of cell-signalling networks"};
  app.set_version_flag("--version", std::string("tessel ") + TESSEL_VERSION);
  app.require_subcommand(1);

  CommonOptions stats, validate, save, motifs, draw, exportOptions, matrix;

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
      ->check(CLI::IsMember({"fbl3", "fbl4", "fbl5", "ffl3", "ffl4", "bifan", "scaffold"}));
  motifsCmd->add_flag("--no-drawings", motifOptions.noDrawings,
                      "write the pages without a drawing per motif");
  motifsCmd->add_option("--threads", motifOptions.threads, "worker threads (default: all cores)");

  std::string drawBase = "network";
  auto* drawCmd = app.add_subcommand(
      "draw", "the whole network drawn with Graphviz: writes NAME.dot, NAME.jpg, NAME.svg");
  AddCommonOptions(*drawCmd, draw);
  drawCmd->add_option("--base", drawBase, "base name of the files (default: network)");

  std::string exportFormat, exportTo;
  auto* exportCmd = app.add_subcommand("export",
                                       "files for Pajek, MFinder, Cytoscape, or the "
                                       "largest island as SIG");
  exportCmd->add_option("FORMAT", exportFormat, "pajek, mfinder, sif or big-cluster")
      ->required()
      ->check(CLI::IsMember({"pajek", "mfinder", "sif", "big-cluster"}));
  AddCommonOptions(*exportCmd, exportOptions);
  exportCmd->add_option("--to", exportTo, "the file to write (default: in the output folder)");

  std::string matrixTo;
  int matrixSize = 510;
  auto* matrixCmd = app.add_subcommand("matrix", "the interactions matrix as a PNG image");
  AddCommonOptions(*matrixCmd, matrix);
  matrixCmd->add_option("--to", matrixTo, "the PNG file (default: interactions_matrix.png)");
  matrixCmd->add_option("--size", matrixSize, "image width and height in pixels")
      ->check(CLI::Range(16, 8192));

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
    if (*motifsCmd) return RunMotifs(motifs, motifOptions);
    if (*drawCmd) return RunDraw(draw, drawBase);
    if (*exportCmd) return RunExport(exportOptions, exportFormat, exportTo);
    if (*matrixCmd) return RunMatrix(matrix, matrixTo, matrixSize);
  } catch (const tessel::Cancelled&) {
    std::cerr << "tessel: cancelled\n";
    return 1;
  } catch (const std::exception& e) {
    std::cerr << "tessel: error: " << OneLine(e.what()) << "\n";
    return 1;
  }
  return 2;
}
