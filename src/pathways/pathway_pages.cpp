#include "pathways/pathway_pages.h"

#include <algorithm>
#include <cstdint>
#include <system_error>

#include "analysis/metrics.h"
#include "model/readers.h"
#include "output/dot.h"
#include "output/render.h"
#include "output/website.h"
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

// The line a map page shows under its context line: the query and a link to the form.
std::string QueryLine(const std::string& query) {
  if (query.empty()) return {};
  return "<p class=\"tessel-query\" style=\"font-size:small\">Query: " + HtmlEscape(query) +
         " &middot; <a href=\"" + std::string(kQueryFormPage) + "\">Query form</a></p>\n";
}

std::string MoleculeAnchor(const Network& network, const MoleculeLinks& links, MoleculeId id) {
  return "<a href=\"" + HtmlEscape(links.linkOf(network, id)) + "\">" +
         HtmlEscape(network.nameOf(id)) + "</a>";
}

std::string EffectText(const std::string& effect) {
  if (effect == "+") return "activation (+)";
  if (effect == "_") return "inhibition (_)";
  if (effect == "0") return "binding (0)";
  return HtmlEscape(effect);
}

constexpr std::string_view kPubmedBase = "https://pubmed.ncbi.nlm.nih.gov/";

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

// The form's script. The page of a pair is named by joining the two names the lists hold;
// for the pairs whose joined name was too long for a file name the script looks up the
// name their files were given.
std::string FormScript(const Network& network, const std::vector<PathwayMap>& maps) {
  std::string shortened;
  for (const PathwayMap& m : maps) {
    const std::string joined =
        SafeFileName(network.nameOf(m.source)) + "_TO_" + SafeFileName(network.nameOf(m.target));
    const std::string base = PathwayMapBaseName(network, m);
    // Safe names hold no quote or backslash, so they go into the script as they are.
    if (base != joined) shortened += "  shortened[\"" + joined + "\"] = \"" + base + "\";\n";
  }
  std::string script(kFormScript);
  if (shortened.empty()) return script;
  constexpr std::string_view kUrlLine = "  var url = source + \"_TO_\" + target + \".htm\";\n";
  const std::size_t at = script.find(kUrlLine);
  script.replace(at, kUrlLine.size(),
                 "  var shortened = {};\n" + shortened +
                     "  var url = source + \"_TO_\" + target;\n"
                     "  if (shortened.hasOwnProperty(url)) url = shortened[url];\n"
                     "  url += \".htm\";\n");
  return script;
}

}  // namespace

std::string PathwayMapBaseName(const Network& network, const PathwayMap& map) {
  return SafePairFileName(network.nameOf(map.source), "_TO_", network.nameOf(map.target));
}

std::string OwnMoleculePageName(const Network& network, MoleculeId id) {
  return "molecule-" + SafeFileName(network.nameOf(id)) + ".htm";
}

MoleculeLinks MoleculeLinks::Find(const Network& network, const std::vector<PathwayMap>& maps,
                                  const fs::path& outputDir) {
  MoleculeLinks links;
  links.site_.assign(network.moleculeCount() + 1, 0);
  const fs::path site = outputDir / kWebsiteFolder;
  std::error_code error;
  if (!fs::is_directory(site, error)) return links;
  std::vector<std::uint8_t> checked(network.moleculeCount() + 1, 0);
  for (const PathwayMap& map : maps) {
    for (const std::uint32_t k : map.map.interactions) {
      const Interaction& i = network.interactions()[k];
      for (const MoleculeId id : {i.source, i.target}) {
        if (checked[id]) continue;
        checked[id] = 1;
        links.site_[id] =
            fs::is_regular_file(site / (MoleculeStem(network.nameOf(id)) + ".htm"), error) ? 1 : 0;
      }
    }
  }
  return links;
}

std::string MoleculeLinks::linkOf(const Network& network, MoleculeId id) const {
  if (inSite(id)) {
    return "../" + std::string(kWebsiteFolder) + "/" + MoleculeStem(network.nameOf(id)) + ".htm";
  }
  return OwnMoleculePageName(network, id);
}

std::string PathwayMapSigText(const Network& network, const PathwayMap& map) {
  std::string out;
  for (const std::uint32_t k : map.map.interactions) {
    AppendSigRow(out, FirstRowOf(network, network.interactions()[k]));
  }
  return out;
}

std::string PathwayMapDot(const Network& network, const ColorShapeTable& colors,
                          const PathwayMap& map, const MoleculeLinks& links) {
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
    const std::string url = links.linkOf(network, id);
    std::string node =
        NodeStatement(name, url, colors.shapeOf(network, name), colors.colorOf(network, name));
    // The drawing is shown inside a page: its links open as whole pages.
    const std::size_t afterUrl = node.find(" URL=" + DotQuote(url) + " ");
    node.insert(afterUrl + 6 + DotQuote(url).size(), "target=\"_top\" ");
    dot += node;
  }
  dot += " } \n";
  for (const std::uint32_t k : ordered) {
    const Interaction& i = network.interactions()[k];
    dot += EdgeStatement(network.sourceName(i), network.targetName(i), i.effect);
  }
  dot += '}';
  return dot;
}

std::string ConnectionMapPage(const Network& network, const PathwayMap& map,
                              const PathwayPageSettings& settings) {
  const std::string base = PathwayMapBaseName(network, map);
  std::string page = "<html><body>" + QueryLine(settings.query) +
                     "<CENTER><H3>Connection map from " +
                     MoleculeAnchor(network, settings.links, map.source) + " to " +
                     MoleculeAnchor(network, settings.links, map.target) + "</H3></CENTER>\n";
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
  return WithPageContext(
      std::move(page), settings.context,
      "Connection map from " + network.nameOf(map.source) + " to " + network.nameOf(map.target));
}

std::string QueryFormPage(const Network& network, const std::vector<PathwayMap>& maps,
                          const PageContext& context) {
  std::vector<MoleculeId> sources;
  std::vector<MoleculeId> targets;
  for (const PathwayMap& m : maps) {
    sources.push_back(m.source);
    targets.push_back(m.target);
  }
  std::string page = "<html><head><script language=\"JavaScript\">\n";
  page += FormScript(network, maps);
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
  return WithPageContext(std::move(page), context, "Pathway maps");
}

std::string OwnMoleculePage(const Network& network, MoleculeId id,
                            const std::vector<PathwayMap>& maps,
                            const PathwayPageSettings& settings) {
  const Molecule& m = network.molecule(id);
  std::string page = "<html><body>\n<h3>" + HtmlEscape(m.name) + "</h3>\n";
  page += "<b>Type:</b> " + HtmlEscape(m.moleculeType) + "<br>\n";
  page += "<b>Location:</b> " + HtmlEscape(m.location) + "<br>\n";
  page += "<b>Accession:</b> " + HtmlEscape(m.accession) + "<br>\n";

  // The maps it is part of, and the distinct interactions it has in them, in network order.
  std::string mapLinks;
  std::vector<std::uint32_t> own;
  for (const PathwayMap& map : maps) {
    bool inMap = false;
    for (const std::uint32_t k : map.map.interactions) {
      const Interaction& i = network.interactions()[k];
      if (i.source != id && i.target != id) continue;
      inMap = true;
      own.push_back(k);
    }
    if (!inMap) continue;
    mapLinks += mapLinks.empty() ? "" : ", ";
    mapLinks += "<a href=\"" + PathwayMapBaseName(network, map) + ".htm\">" +
                HtmlEscape(network.nameOf(map.source)) + " to " +
                HtmlEscape(network.nameOf(map.target)) + "</a>";
  }
  std::sort(own.begin(), own.end());
  own.erase(std::unique(own.begin(), own.end()), own.end());
  page += "<b>Pathway maps:</b> " + mapLinks + "<br>\n";

  page += "<h4>Interactions in these maps</h4>\n<table border=\"1\" cellpadding=\"3\">\n";
  page +=
      "<tr><th>Source</th><th>Effect</th><th>Target</th><th>Interaction type</th>"
      "<th>PubMed</th></tr>\n";
  for (const std::uint32_t k : own) {
    const Interaction& i = network.interactions()[k];
    page += "<tr><td>" + MoleculeAnchor(network, settings.links, i.source) + "</td><td>" +
            EffectText(i.effect) + "</td><td>" + MoleculeAnchor(network, settings.links, i.target) +
            "</td><td>" + HtmlEscape(i.interactionType) + "</td><td>";
    for (std::size_t p = 0; p < i.pubmedIds.size(); ++p) {
      const std::string number = std::to_string(i.pubmedIds[p]);
      if (p > 0) page += " ";
      page += "<a href=\"" + std::string(kPubmedBase) + number + "/\">" + number + "</a>";
    }
    page += "</td></tr>\n";
  }
  page += "</table>\n</body></html>\n";
  return WithPageContext(std::move(page), settings.context, m.name);
}

PathwayCommandResult RunPathwayCommand(const Network& network, const ColorShapeTable& colors,
                                       const PathwayQuery& query, const fs::path& outputDir,
                                       Progress& progress, unsigned threads,
                                       const PageContext& context) {
  PathwayCommandResult result;
  result.folder = outputDir / kPathwaysFolder;
  CreateFolder(result.folder);

  result.maps = FindPathwayMaps(network, query, progress, threads);
  if (result.maps.empty()) {
    progress.report(1, 1, "No pathways were found...");
    return result;
  }

  PathwayPageSettings settings;
  settings.links = MoleculeLinks::Find(network, result.maps, outputDir);
  settings.context = context.empty() ? context : context.linkingTo(kQueryFormPage);
  settings.query = DescribeQuery(query);

  const std::size_t count = result.maps.size();
  result.baseNames.reserve(count);
  for (std::size_t k = 0; k < count; ++k) {
    ThrowIfCancelled(progress);
    const PathwayMap& map = result.maps[k];
    const std::string base = PathwayMapBaseName(network, map);
    progress.report(k, count, "Drawing pathway map " + base + "... ");
    // Both images are made before anything of this map is written.
    const std::string dot = PathwayMapDot(network, colors, map, settings.links);
    const std::string svg = RenderSvg(dot);
    const std::string jpeg = RenderJpeg(dot);
    WriteFileAtomically(result.folder / (base + ".sig"), PathwayMapSigText(network, map));
    WriteFileAtomically(result.folder / (base + ".svg"), AddSvgNavigation(svg, 2));
    WriteFileAtomically(result.folder / (base + "_plain.svg"), svg);
    WriteFileAtomically(result.folder / (base + ".jpg"), jpeg);
    WriteFileAtomically(result.folder / (base + ".htm"), ConnectionMapPage(network, map, settings));
    result.baseNames.push_back(base);
  }
  // Own pages for the map molecules the web site does not have.
  std::vector<std::uint8_t> written(network.moleculeCount() + 1, 0);
  for (const PathwayMap& map : result.maps) {
    for (const std::uint32_t k : map.map.interactions) {
      const Interaction& i = network.interactions()[k];
      for (const MoleculeId id : {i.source, i.target}) {
        if (written[id] || settings.links.inSite(id)) continue;
        written[id] = 1;
        ThrowIfCancelled(progress);
        WriteFileAtomically(result.folder / OwnMoleculePageName(network, id),
                            OwnMoleculePage(network, id, result.maps, settings));
        ++result.moleculePages;
      }
    }
  }
  result.form = result.folder / kQueryFormPage;
  WriteFileAtomically(result.form, QueryFormPage(network, result.maps, settings.context));
  progress.report(count, count, "Done generating pathways...");
  return result;
}

}  // namespace tessel
