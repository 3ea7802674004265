#include "synthetic.h"

#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <stdexcept>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "util/files.h"

namespace tessel::bench {
namespace {

using Rng = std::mt19937_64;

// The standard distributions differ between library implementations; these do not, so a
// seed gives the same network everywhere.
std::uint64_t Below(Rng& rng, std::uint64_t n) {
  const std::uint64_t threshold = (0 - n) % n;  // 2^64 mod n
  for (;;) {
    const std::uint64_t r = rng();
    if (r >= threshold) return r % n;
  }
}

double Unit(Rng& rng) {
  return static_cast<double>(rng() >> 11) * 0x1.0p-53;
}

template <typename T>
void Shuffle(std::vector<T>& v, Rng& rng) {
  for (std::size_t i = v.size(); i > 1; --i) std::swap(v[i - 1], v[Below(rng, i)]);
}

// Picks an index with probability proportional to its weight in constant time
// (Walker's alias method, Vose's construction).
class AliasTable {
 public:
  explicit AliasTable(const std::vector<double>& weights)
      : probability_(weights.size()), alias_(weights.size()) {
    const std::size_t n = weights.size();
    double total = 0;
    for (const double w : weights) total += w;
    std::vector<double> scaled(n);
    std::vector<std::uint32_t> small, large;
    for (std::size_t i = 0; i < n; ++i) {
      scaled[i] = weights[i] * static_cast<double>(n) / total;
      (scaled[i] < 1 ? small : large).push_back(static_cast<std::uint32_t>(i));
    }
    while (!small.empty() && !large.empty()) {
      const std::uint32_t s = small.back();
      small.pop_back();
      const std::uint32_t l = large.back();
      probability_[s] = scaled[s];
      alias_[s] = l;
      scaled[l] -= 1 - scaled[s];
      if (scaled[l] < 1) {
        large.pop_back();
        small.push_back(l);
      }
    }
    for (const std::uint32_t i : large) probability_[i] = 1;
    for (const std::uint32_t i : small) probability_[i] = 1;  // rounding leftovers
  }

  std::uint32_t operator()(Rng& rng) const {
    const auto i = static_cast<std::uint32_t>(Below(rng, probability_.size()));
    return Unit(rng) < probability_[i] ? i : alias_[i];
  }

 private:
  std::vector<double> probability_;
  std::vector<std::uint32_t> alias_;
};

// Weighted sampling from a growing set (a Fenwick tree of weights by slot).
class GrowingSampler {
 public:
  explicit GrowingSampler(std::size_t n) : tree_(n + 1, 0.0) {
    while (top_ * 2 <= n) top_ *= 2;
  }
  void add(std::size_t slot, double weight) {
    total_ += weight;
    added_ = std::max(added_, slot + 1);
    for (std::size_t i = slot + 1; i < tree_.size(); i += i & (0 - i)) tree_[i] += weight;
  }
  // A slot with probability proportional to its weight; only slots added so far.
  std::size_t pick(Rng& rng) const {
    double target = Unit(rng) * total_;
    std::size_t pos = 0;
    for (std::size_t step = top_; step > 0; step /= 2) {
      if (pos + step < tree_.size() && tree_[pos + step] <= target) {
        pos += step;
        target -= tree_[pos];
      }
    }
    // `pos` slots have a weight sum at most `target`, so slot `pos` (0-based) is the one;
    // rounding can push it past the last slot added.
    return std::min(pos, added_ - 1);
  }

 private:
  std::vector<double> tree_;
  std::size_t top_ = 1;
  std::size_t added_ = 0;
  double total_ = 0;
};

// A set of ordered pairs, open addressing; key 0 never occurs (no self-pairs).
class PairSet {
 public:
  explicit PairSet(std::size_t expected) {
    std::size_t capacity = 16;
    while (capacity < expected * 2) capacity *= 2;
    slots_.assign(capacity, 0);
    mask_ = capacity - 1;
  }
  static std::uint64_t key(std::uint32_t s, std::uint32_t t) {
    return (static_cast<std::uint64_t>(s) << 32) | t;
  }
  bool contains(std::uint64_t k) const {
    for (std::size_t i = slot(k);; i = (i + 1) & mask_) {
      if (slots_[i] == k) return true;
      if (slots_[i] == 0) return false;
    }
  }
  // Returns false when the pair was already present.
  bool insert(std::uint64_t k) {
    for (std::size_t i = slot(k);; i = (i + 1) & mask_) {
      if (slots_[i] == k) return false;
      if (slots_[i] == 0) {
        slots_[i] = k;
        return true;
      }
    }
  }

 private:
  std::size_t slot(std::uint64_t k) const {
    return static_cast<std::size_t>((k * 0x9E3779B97F4A7C15ull) >> 20) & mask_;
  }
  std::vector<std::uint64_t> slots_;
  std::size_t mask_ = 0;
};

struct Kind {
  std::string_view type;
  double share;
  double outFactor;  // how much more often than average the molecule is a source
  double inFactor;   // ... a target
  std::array<std::pair<std::string_view, double>, 3> locations;
};

constexpr std::array<Kind, 7> kKinds{{
    {"Ligand", 0.08, 2.0, 0.2, {{{"Extracellular", 1.0}, {"", 0}, {"", 0}}}},
    {"Receptor", 0.12, 1.5, 1.0, {{{"Membrane", 1.0}, {"", 0}, {"", 0}}}},
    {"Kinase", 0.25, 1.5, 1.0, {{{"Cytosol", 0.8}, {"Membrane", 0.1}, {"Nucleus", 0.1}}}},
    {"Phosphatase", 0.06, 1.2, 0.6, {{{"Cytosol", 0.7}, {"Membrane", 0.15}, {"Nucleus", 0.15}}}},
    {"TF", 0.17, 0.5, 1.8, {{{"Nucleus", 0.9}, {"Cytosol", 0.1}, {"", 0}}}},
    {"Adapter", 0.20, 1.0, 1.0, {{{"Cytosol", 0.7}, {"Membrane", 0.3}, {"", 0}}}},
    {"GTPase", 0.12, 1.0, 1.0, {{{"Membrane", 0.6}, {"Cytosol", 0.4}, {"", 0}}}},
}};
constexpr std::size_t kKinase = 2, kPhosphatase = 3, kTF = 4, kGTPase = 6;

constexpr std::array<std::pair<std::string_view, double>, 7> kOtherInteractionTypes{{
    {"binding", 0.30},
    {"phosphorylation", 0.25},
    {"NA", 0.20},
    {"ubiquitination", 0.08},
    {"relocalization", 0.07},
    {"cleavage", 0.05},
    {"guanine_nucleotide_exchange_factor", 0.05},
}};

// Power-law tail of the expected degrees: weight of rank r is (r + 1)^-kExponent, which
// gives a degree distribution falling like k^-(1 + 1 / kExponent), about k^-2.7.
constexpr double kExponent = 0.6;

template <typename Table>
std::string_view PickWeighted(const Table& table, Rng& rng) {
  double u = Unit(rng);
  for (const auto& [value, share] : table) {
    if (u < share) return value;
    u -= share;
  }
  return table.front().first;
}

std::size_t PickKind(Rng& rng) {
  double u = Unit(rng);
  for (std::size_t k = 0; k + 1 < kKinds.size(); ++k) {
    if (u < kKinds[k].share) return k;
    u -= kKinds[k].share;
  }
  return kKinds.size() - 1;
}

std::string_view PickLocation(const Kind& kind, Rng& rng) {
  double u = Unit(rng);
  for (const auto& [location, share] : kind.locations) {
    if (share > 0 && u < share) return location;
    u -= share;
  }
  return kind.locations.front().first;
}

std::string_view PickEffect(Rng& rng) {
  const double u = Unit(rng);
  return u < 0.60 ? "+" : u < 0.85 ? "_" : "0";
}

std::string_view PickInteractionType(std::string_view effect, std::size_t sourceKind,
                                     std::size_t targetKind, Rng& rng) {
  const double u = Unit(rng);
  if (effect == "0") return u < 0.8 ? "binding" : "NA";
  if (sourceKind == kKinase && u < 0.7) return "phosphorylation";
  if (sourceKind == kPhosphatase && u < 0.7) return "dephosphorylation";
  if (sourceKind == kTF && u < 0.7) return "transcriptional_regulation";
  if (targetKind == kGTPase && u < 0.3) return "guanine_nucleotide_exchange_factor";
  return PickWeighted(kOtherInteractionTypes, rng);
}

void AppendNumber(std::string& out, std::uint64_t value) {
  char digits[24];
  const auto result = std::to_chars(digits, digits + sizeof digits, value);
  out.append(digits, result.ptr);
}

struct Edge {
  std::uint32_t source;
  std::uint32_t target;
};

// Chooses the interactions as distinct ordered pairs.
std::vector<Edge> ChooseEdges(const SyntheticOptions& o, const std::vector<double>& outWeight,
                              const std::vector<double>& inWeight, Rng& rng) {
  const auto n = static_cast<std::uint32_t>(o.molecules);
  std::vector<Edge> edges;
  edges.reserve(o.interactions);
  PairSet chosen(o.interactions);
  // Orients a link between a and b the way the molecules' roles make more likely.
  const auto orient = [&](std::uint32_t a, std::uint32_t b) -> Edge {
    const double ab = outWeight[a] * inWeight[b];
    const double ba = outWeight[b] * inWeight[a];
    return Unit(rng) * (ab + ba) < ab ? Edge{a, b} : Edge{b, a};
  };
  const auto add = [&](Edge e) {
    if (chosen.insert(PairSet::key(e.source, e.target))) edges.push_back(e);
  };

  std::vector<double> weight(n);
  for (std::uint32_t v = 0; v < n; ++v) weight[v] = outWeight[v] + inWeight[v];
  std::vector<std::uint32_t> order(n);
  for (std::uint32_t v = 0; v < n; ++v) order[v] = v;
  Shuffle(order, rng);

  if (o.connected) {
    // Random spanning tree: each molecule joins one already placed, chosen by weight, so
    // hubs gather many tree links as well.
    GrowingSampler placed(n);
    placed.add(0, weight[order[0]]);
    for (std::uint32_t k = 1; k < n; ++k) {
      const std::uint32_t parent = order[placed.pick(rng)];
      add(orient(parent, order[k]));
      placed.add(k, weight[order[k]]);
    }
  } else {
    // Every molecule gets at least one link. While the budget allows it the partner is
    // chosen by weight; when it gets tight two uncovered molecules are joined.
    const AliasTable partner(weight);
    std::vector<char> covered(n, 0);
    std::size_t uncovered = n;
    std::size_t next = 0;  // position in `order` of the next possibly uncovered molecule
    for (std::size_t k = 0; k < n; ++k) {
      const std::uint32_t v = order[k];
      if (covered[v]) continue;
      const std::size_t budget = o.interactions - edges.size();
      std::uint32_t u = v;
      if (budget >= uncovered) {
        while (u == v) u = partner(rng);
      } else {
        next = std::max(next, k + 1);
        while (covered[order[next]]) ++next;
        u = order[next];
      }
      add(orient(v, u));
      uncovered -= covered[u] ? 1 : 2;
      covered[v] = covered[u] = 1;
    }
  }

  const std::uint64_t ordered = static_cast<std::uint64_t>(n) * (n - 1);
  if (o.interactions * 2 > ordered) {
    // Dense: draw the rest uniformly from the unused pairs.
    std::vector<Edge> unused;
    for (std::uint32_t s = 0; s < n; ++s) {
      for (std::uint32_t t = 0; t < n; ++t) {
        if (s != t && !chosen.contains(PairSet::key(s, t))) unused.push_back({s, t});
      }
    }
    for (std::size_t i = 0; edges.size() < o.interactions; ++i) {
      std::swap(unused[i], unused[i + Below(rng, unused.size() - i)]);
      add(unused[i]);
    }
    return edges;
  }

  // Chung-Lu: source by out-weight, target by in-weight. Hub pairs fill up; after a run
  // of repeats the pair is drawn uniformly, which succeeds at least half the time.
  const AliasTable sources(outWeight);
  const AliasTable targets(inWeight);
  int misses = 0;
  while (edges.size() < o.interactions) {
    std::uint32_t s, t;
    if (misses < 32) {
      s = sources(rng);
      t = targets(rng);
    } else {
      s = static_cast<std::uint32_t>(Below(rng, n));
      t = static_cast<std::uint32_t>(Below(rng, n - 1));
      if (t >= s) ++t;
    }
    if (s != t && chosen.insert(PairSet::key(s, t))) {
      edges.push_back({s, t});
      misses = 0;
    } else {
      ++misses;
    }
  }
  return edges;
}

}  // namespace

void CheckSyntheticOptions(const SyntheticOptions& o) {
  const auto fail = [](const std::string& what) { throw std::invalid_argument(what); };
  if (o.molecules < 2) fail("at least 2 molecules are needed");
  if (o.molecules > std::numeric_limits<std::uint32_t>::max() - 1) fail("too many molecules");
  if (o.interactions < 1) fail("at least 1 interaction is needed");
  if (o.interactions > std::numeric_limits<std::uint32_t>::max() - 1) {
    fail("too many interactions");
  }
  const std::uint64_t n = o.molecules;
  if (o.interactions > n * (n - 1)) {
    fail(std::to_string(o.molecules) + " molecules allow at most " + std::to_string(n * (n - 1)) +
         " distinct interactions");
  }
  if (o.rows != 0 && o.rows < o.interactions) {
    fail("rows (" + std::to_string(o.rows) + ") must be at least the interactions (" +
         std::to_string(o.interactions) + ")");
  }
  if (o.connected && o.interactions < o.molecules - 1) {
    fail("a connected network of " + std::to_string(o.molecules) + " molecules needs at least " +
         std::to_string(o.molecules - 1) + " interactions");
  }
  if (o.interactions * 2 < o.molecules) {
    fail(std::to_string(o.interactions) + " interactions cannot link " +
         std::to_string(o.molecules) + " molecules");
  }
}

std::string GenerateSigText(const SyntheticOptions& options) {
  CheckSyntheticOptions(options);
  const std::size_t n = options.molecules;
  const std::size_t m = options.interactions;
  const std::size_t rows = options.rows == 0 ? m : options.rows;
  Rng rng(options.seed);

  // Molecules: kind, location, weights and the five SIG fields as one text block.
  std::vector<std::uint8_t> kind(n);
  std::vector<double> outWeight(n), inWeight(n);
  std::vector<std::uint32_t> rank(n);
  for (std::size_t v = 0; v < n; ++v) rank[v] = static_cast<std::uint32_t>(v);
  Shuffle(rank, rng);
  std::string blocks;
  std::vector<std::size_t> blockStart(n + 1, 0);
  blocks.reserve(n * 40);
  for (std::size_t v = 0; v < n; ++v) {
    kind[v] = static_cast<std::uint8_t>(PickKind(rng));
    const Kind& k = kKinds[kind[v]];
    const double base = std::pow(static_cast<double>(rank[v]) + 1, -kExponent);
    outWeight[v] = base * k.outFactor;
    inWeight[v] = base * k.inFactor;
    blocks.push_back('M');
    AppendNumber(blocks, v + 1);
    blocks.append(" P");
    AppendNumber(blocks, 100000 + v + 1);
    blocks.append(" NA ");
    blocks.append(k.type);
    blocks.push_back(' ');
    blocks.append(PickLocation(k, rng));
    blockStart[v + 1] = blocks.size();
  }
  const auto block = [&](std::uint32_t v) {
    return std::string_view(blocks).substr(blockStart[v], blockStart[v + 1] - blockStart[v]);
  };

  std::vector<Edge> edges = ChooseEdges(options, outWeight, inWeight, rng);
  Shuffle(edges, rng);  // file order unrelated to how the pairs were chosen

  // Rows per interaction: extra rows go to interactions in proportion to the rows they
  // already have, so a few interactions are backed by many papers.
  std::vector<std::uint32_t> rowCount(m, 1);
  if (rows > m) {
    std::vector<std::uint32_t> tickets(rows);
    for (std::uint32_t i = 0; i < m; ++i) tickets[i] = i;
    for (std::size_t r = m; r < rows; ++r) {
      tickets[r] = tickets[Below(rng, r)];
      ++rowCount[tickets[r]];
    }
  }

  // Papers: a pool about as large as the rows, so about two thirds of the rows cite a
  // paper of their own and the rest share one with other rows.
  const std::uint64_t papers = rows + 64;
  const std::uint64_t firstPaper = 10000000;  // eight digits, like recent PubMed ids
  std::vector<std::uint64_t> ids;
  std::unordered_set<std::uint64_t> idSet;

  std::string out;
  out.reserve(rows * (2 * blocks.size() / n + 48));
  for (const Edge& e : edges) {
    const std::string_view effect = PickEffect(rng);
    const std::string_view type = PickInteractionType(effect, kind[e.source], kind[e.target], rng);
    const std::uint32_t count = rowCount[&e - edges.data()];
    ids.clear();
    idSet.clear();
    while (ids.size() < count) {
      const std::uint64_t id = firstPaper + Below(rng, papers);
      const bool fresh =
          count > 16 ? idSet.insert(id).second : std::find(ids.begin(), ids.end(), id) == ids.end();
      if (fresh) ids.push_back(id);
    }
    for (const std::uint64_t id : ids) {
      out.append(block(e.source));
      out.push_back(' ');
      out.append(block(e.target));
      out.push_back(' ');
      out.append(effect);
      out.push_back(' ');
      out.append(type);
      out.push_back(' ');
      AppendNumber(out, id);
      out.push_back('\n');
    }
  }
  return out;
}

std::string SyntheticFileName(const SyntheticOptions& o) {
  std::string name = "synthetic-m" + std::to_string(o.molecules) + "-i" +
                     std::to_string(o.interactions) + "-r" +
                     std::to_string(o.rows == 0 ? o.interactions : o.rows);
  if (o.connected) name += "-c";
  return name + "-s" + std::to_string(o.seed) + ".sig";
}

std::filesystem::path EnsureSyntheticFile(const SyntheticOptions& options,
                                          const std::filesystem::path& folder) {
  const std::filesystem::path path = folder / SyntheticFileName(options);
  std::error_code ec;
  if (std::filesystem::is_regular_file(path, ec)) return path;
  CheckSyntheticOptions(options);
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("cannot start the network generator");
  if (child == 0) {
    int status = 0;
    try {
      WriteFileAtomically(path, GenerateSigText(options));
    } catch (...) {
      status = 1;
    }
    _exit(status);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw std::runtime_error("cannot generate " + path.string());
  }
  return path;
}

std::filesystem::path BenchDataFolder() {
  if (const char* dir = std::getenv("TESSEL_BENCH_DATA"); dir != nullptr && *dir != '\0') {
    return dir;
  }
  return std::filesystem::temp_directory_path() / "tessel-bench";
}

bool ResetPeakRss() {
  // Give memory freed earlier back to the system first, so that it does not count.
  malloc_trim(0);
  // Linux: writing 5 to clear_refs resets the peak (VmHWM, and with it ru_maxrss) to the
  // current resident size.
  std::FILE* f = std::fopen("/proc/self/clear_refs", "w");
  if (f == nullptr) return false;
  const bool ok = std::fputs("5", f) >= 0;
  return std::fclose(f) == 0 && ok;
}

std::size_t PeakRssBytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::size_t>(usage.ru_maxrss) * 1024;  // Linux reports kilobytes
}

}  // namespace tessel::bench
