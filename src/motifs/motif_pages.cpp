#include "motifs/motif_pages.h"

#include <algorithm>
#include <stdexcept>

#include "output/dot.h"
#include "output/render.h"
#include "util/error.h"
#include "util/files.h"
#include "util/text.h"

namespace tessel {
namespace fs = std::filesystem;

namespace {

// What the command writes and says for each kind, in the order it processes them.
struct KindPage {
  MotifKind kind;
  std::string_view stem;      // page and drawing file stem
  std::string_view searched;  // "Searching for ... please wait!"
  std::string_view title;     // link text on the index page
};

constexpr KindPage kKindPages[] = {
    {MotifKind::Scaffold, "scaffolds", "scaffolds", "Scaffold"},
    {MotifKind::Bifan, "bifans", "bifans", "Bifans"},
    {MotifKind::FeedbackLoop3, "feedback_loops3", "feedback loops of size 3",
     "Feedback loops of size 3"},
    {MotifKind::FeedbackLoop4, "feedback_loops4", "feedback loops of size 4",
     "Feedback loops of size 4"},
    {MotifKind::FeedforwardLoop3, "feedforward_loops3", "feedforward loops of size 3",
     "Feedforward loops of size 3"},
    {MotifKind::FeedforwardLoop4, "feedforward_loops4", "feedforward loops of size 4",
     "Feedforward loops of size 4"},
    {MotifKind::FeedbackLoop5, "feedback_loops5", "feedback loops of size 5",
     "Feedback loops of size 5"},
};

const KindPage& PageOf(MotifKind kind) {
  for (const KindPage& page : kKindPages) {
    if (page.kind == kind) return page;
  }
  throw std::invalid_argument("no page for this motif kind");
}

std::size_t DrawingNumberBase(MotifKind kind) {
  return 10000 * MotifSize(kind);
}

}  // namespace

const std::vector<MotifKind>& MotifCommandOrder() {
  static const std::vector<MotifKind> order = [] {
    std::vector<MotifKind> kinds;
    for (const KindPage& page : kKindPages) kinds.push_back(page.kind);
    return kinds;
  }();
  return order;
}

std::string_view MotifFileStem(MotifKind kind) {
  return PageOf(kind).stem;
}

std::string MotifStatusText(MotifKind kind) {
  return "Searching for " + std::string(PageOf(kind).searched) + "... please wait!";
}

std::string MotifDot(const Network& network, const ColorShapeTable& colors, const Motif& motif) {
  const std::size_t n = motif.molecules.size();
  std::string dot = "digraph G {";
  dot += n == 4 ? "size=\"5,5\";" : "size=\"8,8\";";
  dot += "concentrate=false;\n";
  dot += " { ";
  for (std::size_t k = 0; k < n; ++k) {
    const std::string& name = network.nameOf(motif.molecules[k]);
    dot += std::to_string(k + 1);
    dot += " [style=\"filled\", label=";
    dot += DotQuote(name);
    dot += " shape=";
    dot += DotQuote(colors.shapeOf(network, name));
    dot += ", color=";
    dot += DotQuote(colors.colorOf(network, name));
    dot += "];\n";
  }
  dot += " } \n";
  for (std::size_t k = 0; k < n; ++k) {
    const Interaction& i = network.interactions()[motif.interactions[k]];
    const std::string first = std::to_string(k + 1);
    const std::string second = std::to_string((k + 1) % n + 1);
    // Signed links are drawn as they run; a neutral link from the pair's second molecule to
    // its first.
    const bool forward = !i.isNeutral() && i.source == motif.molecules[k];
    dot += forward ? first : second;
    dot += " -> ";
    dot += forward ? second : first;
    dot += EffectAttributes(i.effect);
    dot += ";";
  }
  dot += "}";
  return dot;
}

std::string MotifDrawingName(MotifKind kind, std::size_t index) {
  return std::string(MotifFileStem(kind)) + "_" +
         std::to_string(DrawingNumberBase(kind) + index + 1);
}

std::string MotifPage(const Network& network, MotifKind kind, const std::vector<Motif>& motifs,
                      bool drawings) {
  const std::size_t count = motifs.size();
  std::string page = "<html><body>Total found: " + std::to_string(count) + "<br><table>";
  for (std::size_t i = 0; i < count; ++i) {
    if (i % 4 == 0) page += "<tr>";
    if (drawings) {
      page += "<td><img src=\"" + MotifDrawingName(kind, i) + ".jpg\"></td>";
    } else {
      // Without drawings each cell names the motif's molecules.
      page += "<td>";
      for (std::size_t k = 0; k < motifs[i].molecules.size(); ++k) {
        if (k > 0) page += " - ";
        page += HtmlEscape(network.nameOf(motifs[i].molecules[k]));
      }
      page += "</td>";
    }
    if ((i + 1) % 4 == 0) page += "</tr>\n";
  }
  if (count % 4 != 0) page += "</tr>";
  page += "</table></body></html>";
  return page;
}

std::string MotifsIndexPage(const std::vector<MotifKind>& kinds) {
  const auto has = [&kinds](MotifKind k) {
    return std::find(kinds.begin(), kinds.end(), k) != kinds.end();
  };
  std::string page = "<html><body>Found motifs:<br>";
  for (const KindPage& kind : kKindPages) {
    if (!has(kind.kind)) continue;
    page += "<a href=\"";
    page += kind.stem;
    page += ".htm\">";
    page += kind.title;
    page += "</a><br>";
  }
  page += "</body></html>";
  return page;
}

MotifCommandResult RunMotifCommand(const Network& network, const ColorShapeTable& colors,
                                   const MotifCommandOptions& options, const fs::path& outputDir,
                                   Progress& progress) {
  MotifCommandResult result;
  result.folder = outputDir / kMotifsFolder;
  CreateFolder(result.folder);

  std::vector<MotifKind> searched;
  for (const MotifKind kind : MotifCommandOrder()) {
    if (std::find(options.kinds.begin(), options.kinds.end(), kind) == options.kinds.end()) {
      continue;
    }
    searched.push_back(kind);
    const std::string status = MotifStatusText(kind);
    progress.report(0, 1, status);
    NamedProgress searchProgress(progress, status);
    MotifResult found = FindMotifs(network, kind, searchProgress, options.threads);
    if (options.drawings) {
      const std::string drawingText = "Drawing " + std::string(MotifFileStem(kind));
      for (std::size_t i = 0; i < found.motifs.size(); ++i) {
        ThrowIfCancelled(progress);
        progress.report(i, found.motifs.size(), drawingText);
        RenderJpegFile(MotifDot(network, colors, found.motifs[i]),
                       result.folder / (MotifDrawingName(kind, i) + ".jpg"));
      }
    }
    WriteFileAtomically(result.folder / (std::string(MotifFileStem(kind)) + ".htm"),
                        MotifPage(network, kind, found.motifs, options.drawings));
    result.results.push_back(std::move(found));
  }
  result.indexPage = result.folder / kMotifsIndexPage;
  WriteFileAtomically(result.indexPage, MotifsIndexPage(searched));
  return result;
}

}  // namespace tessel
