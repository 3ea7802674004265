// Motif search: feedback loops (3 to 5 molecules), feedforward loops (3 and 4), bifans and
// scaffolds, each counted as distinct sets of molecules within its kind.
//
// Shapes, on distinct molecules (loops and paths are simple):
//   feedback loop  a directed cycle of signed links
//   FFL3           S->A, S->B, B->A
//   FFL4           S->A->B with S->C->B, or S->A with S->C->B->A
//   bifan          S->A, S->C, B->A, B->C (signed links)
//   scaffold       a triangle of neutral links, each in either direction
// A shape counts whenever it occurs among the links (not necessarily induced). When one
// molecule set carries several instances of a kind, it counts once, represented by its
// first instance in a canonical order that does not depend on the number of threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "model/network.h"
#include "util/progress.h"

namespace tessel {

enum class MotifKind {
  FeedbackLoop3,
  FeedbackLoop4,
  FeedbackLoop5,
  FeedforwardLoop3,
  FeedforwardLoop4,
  Bifan,
  Scaffold,
};

// What the program says and knows about one motif kind. The command line, the window's
// motif dialog and the pages all read the one table of these.
struct MotifKindInfo {
  MotifKind kind;
  std::string_view name;   // on the command line and in JSON: "fbl3"
  std::string_view title;  // in words: "Feedback loops of size 3"
  std::size_t size;        // number of molecules
  bool isSigned;           // feedback and feedforward loops: positive and negative
  bool isDefault;          // searched when no kind is named (all but fbl5)
};

// Every kind, in MotifKind order.
std::span<const MotifKindInfo> MotifKinds();
const MotifKindInfo& MotifKindInfoOf(MotifKind kind);
// The kinds searched when none is named, in MotifKind order.
std::vector<MotifKind> DefaultMotifKinds();

// Short names used on the command line and in JSON: fbl3, fbl4, fbl5, ffl3, ffl4, bifan,
// scaffold.
std::string_view MotifKindName(MotifKind kind);
std::optional<MotifKind> ParseMotifKind(std::string_view name);
std::size_t MotifSize(MotifKind kind);  // number of molecules
bool MotifIsSigned(MotifKind kind);     // feedback and feedforward loops have a sign

// One distinct motif. `molecules` are in cyclic order: for each i, molecules[i] and
// molecules[(i + 1) % size] are joined by interactions[i] (an index into
// Network::interactions(), running in either direction between the two). These are the
// interactions the motif traverses, and the ones to draw.
struct Motif {
  std::vector<MoleculeId> molecules;
  std::vector<std::uint32_t> interactions;
  int sign = 0;  // +1 or -1 for loops (odd number of "_" is negative); 0 otherwise
};

struct MotifResult {
  MotifKind kind = MotifKind::FeedbackLoop3;
  std::vector<Motif> motifs;  // distinct molecule sets, in canonical order
  std::size_t positive = 0;   // loops only
  std::size_t negative = 0;
  // For each molecule (indexed by id - 1): the number of distinct motifs containing it.
  std::vector<std::uint32_t> hits;
  // Motifs counted but no longer held (the motif command frees a kind's list once its page
  // is written).
  std::size_t released = 0;

  std::size_t total() const { return motifs.size() + released; }
  // Frees the list of motifs, keeping the counts.
  void releaseMotifs() {
    released += motifs.size();
    std::vector<Motif>().swap(motifs);
  }
};

// Memory a found motif costs while the search sorts and hands over its results: its record
// during the search and de-duplication, the merged list, and the Motif with its two small
// vectors (with heap overhead, rounded up).
inline constexpr std::size_t kBytesPerMotif = 200;

// An upper bound, from degree sums, on the motifs of `kind` that FindMotifs can find. Over
// the kind's links (signed, or neutral for scaffolds; d+ and d- the out- and in-degrees, d
// the partners; in-(v) the sum of d- over v's predecessors, in+(v) of their d+, out-(v)
// and out+(v) the same over v's successors), each motif counted at one of its links:
//   fbl3  sum over u->v of min(d+(v), d-(u)) / 3
//   fbl4  sum over b->c of min(d-(b) d+(c), in-(b), out+(c)) / 4
//   fbl5  sum over c of in2(c) out2(c) / 5   (2-paths into and out of the middle)
//   ffl3  sum over b->a of min(d-(a), d-(b))
//   ffl4  sum over a->b of min(d-(a) (d-(b) - 1), in+(a), in-(b)) / 2
//                         + min(d-(a) d+(b), in+(a), out-(b))
//   bifan sum over s->a of min((d-(a) - 1)(d+(s) - 1), out-(s), in+(a)) / 4
//   scaffold  sum over partners {u, v} of min(d(u), d(v)) / 3
// Exact counts are usually far lower; the bound is what can be promised before searching.
double EstimateMotifCount(const Network& network, MotifKind kind);

// Finds all motifs of one kind. `threads` 0 uses the hardware concurrency; the result is
// identical for any thread count. Reports progress per start molecule and throws Cancelled
// when asked to stop.
MotifResult FindMotifs(const Network& network, MotifKind kind, Progress& progress,
                       unsigned threads = 0);

// The counts of FindMotifs (total, positive, negative, hits) without the list: `motifs`
// stays empty and `released` holds the total. Only the counts are kept while searching, so
// the memory does not grow with the number of motifs.
MotifResult CountMotifs(const Network& network, MotifKind kind, Progress& progress,
                        unsigned threads = 0);

}  // namespace tessel
