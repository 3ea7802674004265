// Motif search.
//
// Feedback loops are directed cycles, searched from their smallest molecule s only: a walk
// from s along out-links to higher molecules, where the last two molecules must be among
// those marked beforehand as one and two links away from s. Out-links are sorted, so the
// loops from s come in the canonical order, and a set that closes several loops keeps the
// first, the one whose molecules come in the smallest order.
//
// Feedforward loops and bifans are made from their first molecule s as written (below):
// from s along its out-links, two-link paths from s grouped by where they end and closed
// by a marked link of s. Each written form of a set is made once, and the links among its
// molecules (a table per kind maps them to the set's first form) tell whether it is the
// one to keep. The forms kept from s are sorted; s goes through the molecules in order.
//
// Scaffolds are triangles of neutral links, searched for from one anchor only, the member
// ranked highest by (number of partners, id), and only through molecules ranked below the
// anchor, so that hubs are only crossed from the few anchors above them.
//
// A set can carry several instances of its kind (reciprocal links, several directed
// cycles on the same molecules). Every instance is written as a sequence of molecules in
// cyclic order with the interactions between neighbours, in a fixed pattern of directions
// per kind; the set keeps the instance whose (molecules, interactions) sequence is the
// smallest. Directions per kind, pair i joining molecules[i] and molecules[i + 1]:
//   feedback loop  every pair forward (molecules[i] -> molecules[i + 1])
//   FFL3           forward, forward, backward: S -> B -> A, closed by S -> A
//   FFL4           forward, forward, backward, backward: S -> A -> B <- C <- S, or
//                  forward, forward, forward, backward: S -> C -> B -> A <- S
//   bifan          forward, backward, forward, backward: S -> A <- B -> C <- S
//   scaffold       neutral links in either direction
// so feedforward loops start at their source and go forward along the longer path to the
// sink, and a bifan starts at a source.
#include "motifs/motif_search.h"

#include <algorithm>
#include <array>
#include <exception>
#include <limits>
#include <numeric>
#include <span>
#include <string>
#include <thread>
#include <utility>

#include "util/parallel.h"

namespace tessel {

namespace {

constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t kMaxSize = 5;

// A neighbour and the interaction that joins it.
struct Link {
  std::uint32_t node = 0;  // 0-based molecule index
  std::uint32_t interaction = 0;
  bool mutual = false;  // a signed link also runs the other way
};

// A partner without direction, with its rank (kept here to spare a look-up).
struct Partner {
  std::uint32_t node = 0;
  std::uint32_t interaction = 0;
  std::uint32_t rank = 0;
};

// Splits [0, count) into `parts` nearly equal ranges; returns range `part`.
std::pair<std::size_t, std::size_t> Slice(std::size_t count, unsigned parts, unsigned part) {
  return {count * part / parts, count * (part + 1) / parts};
}

// Compressed rows: the values of row r are values[start[r] .. start[r + 1]).
template <typename T>
class Rows {
 public:
  // Groups the (row, value) pairs held in member `entries` of each part by row (a
  // counting sort); each row keeps the order of its entries.
  template <typename Part, typename Entries>
  void assign(std::size_t rows, const std::vector<Part>& parts, Entries Part::*entries) {
    start_.assign(rows + 1, 0);
    std::size_t total = 0;
    for (const Part& p : parts) {
      for (const auto& e : p.*entries) ++start_[e.first + 1];
      total += (p.*entries).size();
    }
    std::partial_sum(start_.begin(), start_.end(), start_.begin());
    values_.resize(total);
    std::vector<std::size_t> fill(start_.begin(), start_.end() - 1);
    for (const Part& p : parts) {
      for (const auto& e : p.*entries) values_[fill[e.first]++] = e.second;
    }
  }
  // Applies fn(row, values of the row) to every row, the rows shared between `threads`
  // threads in ranges of about as many values each.
  template <typename Fn>
  void forRows(unsigned threads, const Fn& fn) {
    const std::size_t rows = start_.size() - 1;
    const auto boundary = [&](unsigned part) -> std::size_t {
      if (part == threads) return rows;
      const std::size_t target = values_.size() * part / threads;
      return static_cast<std::size_t>(std::lower_bound(start_.begin(), start_.end() - 1, target) -
                                      start_.begin());
    };
    OnThreads(threads, [&](unsigned t) {
      for (std::size_t r = boundary(t); r < boundary(t + 1); ++r) {
        fn(r, std::span<T>(values_.data() + start_[r], values_.data() + start_[r + 1]));
      }
    });
  }
  template <typename Less>
  void sortRows(unsigned threads, Less less) {
    forRows(threads,
            [&](std::size_t, std::span<T> row) { std::sort(row.begin(), row.end(), less); });
  }
  // Keeps, in each row, the first value of every run that `same` finds equal.
  template <typename Same>
  void uniqueRows(Same same) {
    std::size_t kept = 0;
    for (std::size_t r = 0; r + 1 < start_.size(); ++r) {
      const std::size_t first = start_[r], last = start_[r + 1];
      start_[r] = kept;
      for (std::size_t i = first; i < last; ++i) {
        if (kept == start_[r] || !same(values_[kept - 1], values_[i])) values_[kept++] = values_[i];
      }
    }
    start_.back() = kept;
    values_.resize(kept);
  }
  std::span<const T> operator[](std::uint32_t row) const {
    return {values_.data() + start_[row], values_.data() + start_[row + 1]};
  }
  std::size_t size(std::uint32_t row) const { return start_[row + 1] - start_[row]; }

 private:
  std::vector<std::size_t> start_;
  std::vector<T> values_;
};

// The links a kind may use, in the forms its search needs.
struct Graph {
  std::size_t n = 0;
  // Signed links, self-interactions left out, each row sorted by neighbour.
  Rows<Link> out;
  Rows<Link> in;
  // Partners without direction (signed links, or neutral links for scaffolds), each row
  // sorted by rank so that the partners ranked below a molecule form a prefix. For
  // neutral links the interaction is the lowest-numbered neutral one between the two.
  Rows<Partner> around;
  // Position of each molecule in the order by (number of partners, id).
  std::vector<std::uint32_t> rank;
  // Per interaction: its effect is "_" (counted for the sign).
  std::vector<std::uint8_t> negative;

  // The signed interaction from u to v, or kNone.
  std::uint32_t find(std::uint32_t u, std::uint32_t v) const {
    const auto row = out[u];
    const auto it = std::lower_bound(row.begin(), row.end(), v,
                                     [](const Link& l, std::uint32_t x) { return l.node < x; });
    return it != row.end() && it->node == v ? it->interaction : kNone;
  }
  // The links of a row that lead to molecules after `u` (rows are sorted by molecule).
  static std::span<const Link> after(std::span<const Link> row, std::uint32_t u) {
    return {
        std::partition_point(row.begin(), row.end(), [u](const Link& l) { return l.node <= u; }),
        row.end()};
  }
  // Partners of u ranked below `limit`.
  std::span<const Partner> below(std::uint32_t u, std::uint32_t limit) const {
    const auto row = around[u];
    const auto end = std::partition_point(row.begin(), row.end(),
                                          [&](const Partner& p) { return p.rank < limit; });
    return {row.begin(), end};
  }
};

// Signed kinds need the directed links only (`directed`); scaffolds need the partners
// ranked.
Graph BuildGraph(const Network& network, bool neutral, bool directed, unsigned threads) {
  Graph g;
  g.n = network.moleculeCount();
  const auto& interactions = network.interactions();
  g.negative.resize(interactions.size());
  // Each thread reads a share of the interactions.
  struct Share {
    std::vector<std::pair<std::uint32_t, Link>> out, in;
    std::vector<std::pair<std::uint32_t, Partner>> around;
  };
  std::vector<Share> shares(threads);
  OnThreads(threads, [&](unsigned part) {
    Share& share = shares[part];
    const auto [first, last] = Slice(interactions.size(), threads, part);
    for (std::size_t k = first; k < last; ++k) {
      const auto i = static_cast<std::uint32_t>(k);
      const Interaction& x = interactions[i];
      g.negative[i] = x.effect == "_";
      if (x.source == x.target || (x.effect == "0") != neutral) continue;
      const std::uint32_t s = x.source - 1;
      const std::uint32_t t = x.target - 1;
      if (!neutral) {
        share.out.push_back({s, {t, i}});
        share.in.push_back({t, {s, i}});
      }
      if (!directed) {
        share.around.push_back({s, {t, i, 0}});
        share.around.push_back({t, {s, i, 0}});
      }
    }
  });
  const auto byNode = [](const auto& a, const auto& b) {
    return std::tie(a.node, a.interaction) < std::tie(b.node, b.interaction);
  };
  g.out.assign(g.n, shares, &Share::out);
  g.out.sortRows(threads, byNode);
  g.in.assign(g.n, shares, &Share::in);
  g.in.sortRows(threads, byNode);
  g.out.forRows(threads, [&](std::size_t u, std::span<Link> row) {
    for (Link& l : row) l.mutual = g.find(l.node, static_cast<std::uint32_t>(u)) != kNone;
  });
  g.in.forRows(threads, [&](std::size_t u, std::span<Link> row) {
    for (Link& l : row) l.mutual = g.find(static_cast<std::uint32_t>(u), l.node) != kNone;
  });

  if (directed) return g;
  // One entry per partner, with the lowest interaction.
  g.around.assign(g.n, shares, &Share::around);
  shares.clear();
  g.around.sortRows(threads, byNode);
  g.around.uniqueRows([](const Partner& a, const Partner& b) { return a.node == b.node; });
  // Ranks by (number of partners, id): a counting sort by partners, ids in order.
  std::vector<std::uint32_t> first(g.n + 1, 0);
  for (std::uint32_t u = 0; u < g.n; ++u) ++first[g.around.size(u) + 1];
  std::partial_sum(first.begin(), first.end(), first.begin());
  g.rank.resize(g.n);
  for (std::uint32_t u = 0; u < g.n; ++u) g.rank[u] = first[g.around.size(u)]++;
  g.around.forRows(threads, [&](std::size_t, std::span<Partner> row) {
    for (Partner& p : row) p.rank = g.rank[p.node];
    std::sort(row.begin(), row.end(),
              [](const Partner& a, const Partner& b) { return a.rank < b.rank; });
  });
  return g;
}

// One motif as found: the kept instance of its set.
struct Found {
  std::array<std::uint32_t, kMaxSize> molecules{};  // 0-based, cyclic order
  std::array<std::uint32_t, kMaxSize> interactions{};
  std::int8_t sign = 0;
};

// Direction patterns: bit i set means pair i runs backward, from molecules[i + 1] to
// molecules[i].
constexpr std::array<std::uint8_t, 1> kFfl3Patterns = {0b100};
constexpr std::array<std::uint8_t, 2> kFfl4Patterns = {0b1100, 0b1000};
constexpr std::array<std::uint8_t, 1> kBifanPatterns = {0b1010};

struct KindTraits {
  std::size_t size;
  bool neutral;       // searches neutral links instead of signed ones
  bool directedLoop;  // feedback loop, found by a directed walk
  std::span<const std::uint8_t> patterns;
  std::string_view task;
  MotifKind kind = MotifKind::FeedbackLoop3;
};

KindTraits TraitsOfKind(MotifKind kind) {
  const std::size_t size = MotifSize(kind);
  switch (kind) {
    case MotifKind::FeedbackLoop3:
      return {size, false, true, {}, "Searching for feedback loops of 3"};
    case MotifKind::FeedbackLoop4:
      return {size, false, true, {}, "Searching for feedback loops of 4"};
    case MotifKind::FeedbackLoop5:
      return {size, false, true, {}, "Searching for feedback loops of 5"};
    case MotifKind::FeedforwardLoop3:
      return {size, false, false, kFfl3Patterns, "Searching for feedforward loops of 3"};
    case MotifKind::FeedforwardLoop4:
      return {size, false, false, kFfl4Patterns, "Searching for feedforward loops of 4"};
    case MotifKind::Bifan:
      return {size, false, false, kBifanPatterns, "Searching for bifans"};
    case MotifKind::Scaffold:
      return {size, true, false, {}, "Searching for scaffolds"};
  }
  return {size, false, true, {}, "Searching for motifs"};
}

KindTraits TraitsOf(MotifKind kind) {
  KindTraits traits = TraitsOfKind(kind);
  traits.kind = kind;
  return traits;
}

// For every pattern of links among a sorted set of K molecules (bit i * K + j: a signed
// link from the i-th to the j-th), the first ordering of the set, in increasing order of
// molecules, that fits a direction pattern of the kind, and which patterns fit it.
struct FirstForms {
  std::vector<std::array<std::uint8_t, 4>> orders;  // every ordering, in increasing order
  std::vector<std::uint8_t> order;                  // per link pattern: index into orders
  std::vector<std::uint8_t> fits;                   // per link pattern: bit p, pattern p fits
};

FirstForms MakeFirstForms(std::size_t k, std::span<const std::uint8_t> patterns) {
  FirstForms forms;
  if (patterns.empty() || k > 4) return forms;
  std::array<std::uint8_t, 4> perm = {0, 1, 2, 3};
  do {
    forms.orders.push_back(perm);
  } while (std::next_permutation(perm.begin(), perm.begin() + static_cast<std::ptrdiff_t>(k)));
  const std::size_t count = std::size_t{1} << (k * k);
  forms.order.assign(count, 0xff);
  forms.fits.assign(count, 0);
  for (std::size_t links = 0; links < count; ++links) {
    for (std::size_t o = 0; o < forms.orders.size() && forms.order[links] == 0xff; ++o) {
      const auto& order = forms.orders[o];
      for (std::size_t p = 0; p < patterns.size(); ++p) {
        bool fits = true;
        for (std::size_t i = 0; i < k && fits; ++i) {
          std::size_t x = order[i], y = order[(i + 1) % k];
          if ((patterns[p] >> i & 1) != 0) std::swap(x, y);
          fits = (links >> (x * k + y) & 1) != 0;
        }
        if (fits) {
          forms.order[links] = static_cast<std::uint8_t>(o);
          forms.fits[links] |= static_cast<std::uint8_t>(1u << p);
        }
      }
    }
  }
  return forms;
}

int SignOf(const Graph& g, std::span<const std::uint32_t> interactions) {
  int negatives = 0;
  for (const std::uint32_t i : interactions) negatives += g.negative[i];
  return negatives % 2 == 0 ? 1 : -1;
}

// The searches from one anchor at a time, with scratch space for one thread.
class Searcher {
 public:
  Searcher(const Graph& g, const KindTraits& traits, const FirstForms& forms)
      : g_(g),
        traits_(traits),
        forms_(forms),
        stamp_(g.n, 0),
        near_(g.n, 0),
        from_(g.n, 0),
        value_(g.n, 0),
        value2_(traits.patterns.empty() ? 0 : g.n, 0),
        inner_(traits.patterns.empty() ? 0 : g.n, 0) {}

  void search(std::uint32_t anchor) {
    if (traits_.directedLoop) {
      loopsFrom(anchor);
    } else if (traits_.neutral) {
      trianglesAt(anchor);
    } else {
      formsFrom(anchor);
    }
  }

  std::vector<Found>& found() { return found_; }

 private:
  // Marks a new generation of the per-molecule scratch arrays.
  void nextStamp() {
    if (++generation_ == 0) {
      std::fill(stamp_.begin(), stamp_.end(), 0);
      std::fill(near_.begin(), near_.end(), 0);
      std::fill(from_.begin(), from_.end(), 0);
      std::fill(inner_.begin(), inner_.end(), 0);
      generation_ = 1;
    }
  }

  // Feedback loops whose smallest molecule is `s`, walked from s along out-links to
  // higher molecules. The molecules after s that link to s (one step back) and those that
  // link to one of them (two steps back) are marked first: the last molecule of a loop
  // must be among the first and the one before it among the second. Rows are sorted by
  // molecule, so the loops from s come in increasing order of their molecules.
  void loopsFrom(std::uint32_t s) {
    const auto into = Graph::after(g_.in[s], s);
    if (into.empty()) return;
    nextStamp();
    for (const Link& l : into) {
      stamp_[l.node] = generation_;
      value_[l.node] = l.interaction;  // the link closing the loop
    }
    for (const Link& l : into) {
      for (const Link& m : Graph::after(g_.in[l.node], s)) near_[m.node] = generation_;
    }
    for (const Link& l : Graph::after(g_.out[s], s)) from_[l.node] = generation_;
    path_[0] = s;
    walk(s, 1);
  }

  // Chooses the molecule at loop position `j` among the successors of `u`.
  void walk(std::uint32_t u, std::size_t j) {
    const std::size_t left = traits_.size - j;  // links still to take after this one
    const std::uint32_t s = path_[0];
    for (const Link& l : Graph::after(g_.out[u], s)) {
      const std::uint32_t v = l.node;
      if ((left == 1 && stamp_[v] != generation_) || (left == 2 && near_[v] != generation_)) {
        continue;
      }
      if (std::find(path_.begin() + 1, path_.begin() + static_cast<std::ptrdiff_t>(j), v) !=
          path_.begin() + static_cast<std::ptrdiff_t>(j)) {
        continue;
      }
      path_[j] = v;
      links_[j - 1] = l.interaction;
      if (left == 1) {
        links_[j] = value_[v];
        keepLoop();
      } else {
        walk(v, j + 1);
      }
    }
  }

  // Keeps the loop in path_/links_ unless its molecules also close a loop in an order
  // that comes first (the walk meets that one first and kept it). A pair of molecules has
  // at most one interaction each way, so the order of the molecules decides.
  void keepLoop() {
    const std::size_t k = std::min(traits_.size, kMaxSize);
    // The other molecules in every order before the loop's own, smallest first. The
    // marks settle the links from and back to s; only the inner links are looked up.
    std::array<std::uint32_t, kMaxSize> order = path_;
    const auto last = order.begin() + static_cast<std::ptrdiff_t>(k);
    for (std::size_t i = 2; i < k; ++i) {  // insertion sort of the few molecules after s
      for (std::size_t j = i; j > 1 && order[j] < order[j - 1]; --j)
        std::swap(order[j], order[j - 1]);
    }
    const auto isOwn = [&] {
      for (std::size_t i = 1; i < k; ++i) {
        if (order[i] != path_[i]) return false;
      }
      return true;
    };
    for (; !isOwn(); std::next_permutation(order.begin() + 1, last)) {
      if (from_[order[1]] != generation_ || stamp_[order[k - 1]] != generation_ ||
          near_[order[k - 2]] != generation_) {
        continue;
      }
      bool closes = true;
      for (std::size_t i = 1; closes && i + 1 < k; ++i) {
        closes = g_.find(order[i], order[i + 1]) != kNone;
      }
      if (closes) return;
    }
    Found f;
    std::copy_n(path_.begin(), k, f.molecules.begin());
    std::copy_n(links_.begin(), k, f.interactions.begin());
    f.sign = static_cast<std::int8_t>(SignOf(g_, {f.interactions.data(), k}));
    found_.push_back(f);
  }

  // Triangles whose highest-ranked molecule is `m`: m, a partner a below it, and a
  // partner c of a below a that is also a partner of m.
  void trianglesAt(std::uint32_t m) {
    const auto low = g_.below(m, g_.rank[m]);
    if (low.size() < 2) return;
    nextStamp();
    for (const Partner& l : low) {
      stamp_[l.node] = generation_;
      value_[l.node] = l.interaction;
    }
    for (const Partner& a : low) {
      for (const Partner& c : g_.below(a.node, a.rank)) {
        if (stamp_[c.node] == generation_) keepScaffold(m, a, c);
      }
    }
  }

  // A scaffold is written from its smallest molecule upwards, with the lowest neutral
  // interaction of each pair (neutral links have no direction to choose from).
  void keepScaffold(std::uint32_t m, const Partner& a, const Partner& c) {
    std::array<std::uint32_t, 3> v = {m, a.node, c.node};
    std::sort(v.begin(), v.end());
    const auto joining = [&](std::uint32_t x, std::uint32_t y) {
      if (x == m || y == m) return value_[x == m ? y : x];
      return c.interaction;  // the pair (a, c)
    };
    Found f;
    for (std::size_t i = 0; i < 3; ++i) {
      f.molecules[i] = v[i];
      f.interactions[i] = joining(v[i], v[(i + 1) % 3]);
    }
    found_.push_back(f);
  }

  // Feedforward loops and bifans whose written form starts at `s`. The links out of s are
  // marked in stamp_ (with the interaction in value_) and those into s in from_, so that
  // every link touching s is an array look-up. Each written form with s first is made
  // once, and kept only when it is the first form of its molecule set; the forms kept
  // from s are then put in order.
  void formsFrom(std::uint32_t s) {
    const auto out = g_.out[s];
    if (out.size() < 2) return;  // every form leaves s by two links
    nextStamp();
    for (const Link& l : out) {
      stamp_[l.node] = generation_;
      value_[l.node] = l.interaction;
    }
    for (const Link& l : g_.in[s]) from_[l.node] = generation_;
    const std::size_t first = found_.size();
    if (traits_.kind == MotifKind::FeedforwardLoop3) {
      // s -> b -> a, closed by s -> a.
      for (const Link& b : out) {
        for (const Link& a : g_.out[b.node]) {
          if (stamp_[a.node] != generation_) continue;
          keepIfFirst<3>({s, b.node, a.node}, {b.interaction, a.interaction, value_[a.node]}, 0,
                         {1, a.mutual});
        }
      }
    } else {
      // Two-link paths from s grouped by their end b: s -> x -> b for feedforward loops,
      // s -> x <- b with b after s for bifans (the source written first is the smaller).
      const bool bifan = traits_.kind == MotifKind::Bifan;
      wedges_.clear();
      touched_.clear();
      for (const Link& x : out) {
        for (const Link& b : bifan ? g_.in[x.node] : g_.out[x.node]) {
          if (stamp_[b.node] == generation_) {  // a link between two successors of s
            inner_[x.node] = generation_;
            inner_[b.node] = generation_;
          }
          if (bifan ? b.node <= s : b.node == s) continue;
          if (near_[b.node] != generation_) {
            near_[b.node] = generation_;
            value2_[b.node] = kNone;
            touched_.push_back(b.node);
          }
          wedges_.push_back({x.node, x.interaction, b.interaction, value2_[b.node], b.mutual});
          value2_[b.node] = static_cast<std::uint32_t>(wedges_.size() - 1);
        }
      }
      for (const std::uint32_t b : touched_) {
        // Pairs of paths to b, the one through the smaller molecule written first:
        // s -> a -> b <- c <- s, or the bifan s -> a <- b -> c <- s.
        for (std::uint32_t i = value2_[b]; i != kNone; i = wedges_[i].next) {
          const Wedge& p = wedges_[i];
          for (std::uint32_t j = value2_[b]; j != kNone; j = wedges_[j].next) {
            const Wedge& q = wedges_[j];
            if (q.node <= p.node) continue;
            // Bifan s -> a <- b -> c <- s, or s -> a -> b <- c <- s.
            keepIfFirst<4>({s, p.node, b, q.node}, {p.first, p.second, q.second, q.first}, 0,
                           bifan ? Inner4{p.mutual, 2, 1, 1, 2, q.mutual}
                                 : Inner4{1, 2, p.mutual, q.mutual, 2, 1});
          }
        }
        if (bifan) continue;
        // s -> c -> b -> a, closed by s -> a.
        for (const Link& a : g_.out[b]) {
          if (stamp_[a.node] != generation_) continue;
          for (std::uint32_t j = value2_[b]; j != kNone; j = wedges_[j].next) {
            const Wedge& c = wedges_[j];
            if (c.node == a.node) continue;
            keepIfFirst<4>({s, c.node, b, a.node},
                           {c.first, c.second, a.interaction, value_[a.node]}, 1,
                           {1, 2, c.mutual, 1, 2, a.mutual});
          }
        }
      }
    }
    std::sort(found_.begin() + static_cast<std::ptrdiff_t>(first), found_.end(),
              [](const Found& a, const Found& b) { return a.molecules < b.molecules; });
  }

  // Keeps a form (molecules, interactions, direction pattern number `pattern` of the
  // kind) when it is the first form of its molecule set. The links among the set give
  // the first ordering of the set that fits a pattern; when the form is that ordering and
  // other patterns fit it too, the one with the smallest interactions wins. Links
  // touching s come from the marks; `inner` gives those among the other molecules
  // (pairs (1, 2), (1, 3), (2, 1), ... of positions): 0 none, 1 a link, 2 to be looked
  // up, which is needed only between two successors of s that have links among them.
  template <std::size_t K>
  void keepIfFirst(const std::array<std::uint32_t, K>& molecules,
                   const std::array<std::uint32_t, K>& interactions, std::size_t pattern,
                   const std::array<std::uint8_t, (K - 1) * (K - 2)>& inner) {
    std::array<std::array<bool, K>, K> link{};  // link[i][j]: molecules[i] -> molecules[j]
    for (std::size_t j = 1; j < K; ++j) {
      link[0][j] = stamp_[molecules[j]] == generation_;
      link[j][0] = from_[molecules[j]] == generation_;
    }
    std::size_t next = 0;
    for (std::size_t i = 1; i < K; ++i) {
      for (std::size_t j = 1; j < K; ++j) {
        if (i == j) continue;
        const std::uint8_t known = inner[next++];
        const std::uint32_t u = molecules[i], v = molecules[j];
        link[i][j] = known == 1 || (known == 2 && inner_[u] == generation_ &&
                                    inner_[v] == generation_ && g_.find(u, v) != kNone);
      }
    }
    std::array<std::uint8_t, K> rank{};  // positions in increasing order of molecules
    std::iota(rank.begin(), rank.end(), std::uint8_t{0});
    std::sort(rank.begin(), rank.end(),
              [&](std::uint8_t a, std::uint8_t b) { return molecules[a] < molecules[b]; });
    std::uint32_t links = 0;
    for (std::size_t i = 0; i < K; ++i) {
      for (std::size_t j = 0; j < K; ++j) {
        if (link[rank[i]][rank[j]]) links |= 1u << (i * K + j);
      }
    }
    const std::uint8_t order = forms_.order[links];
    const auto& perm = forms_.orders[order];
    for (std::size_t i = 0; i < K; ++i) {
      if (rank[perm[i]] != i) return;
    }
    const std::uint8_t others = forms_.fits[links] & ~(1u << pattern);
    for (std::size_t p = 0; p < traits_.patterns.size(); ++p) {
      if ((others >> p & 1) == 0) continue;
      std::array<std::uint32_t, K> used{};
      for (std::size_t i = 0; i < K; ++i) {
        const std::uint32_t x = molecules[i], y = molecules[(i + 1) % K];
        used[i] = (traits_.patterns[p] >> i & 1) != 0 ? g_.find(y, x) : g_.find(x, y);
      }
      if (used < interactions) return;
    }
    Found f;
    std::copy(molecules.begin(), molecules.end(), f.molecules.begin());
    std::copy(interactions.begin(), interactions.end(), f.interactions.begin());
    f.sign = static_cast<std::int8_t>(SignOf(g_, interactions));
    found_.push_back(f);
  }

  using Inner4 = std::array<std::uint8_t, 6>;

  // A two-link path from the start s to a molecule b: the middle molecule, the links from
  // s's side and from b's side, and the next path to the same b.
  struct Wedge {
    std::uint32_t node, first, second, next;
    bool mutual;  // the link between the middle molecule and b also runs the other way
  };

  const Graph& g_;
  const KindTraits& traits_;
  const FirstForms& forms_;
  std::vector<Found> found_;
  // Per-molecule scratch, valid where stamp_ equals generation_.
  std::vector<std::uint32_t> stamp_;
  std::uint32_t generation_ = 0;
  std::vector<std::uint32_t> near_;  // two steps from the start of a loop
  std::vector<std::uint32_t> from_;  // one step after the start of a loop
  std::vector<std::uint32_t> value_;
  std::vector<std::uint32_t> value2_;  // first path to each b, for forms from s
  std::vector<std::uint32_t> inner_;   // successors of s linked to another successor
  std::array<std::uint32_t, kMaxSize> path_{};
  std::array<std::uint32_t, kMaxSize> links_{};
  std::vector<Wedge> wedges_;
  std::vector<std::uint32_t> touched_;
};

}  // namespace

namespace {

constexpr MotifKindInfo kMotifKinds[] = {
    {MotifKind::FeedbackLoop3, "fbl3", "Feedback loops of size 3", 3, true, true},
    {MotifKind::FeedbackLoop4, "fbl4", "Feedback loops of size 4", 4, true, true},
    {MotifKind::FeedbackLoop5, "fbl5", "Feedback loops of size 5", 5, true, false},
    {MotifKind::FeedforwardLoop3, "ffl3", "Feedforward loops of size 3", 3, true, true},
    {MotifKind::FeedforwardLoop4, "ffl4", "Feedforward loops of size 4", 4, true, true},
    {MotifKind::Bifan, "bifan", "Bifans", 4, false, true},
    {MotifKind::Scaffold, "scaffold", "Scaffolds", 3, false, true},
};

// MotifKindInfoOf indexes the table by the kind's value.
constexpr bool InEnumOrder() {
  for (std::size_t k = 0; k < std::size(kMotifKinds); ++k) {
    if (static_cast<std::size_t>(kMotifKinds[k].kind) != k) return false;
  }
  return true;
}
static_assert(InEnumOrder() &&
              std::size(kMotifKinds) == static_cast<std::size_t>(MotifKind::Scaffold) + 1);
}  // namespace

std::span<const MotifKindInfo> MotifKinds() {
  return kMotifKinds;
}

const MotifKindInfo& MotifKindInfoOf(MotifKind kind) {
  return kMotifKinds[static_cast<std::size_t>(kind)];
}

std::vector<MotifKind> DefaultMotifKinds() {
  std::vector<MotifKind> kinds;
  for (const MotifKindInfo& info : kMotifKinds) {
    if (info.isDefault) kinds.push_back(info.kind);
  }
  return kinds;
}

std::string_view MotifKindName(MotifKind kind) {
  return MotifKindInfoOf(kind).name;
}

std::optional<MotifKind> ParseMotifKind(std::string_view name) {
  for (const MotifKindInfo& info : kMotifKinds) {
    if (info.name == name) return info.kind;
  }
  return std::nullopt;
}

std::size_t MotifSize(MotifKind kind) {
  return MotifKindInfoOf(kind).size;
}

bool MotifIsSigned(MotifKind kind) {
  return MotifKindInfoOf(kind).isSigned;
}

double EstimateMotifCount(const Network& network, MotifKind kind) {
  const std::size_t n = network.moleculeCount();
  const bool neutral = kind == MotifKind::Scaffold;
  const auto uses = [&](const Interaction& x) {
    return x.source != x.target && x.isNeutral() == neutral;
  };
  // A pair linked both ways is one partner pair, taken at its lower-to-higher link.
  const auto firstOfPair = [&](const Interaction& x) {
    const Interaction* back = network.findInteraction(x.target, x.source);
    return back == nullptr || !uses(*back) || x.source < x.target;
  };
  std::vector<double> out(n, 0), in(n, 0), around(n, 0);
  for (const Interaction& x : network.interactions()) {
    if (!uses(x)) continue;
    out[x.source - 1] += 1;
    in[x.target - 1] += 1;
    if (firstOfPair(x)) {
      around[x.source - 1] += 1;
      around[x.target - 1] += 1;
    }
  }
  const auto forEachLink = [&](const auto& fn) {
    for (const Interaction& x : network.interactions()) {
      if (uses(x)) fn(x.source - 1, x.target - 1);
    }
  };
  // Degree sums over the neighbours: inOut(v) adds the out-degrees of v's predecessors,
  // and so on. They bound the molecules two steps away.
  std::vector<double> inIn(n, 0), inOut(n, 0), outIn(n, 0), outOut(n, 0);
  forEachLink([&](std::size_t u, std::size_t v) {
    inIn[v] += in[u];
    inOut[v] += out[u];
    outIn[u] += in[v];
    outOut[u] += out[v];
  });
  double sum = 0;
  switch (kind) {
    case MotifKind::FeedbackLoop3:
      forEachLink([&](std::size_t u, std::size_t v) { sum += std::min(out[v], in[u]); });
      return sum / 3;
    case MotifKind::FeedbackLoop4:
      // a->b->c->d->a: a among the predecessors of b and a successor of d.
      forEachLink([&](std::size_t b, std::size_t c) {
        sum += std::min({in[b] * out[c], inIn[b], outOut[c]});
      });
      return sum / 4;
    case MotifKind::FeedbackLoop5: {
      std::vector<double> in2(n, 0), out2(n, 0);
      forEachLink([&](std::size_t b, std::size_t c) {
        in2[c] += in[b];
        out2[b] += out[c];
      });
      for (std::size_t c = 0; c < n; ++c) sum += in2[c] * out2[c];
      return sum / 5;
    }
    case MotifKind::FeedforwardLoop3:
      forEachLink([&](std::size_t b, std::size_t a) { sum += std::min(in[a], in[b]); });
      return sum;
    case MotifKind::FeedforwardLoop4:
      // S->A->B with S->C->B, at A->B; S->A with S->C->B->A, at C->B.
      forEachLink([&](std::size_t a, std::size_t b) {
        sum += std::min({in[a] * std::max(0.0, in[b] - 1), inOut[a], inIn[b]}) / 2 +
               std::min({in[a] * out[b], inOut[a], outIn[b]});
      });
      return sum;
    case MotifKind::Bifan:
      // S->A, S->C, B->A, B->C at S->A: C a successor of S, B a predecessor of A.
      forEachLink([&](std::size_t s, std::size_t a) {
        sum += std::min({std::max(0.0, in[a] - 1) * std::max(0.0, out[s] - 1), outIn[s], inOut[a]});
      });
      return sum / 4;
    case MotifKind::Scaffold:
      for (const Interaction& x : network.interactions()) {
        if (uses(x) && firstOfPair(x)) {
          sum += std::min(around[x.source - 1], around[x.target - 1]);
        }
      }
      return sum / 3;
  }
  return sum;
}

namespace {

// Searches one kind. With `keep` the result lists every motif in canonical order;
// without, each batch of anchors is tallied as soon as it is searched and its motifs
// dropped, so that only counts and hits are held.
MotifResult Search(const Network& network, MotifKind kind, Progress& progress, unsigned threads,
                   bool keep) {
  const KindTraits traits = TraitsOf(kind);
  const std::size_t n = network.moleculeCount();
  MotifResult result;
  result.kind = kind;
  result.hits.assign(n, 0);
  progress.report(0, n, traits.task);
  ThrowIfCancelled(progress);
  if (n == 0) return result;

  const std::size_t batchSize = std::clamp<std::size_t>(n / 256, 16, 1024);
  const std::size_t batches = (n + batchSize - 1) / batchSize;
  threads = static_cast<unsigned>(std::min<std::size_t>(ResolveThreads(threads), batches));

  const Graph g = BuildGraph(network, traits.neutral, !traits.neutral, threads);
  const FirstForms forms = MakeFirstForms(traits.size, traits.patterns);
  // Feedback loops are anchored at their smallest molecule, the other kinds at their
  // highest-ranked one; anchors from the highest rank down. Batch b takes every
  // batches-th anchor from b on, so that each batch mixes costly anchors (hubs) with
  // cheap ones and the load stays balanced between threads.
  std::vector<std::uint32_t> anchors(n);
  if (!traits.neutral) {
    std::iota(anchors.begin(), anchors.end(), 0u);
  } else {
    for (std::uint32_t u = 0; u < n; ++u) anchors[n - 1 - g.rank[u]] = u;
  }

  const std::size_t k = traits.size;
  const bool isSigned = MotifIsSigned(kind);
  std::vector<Searcher> searchers;
  searchers.reserve(threads);
  for (unsigned t = 0; t < threads; ++t) searchers.emplace_back(g, traits, forms);
  // Counts and hits of the motifs tallied by each thread (counting only).
  struct Tally {
    std::size_t total = 0, positive = 0, negative = 0;
    std::vector<std::uint32_t> hits;
  };
  std::vector<Tally> tallies(keep ? 0 : threads);
  for (Tally& t : tallies) t.hits.assign(n, 0);
  // Feedback loops come out of each anchor in canonical order, and the anchors are the
  // molecules in order: each batch keeps its loops and where each anchor's loops start,
  // and the batches are then read anchor by anchor, without sorting.
  const bool inOrder = keep && !traits.neutral;
  std::vector<std::vector<Found>> batchFound(inOrder ? batches : 0);
  std::vector<std::vector<std::size_t>> batchStarts(inOrder ? batches : 0);
  // Batch b holds the anchors b, b + batches, ...; the calling thread reports the anchors
  // of the batches finished so far.
  const auto anchorsIn = [&](std::size_t b) { return (n - b + batches - 1) / batches; };
  std::size_t done = 0;
  ParallelFor(batches, threads, progress,
              [&](std::size_t batch, ParallelWorker& worker) {
                Searcher& searcher = searchers[worker.index()];
                if (inOrder) {
                  std::vector<std::size_t>& starts = batchStarts[batch];
                  for (std::size_t i = batch; i < n; i += batches) {
                    starts.push_back(searcher.found().size());
                    searcher.search(anchors[i]);
                  }
                  starts.push_back(searcher.found().size());
                  batchFound[batch].swap(searcher.found());
                  searcher.found().clear();
                  return;
                }
                for (std::size_t i = batch; i < n; i += batches) searcher.search(anchors[i]);
                if (keep) return;
                // Every set is found from one anchor only: the batch's motifs are distinct
                // from all others.
                Tally& tally = tallies[worker.index()];
                for (const Found& f : searcher.found()) {
                  for (std::size_t i = 0; i < k; ++i) ++tally.hits[f.molecules[i]];
                  if (isSigned) ++(f.sign > 0 ? tally.positive : tally.negative);
                }
                tally.total += searcher.found().size();
                searcher.found().clear();
              },
              {.itemDone =
                   [&](std::size_t batch, std::size_t) {
                     done += anchorsIn(batch);
                     progress.report(done, n, traits.task);
                   },
               .tick = {}});

  if (!keep) {
    for (const Tally& t : tallies) {
      result.released += t.total;
      result.positive += t.positive;
      result.negative += t.negative;
      for (std::size_t u = 0; u < n; ++u) result.hits[u] += t.hits[u];
    }
    progress.report(n, n, traits.task);
    return result;
  }

  std::vector<Found> all;
  std::size_t count = 0;
  if (inOrder) {
    for (const auto& b : batchFound) count += b.size();
    all.reserve(count);
    for (std::size_t i = 0; i < n; ++i) {
      const std::vector<Found>& found = batchFound[i % batches];
      const std::vector<std::size_t>& starts = batchStarts[i % batches];
      const std::size_t j = i / batches;
      all.insert(all.end(), found.begin() + static_cast<std::ptrdiff_t>(starts[j]),
                 found.begin() + static_cast<std::ptrdiff_t>(starts[j + 1]));
    }
    batchFound.clear();
  }
  // Otherwise every set was found from one anchor only, so the lists of the threads are
  // disjoint; ordered by molecules they give the same list for any thread count.
  const auto byMolecules = [](const Found& a, const Found& b) { return a.molecules < b.molecules; };
  OnThreads(threads, [&](unsigned t) {
    std::sort(searchers[t].found().begin(), searchers[t].found().end(), byMolecules);
  });
  for (auto& s : searchers) count += s.found().size();
  all.reserve(count);
  for (auto& s : searchers) {
    const auto middle = static_cast<std::ptrdiff_t>(all.size());
    all.insert(all.end(), s.found().begin(), s.found().end());
    std::inplace_merge(all.begin(), all.begin() + middle, all.end(), byMolecules);
    std::vector<Found>().swap(s.found());
  }

  for (const Found& f : all) {
    for (std::size_t i = 0; i < k; ++i) ++result.hits[f.molecules[i]];
    if (isSigned) ++(f.sign > 0 ? result.positive : result.negative);
  }
  result.motifs.resize(all.size());
  OnThreads(threads, [&](unsigned t) {
    const auto [first, last] = Slice(all.size(), threads, t);
    for (std::size_t j = first; j < last; ++j) {
      const Found& f = all[j];
      Motif& m = result.motifs[j];
      m.molecules.resize(k);
      for (std::size_t i = 0; i < k; ++i) m.molecules[i] = f.molecules[i] + 1;
      m.interactions.assign(f.interactions.begin(), f.interactions.begin() + k);
      m.sign = isSigned ? f.sign : 0;
    }
  });
  progress.report(n, n, traits.task);
  return result;
}

}  // namespace

MotifResult FindMotifs(const Network& network, MotifKind kind, Progress& progress,
                       unsigned threads) {
  return Search(network, kind, progress, threads, true);
}

MotifResult CountMotifs(const Network& network, MotifKind kind, Progress& progress,
                        unsigned threads) {
  return Search(network, kind, progress, threads, false);
}

}  // namespace tessel
