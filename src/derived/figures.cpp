#include "derived/figures.h"

#include <cmath>
#include <iomanip>
#include <sstream>

#include "analysis/metrics.h"
#include "motifs/motif_search.h"
#include "util/text.h"

namespace tessel {

namespace {

std::size_t CountEffect(const Network& network, std::string_view effect) {
  std::size_t n = 0;
  for (const Interaction& i : network.interactions()) n += i.effect == effect;
  return n;
}

bool IsRealColumn(std::string_view title) {
  return title == "CC" || title == "GC" || title == "CPL";
}

}  // namespace

std::vector<std::string> FigureTitles(const FigureColumns& columns) {
  std::vector<std::string> titles = {"interactions", "nodes", "positive links", "negative links",
                                     "neutral links"};
  if (columns.clustering) titles.insert(titles.end(), {"CC", "GC", "CPL"});
  titles.emplace_back("islands");
  if (columns.motifs34) {
    titles.insert(titles.end(), {"FBL3", "FBL4", "PFBL3", "PFBL4", "NFBL3", "NFBL4", "Scaffolds",
                                 "Bifans", "FFL3", "FFL4", "PFFL3", "PFFL4", "NFFL3", "NFFL4"});
  }
  if (columns.motifs5) titles.insert(titles.end(), {"FBL5", "PFBL5", "NFBL5"});
  return titles;
}

FigureRow ComputeFigures(const Network& network, const FigureColumns& columns, Progress& progress,
                         unsigned threads) {
  SilentProgress inner(progress);
  FigureRow row;
  auto& v = row.values;
  v.push_back(static_cast<double>(network.interactionCount()));
  v.push_back(static_cast<double>(network.moleculeCount()));
  v.push_back(static_cast<double>(CountEffect(network, "+")));
  v.push_back(static_cast<double>(CountEffect(network, "_")));
  v.push_back(static_cast<double>(CountEffect(network, "0")));
  if (columns.clustering) {
    v.push_back(ClusteringCoefficient(network));
    v.push_back(GridCoefficient(network));
    v.push_back(CharacteristicPathLength(network, inner).value);
  }
  ThrowIfCancelled(progress);
  v.push_back(static_cast<double>(FindIslands(network).count));
  // Only counts and hits are read, so the motifs themselves are not kept.
  const auto find = [&](MotifKind kind) { return CountMotifs(network, kind, inner, threads); };
  if (columns.motifs34) {
    const MotifResult fbl3 = find(MotifKind::FeedbackLoop3);
    const MotifResult fbl4 = find(MotifKind::FeedbackLoop4);
    const MotifResult scaffolds = find(MotifKind::Scaffold);
    const MotifResult bifans = find(MotifKind::Bifan);
    const MotifResult ffl3 = find(MotifKind::FeedforwardLoop3);
    const MotifResult ffl4 = find(MotifKind::FeedforwardLoop4);
    for (const double x :
         {fbl3.total(), fbl4.total(), fbl3.positive, fbl4.positive, fbl3.negative, fbl4.negative,
          scaffolds.total(), bifans.total(), ffl3.total(), ffl4.total(), ffl3.positive,
          ffl4.positive, ffl3.negative, ffl4.negative}) {
      v.push_back(x);
    }
    row.motifHits.assign(network.moleculeCount(), 0);
    for (const MotifResult* r : {&fbl3, &fbl4, &ffl3, &ffl4, &bifans}) {
      for (std::size_t k = 0; k < r->hits.size() && k < row.motifHits.size(); ++k) {
        row.motifHits[k] += r->hits[k];
      }
    }
  }
  if (columns.motifs5) {
    const MotifResult fbl5 = find(MotifKind::FeedbackLoop5);
    v.insert(v.end(), {static_cast<double>(fbl5.total()), static_cast<double>(fbl5.positive),
                       static_cast<double>(fbl5.negative)});
  }
  return row;
}

std::string FigureCell(std::string_view title, double value) {
  if (IsRealColumn(title)) return FormatNumber(value);
  return std::to_string(static_cast<long long>(std::llround(value)));
}

std::string FigureHeaderRow(std::string_view firstTitle, const std::vector<std::string>& titles) {
  std::string out = "<tr><td>";
  out += firstTitle;
  for (const std::string& t : titles) out += "</td><td>" + t;
  out += "</td></tr>\n";
  return out;
}

std::string FigureValueRow(std::string_view label, const std::vector<std::string>& titles,
                           const std::vector<double>& values) {
  std::string out = "<tr><td>";
  out += label;
  for (std::size_t k = 0; k < titles.size() && k < values.size(); ++k) {
    out += "</td><td>" + FigureCell(titles[k], values[k]);
  }
  out += "</td></tr>\n";
  return out;
}

Comparison Compare(double value, const std::vector<double>& randomValues) {
  Comparison c;
  c.value = value;
  const std::size_t n = randomValues.size();
  if (n == 0) return c;
  double sum = 0;
  for (const double x : randomValues) sum += x;
  c.mean = sum / static_cast<double>(n);
  if (n < 2) return c;
  double squares = 0;
  for (const double x : randomValues) squares += (x - c.mean) * (x - c.mean);
  c.sd = std::sqrt(squares / static_cast<double>(n - 1));
  if (c.sd > 0) {
    c.hasZ = true;
    c.z = (value - c.mean) / c.sd;
  }
  return c;
}

std::string FormatZ(double z) {
  const double rounded = std::round(z * 100) / 100;
  std::ostringstream out;
  // Adding 0.0 turns a negative zero into a positive one.
  out << std::fixed << std::setprecision(2) << rounded + 0.0;
  return out.str();
}

}  // namespace tessel
