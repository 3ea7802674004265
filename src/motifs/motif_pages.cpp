#include "motifs/motif_pages.h"

#include <algorithm>

#include "output/dot.h"
#include "output/render.h"
#include "util/error.h"
#include "util/files.h"
#include "util/text.h"

namespace tessel {
namespace fs = std::filesystem;

namespace {

// Progress that forwards to another one under a fixed task name.
class NamedProgress final : public Progress {
 public:
  NamedProgress(Progress& inner, std::string text) : inner_(inner), text_(std::move(text)) {}
  void report(std::size_t done, std::size_t total, std::string_view) override {
    inner_.report(done, total, text_);
  }
  bool cancelled() const override { return inner_.cancelled(); }

 private:
  Progress& inner_;
  std::string text_;
};

std::size_t DrawingNumberBase(MotifKind kind) {
  return 10000 * MotifSize(kind);
}

}  // namespace

const std::vector<MotifKind>& MotifCommandOrder() {
  static const std::vector<MotifKind> order = {
      MotifKind::Scaffold,         MotifKind::Bifan,
      MotifKind::FeedbackLoop3,    MotifKind::FeedbackLoop4,
      MotifKind::FeedforwardLoop3, MotifKind::FeedforwardLoop4,
      MotifKind::FeedbackLoop5,
  };
  return order;
}

std::string_view MotifFileStem(MotifKind kind) {
  switch (kind) {
    case MotifKind::Scaffold:
      return "scaffolds";
    case MotifKind::Bifan:
      return "bifans";
    case MotifKind::FeedbackLoop3:
      return "feedback_loops3";
    case MotifKind::FeedbackLoop4:
      return "feedback_loops4";
    case MotifKind::FeedbackLoop5:
      return "feedback_loops5";
    case MotifKind::FeedforwardLoop3:
      return "feedforward_loops3";
    case MotifKind::FeedforwardLoop4:
      return "feedforward_loops4";
  }
  return "motifs";
}

std::string MotifStatusText(MotifKind kind) {
  switch (kind) {
    case MotifKind::Scaffold:
      return "Searching for scaffolds... please wait!";
    case MotifKind::Bifan:
      return "Searching for bifans... please wait!";
    case MotifKind::FeedbackLoop3:
      return "Searching for feedback loops of size 3... please wait!";
    case MotifKind::FeedbackLoop4:
      return "Searching for feedback loops of size 4... please wait!";
    case MotifKind::FeedbackLoop5:
      return "Searching for feedback loops of size 5... please wait!";
    case MotifKind::FeedforwardLoop3:
      return "Searching for feedforward loops of size 3... please wait!";
    case MotifKind::FeedforwardLoop4:
      return "Searching for feedforward loops of size 4... please wait!";
  }
  return "Searching for motifs... please wait!";
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
  const std::pair<MotifKind, const char*> links[] = {
      {MotifKind::Scaffold, "<a href=\"scaffolds.htm\">Scaffold</a><br>"},
      {MotifKind::Bifan, "<a href=\"bifans.htm\">Bifans</a><br>"},
      {MotifKind::FeedbackLoop3,
       "<a href=\"feedback_loops3.htm\">Feedback loops of size 3</a><br>"},
      {MotifKind::FeedbackLoop4,
       "<a href=\"feedback_loops4.htm\">Feedback loops of size 4</a><br>"},
      {MotifKind::FeedforwardLoop3,
       "<a href=\"feedforward_loops3.htm\">Feedforward loops of size 3</a><br>"},
      {MotifKind::FeedforwardLoop4,
       "<a href=\"feedforward_loops4.htm\">Feedforward loops of size 4</a><br>"},
      {MotifKind::FeedbackLoop5,
       "<a href=\"feedback_loops5.htm\">Feedback loops of size 5</a><br>"},
  };
  for (const auto& [kind, link] : links) {
    if (has(kind)) page += link;
  }
  page += "</body></html>";
  return page;
}

MotifCommandResult RunMotifCommand(const Network& network, const ColorShapeTable& colors,
                                   const MotifCommandOptions& options, const fs::path& outputDir,
                                   Progress& progress) {
  MotifCommandResult result;
  result.folder = outputDir / kMotifsFolder;
  std::error_code ec;
  fs::create_directories(result.folder, ec);
  if (ec) throw OutputError(result.folder.string() + ": cannot create folder: " + ec.message());

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
