#include "output/website.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include "analysis/statistics.h"
#include "output/dot.h"
#include "output/pubmed.h"
#include "output/render.h"
#include "util/error.h"
#include "util/files.h"
#include "util/parallel.h"
#include "util/safe_name.h"
#include "util/text.h"

namespace tessel {
namespace fs = std::filesystem;

namespace {

constexpr std::string_view kStatisticsStatus =
    "Performing the network statistical analysis... please wait!";

// A molecule with more interactions than this gets the navigation bar on its drawing.
constexpr std::size_t kPlainDrawingLimit = 12;

// ---------------------------------------------------------------------------------------
// Compartments: every molecule is listed on exactly one of nine pages.

enum Compartment : std::size_t {
  kLigands,
  kCytoskeleton,
  kTranscription,
  kTranslation,
  kMembrane,
  kApoptosis,
  kChannels,
  kVesicles,
  kCentral,
  kCompartmentCount
};

struct CompartmentInfo {
  std::string_view page;
  std::string_view label;  // the overview node, followed by " (count)"
  std::string_view shape;
  std::string_view color;
};

constexpr std::array<CompartmentInfo, kCompartmentCount> kCompartments = {{
    {"ligands.htm", "Extracellular Ligands", "invhouse", "lightskyblue1"},
    {"cytoskeleton.htm", "Cytoskeleton", "box", "khaki1"},
    {"transcription.htm", "Transcription", "box", "pink2"},
    {"translation.htm", "Translation", "box", "azure2"},
    {"membrane.htm", "Membrane", "box", "greenyellow"},
    {"apoptosis.htm", "Apoptosis", "box", "sienna3"},
    {"channels.htm", "Electrical response", "box", "limegreen"},
    {"vesicles.htm", "Secretion", "box", "lightgray"},
    {"central.htm", "Central Signaling Network", "box", "turquoise"},
}};

// The order of the overview's nodes and its edges.
constexpr std::array<Compartment, kCompartmentCount> kOverviewNodes = {
    kLigands,     kMembrane,      kCentral,      kVesicles, kApoptosis,
    kTranslation, kTranscription, kCytoskeleton, kChannels};
constexpr std::array<std::pair<Compartment, Compartment>, 8> kOverviewEdges = {{
    {kLigands, kMembrane},
    {kMembrane, kCentral},
    {kCentral, kChannels},
    {kCentral, kVesicles},
    {kCentral, kTranscription},
    {kCentral, kTranslation},
    {kCentral, kApoptosis},
    {kCentral, kCytoskeleton},
}};

// The first rule that holds decides; types and locations are compared exactly.
Compartment CompartmentOf(const Molecule& m) {
  if (m.moleculeType == "Ligand") return kLigands;
  if (m.moleculeType == "Cytoskeleton") return kCytoskeleton;
  if (m.moleculeType == "TF") return kTranscription;
  if (m.location == "ER" || m.location == "Ribosomes") return kTranslation;
  if (m.location == "Mitochondria" || m.moleculeType == "Protease") return kApoptosis;
  if (m.location == "Vesicles") return kVesicles;
  if (m.moleculeType == "Channel") return kChannels;
  if (m.location == "Membrane") return kMembrane;
  return kCentral;
}

// ---------------------------------------------------------------------------------------
// File names

// Stems of the site's own files. A molecule whose safe name equals one of them (compared
// without case, for case-insensitive file systems) would overwrite that file, so its stem
// gets a trailing "_": SafeFileName never ends in a single "_", so no other molecule can
// have that stem.
// ("colors_and_shapes" needs no entry: SafeFileName doubles its underscores.)
constexpr std::array<std::string_view, 13> kReservedStems = {
    "network",     "stats",    "list",      "index",    "ligands",  "cytoskeleton", "transcription",
    "translation", "membrane", "apoptosis", "channels", "vesicles", "central"};

}  // namespace

std::string MoleculeStem(std::string_view name) {
  std::string stem = SafeFileName(name);
  const auto sameWithoutCase = [&stem](std::string_view reserved) {
    return std::equal(stem.begin(), stem.end(), reserved.begin(), reserved.end(),
                      [](char a, char b) {
                        return std::tolower(static_cast<unsigned char>(a)) ==
                               std::tolower(static_cast<unsigned char>(b));
                      });
  };
  if (std::any_of(kReservedStems.begin(), kReservedStems.end(), sameWithoutCase)) stem += '_';
  return stem;
}

namespace {

// UniProt accession numbers: [OPQ][0-9][A-Z0-9]{3}[0-9] or
// [A-NR-Z][0-9]([A-Z][A-Z0-9]{2}[0-9]){1,2}.
bool IsUniprotAccession(std::string_view code) {
  const auto upper = [](char c) { return c >= 'A' && c <= 'Z'; };
  const auto digit = [](char c) { return c >= '0' && c <= '9'; };
  const auto alnum = [&](char c) { return upper(c) || digit(c); };
  if (code.size() == 6 && (code[0] == 'O' || code[0] == 'P' || code[0] == 'Q')) {
    return digit(code[1]) && alnum(code[2]) && alnum(code[3]) && alnum(code[4]) && digit(code[5]);
  }
  if (code.size() != 6 && code.size() != 10) return false;
  if (!upper(code[0]) || code[0] == 'O' || code[0] == 'P' || code[0] == 'Q' || !digit(code[1])) {
    return false;
  }
  for (std::size_t at = 2; at < code.size(); at += 4) {
    if (!upper(code[at]) || !alnum(code[at + 1]) || !alnum(code[at + 2]) || !digit(code[at + 3])) {
      return false;
    }
  }
  return true;
}

// ---------------------------------------------------------------------------------------
// What every page writer shares.

struct Site {
  const Network& network;
  const ColorShapeTable& colors;
  const WebsiteSettings& settings;
  const PubmedLibrary& pubmed;
  fs::path folder;
  std::vector<std::string> stems;    // per molecule id - 1
  std::vector<std::string> escaped;  // HTML-escaped names, per molecule id - 1
  std::vector<double> clustering;
  std::vector<double> grid;
  std::vector<double> pathLength;  // all 0 when the network is not one island
  PageContext context;             // the run's context, linking to index.htm
  // On networks of several islands: each molecule's average path length within its island.
  std::vector<double> islandPathLength;

  // A page of the site with its title and context line.
  std::string framed(std::string page, std::string_view title) const {
    return WithPageContext(std::move(page), context, title);
  }

  std::string pageOf(MoleculeId id) const { return stems[id - 1] + ".htm"; }

  // <A HREF="stem.htm">name</A>
  void appendLink(std::string& out, MoleculeId id) const {
    out += "<A HREF=\"";
    out += stems[id - 1];
    out += ".htm\">";
    out += escaped[id - 1];
    out += "</A>";
  }
};

// The interactions of a molecule in creation order, each once (a self-interaction is both
// outgoing and incoming).
std::vector<std::uint32_t> InteractionsOf(const Network& network, MoleculeId id) {
  const auto out = network.outgoing(id);
  const auto in = network.incoming(id);
  std::vector<std::uint32_t> all;
  all.reserve(out.size() + in.size());
  std::set_union(out.begin(), out.end(), in.begin(), in.end(), std::back_inserter(all));
  return all;
}

// ---------------------------------------------------------------------------------------
// Compartment pages and the overview drawing

constexpr std::string_view kCompartmentHeader =
    "<TR><TD><B>Name</B></TD><TD><B>Type</B></TD><TD><B>Location</B></TD><TD><B>Links</B></"
    "TD><TD><B>In Links</B></TD><TD><B>Out Links</B></TD><TD><B>CC</B></TD><TD><B>Avg. Path "
    "Length</B></TD></TR>";

void AppendCell(std::string& out, std::string_view value) {
  out += "</TD><TD>";
  out += value;
}

std::string OverviewLabel(Compartment c, std::size_t count) {
  return std::string(kCompartments[c].label) + " (" + std::to_string(count) + ")";
}

std::string OverviewDot(const std::array<std::size_t, kCompartmentCount>& counts) {
  std::string dot = "digraph G {size=\"7,7\";concentrate=false;\n { ";
  for (const Compartment c : kOverviewNodes) {
    dot += NodeStatement(OverviewLabel(c, counts[c]), kCompartments[c].page, kCompartments[c].shape,
                         kCompartments[c].color);
  }
  dot += " } \n";
  for (const auto& [from, to] : kOverviewEdges) {
    dot += DotQuote(OverviewLabel(from, counts[from]));
    dot += " -> ";
    dot += DotQuote(OverviewLabel(to, counts[to]));
    dot += " [arrowhead=\"normal\", color=\"darkgreen\"]; ";
  }
  dot += '}';
  return dot;
}

void WriteLocationPages(const Site& site) {
  const Network& network = site.network;
  std::array<std::string, kCompartmentCount> pages;
  std::array<std::size_t, kCompartmentCount> counts{};
  for (std::string& page : pages) {
    page = "<html><body><table>\n";
    page += kCompartmentHeader;
  }
  for (const MoleculeId id : network.displayOrder()) {
    const Molecule& m = network.molecule(id);
    const Compartment c = CompartmentOf(m);
    ++counts[c];
    std::string& page = pages[c];
    page += "<TR><TD>";
    site.appendLink(page, id);
    AppendCell(page, HtmlEscape(m.moleculeType));
    AppendCell(page, HtmlEscape(m.location));
    AppendCell(page, std::to_string(network.linkCount(id)));
    AppendCell(page, std::to_string(m.links.inLinks));
    AppendCell(page, std::to_string(m.links.outLinks));
    AppendCell(page, FormatNumber(site.clustering[id - 1]));
    AppendCell(page, FormatNumber(site.pathLength[id - 1]));
    page += "</TD></TR>";
  }
  for (std::size_t c = 0; c < kCompartmentCount; ++c) {
    pages[c] += "</table></body></html>\n";
    WriteFileAtomically(site.folder / kCompartments[c].page,
                        site.framed(std::move(pages[c]), kCompartments[c].label));
  }

  const std::string dot = OverviewDot(counts);
  const std::string jpeg = RenderJpeg(dot);
  const std::string svg = RenderSvg(dot);
  WriteFileAtomically(site.folder / "network.jpg", jpeg);
  WriteFileAtomically(site.folder / "network.svg", svg);
}

// ---------------------------------------------------------------------------------------
// list.htm, index.htm and the legend

std::string MoleculeList(const Site& site) {
  const Network& network = site.network;
  std::string page =
      "<HTML><BODY><TABLE><TR><TD><B>Name</B></TD><TD><B>Type</B></TD><TD><B>Location</B></"
      "TD><TD><B>Links</B></TD><TD><B>In Links</B></TD><TD><B>Out Links</B></TD><TD><B>Positive "
      "Links</B></TD><TD><B>Negative Links</B></TD><TD><B>Positive In Links</B></TD><TD><B>"
      "Negative In Links</B></TD><TD><B>Positive Out Links</B></TD><TD><B>Negative Out "
      "Links</B></TD><TD><B>Neutral Links</B></TD><TD><B>CC</B></TD></TR>\n";
  for (const MoleculeId id : network.displayOrder()) {
    const Molecule& m = network.molecule(id);
    const LinkCounters& l = m.links;
    page += "<TR><TD>";
    site.appendLink(page, id);
    AppendCell(page, HtmlEscape(m.moleculeType));
    AppendCell(page, HtmlEscape(m.location));
    AppendCell(page, std::to_string(network.linkCount(id)));
    for (const int count :
         {l.inLinks, l.outLinks, l.positiveLinks, l.negativeLinks, l.positiveInLinks,
          l.negativeInLinks, l.positiveOutLinks, l.negativeOutLinks, l.neutralLinks}) {
      AppendCell(page, std::to_string(count));
    }
    AppendCell(page, FormatNumber(site.clustering[id - 1]));
    page += "</TD></TR>";
  }
  page += "</TABLE></BODY></HTML>";
  return page;
}

constexpr std::string_view kIndexPage =
    "<HTML><BODY><CENTER><EMBED SRC=\"network.svg\" width=\"742\" height=\"300\" "
    "type=\"image/svg+xml\" /></CENTER><BR><A HREF=\"stats.htm\">Network's statistics</A> | <A "
    "HREF=\"list.htm\">Index of molecules</A> | <A HREF=\"colors_and_shapes.htm\">Colors and "
    "shapes</A> <BR> </BODY></HTML>";

constexpr std::string_view kLegendPage =
    "<HTML><BODY><CENTER><EMBED SRC=\"colors_and_shapes.svg\" width=\"742\" height=\"2000\" "
    "type=\"image/svg+xml\" /></CENTER></BODY></HTML>";

// ---------------------------------------------------------------------------------------
// One molecule: its neighbourhood drawing and its page.

// The two end points' node statements and the edge (with a minimum length above 1 when the
// neighbours are spread over several ranks), closed by a line end.
void AppendInteractionDot(std::string& dot, const Site& site, const Interaction& interaction,
                          std::size_t minlen = 1) {
  for (const MoleculeId end : {interaction.source, interaction.target}) {
    const std::string& name = site.network.nameOf(end);
    dot += NodeStatement(name, site.pageOf(end), site.colors.shapeOf(site.network, name),
                         site.colors.colorOf(site.network, name));
  }
  dot += WithMinimumLength(EdgeStatement(site.network.sourceName(interaction),
                                         site.network.targetName(interaction), interaction.effect),
                           minlen);
  dot += '\n';
}

void WriteMoleculeDrawing(const Site& site, MoleculeId id,
                          const std::vector<std::uint32_t>& interactions) {
  const std::vector<std::size_t> lengths = NeighbourhoodEdgeLengths(site.network, id, interactions);
  std::string dot = "digraph G {size=\"7.5,10\";";
  dot += NeighbourhoodSpreadAttributes(lengths);
  for (std::size_t k = 0; k < interactions.size(); ++k) {
    AppendInteractionDot(dot, site, site.network.interactions()[interactions[k]], lengths[k]);
  }
  dot += '}';
  std::string svg = RenderSvg(dot);
  if (interactions.size() > kPlainDrawingLimit) svg = AddSvgNavigation(svg, 2);
  WriteFileAtomically(site.folder / (site.stems[id - 1] + ".svg"), svg);
}

void AppendAccession(std::string& page, const Site& site, std::string_view label,
                     const std::string& code) {
  if (!IsUniprotAccession(code)) return;
  page += "<BR><B>";
  page += label;
  page += "</B><A HREF=\"";
  page += HtmlEscape(JoinUrl(site.settings.services.uniprotUrl, code));
  page += "\">";
  page += code;
  page += "</A>";
}

// One end of an interaction: the type and location its row gave, or the molecule's own
// where the row left them unknown (a transcription factor first named as a target).
void AppendEnd(std::string& page, const Site& site, std::string_view role, MoleculeId id,
               std::string_view blanks, const Molecule& molecule, const std::string& rowType,
               const std::string& rowLocation) {
  const std::string& type = IsUnknownField(rowType) ? molecule.moleculeType : rowType;
  const std::string& location = IsUnknownField(rowLocation) ? molecule.location : rowLocation;
  page += "<B>";
  page += role;
  page += "</B>";
  site.appendLink(page, id);
  page += blanks;
  page += "<B>Type of molecule:</B>";
  page += HtmlEscape(type);
  page += "  <B>Location:</B>";
  page += HtmlEscape(location);
  page += "  <BR>";
}

std::string MoleculePage(const Site& site, MoleculeId id,
                         const std::vector<std::uint32_t>& interactions) {
  const Network& network = site.network;
  const Molecule& m = network.molecule(id);
  std::string page = "<HTML><BODY><CENTER><H3>";
  page += site.escaped[id - 1];
  page += "</H3></CENTER>\n<CENTER><EMBED SRC=\"";
  page += site.stems[id - 1];
  page += ".svg\" width=\"740\" height=\"300\" type=\"image/svg+xml\" /></CENTER>\n<BR>";
  page += "<CENTER><B>Average path length to all other components: </B>";
  page += FormatNumber(site.pathLength[id - 1]);
  if (!site.islandPathLength.empty()) {
    // The figure above is 0 when the network has several islands; say what it is within the
    // molecule's own island, where every other molecule can be reached.
    page += " (within its island: " + FormatNumber(site.islandPathLength[id - 1]) + ")";
  }
  page += "<BR>\n<B>Clustering coefficient: </B>";
  page += FormatNumber(site.clustering[id - 1]);
  page += "<BR>\n<B>Grid coefficient: </B>";
  page += FormatNumber(site.grid[id - 1]);
  page += "<BR>\n";
  AppendAccession(page, site, "Swiss-Prot Human Accession Code: ", m.accession);
  if (IsUniprotAccession(m.accession)) page += '\n';
  AppendAccession(page, site, "Swiss-Prot Mouse Accession Code: ", m.extraId);
  page += "</CENTER><BR>\n<B><U>List of interactions:</U></B><BR><BR>\n";

  for (const std::uint32_t index : interactions) {
    const Interaction& i = network.interactions()[index];
    AppendEnd(page, site, "Source:", i.source, "  ", network.molecule(i.source), i.sourceType,
              i.sourceLocation);
    AppendEnd(page, site, "Target:", i.target, "   ", network.molecule(i.target), i.targetType,
              i.targetLocation);
    page += "<B>Type of interaction:</B>";
    page += HtmlEscape(i.interactionType);
    page += "  <B>Effect:</B>";
    page += HtmlEscape(i.effect);
    page += "<BR><B>References:</B><BR>\n<table>";
    std::size_t number = 0;
    for (const PubmedId pmid : i.pubmedIds) {
      const std::string text = std::to_string(pmid);
      page += "<tr><td>";
      page += std::to_string(++number);
      page += ". </td><td>";
      if (const Reference* reference = site.pubmed.find(pmid)) {
        page += HtmlEscape(ReferenceText(*reference));
      }
      page += " PubMed ID: \n<A HREF=\"";
      page += HtmlEscape(JoinUrl(site.settings.services.pubmedUrl, text + "/"));
      page += "\">";
      page += text;
      page += "</A></td></tr>\n";
    }
    page += "</table><BR>";
  }
  page += "</BODY></HTML>\n";
  return page;
}

}  // namespace

WebsiteResult RunWebsiteCommand(const Network& network, const ColorShapeTable& colors,
                                const WebsiteSettings& settings, const fs::path& outputDir,
                                Progress& progress) {
  WebsiteResult result;
  result.folder = outputDir / kWebsiteFolder;
  CreateFolder(result.folder);

  // Every page but the start page links to it.
  const PageContext siteContext =
      settings.context.empty() ? PageContext{} : settings.context.linkingTo("index.htm");

  // The statistics come first: the pages show their per-molecule values.
  const std::size_t moleculeCount = network.moleculeCount();
  progress.report(0, moleculeCount, kStatisticsStatus);
  Statistics stats;
  {
    NamedProgress statsProgress(progress, std::string(kStatisticsStatus));
    WriteStatisticsPage(network, result.folder, statsProgress, &stats, siteContext);
  }
  ThrowIfCancelled(progress);

  // Every reference of the network, fetched (or read from the cache) once for all pages.
  std::vector<PubmedId> ids;
  for (const Interaction& i : network.interactions()) {
    ids.insert(ids.end(), i.pubmedIds.begin(), i.pubmedIds.end());
  }
  std::sort(ids.begin(), ids.end());
  ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
  PubmedLibrary pubmed(settings.services, settings.offline, settings.http);
  pubmed.prefetch(ids, progress);
  result.references = ids.size();
  result.referencesShown = static_cast<std::size_t>(
      std::count_if(ids.begin(), ids.end(), [&](PubmedId id) { return pubmed.find(id); }));
  result.warnings = pubmed.stats().errors;

  Site site{network, colors, settings, pubmed, result.folder, {}, {}, {}, {}, {}, siteContext, {}};
  site.stems.reserve(moleculeCount);
  site.escaped.reserve(moleculeCount);
  for (const Molecule& m : network.molecules()) {
    site.stems.push_back(MoleculeStem(m.name));
    site.escaped.push_back(HtmlEscape(m.name));
  }
  site.clustering = std::move(stats.clusteringPerMolecule);
  site.grid = std::move(stats.gridPerMolecule);
  site.pathLength = std::move(stats.pathLength.perMolecule);
  site.clustering.resize(moleculeCount, 0.0);
  site.grid.resize(moleculeCount, 0.0);
  site.pathLength.resize(moleculeCount, 0.0);
  if (stats.islands.count > 1) {
    site.islandPathLength = std::move(stats.pathLength.islandPerMolecule);
    site.islandPathLength.resize(moleculeCount, 0.0);
  }

  WriteFileAtomically(result.folder / "list.htm",
                      site.framed(MoleculeList(site), "Index of molecules"));
  WriteLocationPages(site);

  const auto order = network.displayOrder();
  const std::size_t count = order.size();
  ParallelFor(
      count, settings.threads, progress,
      [&](std::size_t k, ParallelWorker&) {
        const MoleculeId id = order[k];
        const std::vector<std::uint32_t> interactions = InteractionsOf(network, id);
        WriteMoleculeDrawing(site, id, interactions);
        WriteFileAtomically(site.folder / site.pageOf(id),
                            site.framed(MoleculePage(site, id, interactions), network.nameOf(id)));
      },
      {.itemDone =
           [&](std::size_t, std::size_t done) {
             progress.report(done, count,
                             "Created web pages for " + std::to_string(done) +
                                 " molecules out of " + std::to_string(count) + " molecules.");
           },
       .tick = {}});
  result.moleculePages = order.size();

  std::string links = "<HTML><BODY>\n";
  for (const MoleculeId id : order) {
    links += "<A HREF=\"" + site.stems[id - 1] + ".svg\">" + site.escaped[id - 1] + "</A><BR>\n";
  }
  links += "</BODY></HTML>\n";
  WriteFileAtomically(result.folder / "network.html", site.framed(links, "Molecule drawings"));

  WriteFileAtomically(result.folder / "colors_and_shapes.svg",
                      RenderSvg(LegendDot(colors, network)));
  WriteFileAtomically(result.folder / "colors_and_shapes.htm",
                      site.framed(std::string(kLegendPage), "Colors and shapes"));
  result.index = result.folder / "index.htm";
  WriteFileAtomically(result.index, WithPageContext(std::string(kIndexPage), settings.context,
                                                    "Signalling network"));
  return result;
}

}  // namespace tessel
