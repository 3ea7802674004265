#include "analysis/statistics.h"

#include <string_view>
#include <utility>

#include "util/files.h"
#include "util/text.h"

namespace tessel {
namespace {

// The connectivity table shows 1 to kShownConnectivity links in columns of their own and
// one last column for all molecules with more.
constexpr std::size_t kShownConnectivity = 50;

void AppendTally(std::string& page, std::string_view totalLabel, const ValueTally& tally) {
  page += totalLabel;
  page += std::to_string(tally.distinct());
  page += "<BR>";
  for (const auto& [value, count] : tally.values) {
    page += HtmlEscape(value);
    page += ": ";
    page += std::to_string(count);
    page += "<BR>";
  }
}

void AppendCell(std::string& page, std::string_view text) {
  page += "<TD>";
  page += text;
  page += "</TD>";
}

// One row of the connectivity table: the molecules with 1 .. 50 links, then those with more.
void AppendHistogramRow(std::string& page, const std::vector<std::size_t>& histogram) {
  page += "<TR>";
  std::size_t above = 0;
  for (std::size_t k = 0; k < histogram.size(); ++k) {
    if (k >= kShownConnectivity) above += histogram[k];
  }
  for (std::size_t k = 0; k < kShownConnectivity; ++k) {
    AppendCell(page, std::to_string(k < histogram.size() ? histogram[k] : 0));
  }
  AppendCell(page, std::to_string(above));
  page += "</TR>";
}

}  // namespace

Statistics ComputeStatistics(const Network& network, Progress& progress, unsigned threads) {
  Statistics s;
  s.molecules = network.moleculeCount();
  s.interactions = network.interactionCount();
  s.references = CountReferences(network);
  s.moleculeTypes = TallyMoleculeTypes(network);
  s.locations = TallyLocations(network);
  s.effects = TallyEffects(network);
  s.interactionTypes = TallyInteractionTypes(network);
  s.connectivity = ComputeConnectivityDistribution(network);
  s.linksPerNode = AverageLinksPerNode(network);
  s.islands = FindIslands(network);
  s.pathLength = CharacteristicPathLength(network, progress, threads);
  s.clustering = ClusteringCoefficient(network, &s.clusteringPerMolecule, threads);
  s.grid = GridCoefficient(network, &s.gridPerMolecule, threads);
  return s;
}

std::string StatisticsPage(const Statistics& stats, const PageContext& context) {
  std::string page;
  page.reserve(4096);
  page += "<HTML><BODY>";
  page += "<B>Number of components: </B>" + std::to_string(stats.molecules) + "<BR>";
  page += "<B>Number of interactions: </B>" + std::to_string(stats.interactions) + "<BR>";
  page += "<B>Number of references: </B>" + std::to_string(stats.references) + "<BR>";

  page += "<TABLE><TR><TD>";
  page += "<BR><BR><BR><BR><BR><B>Types of molecules:</B><BR>";
  AppendTally(page, "Total types of molecules: ", stats.moleculeTypes);
  page += "</TD><TD></TD><TD>";
  page += "<B>Types of locations:</B><BR>";
  AppendTally(page, "Total types of locations: ", stats.locations);
  page += "<BR><B>Effects:</B><BR>";
  AppendTally(page, "Total types of effects: ", stats.effects);
  page += "<BR><B>Types of interactions:</B><BR>";
  AppendTally(page, "Total types of interactions: ", stats.interactionTypes);
  page += "</TD></TR></TABLE>";

  page += "<BR><B>Connectivity distribution: </B><BR>";
  page += "<TABLE><TR>";
  for (std::size_t k = 1; k <= kShownConnectivity; ++k) AppendCell(page, std::to_string(k));
  // A bare ">" is valid character data, so the heading reads the same in the source.
  AppendCell(page, ">" + std::to_string(kShownConnectivity));
  page += "</TR>";
  AppendHistogramRow(page, stats.connectivity.links);
  AppendHistogramRow(page, stats.connectivity.in);
  AppendHistogramRow(page, stats.connectivity.out);
  page += "</TABLE>\n";

  page += "<BR>";
  page += "<B>Average links per node: </B>" + FormatNumber(stats.linksPerNode) + "<BR>";
  if (stats.pathLength.value > 0) {
    // Shown in single precision.
    const float value = static_cast<float>(stats.pathLength.value);
    page += "<B>Characteristic Path Length: </B>" + FormatNumber(value) + "<BR>";
  } else if (stats.islands.count > 1 && stats.pathLength.largestIsland > 0) {
    // The network as a whole has no path length; its largest island, taken on its own, has.
    const float value = static_cast<float>(stats.pathLength.largestIsland);
    page += "<B>Characteristic path length of the largest island (" +
            std::to_string(stats.pathLength.largestIslandSize) + " molecules): </B>" +
            FormatNumber(value) + "<BR>";
  }
  page += "<B>Clustering Coefficient: </B>" + FormatNumber(stats.clustering) + "<BR>";
  page += "<B>Grid Coefficient: </B>" + FormatNumber(stats.grid) + "<BR>";
  page += "<BR>";
  page += "</BODY></HTML>";
  return WithPageContext(std::move(page), context, "Network statistics");
}

std::filesystem::path WriteStatisticsPage(const Network& network,
                                          const std::filesystem::path& folder, Progress& progress,
                                          Statistics* computed, const PageContext& context,
                                          unsigned threads) {
  Statistics stats = ComputeStatistics(network, progress, threads);
  const std::filesystem::path path = folder / kStatisticsPageName;
  WriteFileAtomically(path, StatisticsPage(stats, context));
  if (computed) *computed = std::move(stats);
  return path;
}

}  // namespace tessel
