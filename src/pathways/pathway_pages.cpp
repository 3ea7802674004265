#include "pathways/pathway_pages.h"

#include <algorithm>
#include <cstdint>
#include <system_error>

#include "analysis/metrics.h"
#include "model/readers.h"
#include "output/dot.h"
#include "output/render.h"
#include "util/error.h"
#include "util/files.h"
#include "util/safe_name.h"
#include "util/text.h"

namespace tessel {
namespace fs = std::filesystem;

namespace {

// The map as a network of its own, built from the rows its SIG file holds. Building it
// from the rows directly (rather than reading the file text back) keeps an empty map an
// empty network and lets no molecule name act as an end-of-data marker.
Network MapNetwork(const Network& network, const PathwayMap& map) {
  NetworkBuilder builder;
  builder.reserve(map.map.interactions.size());
  for (const std::uint32_t k : map.map.interactions) {
    const SigRow row = FirstRowOf(network, network.interactions()[k]);
    builder.addRow(row.source, row.target, row.effect, row.interactionType, row.pubmedId);
  }
  return builder.build();
}

// One "<option>" line per distinct molecule, in order of first appearance.
std::string OptionLines(const Network& network, const std::vector<MoleculeId>& ids) {
  std::string out;
  std::vector<std::uint8_t> seen(network.moleculeCount() + 1, 0);
  for (const MoleculeId id : ids) {
    if (seen[id]) continue;
    seen[id] = 1;
    const std::string& name = network.nameOf(id);
    out += "<option value=\"" + SafeFileName(name) + "\">" + HtmlEscape(name) + "</option>\n";
  }
  return out;
}

constexpr std::string_view kFormScript = R"(<!--
function redirect()
{
  var flag = 0;
  var source = "";
  var target = "";
  var sources = document.form1.source.options;
  if (sources.selectedIndex != -1) {
    source = sources[sources.selectedIndex].value;
  } else {
    flag = 1;
    alert ("Source not selected!");
  }
  var targets = document.form1.target.options;
  if (targets.selectedIndex != -1) {
    target = targets[targets.selectedIndex].value;
  } else {
    flag = 1;
    alert ("Target not selected!");
  }
  var url = source + "_TO_" + target + ".htm";
  if (flag == 0) {
    window.location=url;
  }
}
//-->
)";

}  // namespace

std::string PathwayMapBaseName(const Network& network, const PathwayMap& map) {
  return SafeFileName(network.nameOf(map.source)) + "_TO_" +
         SafeFileName(network.nameOf(map.target));
}

std::string PathwayMapSigText(const Network& network, const PathwayMap& map) {
  std::string out;
  for (const std::uint32_t k : map.map.interactions) {
    AppendSigRow(out, FirstRowOf(network, network.interactions()[k]));
  }
  return out;
}

std::string PathwayMapDot(const Network& network, const ColorShapeTable& colors,
                          const PathwayMap& map) {
  // Nodes and edges follow the network's interaction order, not the order the search met
  // them, so a map draws the same however its paths were found.
  std::vector<std::uint32_t> ordered = map.map.interactions;
  std::sort(ordered.begin(), ordered.end());
  std::vector<MoleculeId> molecules;
  std::vector<std::uint8_t> listed(network.moleculeCount() + 1, 0);
  for (const std::uint32_t k : ordered) {
    const Interaction& i = network.interactions()[k];
    for (const MoleculeId id : {i.source, i.target}) {
      if (listed[id]) continue;
      listed[id] = 1;
      molecules.push_back(id);
    }
  }

  std::string dot = "digraph G {size=\"8,8\";concentrate=true;\n { ";
  for (const MoleculeId id : molecules) {
    const std::string& name = network.nameOf(id);
    dot += NodeStatement(name, SafeFileName(name) + ".htm", colors.shapeOf(network, name),
                         colors.colorOf(network, name));
  }
  dot += " } \n";
  for (const std::uint32_t k : ordered) {
    const Interaction& i = network.interactions()[k];
    dot += EdgeStatement(network.sourceName(i), network.targetName(i), i.effect);
  }
  dot += '}';
  return dot;
}

std::string ConnectionMapPage(const Network& network, const PathwayMap& map) {
  const std::string base = PathwayMapBaseName(network, map);
  const std::string& source = network.nameOf(map.source);
  const std::string& target = network.nameOf(map.target);
  std::string page = "<html><body><CENTER><H3>Connection map from <a href=\"" +
                     SafeFileName(source) + ".htm\">" + HtmlEscape(source) + "</a> to <a href=\"" +
                     SafeFileName(target) + ".htm\">" + HtmlEscape(target) + "</a></H3></CENTER>\n";
  const Network mapNetwork = MapNetwork(network, map);
  if (mapNetwork.moleculeCount() >= 2) {
    NullProgress quiet;
    page += "<b>Number of molecules:</b> " + std::to_string(mapNetwork.moleculeCount()) + "<br>";
    page +=
        "<b>Number of interactions:</b> " + std::to_string(mapNetwork.interactionCount()) + "<br>";
    page += "<B>Characteristic Path Length: </B>" +
            FormatNumber(CharacteristicPathLength(mapNetwork, quiet).value) + "<BR>\n";
    page += "<B>Clustering coefficient: </B>" + FormatNumber(ClusteringCoefficient(mapNetwork)) +
            "<BR>\n";
    page += "<B>Grid coefficient: </B>" + FormatNumber(GridCoefficient(mapNetwork)) + "<BR>\n";
    page += "<center><a href=\"" + base + ".sig\">Map data in sig format</a></center>\n";
    page += "<CENTER><EMBED SRC=\"" + base +
            ".svg\" width=\"740\" height=\"756\" type=\"image/svg+xml\" /></CENTER>\n";
  } else {
    page += "No pathways were found!";
  }
  page += "<br>\n<center></center>\n</body></html>\n";
  return page;
}

std::string QueryFormPage(const Network& network, const std::vector<PathwayMap>& maps) {
  std::vector<MoleculeId> sources;
  std::vector<MoleculeId> targets;
  for (const PathwayMap& m : maps) {
    sources.push_back(m.source);
    targets.push_back(m.target);
  }
  std::string page = "<html><head><script language=\"JavaScript\">\n";
  page += kFormScript;
  page += "</SCRIPT>\n</HEAD>\n<body>\n<form name=\"form1\">\n<table>\n<tr>\n<td>";
  page += "Select a source component:<br>\n<select name=\"source\" size=\"8\" multiple>\n";
  page += OptionLines(network, sources);
  page += "</select>\n</td>\n<td>";
  for (int k = 0; k < 12; ++k) page += "&nbsp;";
  page += "</td>\n<td>";
  page += "Select a target component:<br>\n<select name=\"target\" size=\"8\" multiple>\n";
  page += OptionLines(network, targets);
  page += "</select>\n</td>\n</tr>\n</table>\n";
  page += "<INPUT type=\"button\" value=\"Draw Pathway\" onclick=\"redirect()\">\n";
  page += "</form>\n</body></html>\n";
  return page;
}

PathwayCommandResult RunPathwayCommand(const Network& network, const ColorShapeTable& colors,
                                       const PathwayQuery& query, const fs::path& outputDir,
                                       Progress& progress, unsigned threads) {
  PathwayCommandResult result;
  result.folder = outputDir / kPathwaysFolder;
  CreateFolder(result.folder);

  result.maps = FindPathwayMaps(network, query, progress, threads);
  if (result.maps.empty()) {
    progress.report(1, 1, "No pathways were found...");
    return result;
  }

  const std::size_t count = result.maps.size();
  result.baseNames.reserve(count);
  for (std::size_t k = 0; k < count; ++k) {
    ThrowIfCancelled(progress);
    const PathwayMap& map = result.maps[k];
    const std::string base = PathwayMapBaseName(network, map);
    progress.report(k, count, "Drawing pathway map " + base + "... ");
    // Both images are made before anything of this map is written.
    const std::string dot = PathwayMapDot(network, colors, map);
    const std::string svg = RenderSvg(dot);
    const std::string jpeg = RenderJpeg(dot);
    WriteFileAtomically(result.folder / (base + ".sig"), PathwayMapSigText(network, map));
    WriteFileAtomically(result.folder / (base + ".svg"), AddSvgNavigation(svg, 2));
    WriteFileAtomically(result.folder / (base + "_plain.svg"), svg);
    WriteFileAtomically(result.folder / (base + ".jpg"), jpeg);
    WriteFileAtomically(result.folder / (base + ".htm"), ConnectionMapPage(network, map));
    result.baseNames.push_back(base);
  }
  result.form = result.folder / kQueryFormPage;
  WriteFileAtomically(result.form, QueryFormPage(network, result.maps));
  progress.report(count, count, "Done generating pathways...");
  return result;
}

}  // namespace tessel
