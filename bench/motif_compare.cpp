// motif-compare: times tessel::FindMotifs against a plain search for the same shapes.
//
// For every network file and every kind asked for, it runs FindMotifs on one thread and on
// N threads, CountMotifs (counts only) on N threads, and a plain method written here
// without any of the engine's pruning: a bounded depth-first search from every molecule
// over signed links to molecules of higher id for feedback loops, and a direct scan of
// the shape's links from every source for the other kinds. Both apply the same rule: a
// motif is a distinct set of molecules, counted once with the sign of its smallest
// (molecules, interactions) instance. The counts must agree; the program prints a table
// and exits with 1 when any count differs.
//
//   motif-compare [--kinds fbl3,fbl5,...] [--threads N] [--no-plain] NETWORK...
#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "model/readers.h"
#include "motifs/motif_search.h"
#include "util/progress.h"

namespace {

using tessel::MotifKind;
using tessel::Network;

constexpr std::uint32_t kNone = 0xffffffffu;

struct Counts {
  std::size_t total = 0, positive = 0, negative = 0;
  bool operator==(const Counts&) const = default;
};

// A neighbour and the interaction that joins it.
struct Link {
  std::uint32_t node, interaction;
};

// Plain adjacency: signed links out of and into each molecule (0-based), sorted by
// neighbour, self-interactions left out; neutral partners with the lowest neutral
// interaction of the pair.
struct Plain {
  std::size_t n = 0;
  std::vector<std::vector<Link>> out, in, neutral;
  std::vector<std::uint8_t> negative;  // per interaction: effect "_"

  explicit Plain(const Network& net) : n(net.moleculeCount()), out(n), in(n), neutral(n) {
    const auto& all = net.interactions();
    negative.resize(all.size());
    for (std::uint32_t i = 0; i < all.size(); ++i) {
      const auto& x = all[i];
      negative[i] = x.effect == "_";
      if (x.source == x.target) continue;
      const std::uint32_t s = x.source - 1, t = x.target - 1;
      if (x.effect == "0") {
        neutral[s].push_back({t, i});
        neutral[t].push_back({s, i});
      } else {
        out[s].push_back({t, i});
        in[t].push_back({s, i});
      }
    }
    const auto byNode = [](const Link& a, const Link& b) {
      return a.node != b.node ? a.node < b.node : a.interaction < b.interaction;
    };
    for (auto* rows : {&out, &in, &neutral}) {
      for (auto& row : *rows) std::sort(row.begin(), row.end(), byNode);
    }
    for (auto& row : neutral) {
      row.erase(std::unique(row.begin(), row.end(),
                            [](const Link& a, const Link& b) { return a.node == b.node; }),
                row.end());
    }
  }
};

// The smallest instance seen of every molecule set.
struct Instance {
  std::array<std::uint32_t, 5> molecules{kNone, kNone, kNone, kNone, kNone};
  std::array<std::uint32_t, 5> interactions{kNone, kNone, kNone, kNone, kNone};
};
struct KeyHash {
  std::size_t operator()(const std::array<std::uint32_t, 5>& k) const noexcept {
    std::uint64_t h = 1469598103934665603ull;
    for (const std::uint32_t v : k) h = (h ^ v) * 1099511628211ull;
    return static_cast<std::size_t>(h ^ (h >> 29));
  }
};

class Keeper {
 public:
  Keeper(const Plain& p, bool isSigned) : p_(p), signed_(isSigned) {}
  void add(std::span<const std::uint32_t> molecules, std::span<const std::uint32_t> links) {
    Instance x;
    std::copy(molecules.begin(), molecules.end(), x.molecules.begin());
    std::copy(links.begin(), links.end(), x.interactions.begin());
    auto key = x.molecules;
    std::sort(key.begin(), key.end());
    const auto [it, inserted] = sets_.try_emplace(key, x);
    if (!inserted && std::tie(x.molecules, x.interactions) <
                         std::tie(it->second.molecules, it->second.interactions)) {
      it->second = x;
    }
  }
  // Tallies the sets kept so far and forgets them. Feedback loops call it after each
  // start: every instance of a loop starts at its smallest molecule.
  void flush() {
    if (sets_.empty()) return;
    counts_.total += sets_.size();
    for (const auto& [key, x] : sets_) {
      if (!signed_) break;
      int negatives = 0;
      for (const std::uint32_t i : x.interactions) negatives += i != kNone && p_.negative[i];
      ++(negatives % 2 == 0 ? counts_.positive : counts_.negative);
    }
    // clear() walks every bucket, and a start with many loops leaves many behind: with a
    // hundred thousand starts that would cost more than the search itself.
    if (sets_.bucket_count() > 4096) {
      sets_ = {};
    } else {
      sets_.clear();
    }
  }
  Counts counts() {
    flush();
    return counts_;
  }

 private:
  const Plain& p_;
  bool signed_;
  Counts counts_;
  std::unordered_map<std::array<std::uint32_t, 5>, Instance, KeyHash> sets_;
};

// Directed k-cycles by depth-first search from each molecule s through molecules of higher
// id, closed by a link back to s.
Counts PlainLoops(const Plain& p, std::size_t k) {
  Keeper keeper(p, true);
  std::array<std::uint32_t, 5> path{}, links{};
  std::vector<std::uint8_t> onPath(p.n, 0);
  const auto walk = [&](const auto& self, std::uint32_t u, std::size_t depth) -> void {
    for (const Link& l : p.out[u]) {
      const std::uint32_t v = l.node;
      if (depth == k) {
        if (v == path[0]) {
          links[k - 1] = l.interaction;
          keeper.add({path.data(), k}, {links.data(), k});
        }
        continue;
      }
      if (v <= path[0] || onPath[v]) continue;
      path[depth] = v;
      links[depth - 1] = l.interaction;
      onPath[v] = 1;
      self(self, v, depth + 1);
      onPath[v] = 0;
    }
  };
  for (std::uint32_t s = 0; s < p.n; ++s) {
    path[0] = s;
    walk(walk, s, 1);
    keeper.flush();
  }
  return keeper.counts();
}

// The other kinds from each source S, with S's out-links marked for the closing test.
Counts PlainShapes(const Plain& p, MotifKind kind) {
  Keeper keeper(p, kind != MotifKind::Bifan && kind != MotifKind::Scaffold);
  std::vector<std::uint32_t> mark(p.n, kNone);  // interaction S -> v, for the current S
  for (std::uint32_t s = 0; s < p.n; ++s) {
    if (kind == MotifKind::Scaffold) {
      for (const Link& l : p.neutral[s]) mark[l.node] = l.interaction;
      for (const Link& b : p.neutral[s]) {
        if (b.node <= s) continue;
        for (const Link& c : p.neutral[b.node]) {
          if (c.node <= b.node || mark[c.node] == kNone) continue;
          const std::uint32_t m[] = {s, b.node, c.node};
          const std::uint32_t x[] = {b.interaction, c.interaction, mark[c.node]};
          keeper.add(m, x);
        }
      }
      for (const Link& l : p.neutral[s]) mark[l.node] = kNone;
      continue;
    }
    for (const Link& l : p.out[s]) mark[l.node] = l.interaction;
    for (const Link& a : p.out[s]) {
      switch (kind) {
        case MotifKind::FeedforwardLoop3:  // S -> B -> A closed by S -> A
          for (const Link& ba : p.in[a.node]) {
            if (ba.node == s || mark[ba.node] == kNone) continue;
            const std::uint32_t m[] = {s, ba.node, a.node};
            const std::uint32_t x[] = {mark[ba.node], ba.interaction, a.interaction};
            keeper.add(m, x);
          }
          break;
        case MotifKind::FeedforwardLoop4:
          for (const Link& b : p.out[a.node]) {
            if (b.node == s) continue;
            // S -> A -> B <- C <- S
            for (const Link& c : p.in[b.node]) {
              if (c.node == s || c.node == a.node || mark[c.node] == kNone) continue;
              const std::uint32_t m[] = {s, a.node, b.node, c.node};
              const std::uint32_t x[] = {a.interaction, b.interaction, c.interaction, mark[c.node]};
              keeper.add(m, x);
            }
            // S -> A -> B -> C <- S
            for (const Link& c : p.out[b.node]) {
              if (c.node == s || c.node == a.node || mark[c.node] == kNone) continue;
              const std::uint32_t m[] = {s, a.node, b.node, c.node};
              const std::uint32_t x[] = {a.interaction, b.interaction, c.interaction, mark[c.node]};
              keeper.add(m, x);
            }
          }
          break;
        case MotifKind::Bifan:  // S -> A <- B -> C <- S
          for (const Link& b : p.in[a.node]) {
            if (b.node == s) continue;
            for (const Link& c : p.out[b.node]) {
              if (c.node == s || c.node == a.node || mark[c.node] == kNone) continue;
              const std::uint32_t m[] = {s, a.node, b.node, c.node};
              const std::uint32_t x[] = {a.interaction, b.interaction, c.interaction, mark[c.node]};
              keeper.add(m, x);
            }
          }
          break;
        default:
          break;
      }
    }
    for (const Link& l : p.out[s]) mark[l.node] = kNone;
  }
  return keeper.counts();
}

Counts PlainCount(const Network& net, MotifKind kind) {
  const Plain p(net);
  switch (kind) {
    case MotifKind::FeedbackLoop3:
    case MotifKind::FeedbackLoop4:
    case MotifKind::FeedbackLoop5:
      return PlainLoops(p, tessel::MotifSize(kind));
    default:
      return PlainShapes(p, kind);
  }
}

Counts CountsOf(const tessel::MotifResult& r) {
  return {r.total(), r.positive, r.negative};
}

template <typename Fn>
double Seconds(const Fn& fn) {
  const auto start = std::chrono::steady_clock::now();
  fn();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Times the motif search against a plain search for the same shapes");
  std::vector<std::string> files, kindNames;
  unsigned threads = 2;
  bool noPlain = false;
  app.add_option("--kinds", kindNames, "comma-separated kinds (default: all)")->delimiter(',');
  app.add_option("--threads", threads, "threads for the second engine run (default 2)");
  app.add_flag("--no-plain", noPlain, "time the engine only");
  app.add_option("networks", files, "network files")->required();
  CLI11_PARSE(app, argc, argv);

  std::vector<MotifKind> kinds;
  for (const std::string& name : kindNames) {
    const auto kind = tessel::ParseMotifKind(name);
    if (!kind) {
      std::cerr << "motif-compare: unknown kind " << name << "\n";
      return 2;
    }
    kinds.push_back(*kind);
  }
  if (kinds.empty()) {
    for (const auto& info : tessel::MotifKinds()) kinds.push_back(info.kind);
  }

  bool agree = true;
  std::printf("%-8s %-34s %10s %9s %9s %9s %9s %7s\n", "kind", "network", "motifs", "engine1",
              "engineN", "countN", "plain", "ratio");
  for (const std::string& file : files) {
    const Network net = tessel::LoadNetwork(file);
    const std::string name = std::filesystem::path(file).filename().string();
    for (const MotifKind kind : kinds) {
      tessel::NullProgress progress;
      tessel::MotifResult one, many, counted;
      const double t1 = Seconds([&] { one = tessel::FindMotifs(net, kind, progress, 1); });
      const double tn = Seconds([&] { many = tessel::FindMotifs(net, kind, progress, threads); });
      const double tc =
          Seconds([&] { counted = tessel::CountMotifs(net, kind, progress, threads); });
      Counts plain{};
      double tp = 0;
      if (!noPlain) tp = Seconds([&] { plain = PlainCount(net, kind); });
      const bool same = CountsOf(one) == CountsOf(many) && CountsOf(one) == CountsOf(counted) &&
                        (noPlain || CountsOf(one) == plain) && one.hits == counted.hits;
      agree = agree && same;
      std::printf("%-8s %-34s %10zu %9.2f %9.2f %9.2f %9.2f %7.2f%s\n",
                  std::string(tessel::MotifKindName(kind)).c_str(), name.c_str(), one.total(), t1,
                  tn, tc, tp, noPlain ? 0.0 : t1 / tp, same ? "" : "  COUNTS DIFFER");
      if (!same) {
        std::printf("  engine %zu (+%zu -%zu), counting %zu (+%zu -%zu), plain %zu (+%zu -%zu)\n",
                    one.total(), one.positive, one.negative, counted.total(), counted.positive,
                    counted.negative, plain.total, plain.positive, plain.negative);
      }
      std::fflush(stdout);
    }
  }
  return agree ? 0 : 1;
}
