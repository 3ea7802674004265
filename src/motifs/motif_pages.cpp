#include "motifs/motif_pages.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "output/dot.h"
#include "output/render.h"
#include "util/error.h"
#include "util/files.h"
#include "util/text.h"

namespace tessel {
namespace fs = std::filesystem;

namespace {

// A large count for a message: "850", "12 million", "3.4 billion", "2.1e+15".
std::string ApproximateCount(double value) {
  const auto digits = [](double v) {
    std::string text = std::to_string(std::llround(v * 10));
    if (text.size() == 1) text.insert(0, "0");
    text.insert(text.size() - 1, ".");
    if (text.ends_with(".0")) text.resize(text.size() - 2);
    return text;
  };
  if (value < 1e6) return value < 10 ? digits(value) : std::to_string(std::llround(value));
  if (value < 1e9) return digits(value / 1e6) + " million";
  if (value < 1e12) return digits(value / 1e9) + " billion";
  std::string text(32, '\0');
  text.resize(static_cast<std::size_t>(std::snprintf(text.data(), text.size(), "%.2g", value)));
  return text;
}

// What the command writes for each kind, in the order it processes them.
struct KindPage {
  MotifKind kind;
  std::string_view stem;  // page and drawing file stem
  std::string_view link;  // link text on the index page when not the kind's title
};

constexpr KindPage kKindPages[] = {
    {MotifKind::Scaffold, "scaffolds", "Scaffold"},
    {MotifKind::Bifan, "bifans", {}},
    {MotifKind::FeedbackLoop3, "feedback_loops3", {}},
    {MotifKind::FeedbackLoop4, "feedback_loops4", {}},
    {MotifKind::FeedforwardLoop3, "feedforward_loops3", {}},
    {MotifKind::FeedforwardLoop4, "feedforward_loops4", {}},
    {MotifKind::FeedbackLoop5, "feedback_loops5", {}},
};

const KindPage& PageOf(MotifKind kind) {
  for (const KindPage& page : kKindPages) {
    if (page.kind == kind) return page;
  }
  throw std::invalid_argument("no page for this motif kind");
}

// The kind's name on its page title and index link.
std::string_view TitleOf(const KindPage& page) {
  return page.link.empty() ? MotifKindInfoOf(page.kind).title : page.link;
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
  // "Feedback loops of size 3" becomes "Searching for feedback loops of size 3...".
  std::string searched(MotifKindInfoOf(kind).title);
  searched.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(searched.front())));
  return "Searching for " + searched + "... please wait!";
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

std::string MotifNames(const Network& network, MotifKind kind, const Motif& motif) {
  std::string text;
  for (std::size_t k = 0; k < motif.molecules.size(); ++k) {
    if (k > 0) text += " - ";
    text += network.nameOf(motif.molecules[k]);
  }
  if (MotifIsSigned(kind)) text += motif.sign < 0 ? " (-)" : " (+)";
  return text;
}

std::string MotifPage(const Network& network, MotifKind kind, const std::vector<Motif>& motifs,
                      std::size_t maxDrawings, const PageContext& context) {
  const std::size_t count = motifs.size();
  const std::size_t drawn = std::min(count, maxDrawings);
  const bool isSigned = MotifIsSigned(kind);
  std::string page = "<html><body>Total found: " + std::to_string(count) + "<br>";
  if (drawn > 0 && drawn < count) {
    page += "<p>Showing drawings of the first " + std::to_string(drawn) + " of " +
            std::to_string(count) + " motifs; the others are listed by name below.</p>";
  }
  page += "<table>";
  // Without drawings every motif gets a cell naming its molecules; with drawings the cells
  // hold the drawn ones.
  const std::size_t cells = maxDrawings == 0 ? count : drawn;
  for (std::size_t i = 0; i < cells; ++i) {
    if (i % 4 == 0) page += "<tr>";
    if (maxDrawings > 0) {
      page += "<td><img src=\"" + MotifDrawingName(kind, i) + ".jpg\">";
      if (isSigned) page += motifs[i].sign < 0 ? "<br>negative (-)" : "<br>positive (+)";
      page += "</td>";
    } else {
      page += "<td>" + HtmlEscape(MotifNames(network, kind, motifs[i])) + "</td>";
    }
    if ((i + 1) % 4 == 0) page += "</tr>\n";
  }
  if (cells % 4 != 0) page += "</tr>";
  page += "</table>";
  if (cells < count) {
    page += "\n<ol start=\"" + std::to_string(cells + 1) + "\">\n";
    for (std::size_t i = cells; i < count; ++i) {
      page += "<li>" + HtmlEscape(MotifNames(network, kind, motifs[i])) + "</li>\n";
    }
    page += "</ol>";
  }
  page += "</body></html>";
  return WithPageContext(std::move(page), context, TitleOf(PageOf(kind)));
}

std::string MotifsIndexPage(const std::vector<MotifResult>& results, const PageContext& context,
                            bool significance) {
  std::vector<const MotifResult*> ordered;
  for (const KindPage& kind : kKindPages) {
    for (const MotifResult& r : results) {
      if (r.kind == kind.kind) {
        ordered.push_back(&r);
        break;
      }
    }
  }
  std::string page = "<html><body>Found motifs:<br>";
  std::string table =
      "<table border=\"1\" cellpadding=\"3\"><tr><th>Kind</th><th>Total</th><th>Positive</th>"
      "<th>Negative</th></tr>\n";
  for (const MotifResult* r : ordered) {
    const KindPage& kind = PageOf(r->kind);
    std::string link = "<a href=\"";
    link += kind.stem;
    link += ".htm\">";
    link += TitleOf(kind);
    link += "</a>";
    page += link + "<br>";
    table += "<tr><td>" + link + "</td><td>" + std::to_string(r->total()) + "</td>";
    if (MotifIsSigned(r->kind)) {
      table += "<td>" + std::to_string(r->positive) + "</td><td>" + std::to_string(r->negative) +
               "</td></tr>\n";
    } else {
      table += "<td>&ndash;</td><td>&ndash;</td></tr>\n";
    }
  }
  table += "</table>";
  if (!ordered.empty()) page += "<br>" + table;
  if (significance) {
    page += "<br><a href=\"" + std::string(kSignificancePage) +
            "\">Counts against random networks (significance)</a>";
  }
  page += "</body></html>";
  return WithPageContext(std::move(page), context, "Network motifs");
}

std::string MotifLimitProblem(const Network& network, const std::vector<MotifKind>& kinds,
                              std::size_t maxMotifs) {
  std::string over;
  double bytes = 0;
  for (const MotifKind kind : kinds) {
    const double estimate = EstimateMotifCount(network, kind);
    if (estimate <= static_cast<double>(maxMotifs)) continue;
    bytes = std::max(bytes, estimate * kBytesPerMotif);
    if (!over.empty()) over += ", ";
    over += std::string(MotifKindName(kind)) + " up to " + ApproximateCount(estimate);
  }
  if (over.empty()) return {};
  return "the motif search could find too many motifs for memory (" + over + "; about " +
         ApproximateCount(bytes / 1e9) + " GB for the largest kind), above the limit of " +
         std::to_string(maxMotifs) +
         " per kind: search fewer kinds or a sub-network, raise the limit (--max-motifs) or "
         "search anyway (--force)";
}

namespace {

// The kinds asked for, in the order the command searches them.
std::vector<MotifKind> RequestedKinds(const MotifCommandOptions& options) {
  std::vector<MotifKind> kinds;
  for (const MotifKind kind : MotifCommandOrder()) {
    if (std::find(options.kinds.begin(), options.kinds.end(), kind) != options.kinds.end()) {
      kinds.push_back(kind);
    }
  }
  return kinds;
}

}  // namespace

MotifCommandResult RunMotifCommand(const Network& network, const ColorShapeTable& colors,
                                   const MotifCommandOptions& options, const fs::path& outputDir,
                                   Progress& progress) {
  if (!options.pages) {
    MotifCommandResult counts;
    for (const MotifKind kind : RequestedKinds(options)) {
      const std::string status = MotifStatusText(kind);
      progress.report(0, 1, status);
      NamedProgress searchProgress(progress, status);
      counts.results.push_back(CountMotifs(network, kind, searchProgress, options.threads));
    }
    return counts;
  }
  if (!options.force) {
    if (const std::string problem = MotifLimitProblem(network, options.kinds, options.maxMotifs);
        !problem.empty()) {
      throw MotifLimitError(problem);
    }
  }
  MotifCommandResult result;
  result.folder = outputDir / kMotifsFolder;
  CreateFolder(result.folder);

  const std::size_t maxDrawings = options.drawings ? options.maxDrawings : 0;
  const PageContext kindContext = options.context.linkingTo(kMotifsIndexPage);
  for (const MotifKind kind : RequestedKinds(options)) {
    const std::string status = MotifStatusText(kind);
    progress.report(0, 1, status);
    NamedProgress searchProgress(progress, status);
    MotifResult found = FindMotifs(network, kind, searchProgress, options.threads);
    const std::size_t drawn = std::min(found.motifs.size(), maxDrawings);
    if (drawn > 0) {
      const std::string drawingText = "Drawing " + std::string(MotifFileStem(kind));
      for (std::size_t i = 0; i < drawn; ++i) {
        ThrowIfCancelled(progress);
        progress.report(i, drawn, drawingText);
        RenderJpegFile(MotifDot(network, colors, found.motifs[i]),
                       result.folder / (MotifDrawingName(kind, i) + ".jpg"));
      }
    }
    WriteFileAtomically(result.folder / (std::string(MotifFileStem(kind)) + ".htm"),
                        MotifPage(network, kind, found.motifs, maxDrawings, kindContext));
    found.releaseMotifs();
    result.results.push_back(std::move(found));
  }
  result.indexPage = result.folder / kMotifsIndexPage;
  WriteFileAtomically(
      result.indexPage,
      MotifsIndexPage(result.results, options.context.linkingTo({}), options.significance));
  return result;
}

}  // namespace tessel
