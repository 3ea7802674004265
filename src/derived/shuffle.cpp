#include "derived/shuffle.h"

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>

#include <algorithm>
#include <atomic>
#include <numeric>
#include <optional>
#include <stdexcept>
#include <utility>

#include "analysis/metrics.h"
#include "util/error.h"
#include "util/files.h"
#include "util/parallel.h"
#include "util/rank_group.h"
#include "util/text.h"

namespace tessel {
namespace fs = std::filesystem;

namespace {

std::uint64_t PairKey(MoleculeId source, MoleculeId target) {
  return (static_cast<std::uint64_t>(source) << 32) | target;
}

EndPoint OwnFields(const Molecule& m) {
  return {m.name, m.accession, m.extraId, m.moleculeType, m.location};
}

// Throws std::invalid_argument when the network has more interactions than ordered pairs
// of distinct molecules.
void CheckErdosRenyiPossible(const Network& network) {
  const std::uint64_t n = network.moleculeCount();
  const std::uint64_t pairs = n * (n > 0 ? n - 1 : 0);
  const std::uint64_t m = network.interactionCount();
  if (m <= pairs) return;
  throw std::invalid_argument("cannot draw " + std::to_string(m) + " random interactions between " +
                              std::to_string(n) + " molecules: there are only " +
                              std::to_string(pairs) + " ordered pairs of distinct molecules");
}

std::string CountText(std::string_view verb, int done, int count) {
  return std::string(verb) + " " + std::to_string(done) + " random networks out of " +
         std::to_string(count);
}

// One random network as made: its SIG text and, once read back, the network.
struct MadeNetwork {
  std::string text;
  std::optional<Network> readBack;
};

// Makes network `index` (1-based) from its own generator; with `oneIsland`, draws again
// until it is one island or the tries run out.
MadeNetwork MakeRandomNetwork(const Network& network, const ShuffleSettings& settings, int index,
                              bool oneIsland, const fs::path& file, Progress& worker) {
  const std::string fileName = file.string();
  std::mt19937_64 random = NetworkRandom(settings.seed, index);
  MadeNetwork made;
  for (int tries = 1;; ++tries) {
    ThrowIfCancelled(worker);
    made.text = SigRowsText(RandomNetworkRows(network, settings.kind, settings.passes, random));
    if (!oneIsland) break;
    made.readBack.emplace(ReadSigText(made.text, fileName));
    if (FindIslands(*made.readBack).count == 1) break;
    if (tries >= settings.islandTries) {
      throw std::runtime_error("random network " + std::to_string(index) + " (" +
                               ShuffledFileName(settings.kind, index) +
                               "): no network of one island was found in " +
                               std::to_string(settings.islandTries) + " tries");
    }
  }
  return made;
}

std::vector<double> AnalyzeRandomNetwork(MadeNetwork& made, const ShuffleSettings& settings,
                                         const fs::path& file, Progress& worker) {
  if (!made.readBack) made.readBack.emplace(ReadSigText(made.text, file.string()));
  return ComputeFigures(*made.readBack, settings.columns, worker, 1).values;
}

// At most this many networks are in flight per round over all ranks: rank 0 holds their
// SIG texts between the gather and the writing (a few MB each for a large network).
constexpr std::size_t kNetworksPerRound = 256;

// The networks spread over the ranks of a group, in rounds: in each, every rank makes and
// analyses a contiguous block of networks on its threads, then rank 0 gathers their texts
// and figures, writes the files and reports the counts. The files and figures are those of
// one process, since each network comes from its own generator.
void RunOnRanks(const Network& network, const ShuffleSettings& settings, bool oneIsland,
                bool analyze, RankGroup& group, Progress& progress, ShuffleResult& result) {
  const std::size_t count = result.files.size();
  // Rank 0 decides the round size, so every rank splits the rounds alike.
  std::string perRankText = std::to_string(std::clamp<std::size_t>(
      2 * ResolveThreads(settings.threads), 1,
      std::max<std::size_t>(1, kNetworksPerRound / static_cast<std::size_t>(group.size()))));
  group.broadcast(perRankText);
  const std::size_t round = std::stoul(perRankText) * static_cast<std::size_t>(group.size());
  const unsigned threads = ResolveThreads(settings.threads);
  for (std::size_t first = 0; first < count; first += round) {
    const std::size_t last = std::min(count, first + round);
    const auto makeOne = [&](std::size_t item, ParallelWorker& worker) {
      const int index = static_cast<int>(item) + 1;
      MadeNetwork made =
          MakeRandomNetwork(network, settings, index, oneIsland, result.files[item], worker);
      BlobWriter out;
      out.text(made.text);
      if (analyze) {
        for (const double v : AnalyzeRandomNetwork(made, settings, result.files[item], worker)) {
          out.f64(v);
        }
      }
      return std::move(out.blob());
    };
    const std::vector<std::string> blobs =
        DistributedFor(group, first, last, threads, progress, makeOne);
    RunAgreed(group, [&] {
      if (!group.lead()) return;
      for (std::size_t k = 0; k < blobs.size(); ++k) {
        ThrowIfCancelled(progress);
        BlobReader in(blobs[k]);
        WriteFileAtomically(result.files[first + k], in.text());
        if (analyze) {
          std::vector<double>& values = result.random[first + k];
          while (!in.atEnd()) values.push_back(in.f64());
        }
        const int done = static_cast<int>(first + k + 1);
        progress.report(first + k + 1, count, CountText("Created", done, static_cast<int>(count)));
      }
      if (!analyze) return;
      for (std::size_t item = first; item < last; ++item) {
        const int done = static_cast<int>(item + 1);
        progress.report(item + 1, count, CountText("Analyzed", done, static_cast<int>(count)));
      }
    });
  }
}

// Where a column's value is taken from, for the comparison of the "CPL" column.
std::size_t ColumnOf(const std::vector<std::string>& titles, std::string_view title) {
  return static_cast<std::size_t>(std::find(titles.begin(), titles.end(), title) - titles.begin());
}

// One summary row of the analysis page: `cell` gives each column's text.
template <typename Cell>
std::string SummaryRow(std::string_view label, const std::vector<ColumnComparison>& columns,
                       const Cell& cell) {
  std::string out = "<tr><td>";
  out += label;
  for (const ColumnComparison& c : columns) out += "</td><td>" + cell(c);
  out += "</td></tr>\n";
  return out;
}

// "100 random networks: target swaps keeping ..., 10 passes, maintain one island; seed 42."
std::string Description(const ShuffleSettings& settings, int count, bool oneIsland) {
  std::string text = "<p>" + std::to_string(count) +
                     (count == 1 ? " random network: " : " random networks: ") +
                     ShuffleKindWords(settings.kind);
  if (settings.kind == ShuffleKind::SwapTargets) {
    text += ", " + std::to_string(settings.passes) + (settings.passes == 1 ? " pass" : " passes") +
            " over the interactions";
  }
  if (oneIsland) text += ", maintain one island";
  text += "; seed " + std::to_string(settings.seed) + ".</p>\n";
  return text;
}

std::string AnalysisPage(const ShuffleSettings& settings, const ShuffleResult& result,
                         bool oneIsland) {
  const int count = static_cast<int>(result.random.size());
  std::string page = "<html><body>";
  page += Description(settings, count, oneIsland);
  page += "<table>";
  page += FigureHeaderRow("random network #", result.titles);
  for (int i = 1; i <= count; ++i) {
    page += FigureValueRow(std::to_string(i), result.titles,
                           result.random[static_cast<std::size_t>(i - 1)]);
  }
  page += FigureValueRow("user network", result.titles, result.networkValues);
  const auto& columns = result.comparison;
  page += SummaryRow("mean", columns, [](const ColumnComparison& c) { return c.meanText(); });
  page += SummaryRow("SD", columns, [](const ColumnComparison& c) { return c.sdText(); });
  page += SummaryRow("z-score", columns, [](const ColumnComparison& c) { return c.zText(); });
  page += "</table>";
  for (const ColumnComparison& c : columns) {
    if (c.title != "CPL" || c.leftOut == 0) continue;
    page += "\n<p>" + std::to_string(c.leftOut) + " of " + std::to_string(count) +
            " random networks have several islands and no path length; the path-length "
            "figures use the other " +
            std::to_string(c.used) + ".</p>";
  }
  const bool pathLengths =
      std::ranges::any_of(columns, [](const ColumnComparison& c) { return c.title == "CPL"; });
  const std::size_t islands = ColumnOf(result.titles, "islands");
  if (pathLengths && islands < result.networkValues.size() && result.networkValues[islands] != 1) {
    page += "\n<p>The user network has several islands and no path length.</p>";
  }
  page += "</body></html>";
  return WithPageContext(std::move(page), settings.context, "Shuffled networks analysis");
}

}  // namespace

ShuffleKind ParseShuffleKind(std::string_view name) {
  if (name == "swap") return ShuffleKind::SwapTargets;
  if (name == "effects") return ShuffleKind::ShuffleEffects;
  if (name == "er") return ShuffleKind::ErdosRenyi;
  throw std::invalid_argument("unknown kind of shuffled network '" + std::string(name) +
                              "' (swap, effects or er)");
}

std::string ShuffledFileName(ShuffleKind kind, int index) {
  const char* stem = kind == ShuffleKind::SwapTargets      ? "random_milo_"
                     : kind == ShuffleKind::ShuffleEffects ? "random_effect_"
                                                           : "random_er_";
  return stem + std::to_string(index) + ".sig";
}

std::vector<SigRow> SwapTargets(const Network& network, int passes, std::mt19937_64& random) {
  const std::vector<Interaction>& list = network.interactions();
  const std::size_t n = list.size();
  // holder[e]: the interaction whose target fields e carries now; target[e] its molecule.
  std::vector<std::uint32_t> holder(n);
  std::iota(holder.begin(), holder.end(), 0u);
  std::vector<MoleculeId> target(n);
  absl::flat_hash_set<std::uint64_t> pairs;
  // Room to spare: every swap erases two keys, and the tombstones of a full table cost
  // frequent in-place rehashes (three times slower on 6,000 interactions).
  pairs.reserve(4 * n);
  for (std::size_t e = 0; e < n; ++e) {
    target[e] = list[e].target;
    pairs.insert(PairKey(list[e].source, list[e].target));
  }
  if (n >= 2) {
    std::uniform_int_distribution<std::size_t> draw(0, n - 1);
    for (int pass = 0; pass < passes; ++pass) {
      for (std::size_t e = 0; e < n; ++e) {
        const std::size_t f = draw(random);
        if (f == e) continue;
        const MoleculeId es = list[e].source, et = target[e];
        const MoleculeId fs = list[f].source, ft = target[f];
        // New links fs -> et and es -> ft: no self-interaction, and not each other's
        // reverse (which happens when e and f are both self-interactions).
        if (fs == et || es == ft || (es == et && fs == ft)) continue;
        if (pairs.contains(PairKey(fs, et)) || pairs.contains(PairKey(es, ft)) ||
            pairs.contains(PairKey(et, fs)) || pairs.contains(PairKey(ft, es))) {
          continue;
        }
        pairs.erase(PairKey(es, et));
        pairs.erase(PairKey(fs, ft));
        pairs.insert(PairKey(es, ft));
        pairs.insert(PairKey(fs, et));
        std::swap(target[e], target[f]);
        std::swap(holder[e], holder[f]);
      }
    }
  }
  std::vector<SigRow> rows;
  rows.reserve(n);
  for (std::size_t e = 0; e < n; ++e) {
    SigRow row = FirstRowOf(network, list[e]);
    row.target = FirstRowOf(network, list[holder[e]]).target;
    rows.push_back(row);
  }
  return rows;
}

std::vector<SigRow> ShuffleEffects(const Network& network, std::mt19937_64& random) {
  const std::vector<Interaction>& list = network.interactions();
  std::vector<std::string_view> effects;
  effects.reserve(list.size());
  for (const Interaction& i : list) effects.emplace_back(i.effect);
  std::shuffle(effects.begin(), effects.end(), random);
  std::vector<SigRow> rows;
  rows.reserve(list.size());
  for (std::size_t e = 0; e < list.size(); ++e) {
    rows.push_back(FirstRowOf(network, list[e]));
    rows.back().effect = effects[e];
  }
  return rows;
}

std::vector<SigRow> ErdosRenyi(const Network& network, std::mt19937_64& random) {
  const std::size_t n = network.moleculeCount();
  const std::size_t m = network.interactionCount();
  CheckErdosRenyiPossible(network);
  // Effects and their counts: "+", "_", "0", then the others in order of first appearance.
  std::vector<std::pair<std::string_view, std::size_t>> groups = {{"+", 0}, {"_", 0}, {"0", 0}};
  absl::flat_hash_map<std::string_view, std::size_t> groupOf = {{"+", 0}, {"_", 1}, {"0", 2}};
  for (const Interaction& i : network.interactions()) {
    const auto [it, added] = groupOf.try_emplace(i.effect, groups.size());
    if (added) groups.emplace_back(i.effect, 0);
    ++groups[it->second].second;
  }
  std::vector<SigRow> rows;
  if (m == 0) return rows;
  rows.reserve(m);
  absl::flat_hash_set<std::uint64_t> drawn;
  drawn.reserve(m);
  std::uniform_int_distribution<std::size_t> draw(0, n - 1);
  const std::vector<Molecule>& molecules = network.molecules();
  for (const auto& [effect, count] : groups) {
    for (std::size_t k = 0; k < count; ++k) {
      std::size_t a = 0, b = 0;
      do {
        a = draw(random);
        b = draw(random);
      } while (
          a == b ||
          !drawn.insert(PairKey(static_cast<MoleculeId>(a + 1), static_cast<MoleculeId>(b + 1)))
               .second);
      rows.push_back({OwnFields(molecules[a]), OwnFields(molecules[b]), effect, "Unknown", 0});
    }
  }
  return rows;
}

std::string ShuffleKindWords(ShuffleKind kind) {
  switch (kind) {
    case ShuffleKind::SwapTargets:
      return "target swaps keeping every molecule's in and out links";
    case ShuffleKind::ShuffleEffects:
      return "effects shuffled among the interactions, keeping the wiring";
    case ShuffleKind::ErdosRenyi:
      return "random links between the same molecules, as many of each effect as the network "
             "has (Erdos-Renyi)";
  }
  return {};
}

std::string ColumnComparison::meanText() const {
  return hasMean() ? FormatNumber(figures.mean) : std::string("-");
}
std::string ColumnComparison::sdText() const {
  return hasSd() ? FormatNumber(figures.sd) : std::string("-");
}
std::string ColumnComparison::zText() const {
  return figures.hasZ ? FormatZ(figures.z) : std::string("-");
}

std::vector<ColumnComparison> ShuffleComparison(const std::vector<std::string>& titles,
                                                const std::vector<double>& networkValues,
                                                const std::vector<std::vector<double>>& random) {
  const std::size_t islands = ColumnOf(titles, "islands");
  const auto oneIsland = [&](const std::vector<double>& row) {
    return islands < row.size() && row[islands] == 1;
  };
  std::vector<ColumnComparison> columns;
  columns.reserve(titles.size());
  for (std::size_t c = 0; c < titles.size(); ++c) {
    const bool pathLength = titles[c] == "CPL";
    ColumnComparison column;
    column.title = titles[c];
    std::vector<double> values;
    values.reserve(random.size());
    for (const std::vector<double>& row : random) {
      if (pathLength && !oneIsland(row)) {
        ++column.leftOut;
      } else {
        values.push_back(row.at(c));
      }
    }
    column.used = values.size();
    column.figures = Compare(networkValues.at(c), values);
    // A network of several islands has no path length to compare.
    if (pathLength && !oneIsland(networkValues)) column.figures.hasZ = false;
    columns.push_back(std::move(column));
  }
  return columns;
}

std::mt19937_64 NetworkRandom(std::uint64_t seed, int index) {
  std::seed_seq sequence{static_cast<std::uint32_t>(seed), static_cast<std::uint32_t>(seed >> 32),
                         static_cast<std::uint32_t>(index)};
  return std::mt19937_64(sequence);
}

std::vector<SigRow> RandomNetworkRows(const Network& network, ShuffleKind kind, int passes,
                                      std::mt19937_64& random) {
  switch (kind) {
    case ShuffleKind::SwapTargets:
      return SwapTargets(network, passes, random);
    case ShuffleKind::ShuffleEffects:
      return ShuffleEffects(network, random);
    case ShuffleKind::ErdosRenyi:
      return ErdosRenyi(network, random);
  }
  throw std::invalid_argument("unknown kind of random network");
}

ShuffleResult RunShuffleCommand(const Network& network, const ShuffleSettings& settings,
                                const fs::path& outputDir, Progress& progress) {
  SingleRank one;
  return RunShuffleCommand(network, settings, outputDir, progress, one);
}

ShuffleResult RunShuffleCommand(const Network& network, const ShuffleSettings& settings,
                                const fs::path& outputDir, Progress& progress, RankGroup& group) {
  const bool oneIsland = settings.maintainOneIsland && settings.kind != ShuffleKind::ShuffleEffects;
  if (settings.passes < 0) throw std::invalid_argument("the number of swap passes is negative");
  if (oneIsland && settings.islandTries < 1) {
    throw std::invalid_argument("the number of tries for one island must be at least 1");
  }
  if (settings.kind == ShuffleKind::ErdosRenyi && settings.count > 0) {
    CheckErdosRenyiPossible(network);
  }
  ThrowIfCancelled(progress);

  const int count = std::max(settings.count, 0);
  const bool analyze = settings.analyze && settings.columns.any();
  ShuffleResult result;
  result.folder = outputDir / kShuffledFolder;
  RunAgreed(group, [&] {
    if (group.lead()) CreateFolder(result.folder);
  });
  result.files.reserve(static_cast<std::size_t>(count));
  for (int i = 1; i <= count; ++i) {
    result.files.push_back(result.folder / ShuffledFileName(settings.kind, i));
  }

  const unsigned threads = std::clamp<unsigned>(ResolveThreads(settings.threads), 1,
                                                static_cast<unsigned>(std::max(count, 1)));

  if (analyze) {
    result.titles = FigureTitles(settings.columns);
    result.random.resize(static_cast<std::size_t>(count));
  }
  // Only rank 0 compares and writes; the others leave the user's figures out.
  if (analyze && group.lead()) {
    SilentProgress silent(progress);
    result.networkValues =
        ComputeFigures(network, settings.columns, silent, settings.threads).values;
  }

  // The workers count the networks made and analysed; the calling thread reports every
  // count once.
  std::atomic<int> created{0};
  std::atomic<int> analyzed{0};
  int createdShown = 0;
  int analyzedShown = 0;
  const auto reportCounts = [&] {
    for (const int now = created.load(); createdShown < now;) {
      ++createdShown;
      progress.report(static_cast<std::size_t>(createdShown), static_cast<std::size_t>(count),
                      CountText("Created", createdShown, count));
    }
    for (const int now = analyzed.load(); analyzedShown < now;) {
      ++analyzedShown;
      progress.report(static_cast<std::size_t>(analyzedShown), static_cast<std::size_t>(count),
                      CountText("Analyzed", analyzedShown, count));
    }
  };
  if (group.size() > 1) {
    RunOnRanks(network, settings, oneIsland, analyze, group, progress, result);
  } else {
    const auto makeOne = [&](std::size_t item, ParallelWorker& worker) {
      const int index = static_cast<int>(item) + 1;
      const fs::path& file = result.files[item];
      MadeNetwork made = MakeRandomNetwork(network, settings, index, oneIsland, file, worker);
      ThrowIfCancelled(worker);
      WriteFileAtomically(file, made.text);
      ++created;
      worker.publish();
      if (!analyze) return;
      result.random[item] = AnalyzeRandomNetwork(made, settings, file, worker);
      ++analyzed;
      worker.publish();
    };
    ParallelFor(static_cast<std::size_t>(count), threads, progress, makeOne,
                {.itemDone = {}, .tick = reportCounts});
  }

  if (analyze) result.page = result.folder / kShuffledPage;
  RunAgreed(group, [&] {
    if (!analyze || !group.lead()) return;
    result.comparison = ShuffleComparison(result.titles, result.networkValues, result.random);
    WriteFileAtomically(result.page, AnalysisPage(settings, result, oneIsland));
  });
  return result;
}

}  // namespace tessel
