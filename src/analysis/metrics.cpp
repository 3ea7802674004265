#include "analysis/metrics.h"

#include "util/parallel.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace tessel {
namespace {

// The undirected neighbour graph with 0-based vertex indices (molecule id - 1), in one
// contiguous array so that the traversals below touch memory in order.
struct CompactGraph {
  std::vector<std::size_t> start;  // vertex v owns adjacency[start[v] .. start[v+1])
  std::vector<std::uint32_t> adjacency;

  std::size_t size() const { return start.size() - 1; }
  std::size_t degree(std::size_t v) const { return start[v + 1] - start[v]; }
  std::span<const std::uint32_t> neighbours(std::size_t v) const {
    return {adjacency.data() + start[v], adjacency.data() + start[v + 1]};
  }
};

CompactGraph Compact(const Network& network) {
  const std::size_t n = network.moleculeCount();
  CompactGraph g;
  g.start.resize(n + 1);
  g.start[0] = 0;
  for (std::size_t v = 0; v < n; ++v) {
    g.start[v + 1] = g.start[v] + network.linkCount(static_cast<MoleculeId>(v + 1));
  }
  g.adjacency.reserve(g.start[n]);
  for (std::size_t v = 0; v < n; ++v) {
    for (const MoleculeId u : network.neighbours(static_cast<MoleculeId>(v + 1))) {
      g.adjacency.push_back(u - 1);
    }
  }
  return g;
}

// The island of every vertex, by breadth-first search from each vertex not yet labelled,
// in vertex order.
struct IslandLabels {
  std::vector<std::uint32_t> of;   // label of each vertex
  std::vector<std::size_t> sizes;  // molecule count of each island, by label
  std::uint32_t largest = 0;       // the largest island; ties go to the one found first
  // Every vertex, island after island, each island in breadth-first order from its root.
  std::vector<std::uint32_t> order;
};

IslandLabels LabelIslands(const CompactGraph& g) {
  const std::size_t n = g.size();
  constexpr auto kNone = static_cast<std::uint32_t>(-1);
  IslandLabels labels;
  labels.of.assign(n, kNone);
  std::vector<std::uint32_t>& queue = labels.order;
  queue.reserve(n);
  for (std::size_t root = 0; root < n; ++root) {
    if (labels.of[root] != kNone) continue;
    const auto label = static_cast<std::uint32_t>(labels.sizes.size());
    const std::size_t islandStart = queue.size();
    queue.push_back(static_cast<std::uint32_t>(root));
    labels.of[root] = label;
    for (std::size_t head = islandStart; head < queue.size(); ++head) {
      for (const std::uint32_t u : g.neighbours(queue[head])) {
        if (labels.of[u] != kNone) continue;
        labels.of[u] = label;
        queue.push_back(u);
      }
    }
    const std::size_t size = queue.size() - islandStart;
    labels.sizes.push_back(size);
    if (size > labels.sizes[labels.largest]) labels.largest = label;
  }
  return labels;
}

// Counts strings in order of first appearance.
class Tally {
 public:
  void add(std::string_view value) {
    const auto [it, inserted] = index_.try_emplace(value, result_.values.size());
    if (inserted) {
      result_.values.emplace_back(std::string(value), 1);
    } else {
      ++result_.values[it->second].second;
    }
  }
  ValueTally take() { return std::move(result_); }

 private:
  // Keys view the network's strings, which outlive the tally.
  std::unordered_map<std::string_view, std::size_t> index_;
  ValueTally result_;
};

template <typename Field>
ValueTally TallyMolecules(const Network& network, Field field) {
  Tally tally;
  for (const MoleculeId id : network.displayOrder()) tally.add(field(network.molecule(id)));
  return tally.take();
}

template <typename Field>
ValueTally TallyInteractions(const Network& network, Field field) {
  Tally tally;
  for (const Interaction& i : network.interactions()) tally.add(field(i));
  return tally.take();
}

void AddToHistogram(std::vector<std::size_t>& histogram, std::size_t count) {
  if (count == 0) return;
  if (histogram.size() < count) histogram.resize(count, 0);
  ++histogram[count - 1];
}

// Mean of per-molecule values over all molecules; 0 for an empty network.
double Mean(const std::vector<double>& values) {
  if (values.empty()) return 0;
  double sum = 0;
  for (const double v : values) sum += v;
  return sum / static_cast<double>(values.size());
}

// k(k-1)(k-2)/2 + S k(k-1)/2, the number of paths v-a-b of two links through a
// neighbour a that a square through v could close. Both terms are whole numbers, so the
// sum is k(k-1)/2 * (k-2+S). Formed in 64-bit integers; should even that overflow (a hub
// of millions of links), the product is formed in doubles instead.
double GridDenominator(std::uint64_t k, std::uint64_t s) {
  if (k < 2) return 0;
  const std::uint64_t pairs = k * (k - 1) / 2;
  const std::uint64_t paths = k - 2 + s;
  std::uint64_t product = 0;
  if (__builtin_mul_overflow(pairs, paths, &product)) {
    return static_cast<double>(pairs) * static_cast<double>(paths);
  }
  return static_cast<double>(product);
}

// Runs body(from, to, worker) over blocks of consecutive vertices on `threads` threads
// (0: one per core); `worker` (below the resolved thread count) selects scratch space.
// Each vertex's value is written by one block alone, so the values do not depend on the
// thread count.
template <typename Body>
void ForEachVertexBlock(std::size_t n, unsigned threads, const Body& body) {
  constexpr std::size_t kBlock = 2048;
  NullProgress quiet;
  ParallelFor((n + kBlock - 1) / kBlock, threads, quiet,
              [&](std::size_t block, ParallelWorker& worker) {
                const std::size_t from = block * kBlock;
                body(from, std::min(n, from + kBlock), worker.index());
              });
}

constexpr std::string_view kPathLengthTask = "Characteristic path length";

// The graph renumbered island by island, each island in breadth-first order from its
// lowest vertex, so that the sources of a pass of the search below share few islands and
// a pass touches one contiguous stretch of the buffers.
struct IslandOrderedGraph {
  CompactGraph graph;
  std::vector<std::uint32_t> original;  // original index of each new index
  // Island i owns the new indices [islandStart[i], islandStart[i + 1]).
  std::vector<std::size_t> islandStart;
  std::vector<std::uint32_t> islandOf;  // island of each new index
};

IslandOrderedGraph OrderByIslands(const CompactGraph& g, const IslandLabels& labels) {
  const std::size_t n = g.size();
  IslandOrderedGraph r;
  r.islandStart.assign(labels.sizes.size() + 1, 0);
  for (std::size_t i = 0; i < labels.sizes.size(); ++i) {
    r.islandStart[i + 1] = r.islandStart[i] + labels.sizes[i];
  }
  // Within an island, the breadth-first order of the labelling.
  r.original.resize(n);
  std::vector<std::uint32_t> renumbered(n);
  std::vector<std::size_t> fill(r.islandStart.begin(), r.islandStart.end() - 1);
  for (const std::uint32_t v : labels.order) {
    const std::size_t at = fill[labels.of[v]]++;
    r.original[at] = v;
    renumbered[v] = static_cast<std::uint32_t>(at);
  }
  r.islandOf.resize(n);
  r.graph.start.resize(n + 1);
  r.graph.start[0] = 0;
  r.graph.adjacency.reserve(g.adjacency.size());
  for (std::size_t at = 0; at < n; ++at) {
    const std::uint32_t v = r.original[at];
    r.islandOf[at] = labels.of[v];
    for (const std::uint32_t u : g.neighbours(v)) r.graph.adjacency.push_back(renumbered[u]);
    r.graph.start[at + 1] = r.graph.adjacency.size();
  }
  return r;
}

// The sources of one pass of the search below: bit j of a vertex's mask stands for the
// pass's source j. Two 128-bit vectors (SSE2, part of every x86-64 processor), so that one
// walk over the links serves 256 sources; two halves rather than one 256-bit vector,
// which the default target would keep in memory instead of registers.
constexpr std::size_t kSourcesPerPass = 256;
using MaskHalf = std::uint64_t __attribute__((vector_size(16)));
struct SourceMask {
  MaskHalf low{}, high{};
  SourceMask& operator|=(const SourceMask& m) {
    low |= m.low;
    high |= m.high;
    return *this;
  }
  SourceMask operator&(const SourceMask& m) const { return {low & m.low, high & m.high}; }
  SourceMask operator~() const { return {~low, ~high}; }
  // Sets bit j (0 to 255).
  void set(std::size_t j) {
    const std::uint64_t bit = std::uint64_t{1} << (j % 64);
    MaskHalf& half = j < 128 ? low : high;
    half[(j / 64) % 2] |= bit;
  }
};

inline bool Any(const SourceMask& m) {
  const MaskHalf x = m.low | m.high;
  return (x[0] | x[1]) != 0;
}
inline std::uint64_t Count(const SourceMask& m) {
  return static_cast<std::uint64_t>(std::popcount(m.low[0]) + std::popcount(m.low[1]) +
                                    std::popcount(m.high[0]) + std::popcount(m.high[1]));
}

// Buffers of one thread of the search; the masks are zero outside the pass being run.
struct SearchScratch {
  std::vector<SourceMask> seen, frontier, next;
  std::vector<std::uint64_t> sums;
  std::vector<std::uint32_t> current, upcoming;
  void allocate(std::size_t n) {
    if (!sums.empty() || n == 0) return;
    seen.assign(n, SourceMask{});
    frontier.assign(n, SourceMask{});
    next.assign(n, SourceMask{});
    sums.assign(n, 0);
    current.reserve(n);
    upcoming.reserve(n);
  }
};

// One pass of the breadth-first search from the up to 256 sources [first, first + count)
// at once. `seen` holds the sources that have reached a vertex, `frontier` those that
// reached it at the previous depth, `next` those reaching it now. Distances are
// symmetric, so adding depth * (sources newly reaching v) to v's own sum gives, over all
// passes, the sum of the distances from v.
//
// A level is built top-down (from the frontier's links) while the frontier is small and
// bottom-up (every vertex of the pass's islands gathers its neighbours' frontier bits)
// once the frontier's links outnumber a quarter of the islands' links: bottom-up reads
// each link once, writes in order, and skips the vertices every source has reached.
//
// Always inlined into the two entry points below, one of them compiled for the popcnt
// instruction, which the default x86-64 target lacks.
[[gnu::always_inline]] inline void SearchPass(const IslandOrderedGraph& og, std::size_t first,
                                              std::size_t count, SearchScratch& s,
                                              const Progress& progress) {
  const CompactGraph& g = og.graph;
  const std::size_t lo = og.islandStart[og.islandOf[first]];
  const std::size_t hi = og.islandStart[og.islandOf[first + count - 1] + 1];
  const std::size_t rangeLinks = g.start[hi] - g.start[lo];
  SourceMask* const seen = s.seen.data();
  SourceMask* const frontier = s.frontier.data();
  SourceMask* const next = s.next.data();
  std::uint64_t* const sums = s.sums.data();
  const std::uint32_t* const adjacency = g.adjacency.data();
  const std::size_t* const start = g.start.data();

  SourceMask all{};
  s.current.clear();
  std::size_t frontierLinks = 0;
  for (std::size_t j = 0; j < count; ++j) {
    all.set(j);
    seen[first + j].set(j);
    frontier[first + j].set(j);
    s.current.push_back(static_cast<std::uint32_t>(first + j));
    frontierLinks += g.degree(first + j);
  }
  for (std::uint64_t depth = 1; !s.current.empty(); ++depth) {
    // Long chains give many shallow levels: stay responsive to cancellation.
    if (depth % 1024 == 0) ThrowIfCancelled(progress);
    s.upcoming.clear();
    if (frontierLinks * 4 > rangeLinks) {
      for (std::size_t v = lo; v < hi; ++v) {
        const SourceMask missing = all & ~seen[v];
        if (!Any(missing)) continue;
        SourceMask reaching{};
        for (std::size_t e = start[v], end = start[v + 1]; e < end; ++e) {
          reaching |= frontier[adjacency[e]];
        }
        const SourceMask fresh = reaching & missing;
        if (!Any(fresh)) continue;
        next[v] = fresh;
        s.upcoming.push_back(static_cast<std::uint32_t>(v));
      }
    } else {
      for (const std::uint32_t u : s.current) {
        const SourceMask reaching = frontier[u];
        for (std::size_t e = start[u], end = start[u + 1]; e < end; ++e) {
          const std::uint32_t v = adjacency[e];
          const SourceMask fresh = reaching & ~seen[v];
          if (!Any(fresh)) continue;
          if (!Any(next[v])) s.upcoming.push_back(v);
          next[v] |= fresh;
        }
      }
    }
    for (const std::uint32_t u : s.current) frontier[u] = SourceMask{};
    frontierLinks = 0;
    for (const std::uint32_t v : s.upcoming) {
      const SourceMask reached = next[v];
      next[v] = SourceMask{};
      seen[v] |= reached;
      frontier[v] = reached;
      sums[v] += depth * Count(reached);
      frontierLinks += start[v + 1] - start[v];
    }
    std::swap(s.current, s.upcoming);
  }
  // Only the islands of this pass were touched.
  std::fill(seen + lo, seen + hi, SourceMask{});
}

[[gnu::target("popcnt")]] void SearchPassWithPopcnt(const IslandOrderedGraph& og, std::size_t first,
                                                    std::size_t count, SearchScratch& s,
                                                    const Progress& progress) {
  SearchPass(og, first, count, s, progress);
}

void SearchPassPortable(const IslandOrderedGraph& og, std::size_t first, std::size_t count,
                        SearchScratch& s, const Progress& progress) {
  SearchPass(og, first, count, s, progress);
}

// For each vertex, the sum of its shortest-path distances to every vertex it can reach.
std::vector<std::uint64_t> DistanceSumsOf(const CompactGraph& g, const IslandLabels& labels,
                                          Progress& progress, unsigned threads) {
  const std::size_t n = g.size();
  const IslandOrderedGraph og = OrderByIslands(g, labels);
  const std::size_t passes = (n + kSourcesPerPass - 1) / kSourcesPerPass;
  const bool popcnt = __builtin_cpu_supports("popcnt");
  // Each thread keeps buffers over all vertices: on many cores and a huge network, fewer
  // threads keep them within a budget.
  constexpr std::size_t kScratchBudget = std::size_t{2} << 30;
  const std::size_t perThread =
      std::max<std::size_t>(1, n * (3 * sizeof(SourceMask) + sizeof(std::uint64_t)));
  threads = static_cast<unsigned>(
      std::clamp<std::size_t>(kScratchBudget / perThread, 1, ResolveThreads(threads)));
  std::vector<SearchScratch> scratch(threads);
  progress.report(0, passes, kPathLengthTask);
  ParallelHooks hooks;
  hooks.itemDone = [&](std::size_t, std::size_t finished) {
    progress.report(finished, passes, kPathLengthTask);
  };
  ParallelFor(
      passes, threads, progress,
      [&](std::size_t pass, ParallelWorker& worker) {
        SearchScratch& s = scratch[worker.index()];
        s.allocate(n);
        const std::size_t first = pass * kSourcesPerPass;
        const std::size_t count = std::min(kSourcesPerPass, n - first);
        if (popcnt) {
          SearchPassWithPopcnt(og, first, count, s, worker);
        } else {
          SearchPassPortable(og, first, count, s, worker);
        }
      },
      hooks);
  // Integer sums: the same whatever the order in which the passes ran.
  std::vector<std::uint64_t> sums(n, 0);
  for (const SearchScratch& s : scratch) {
    if (s.sums.empty()) continue;
    for (std::size_t at = 0; at < n; ++at) sums[og.original[at]] += s.sums[at];
  }
  return sums;
}

}  // namespace

ValueTally TallyMoleculeTypes(const Network& network) {
  return TallyMolecules(network,
                        [](const Molecule& m) -> const std::string& { return m.moleculeType; });
}

ValueTally TallyLocations(const Network& network) {
  return TallyMolecules(network,
                        [](const Molecule& m) -> const std::string& { return m.location; });
}

ValueTally TallyEffects(const Network& network) {
  return TallyInteractions(network,
                           [](const Interaction& i) -> const std::string& { return i.effect; });
}

ValueTally TallyInteractionTypes(const Network& network) {
  return TallyInteractions(
      network, [](const Interaction& i) -> const std::string& { return i.interactionType; });
}

ConnectivityDistribution ComputeConnectivityDistribution(const Network& network) {
  ConnectivityDistribution d;
  for (const Molecule& m : network.molecules()) {
    AddToHistogram(d.links, network.linkCount(m.id));
    AddToHistogram(d.in, static_cast<std::size_t>(std::max(m.links.inLinks, 0)));
    AddToHistogram(d.out, static_cast<std::size_t>(std::max(m.links.outLinks, 0)));
  }
  return d;
}

std::size_t CountReferences(const Network& network) {
  std::unordered_set<PubmedId> seen;
  for (const Interaction& i : network.interactions())
    seen.insert(i.pubmedIds.begin(), i.pubmedIds.end());
  return seen.size();
}

double AverageLinksPerNode(const Network& network) {
  const std::size_t n = network.moleculeCount();
  if (n == 0) return 0;
  std::size_t links = 0;
  for (std::size_t v = 1; v <= n; ++v) links += network.linkCount(static_cast<MoleculeId>(v));
  return static_cast<double>(links) / static_cast<double>(n);
}

double ClusteringCoefficient(const Network& network, std::vector<double>* perMolecule,
                             unsigned threads) {
  const CompactGraph g = Compact(network);
  const std::size_t n = g.size();
  std::vector<double> values(n, 0.0);
  // Per thread: mark[u] == v + 1 when u is a neighbour of the molecule v being looked at.
  std::vector<std::vector<std::size_t>> marks(ResolveThreads(threads));
  ForEachVertexBlock(n, threads, [&](std::size_t from, std::size_t to, unsigned worker) {
    std::vector<std::size_t>& mark = marks[worker];
    if (mark.empty()) mark.assign(n, 0);
    for (std::size_t v = from; v < to; ++v) {
      const std::size_t k = g.degree(v);
      if (k < 2) continue;
      for (const std::uint32_t a : g.neighbours(v)) mark[a] = v + 1;
      // Every link between two neighbours is met once from each end.
      std::size_t ends = 0;
      for (const std::uint32_t a : g.neighbours(v)) {
        for (const std::uint32_t b : g.neighbours(a)) {
          if (mark[b] == v + 1) ++ends;
        }
      }
      const std::size_t links = ends / 2;
      if (links > 0) {
        values[v] = static_cast<double>(links) /
                    (static_cast<double>(k) * static_cast<double>(k - 1) / 2.0);
      }
    }
  });
  const double mean = Mean(values);
  if (perMolecule) *perMolecule = std::move(values);
  return mean;
}

double GridCoefficient(const Network& network, std::vector<double>* perMolecule, unsigned threads) {
  const CompactGraph g = Compact(network);
  const std::size_t n = g.size();
  std::vector<double> values(n, 0.0);
  struct Scratch {
    // shared[b] = number of neighbours of v that are also neighbours of b (b != v).
    std::vector<std::uint32_t> shared;
    std::vector<std::uint32_t> touched;
  };
  std::vector<Scratch> scratch(ResolveThreads(threads));
  ForEachVertexBlock(n, threads, [&](std::size_t from, std::size_t to, unsigned worker) {
    std::vector<std::uint32_t>& shared = scratch[worker].shared;
    std::vector<std::uint32_t>& touched = scratch[worker].touched;
    if (shared.empty()) shared.assign(n, 0);
    for (std::size_t v = from; v < to; ++v) {
      const std::size_t k = g.degree(v);
      if (k < 2) continue;
      std::uint64_t s = 0;
      touched.clear();
      for (const std::uint32_t a : g.neighbours(v)) {
        s += g.degree(a) - 1;
        for (const std::uint32_t b : g.neighbours(a)) {
          if (b == v) continue;
          if (shared[b]++ == 0) touched.push_back(b);
        }
      }
      // Each square v-a-b-c-v is an ordered choice of two distinct common neighbours a, c
      // of v and b, so it is met twice (once per direction round the square).
      std::uint64_t squares = 0;
      for (const std::uint32_t b : touched) {
        const std::uint64_t p = shared[b];
        squares += p * (p - 1);
        shared[b] = 0;
      }
      const double denominator = GridDenominator(k, s);
      if (denominator > 0) values[v] = (static_cast<double>(squares) / 2.0) / denominator;
    }
  });
  const double mean = Mean(values);
  if (perMolecule) *perMolecule = std::move(values);
  return mean;
}

Islands FindIslands(const Network& network) {
  const IslandLabels labels = LabelIslands(Compact(network));
  Islands result;
  result.count = labels.sizes.size();
  if (result.count == 0) return result;
  result.largest.reserve(labels.sizes[labels.largest]);
  for (std::size_t v = 0; v < labels.of.size(); ++v) {
    if (labels.of[v] == labels.largest) result.largest.push_back(static_cast<MoleculeId>(v + 1));
  }
  return result;
}

std::vector<std::uint64_t> DistanceSums(const Network& network, Progress& progress,
                                        unsigned threads) {
  const CompactGraph g = Compact(network);
  return DistanceSumsOf(g, LabelIslands(g), progress, threads);
}

PathLength CharacteristicPathLength(const Network& network, Progress& progress, unsigned threads) {
  PathLength result;
  const CompactGraph g = Compact(network);
  const std::size_t n = g.size();
  if (n == 0) return result;
  const IslandLabels islands = LabelIslands(g);
  // Searches never leave the island they start in, so the sums are each molecule's sum
  // over its own island.
  const std::vector<std::uint64_t> sums =
      n >= 2 ? DistanceSumsOf(g, islands, progress, threads) : std::vector<std::uint64_t>(n, 0);
  result.islandPerMolecule.resize(n, 0.0);
  double largestTotal = 0;
  for (std::size_t v = 0; v < n; ++v) {
    const std::size_t size = islands.sizes[islands.of[v]];
    if (size < 2) continue;
    result.islandPerMolecule[v] = static_cast<double>(sums[v]) / static_cast<double>(size - 1);
    if (islands.of[v] == islands.largest) largestTotal += result.islandPerMolecule[v];
  }
  result.largestIslandSize = islands.sizes[islands.largest];
  if (result.largestIslandSize >= 2) {
    result.largestIsland = largestTotal / static_cast<double>(result.largestIslandSize - 1);
  }
  if (islands.sizes.size() == 1) {
    result.value = result.largestIsland;
    if (result.value > 0) result.perMolecule = result.islandPerMolecule;
  }
  return result;
}

std::vector<int> DistancesFrom(const Network& network, MoleculeId source) {
  const std::size_t n = network.moleculeCount();
  if (source == 0 || source > n) throw std::out_of_range("DistancesFrom: no such molecule");
  std::vector<int> distance(n, -1);
  std::vector<MoleculeId> queue;
  queue.reserve(n);
  queue.push_back(source);
  distance[source - 1] = 0;
  for (std::size_t head = 0; head < queue.size(); ++head) {
    const MoleculeId u = queue[head];
    for (const MoleculeId v : network.neighbours(u)) {
      if (distance[v - 1] >= 0) continue;
      distance[v - 1] = distance[u - 1] + 1;
      queue.push_back(v);
    }
  }
  return distance;
}

}  // namespace tessel
