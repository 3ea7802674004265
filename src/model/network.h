// The in-memory signalling network: molecules (nodes) and directed interactions (edges).
//
// A Network is built once by a NetworkBuilder, which readers feed row by row, and is
// immutable afterwards. Molecule ids are 1-based in order of creation and never change;
// the display order (by upper-cased name) is kept as a separate permutation.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <absl/container/flat_hash_map.h>
#include <absl/container/inlined_vector.h>

#include "model/pooled_text.h"

namespace tessel {

class Warnings;

using MoleculeId = std::uint32_t;  // 1-based; 0 means "no molecule"
using PubmedId = std::int64_t;
// Most interactions cite one paper: that one is held without a heap block.
using PubmedIds = absl::InlinedVector<PubmedId, 1>;

// The ten per-molecule link counters. Neutral ("0") interactions count only towards
// neutralLinks and allLinks; every other effect is signed, and any signed effect other
// than "+" counts as negative.
struct LinkCounters {
  int inLinks = 0;
  int outLinks = 0;
  int positiveLinks = 0;
  int negativeLinks = 0;
  int positiveInLinks = 0;
  int negativeInLinks = 0;
  int positiveOutLinks = 0;
  int negativeOutLinks = 0;
  int neutralLinks = 0;
  int allLinks = 0;
};

struct Molecule {
  MoleculeId id = 0;
  std::string name;
  std::string accession;
  std::string extraId;
  std::string moleculeType;
  std::string location;
  LinkCounters links;
};

struct Interaction {
  std::uint32_t id = 0;  // 1-based, creation order
  MoleculeId source = 0;
  MoleculeId target = 0;
  // End-point fields as the interaction's first row gave them; they may differ from the
  // molecule's own fields, which come from the molecule's first row. The texts are pooled:
  // a network repeats the same few types, locations and effects on every interaction.
  PooledText sourceAccession;
  PooledText sourceExtraId;
  PooledText sourceType;
  PooledText sourceLocation;
  PooledText targetAccession;
  PooledText targetExtraId;
  PooledText targetType;
  PooledText targetLocation;
  PooledText effect;           // "+", "_", "0" or any other text, kept as read
  PooledText interactionType;  // "NA" when unknown
  PubmedIds pubmedIds;         // distinct, in order of first appearance; never empty

  bool isNeutral() const { return effect == "0"; }
  bool isSigned() const { return effect != "0"; }
  PubmedId firstPubmedId() const { return pubmedIds.front(); }
};

// A repeated row whose effect or interaction type differs from the values the
// interaction kept (those of its first row). Kept so that the validation report can
// show what merging would otherwise hide.
struct RowConflict {
  std::uint32_t interaction = 0;  // index into interactions()
  std::string effect;
  std::string interactionType;
  std::size_t line = 0;  // line of the repeated row in its file, 0 when unknown
};

// A row that names a known molecule with another type or location than the one kept.
// Each distinct value of a molecule's field is recorded once, at its first row.
struct MoleculeConflict {
  MoleculeId molecule = 0;
  enum class Field : std::uint8_t { Type, Location } field = Field::Type;
  std::string value;     // the other value
  std::size_t line = 0;  // its first row's line, 0 when unknown
  std::size_t rows = 0;  // rows giving this value
};

class Network {
 public:
  Network() = default;

  std::size_t moleculeCount() const { return molecules_.size(); }
  std::size_t interactionCount() const { return interactions_.size(); }
  bool empty() const { return molecules_.empty(); }

  // All molecules, indexed by id - 1 (creation order).
  const std::vector<Molecule>& molecules() const { return molecules_; }
  const Molecule& molecule(MoleculeId id) const { return molecules_[id - 1]; }
  const std::string& nameOf(MoleculeId id) const { return molecules_[id - 1].name; }

  // All interactions in creation order.
  const std::vector<Interaction>& interactions() const { return interactions_; }
  const std::string& sourceName(const Interaction& i) const { return nameOf(i.source); }
  const std::string& targetName(const Interaction& i) const { return nameOf(i.target); }

  // Molecule ids sorted by upper-cased name (bytes compared; ties keep creation order).
  std::span<const MoleculeId> displayOrder() const { return displayOrder_; }

  // Exact, case-sensitive lookup; 0 when no molecule has that name.
  MoleculeId findId(std::string_view name) const;

  // Distinct neighbours of a molecule (either direction, never the molecule itself),
  // in the order in which they were first met. Its size is the molecule's "links" count.
  std::span<const MoleculeId> neighbours(MoleculeId id) const {
    return {neighbourIds_.data() + neighbourStart_[id - 1],
            neighbourIds_.data() + neighbourStart_[id]};
  }
  std::size_t linkCount(MoleculeId id) const {
    return neighbourStart_[id] - neighbourStart_[id - 1];
  }

  // Interactions leaving / entering a molecule (indices into interactions(), in creation
  // order). Self-interactions appear in both lists of their molecule.
  std::span<const std::uint32_t> outgoing(MoleculeId id) const {
    return {outIds_.data() + outStart_[id - 1], outIds_.data() + outStart_[id]};
  }
  std::span<const std::uint32_t> incoming(MoleculeId id) const {
    return {inIds_.data() + inStart_[id - 1], inIds_.data() + inStart_[id]};
  }

  // The interaction from source to target, or nullptr.
  const Interaction* findInteraction(MoleculeId source, MoleculeId target) const;

  const std::vector<RowConflict>& conflicts() const { return conflicts_; }
  const std::vector<MoleculeConflict>& moleculeConflicts() const { return moleculeConflicts_; }

 private:
  friend class NetworkBuilder;

  static std::uint64_t pairKey(MoleculeId s, MoleculeId t) {
    return (static_cast<std::uint64_t>(s) << 32) | t;
  }

  // The texts the interactions' fields point to; shared by copies of the network.
  std::shared_ptr<const TextPool> texts_;
  std::vector<Molecule> molecules_;
  std::vector<Interaction> interactions_;
  std::vector<RowConflict> conflicts_;
  std::vector<MoleculeConflict> moleculeConflicts_;
  absl::flat_hash_map<std::string, MoleculeId, TextHash, TextEq> nameIndex_;
  absl::flat_hash_map<std::uint64_t, std::uint32_t> pairIndex_;
  std::vector<MoleculeId> displayOrder_;
  // Compressed adjacency: entries of molecule id live in [start[id-1], start[id]).
  std::vector<std::size_t> neighbourStart_{0};
  std::vector<MoleculeId> neighbourIds_;
  std::vector<std::size_t> outStart_{0};
  std::vector<std::uint32_t> outIds_;
  std::vector<std::size_t> inStart_{0};
  std::vector<std::uint32_t> inIds_;
};

// The fields of one end of a row.
struct EndPoint {
  std::string_view name;
  std::string_view accession = "NA";
  std::string_view extraId = "NA";
  std::string_view moleculeType = "NA";
  std::string_view location = "NA";
};

// Collects rows and freezes them into a Network.
//
// Merge rules: a molecule is created by the first row that names it, and that row's
// fields win, except that a field written "NA" (unknown) is filled by the first later row
// that gives a value; a later row giving another type or location is recorded as a
// MoleculeConflict. A row repeating an ordered (source, target) pair adds its PubMed id to the
// existing interaction if the id is new, and changes nothing else.
class NetworkBuilder {
 public:
  // The pooled end fields of a row: accession, extra id, type, location.
  using EndFields = std::array<PooledText, 4>;

  NetworkBuilder() = default;

  void reserve(std::size_t rows);
  // The memory reserve() set aside for interactions (for PrefaultPages on another thread).
  std::span<std::byte> reservedInteractions() {
    return std::as_writable_bytes(
        std::span(net_.interactions_.data(), net_.interactions_.capacity()));
  }

  // Adds one row. `line` is only used to locate merge conflicts for the validation report.
  void addRow(const EndPoint& source, const EndPoint& target, std::string_view effect,
              std::string_view interactionType, PubmedId pubmedId, std::size_t line = 0);

  // For readers that keep track of repeated row ends themselves (the SIG and table readers
  // resolve names on several threads, see model/piece_reading.h):
  //
  // The molecule named `name`, or 0.
  MoleculeId findMolecule(std::string_view name) const;
  // The molecule of one end of a row (created or merged as addRow does), its fields pooled.
  MoleculeId addEnd(const EndPoint& e, std::size_t line, EndFields& fields);
  // Whether adding the molecule's last end again, with the same fields, would change
  // nothing (no field left to fill, no conflict to count, no name to warn about). The caller
  // may then reuse that end's pooled fields without calling addEnd.
  bool repeatable(MoleculeId id) const { return lastEnds_[id - 1].repeatable; }
  // Asks the processor to fetch what addInteraction(source, target, ...) will look up.
  // Inlined with what it calls: GCC drops calls to functions that only prefetch.
  [[gnu::always_inline, gnu::flatten]] void prefetchPair(MoleculeId source,
                                                         MoleculeId target) const {
    net_.pairIndex_.prefetch(Network::pairKey(source, target));
  }
  // A row between two ends from addEnd (or repeats of them).
  void addInteraction(MoleculeId source, MoleculeId target, const EndFields& sourceFields,
                      const EndFields& targetFields, PooledText effect, PooledText interactionType,
                      PubmedId pubmedId, std::size_t line);
  // A text kept by the network being built.
  PooledText pooled(std::string_view text) { return texts_->intern(text); }

  // Adds a molecule that may take part in no interaction and returns its id. An existing
  // molecule keeps its fields, but those still "NA" (or empty) take the values given here.
  MoleculeId addMolecule(const EndPoint& e, std::size_t line = 0);

  // From now on, names that a SIG file cannot hold are changed on the way in (see
  // SigSafeName), each change counted in `warnings` under `file`. Readers of formats other
  // than SIG turn this on, so that a network saved as SIG reads back the same. Molecules
  // whose safe names coincide become one.
  void makeNamesSigSafe(Warnings* warnings, std::string file);

  std::size_t rowCount() const { return rows_; }
  std::size_t interactionCount() const { return net_.interactions_.size(); }

  // Builds the adjacency, the display order and the link counters, on two threads when
  // `threads` is more than one. The builder is empty afterwards.
  Network build(unsigned threads = 1);

 private:
  void recordConflict(MoleculeId id, MoleculeConflict::Field field, std::string_view value,
                      std::size_t line);
  // The pooled text for an effect or interaction type, from the few values seen last.
  PooledText recentText(std::vector<PooledText>& recent, std::string_view value);

  Network net_;
  std::shared_ptr<TextPool> texts_ = std::make_shared<TextPool>();
  // Molecules by name while the network is built.
  absl::flat_hash_map<std::string, MoleculeId, TextHash, TextEq> names_;
  // Per molecule (id - 1): the end fields of its last row, pooled, and whether reading the
  // same fields again would change nothing (no field left to fill, no conflict to count).
  // Most rows repeat a molecule's fields, and then the molecule's own record is not looked
  // at.
  struct LastEnd {
    bool repeatable = false;
    EndFields fields;
  };
  std::vector<LastEnd> lastEnds_;
  std::size_t conflictRows_ = 0;  // rows recorded as molecule conflicts so far
  std::vector<PooledText> recentEffects_, recentTypes_;
  std::size_t rows_ = 0;
  bool sigSafeNames_ = false;
  Warnings* warnings_ = nullptr;
  std::string file_;
  // (molecule, field, value) already recorded as a conflict -> index in moleculeConflicts_.
  absl::flat_hash_map<std::string, std::size_t> conflictIndex_;
};

// True for a field that says nothing: empty or "NA".
inline bool IsUnknownField(std::string_view value) {
  return value.empty() || value == "NA";
}

// The name as a SIG file can hold it, or nothing when it can be written as it is. A SIG
// field holds no blanks, line breaks or other control characters (NUL included): each
// becomes "_". A row whose first or sixth field is "na" ends the data, so a whole name
// "na" in any letter case gains a trailing "_" ("NA" -> "NA_"). An empty name is left to
// the reader to refuse. A leading digit is kept: the SIG reader puts "P" before it.
std::optional<std::string> SigSafeName(std::string_view name);

// Upper-cases ASCII letters; other bytes are kept. Used for the display order.
std::string UpperCaseKey(std::string_view s);

}  // namespace tessel
