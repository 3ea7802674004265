// Reads a small SIG network from the input and runs the analyses and page writers on it, all
// in memory: statistics, the validation page, every motif kind with its pages (no drawings),
// the pathway search with its map pages, DOT text, the exports and exchange files and the
// SIG round trip. Inputs are capped so that each run stays fast; a network the reader
// rejects is skipped. Anything other than a reader's InputError is a fault.
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/statistics.h"
#include "analysis/validation.h"
#include "model/color_table.h"
#include "model/readers.h"
#include "motifs/motif_pages.h"
#include "motifs/motif_search.h"
#include "output/dot.h"
#include "output/exchange.h"
#include "output/exports.h"
#include "output/matrix.h"
#include "pathways/path_search.h"
#include "pathways/pathway_pages.h"
#include "util/error.h"
#include "util/progress.h"

namespace {

using namespace tessel;

constexpr std::size_t kMaxBytes = 600;
constexpr std::size_t kMaxMolecules = 30;

// Keeps the optimiser from dropping a page that nobody reads.
std::size_t Use(const std::string& text) {
  return text.size();
}

void RunPipeline(const Network& network) {
  NullProgress progress;
  const ColorShapeTable colors = ColorShapeTable::Defaults();
  const PageContext context{"fuzz.sig", "tessel fuzz", "2026-01-01 00:00", "0", "index.htm"};
  std::size_t bytes = 0;

  bytes += Use(StatisticsPage(ComputeStatistics(network, progress), context));
  bytes += Use(ValidationPage(network));

  std::vector<MotifResult> results;
  for (MotifKind kind : MotifCommandOrder()) {
    results.push_back(FindMotifs(network, kind, progress, 1));
    const MotifResult& result = results.back();
    bytes += Use(MotifPage(network, kind, result.motifs, 0, context));
    for (const Motif& motif : result.motifs) {
      bytes += Use(MotifNames(network, kind, motif));
      bytes += Use(MotifDot(network, colors, motif));
    }
  }
  bytes += Use(MotifsIndexPage(results, context));

  // Every molecule is both a source and a target, so that pairs are searched whatever the
  // types say.
  PathwayQuery query;
  query.maxSteps = 5;
  query.maxSize = 20;
  for (const Molecule& m : network.molecules()) {
    query.sources.push_back(MoleculeCondition{ConditionKind::Name, m.name});
    query.targets.push_back(MoleculeCondition{ConditionKind::Name, m.name});
  }
  (void)UnmatchedConditions(network, query);
  const std::vector<PathwayMap> maps = FindPathwayMaps(network, query, progress, 1);
  PathwayPageSettings settings;
  settings.context = context;
  settings.query = DescribeQuery(query);
  for (const PathwayMap& map : maps) {
    bytes += Use(PathwayMapBaseName(network, map));
    bytes += Use(PathwayMapSigText(network, map));
    bytes += Use(PathwayMapDot(network, colors, map));
    bytes += Use(ConnectionMapPage(network, map, settings));
  }
  bytes += Use(QueryFormPage(network, maps, context));
  if (network.moleculeCount() > 0) {
    const MoleculeId first = network.displayOrder().front();
    const MoleculeId last = network.displayOrder().back();
    (void)ListRoutes(network, first, last, 5, false, 10, nullptr, 1000);
    bytes += Use(OwnMoleculePage(network, first, maps, settings));
  }

  bytes += Use(NetworkDot(network, colors));
  bytes += Use(PajekText(network));
  bytes += Use(MfinderText(network));
  bytes += Use(MfinderNamesText(network));
  bytes += Use(CytoscapeSifText(network));
  bytes += Use(BigClusterSigText(network));
  bytes += Use(GraphMlText(network, colors));
  bytes += Use(EdgeTableCsv(network));
  bytes += Use(SignedSifText(network));
  bytes += Use(Cx2Json(network, colors));
  bytes += Use(InteractionsMatrixPage(network, "matrix.png", 60));
  (void)DrawInteractionsMatrix(network, 60);

  // What the program writes, it reads back as the same network.
  const std::string sig = SigText(network);
  const Network again = ReadSigText(sig, "round-trip.sig");
  if (again.moleculeCount() != network.moleculeCount() ||
      again.interactionCount() != network.interactionCount())
    __builtin_trap();
  if (bytes == 0 && network.moleculeCount() > 0) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kMaxBytes) return 0;
  Network network;
  try {
    network = ReadSigText(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz.sig");
  } catch (const InputError&) {
    return 0;
  } catch (const std::invalid_argument&) {
    return 0;
  }
  if (network.moleculeCount() > kMaxMolecules) return 0;
  RunPipeline(network);
  return 0;
}
