#include "derived/subnetworks.h"

#include <algorithm>
#include <cctype>
#include <functional>
#include <stdexcept>

#include "util/error.h"
#include "util/files.h"
#include "util/parallel.h"
#include "util/safe_name.h"
#include "util/text.h"

namespace tessel {
namespace {

// Both tables show the clustering figures and the motifs of three and four molecules.
constexpr FigureColumns kColumns{true, true, false};

constexpr int kConnectivitySteps = kLastAllowedConnectivity - kFirstAllowedConnectivity;  // 46

// The network a written SIG file gives back when read. The figures describe the file as a
// user would load it (names gain the reader's letter prefix, rows cut by an "na" name are
// gone), so they are taken from the file rather than from the rows in memory.
Network ReadBack(const std::filesystem::path& path) {
  const std::string text = ReadWholeFile(path);
  if (text.empty()) return Network{};
  try {
    return ReadSigText(text, path.string());
  } catch (const InputError&) {
    // The rows written here always have thirteen fields, so the reader can only object that
    // no row is left before a molecule named "na" ends the data: an empty network.
    return Network{};
  }
}

// Analyses the files on up to `threads` threads (0: one per hardware thread). Results are
// stored by index, so they do not depend on the thread count or on which file finishes
// first. `status(index, finished)` gives the text reported after a file is done; the
// calling thread makes the reports. `each(index, network, figures)`, when given, is called
// on the worker for every file analysed.
using StatusText = std::function<std::string(std::size_t index, std::size_t finished)>;
using EachFile =
    std::function<void(std::size_t index, const Network& network, const FigureRow& figures)>;
std::vector<FigureRow> AnalyseFiles(const std::vector<std::filesystem::path>& files,
                                    unsigned threads, Progress& progress, const StatusText& status,
                                    const EachFile& each = {}) {
  const std::size_t n = files.size();
  std::vector<FigureRow> rows(n);
  if (n == 0) return rows;
  const unsigned available = ResolveThreads(threads);
  const auto workers = static_cast<unsigned>(std::min<std::size_t>(available, n));
  // Threads left over when there are fewer files than threads help the motif searches.
  const unsigned inner = std::max(1u, available / workers);
  ParallelFor(n, workers, progress,
              [&](std::size_t index, ParallelWorker& worker) {
                const Network network = ReadBack(files[index]);
                rows[index] = ComputeFigures(network, kColumns, worker, inner);
                if (each) each(index, network, rows[index]);
                // Only the values are kept: the hit counts of many large sub-networks add up.
                rows[index].motifHits = {};
              },
              {.itemDone =
                   [&](std::size_t index, std::size_t finished) {
                     progress.report(finished, n, status(index, finished));
                   },
               .tick = {}});
  return rows;
}

std::string AsciiLower(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

// Whether one step may lead from `from` to `to`: along an interaction in the direction of
// signalling, or across a neutral (binding) interaction in either direction.
bool CanStep(const Network& network, MoleculeId from, MoleculeId to, Direction direction) {
  const MoleculeId ahead = direction == Direction::Forward ? from : to;
  const MoleculeId behind = direction == Direction::Forward ? to : from;
  if (network.findInteraction(ahead, behind) != nullptr) return true;
  const Interaction* back = network.findInteraction(behind, ahead);
  return back != nullptr && back->isNeutral();
}

// The two rows of dips.htm for one sub-network: its label and the molecule names, then
// the scores, highest score first.
std::string DipsRows(const std::string& label, const Network& sub, const FigureRow& figures) {
  std::vector<MoleculeId> order(sub.displayOrder().begin(), sub.displayOrder().end());
  const auto hits = [&](MoleculeId id) -> std::uint32_t {
    return id - 1 < figures.motifHits.size() ? figures.motifHits[id - 1] : 0;
  };
  // Every score shares the divisor, so ordering by hit count is ordering by score, exactly.
  std::stable_sort(order.begin(), order.end(),
                   [&](MoleculeId a, MoleculeId b) { return hits(a) > hits(b); });
  const double interactions = static_cast<double>(sub.interactionCount());
  std::string out = "<tr><td>" + label + "</td>";
  for (const MoleculeId id : order) out += "<td>" + HtmlEscape(sub.nameOf(id)) + "</td>";
  out += "</tr>\n<tr><td></td>";
  for (const MoleculeId id : order) {
    const double score = interactions > 0 ? static_cast<double>(hits(id)) / interactions : 0.0;
    out += "<td>" + FormatNumber(score) + "</td>";
  }
  out += "</tr>\n";
  return out;
}

}  // namespace

std::vector<SigRow> ConnectivitySubnetwork(const Network& network, std::size_t maxLinks) {
  std::vector<SigRow> rows;
  for (const Interaction& i : network.interactions()) {
    if (network.linkCount(i.source) <= maxLinks && network.linkCount(i.target) <= maxLinks) {
      rows.push_back(FirstRowOf(network, i));
    }
  }
  return rows;
}

ReduceResult RunReduceCommand(const Network& network, const std::filesystem::path& outputDir,
                              Progress& progress, unsigned threads, const PageContext& context) {
  ReduceResult result;
  result.folder = outputDir / kReducedFolder;
  result.page = result.folder / kReducedPage;
  result.titles = FigureTitles(kColumns);

  for (int k = kFirstAllowedConnectivity; k <= kLastAllowedConnectivity; ++k) {
    ThrowIfCancelled(progress);
    const std::filesystem::path file = result.folder / ("reduced_net" + std::to_string(k) + ".sig");
    const std::vector<SigRow> rows = ConnectivitySubnetwork(network, static_cast<std::size_t>(k));
    WriteFileAtomically(file, SigRowsText(rows));
    result.files.push_back(file);
    const int step = k - kFirstAllowedConnectivity;
    progress.report(static_cast<std::size_t>(step), kConnectivitySteps,
                    "Created " + std::to_string(step) + " sub-networks out of 46...");
  }

  std::vector<FigureRow> figures =
      AnalyseFiles(result.files, threads, progress, [](std::size_t, std::size_t finished) {
        return "Analyzed " + std::to_string(finished - 1) + " sub-networks out of 46...";
      });

  std::string page = "<html><body><table>";
  page += FigureHeaderRow("allowed connectivity", result.titles);
  for (std::size_t s = 0; s < figures.size(); ++s) {
    const int k = kFirstAllowedConnectivity + static_cast<int>(s);
    page += FigureValueRow(std::to_string(k), result.titles, figures[s].values);
    result.rows.push_back(std::move(figures[s].values));
  }
  page += "</table></body></html>";
  WriteFileAtomically(result.page,
                      WithPageContext(std::move(page), context, "Sub-networks by connectivity"));
  progress.report(kConnectivitySteps, kConnectivitySteps,
                  "Finished analyzing sub-networks based on connectivity...");
  return result;
}

Direction ParseDirection(std::string_view name) {
  const std::string lower = AsciiLower(name);
  if (lower == "forward") return Direction::Forward;
  if (lower == "reverse") return Direction::Reverse;
  throw std::invalid_argument("unknown direction of propagation: \"" + std::string(name) +
                              "\" (expected Forward or Reverse)");
}

std::vector<int> PropagationDepths(const Network& network, MoleculeId source, Direction direction) {
  if (source == 0 || source > network.moleculeCount()) {
    throw std::invalid_argument("no molecule with id " + std::to_string(source));
  }
  std::vector<int> depths(network.moleculeCount(), -1);
  std::vector<MoleculeId> queue{source};
  depths[source - 1] = 0;
  for (std::size_t head = 0; head < queue.size(); ++head) {
    const MoleculeId x = queue[head];
    for (const MoleculeId y : network.neighbours(x)) {
      if (depths[y - 1] >= 0 || !CanStep(network, x, y, direction)) continue;
      depths[y - 1] = depths[x - 1] + 1;
      queue.push_back(y);
    }
  }
  return depths;
}

std::vector<SigRow> ReachedSubnetwork(const Network& network, const std::vector<int>& depths,
                                      int depth) {
  const auto within = [&](MoleculeId id) {
    const int d = depths[id - 1];
    return d >= 0 && d <= depth;
  };
  std::vector<SigRow> rows;
  for (const Interaction& i : network.interactions()) {
    if (within(i.source) && within(i.target)) rows.push_back(FirstRowOf(network, i));
  }
  return rows;
}

PropagateResult RunPropagateCommand(const Network& network, const PropagateSettings& settings,
                                    const std::filesystem::path& outputDir, Progress& progress) {
  PropagateResult result;
  result.folder = outputDir / kFromSourcesFolder;
  result.statsPage = result.folder / kStepsPage;
  result.dipsPage = result.folder / kDipsPage;
  result.titles = FigureTitles(kColumns);

  // Which source each written file belongs to, and its depth.
  struct Written {
    std::size_t source;
    int depth;
  };
  std::vector<Written> written;

  std::vector<MoleculeId> sources;
  for (const Molecule& m : network.molecules()) {
    if (settings.condition.matches(m)) sources.push_back(m.id);
  }
  const int maxSteps = std::max(settings.maxSteps, 0);
  const std::size_t steps = sources.size() * static_cast<std::size_t>(maxSteps);
  std::size_t stepsDone = 0;
  for (std::size_t s = 0; s < sources.size(); ++s) {
    const MoleculeId source = sources[s];
    result.sources.push_back({network.nameOf(source), {}, {}});
    const std::vector<int> depths = PropagationDepths(network, source, settings.direction);
    // reachedAt[d]: molecules first reached in exactly d steps.
    std::vector<std::size_t> reachedAt(static_cast<std::size_t>(maxSteps) + 1, 0);
    for (const int d : depths) {
      if (d >= 0 && d <= maxSteps) ++reachedAt[static_cast<std::size_t>(d)];
    }
    std::size_t reached = reachedAt[0];
    const std::string stem = SafeFileName(network.nameOf(source)) + "_sub_net_depth";
    for (int d = 1; d <= maxSteps; ++d) {
      ThrowIfCancelled(progress);
      ++stepsDone;
      reached += reachedAt[static_cast<std::size_t>(d)];
      if (reached <= 1) continue;
      const std::string name = stem + std::to_string(d) + ".sig";
      const std::filesystem::path file = result.folder / name;
      WriteFileAtomically(file, SigRowsText(ReachedSubnetwork(network, depths, d)));
      result.files.push_back(file);
      written.push_back({s, d});
      progress.report(stepsDone, steps, "Created file " + name + "...");
    }
  }

  // Each file's dips rows are made on its worker, from the network as read back, whose ids
  // the motif hit counts use.
  std::vector<std::string> dipsRows(result.files.size());
  std::vector<FigureRow> figures = AnalyseFiles(
      result.files, settings.threads, progress,
      [&](std::size_t index, std::size_t) {
        return "Analyzed the file " + result.files[index].filename().string() + "...";
      },
      [&](std::size_t index, const Network& sub, const FigureRow& row) {
        const Written& w = written[index];
        dipsRows[index] = DipsRows(
            HtmlEscape(result.sources[w.source].name) + " depth " + std::to_string(w.depth), sub,
            row);
      });

  std::string dips = "<html><body><table>\n";
  for (std::size_t f = 0; f < figures.size(); ++f) {
    PropagatedSource& source = result.sources[written[f].source];
    source.depths.push_back(written[f].depth);
    source.rows.push_back(std::move(figures[f].values));
    dips += dipsRows[f];
  }
  dips += "</table>\n";
  dips += "<p>Figures of every sub-network: <a href=\"" + std::string(kStepsPage) + "\">" +
          kStepsPage + "</a></p>\n";
  dips += "</body></html>";

  std::string stats = "<html><body><table>";
  for (const PropagatedSource& source : result.sources) {
    stats += "<tr><td>" + HtmlEscape(source.name) + "</td></tr>";
    stats += FigureHeaderRow("steps", result.titles);
    for (std::size_t r = 0; r < source.depths.size(); ++r) {
      stats += FigureValueRow(std::to_string(source.depths[r]), result.titles, source.rows[r]);
    }
  }
  stats += "</table>\n";
  stats += "<p>Motif participation per molecule: <a href=\"" + std::string(kDipsPage) + "\">" +
           kDipsPage + "</a></p>\n";
  stats += "</body></html>";

  WriteFileAtomically(result.statsPage, WithPageContext(std::move(stats), settings.context,
                                                        "Sub-networks from source molecules"));
  WriteFileAtomically(result.dipsPage, WithPageContext(std::move(dips), settings.context,
                                                       "Motif participation per molecule"));
  progress.report(figures.size(), figures.size(), "Done analyzing steps sub-networks...");
  return result;
}

}  // namespace tessel
