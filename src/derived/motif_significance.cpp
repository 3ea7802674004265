#include "derived/motif_significance.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <iomanip>
#include <sstream>

#include "model/readers.h"
#include "motifs/motif_pages.h"
#include "util/parallel.h"
#include "util/text.h"

namespace tessel {

namespace {

// The kinds asked for, in the motif command's order, each once.
std::vector<MotifKind> Ordered(const std::vector<MotifKind>& kinds) {
  std::vector<MotifKind> ordered;
  for (const MotifKind kind : MotifCommandOrder()) {
    if (std::ranges::find(kinds, kind) != kinds.end()) ordered.push_back(kind);
  }
  return ordered;
}

}  // namespace

std::vector<MotifCountEntry> MotifCountEntries(const std::vector<MotifKind>& kinds) {
  std::vector<MotifCountEntry> entries;
  for (const MotifKind kind : Ordered(kinds)) {
    entries.push_back({kind, "total"});
    if (MotifIsSigned(kind)) {
      entries.push_back({kind, "positive"});
      entries.push_back({kind, "negative"});
    }
  }
  return entries;
}

std::vector<double> MotifCountRow(const std::vector<MotifKind>& kinds,
                                  const std::vector<MotifResult>& results) {
  std::vector<double> row;
  for (const MotifKind kind : Ordered(kinds)) {
    const auto r = std::ranges::find(results, kind, &MotifResult::kind);
    if (r == results.end()) throw std::logic_error("no motif result for a kind asked for");
    row.push_back(static_cast<double>(r->total()));
    if (MotifIsSigned(kind)) {
      row.push_back(static_cast<double>(r->positive));
      row.push_back(static_cast<double>(r->negative));
    }
  }
  return row;
}

std::vector<std::vector<double>> RandomMotifCounts(const Network& network,
                                                   const SignificanceSettings& settings,
                                                   Progress& progress, RankGroup& group) {
  if (settings.passes < 0) throw std::invalid_argument("the number of swap passes is negative");
  const std::size_t count = static_cast<std::size_t>(std::max(settings.count, 0));
  const std::vector<MotifKind> kinds = Ordered(settings.kinds);
  const ItemRange block = RankBlock(count, group.rank(), group.size());
  const std::size_t share = block.last - block.first;
  // With several ranks each shows its own share (rank 0's is the one on screen).
  const auto countText = [&](std::size_t done) {
    return group.size() == 1 ? "Counted motifs of " + std::to_string(done) +
                                   " random networks out of " + std::to_string(count)
                             : "Counted motifs of " + std::to_string(done) + " of this rank's " +
                                   std::to_string(share) + " random networks";
  };
  std::atomic<std::size_t> counted{0};
  std::size_t shown = 0;
  const auto tick = [&] {
    for (const std::size_t now = counted.load(); shown < now;) {
      ++shown;
      progress.report(shown, group.size() == 1 ? count : share, countText(shown));
    }
  };
  const auto countOne = [&](std::size_t item, ParallelWorker& worker) {
    const int index = static_cast<int>(item) + 1;
    std::mt19937_64 random = NetworkRandom(settings.seed, index);
    // Read back as the shuffle command's files are, so the counts are those of its files.
    const Network randomNetwork = ReadSigText(
        SigRowsText(RandomNetworkRows(network, settings.randomKind, settings.passes, random)),
        ShuffledFileName(settings.randomKind, index));
    BlobWriter out;
    std::vector<MotifResult> results;
    for (const MotifKind kind : kinds) {
      SilentProgress silent(worker);
      results.push_back(CountMotifs(randomNetwork, kind, silent, 1));
    }
    for (const double v : MotifCountRow(kinds, results)) out.f64(v);
    ++counted;
    worker.publish();
    return std::move(out.blob());
  };
  const unsigned threads = std::clamp<unsigned>(
      ResolveThreads(settings.threads), 1, static_cast<unsigned>(std::max<std::size_t>(share, 1)));
  const std::vector<std::string> blobs =
      DistributedFor(group, 0, count, threads, progress, countOne, {.itemDone = {}, .tick = tick});
  std::vector<std::vector<double>> rows;
  rows.reserve(blobs.size());
  for (const std::string& blob : blobs) {
    BlobReader in(blob);
    std::vector<double>& row = rows.emplace_back();
    while (!in.atEnd()) row.push_back(in.f64());
  }
  return rows;
}

std::vector<MotifSignificance> CompareMotifCounts(const std::vector<MotifKind>& kinds,
                                                  const std::vector<double>& networkCounts,
                                                  const std::vector<std::vector<double>>& random) {
  const std::vector<MotifCountEntry> entries = MotifCountEntries(kinds);
  std::vector<std::string> titles;
  for (const MotifCountEntry& e : entries) {
    titles.push_back(std::string(MotifKindName(e.kind)) + " " + e.sign);
  }
  const std::vector<ColumnComparison> columns = ShuffleComparison(titles, networkCounts, random);
  std::vector<MotifSignificance> rows;
  const double n = static_cast<double>(random.size());
  for (std::size_t c = 0; c < entries.size(); ++c) {
    MotifSignificance row{entries[c], columns[c]};
    const double observed = networkCounts.at(c);
    for (const std::vector<double>& r : random) {
      row.atLeast += r.at(c) >= observed;
      row.atMost += r.at(c) <= observed;
    }
    row.pAtLeast = (1 + static_cast<double>(row.atLeast)) / (n + 1);
    row.pAtMost = (1 + static_cast<double>(row.atMost)) / (n + 1);
    rows.push_back(std::move(row));
  }
  return rows;
}

std::string FormatP(double p) {
  std::ostringstream out;
  out << std::setprecision(4) << p;
  return out.str();
}

std::string SignificancePage(const SignificanceSettings& settings,
                             const std::vector<MotifSignificance>& rows,
                             const PageContext& context) {
  std::string page = "<html><body><p>Motif counts of the network against " +
                     std::to_string(settings.count) +
                     (settings.count == 1 ? " random network: " : " random networks: ") +
                     ShuffleKindWords(settings.randomKind);
  if (settings.randomKind == ShuffleKind::SwapTargets) {
    page += ", " + std::to_string(settings.passes) + (settings.passes == 1 ? " pass" : " passes") +
            " over the interactions";
  }
  page += "; seed " + std::to_string(settings.seed) +
          ". The p-values are the share of random networks whose count is at least (or at "
          "most) the network's, counting the network itself: (1 + k) / (N + 1).</p>\n";
  page +=
      "<table border=\"1\" cellpadding=\"3\"><tr><th>Kind</th><th>Sign</th><th>Network</th>"
      "<th>Mean</th><th>SD</th><th>z-score</th><th>p (random &ge; network)</th>"
      "<th>p (random &le; network)</th></tr>\n";
  for (const MotifSignificance& r : rows) {
    const ColumnComparison& c = r.comparison;
    page += "<tr><td><a href=\"" + std::string(MotifFileStem(r.entry.kind)) + ".htm\">" +
            std::string(MotifKindInfoOf(r.entry.kind).title) + "</a></td><td>" + r.entry.sign +
            "</td><td>" + FormatNumber(c.figures.value) + "</td><td>" + c.meanText() + "</td><td>" +
            c.sdText() + "</td><td>" + c.zText() + "</td><td>" + FormatP(r.pAtLeast) + "</td><td>" +
            FormatP(r.pAtMost) + "</td></tr>\n";
  }
  page += "</table></body></html>";
  return WithPageContext(std::move(page), context, "Motif significance");
}

}  // namespace tessel
