// tessel: the command line. One sub-command per analysis.
#include <CLI/CLI.hpp>
#include <iostream>
#include <sstream>
#include <string>

#include "app/cli/commands.h"
#include "app/cli/terminal_progress.h"
#include "util/error.h"
#include "util/progress.h"
#include "util/rank_group.h"
#ifdef TESSEL_MPI
#include "app/cli/mpi_group.h"
#endif

namespace {

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
  // tessel-mpi runs as one rank of an MPI job; tessel is a group of one. Only rank 0 prints.
#ifdef TESSEL_MPI
  MpiSession session(&argc, &argv);
  tessel::RankGroup& group = session.group();
#else
  tessel::SingleRank single;
  tessel::RankGroup& group = single;
#endif
  const bool lead = group.lead();
  CLI::App app{"tessel: analysis of cell-signalling networks"};
  app.set_version_flag("--version", std::string("tessel ") + TESSEL_VERSION);
  app.require_subcommand(1);
  const Command commands[] = {
      AddStatsCommand(app),   AddValidateCommand(app),  AddSaveCommand(app),
      AddMotifsCommand(app),  AddDrawCommand(app),      AddExportCommand(app),
      AddMatrixCommand(app),  AddPathwaysCommand(app),  AddShuffleCommand(app),
      AddReduceCommand(app),  AddPropagateCommand(app), AddWebsiteCommand(app),
      AddGeneListCommand(app)};

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    std::ostringstream unused;
    const int code = lead ? app.exit(e) : app.exit(e, unused, unused);
    return code == 0 ? 0 : 2;
  }
  const std::string commandLine = CommandLineText(argc, argv);

  // Ctrl-C and SIGTERM stop the command at its next check; what it wrote so far stays.
  InstallInterruptHandlers();
  try {
    for (const Command& command : commands) {
      if (!*command.parser) continue;
      if (group.size() > 1 && command.runOnRanks) return command.runOnRanks(commandLine, group);
      return lead ? command.run(commandLine) : 0;
    }
  } catch (const tessel::Cancelled&) {
    if (lead) std::cerr << "tessel: cancelled\n";
    return tessel::ExitStatusOf(tessel::ErrorCategory::Cancelled);
  } catch (const std::exception& e) {
    // Usage errors (settings checked before anything is written, and std::invalid_argument
    // from option checks) exit with 2, others with 1.
    if (lead) std::cerr << "tessel: error: " << OneLine(e.what()) << "\n";
    return tessel::ExitStatusOf(tessel::CategoryOf(e));
  }
  return 2;
}
