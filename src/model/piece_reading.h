// What the readers of large line-based files (SIG files, tables) share to read a text in
// pieces on several threads and still build the network that adding the rows one by one
// builds.
//
// The text is cut after line breaks into pieces. Each piece is scanned on its own: its
// lines split and checked, the names of its rows looked up in a table of names shared by
// all scanners (SharedNames). Each name there keeps the fields that came with it when it
// was first met (its usual fields), and every row end says whether it repeats them. The
// pieces are then added to the network one after the other, in file order, on the calling
// thread (ScanAndAddInOrder): an end that repeats its name's usual fields, once such an end
// has been added and changed nothing, takes the molecule and the pooled fields kept with
// the name, with no look-up by name (AddRowEnd).
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <vector>

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>
#include <absl/hash/hash.h>

#include "model/network.h"
#include "model/pooled_text.h"

namespace tessel::pieces {

// A name as the scanners meet it. The text of the name and of its usual fields never
// change once the entry is made; the scanners only read them. The rest belongs to the
// thread adding the rows: the molecule the name stands for and, once an end with the
// usual fields has been added without changing or contradicting the molecule, those
// fields pooled. Such an end changes nothing when it comes again, however many rows come
// between: a molecule's fields only ever go from unknown to known, and the usual fields
// already agree with every known one. The entry is followed in memory by the usual fields
// and the name.
struct alignas(64) NameEntry {
  // Written and read by the adding thread only.
  MoleculeId id = 0;
  bool repeats = false;  // an end with the usual fields changes nothing; `fields` hold them
  NetworkBuilder::EndFields fields;
  // Set when the entry is made.
  std::size_t hash = 0;
  std::uint32_t nameSize = 0;
  std::uint32_t usualSize = 0;

  std::string_view usual() const { return {text(), usualSize}; }
  std::string_view name() const { return {text() + usualSize, nameSize}; }

 private:
  const char* text() const { return reinterpret_cast<const char*>(this + 1); }
};
static_assert(std::is_trivially_destructible_v<NameEntry>);

// A lock held for the few instructions of a table look-up: cheaper than a mutex when, as
// here, it is seldom wanted by two threads at once (on a million rows read on two threads,
// std::mutex and absl::Mutex cost 5 % and 15 % more time).
class SpinLock {
 public:
  void lock() {
    while (locked_.exchange(true, std::memory_order_acquire)) {
      while (locked_.load(std::memory_order_relaxed)) std::this_thread::yield();
    }
  }
  void unlock() { locked_.store(false, std::memory_order_release); }

 private:
  std::atomic<bool> locked_{false};
};

// The names met in a file, shared by the threads scanning it. The table is split in
// shards by hash, each with its own lock (taken only when several threads scan), so that
// scanners seldom wait for each other. The table holds short names itself, so that finding
// one reads no entry. Entries stay where they are made until the table goes.
class SharedNames {
 public:
  explicit SharedNames(bool concurrent) : concurrent_(concurrent) {}

  // A name to look up, with its hash.
  struct Key {
    std::string_view name;
    std::size_t hash;
  };
  static Key KeyOf(std::string_view name) { return {name, absl::Hash<std::string_view>{}(name)}; }

  // Asks the processor to fetch the table's place for `key`, ahead of find(key). Only
  // while one thread scans: with several, the table may change meanwhile. Inlined with
  // what it calls, so that GCC keeps it (see FetchAhead).
  [[gnu::always_inline, gnu::flatten]] void prefetch(const Key& key) const {
    if (!concurrent_) shards_[key.hash >> (64 - kShardBits)].entries.prefetch(key);
  }

  // The entry for `key`, made with `usual` as its usual fields if the name is new.
  NameEntry* find(const Key& key, std::string_view usual);

  // Looks up the source and target names of rows in order (keys[r]: row r's), fetching the
  // table's places for the names of rows a few on ahead. usual(r, side) gives the fields
  // that make a new entry; found(r, side, entry) takes the entry.
  template <typename Usual, typename Found>
  void findRows(std::span<const std::array<Key, 2>> keys, const Usual& usual, const Found& found) {
    constexpr std::size_t kAhead = 8;
    for (std::size_t r = 0; r < keys.size(); ++r) {
      if (r + kAhead < keys.size()) {
        prefetch(keys[r + kAhead][0]);
        prefetch(keys[r + kAhead][1]);
      }
      for (std::size_t side = 0; side < 2; ++side) {
        found(r, side, find(keys[r][side], usual(r, side)));
      }
    }
  }

 private:
  static constexpr unsigned kShardBits = 6;
  static constexpr std::size_t kBlockEntries = 1024;
  static_assert(sizeof(std::size_t) == 8);

  // A name's place in the table: its entry and, when shorter than kLong, the name itself.
  static constexpr std::uint8_t kLong = 23;
  struct Slot {
    NameEntry* entry;
    std::uint8_t size;  // of the name, or kLong
    std::array<char, kLong> head;
  };
  struct KeyHash {
    using is_transparent = void;
    std::size_t operator()(const Slot& s) const { return s.entry->hash; }
    std::size_t operator()(const Key& k) const { return k.hash; }
  };
  struct KeyEq {
    using is_transparent = void;
    bool operator()(const Slot& a, const Slot& b) const { return a.entry == b.entry; }
    bool operator()(const Key& k, const Slot& s) const {
      if (k.name.size() >= kLong) return s.size == kLong && s.entry->name() == k.name;
      return s.size == k.name.size() && std::equal(k.name.begin(), k.name.end(), s.head.begin());
    }
    bool operator()(const Slot& s, const Key& k) const { return (*this)(k, s); }
  };

  struct alignas(64) Shard {
    SpinLock lock;
    absl::flat_hash_set<Slot, KeyHash, KeyEq> entries;
    // Entries are cut from blocks of memory that live as long as the table; an entry's
    // texts take the room of the entries after it.
    std::vector<std::unique_ptr<NameEntry[]>> blocks;
    std::size_t used = 0, capacity = 0;  // entries of the last block

    NameEntry* make(std::string_view name, std::string_view usual, std::size_t hash);
  };

  std::array<Shard, std::size_t{1} << kShardBits> shards_;
  bool concurrent_;
};

// The effect and interaction-type words of a piece, each kept once and known by number.
class PieceWords {
 public:
  std::uint32_t number(std::string_view word) {
    // The first few words of a piece are most of its rows'.
    const std::size_t few = std::min<std::size_t>(list_.size(), 8);
    for (std::size_t k = 0; k < few; ++k) {
      if (list_[k] == word) return static_cast<std::uint32_t>(k);
    }
    const auto it = index_.find(word);
    if (it != index_.end()) return it->second;
    const auto k = static_cast<std::uint32_t>(list_.size());
    list_.emplace_back(word);
    index_.emplace(list_.back(), k);
    return k;
  }
  std::string_view operator[](std::uint32_t k) const { return list_[k]; }
  std::size_t size() const { return list_.size(); }
  void clear() {
    list_.clear();
    index_.clear();
  }

 private:
  std::vector<std::string> list_;
  absl::flat_hash_map<std::string, std::uint32_t, TextHash, TextEq> index_;
};

// The pooled texts of the words of the piece being added, pooled when first used.
class PooledWords {
 public:
  void start(const PieceWords& words) {
    words_ = &words;
    pooled_.assign(words.size(), std::nullopt);
  }
  PooledText operator()(NetworkBuilder& builder, std::uint32_t k) {
    std::optional<PooledText>& slot = pooled_[k];
    if (!slot) slot = builder.pooled((*words_)[k]);
    return *slot;
  }

 private:
  const PieceWords* words_ = nullptr;
  std::vector<std::optional<PooledText>> pooled_;
};

// The molecule of one row end whose name has `entry`; `usual`: the end has the name's
// usual fields. Takes the molecule and pooled fields from the entry when they may be
// reused, else adds the end that `makeEnd()` gives (an EndPoint naming entry.name()) and
// notes in the entry whether it may be reused from now on.
template <typename MakeEnd>
MoleculeId AddRowEnd(NetworkBuilder& builder, NameEntry& entry, bool usual, std::size_t line,
                     NetworkBuilder::EndFields& fields, const MakeEnd& makeEnd) {
  if (entry.repeats && usual) {
    fields = entry.fields;
    return entry.id;
  }
  const MoleculeId id = builder.addEnd(makeEnd(), line, fields);
  entry.id = id;
  if (usual && builder.repeatable(id)) {
    entry.repeats = true;
    entry.fields = fields;
  }
  return id;
}

// Rows are added while the entries of a row `kAhead` rows on are fetched (they mostly miss
// the cache), and the place in the pair index of a row half as far on. `names(k)` gives
// row k's source and target entries (null for a row that adds nothing). Always inlined:
// GCC takes a function that only prefetches for one without effect, and drops its calls.
constexpr std::size_t kAhead = 8;
template <typename Names>
[[gnu::always_inline]] inline void FetchAhead(const NetworkBuilder& builder, std::size_t row,
                                              std::size_t rows, const Names& names) {
  if (row + kAhead < rows) {
    const std::array<NameEntry*, 2> ahead = names(row + kAhead);
    for (const NameEntry* entry : ahead) {
      if (entry == nullptr) continue;
      __builtin_prefetch(entry);
      __builtin_prefetch(entry + 1);  // its usual fields
    }
  }
  if (row + kAhead / 2 < rows) {
    const std::array<NameEntry*, 2> pair = names(row + kAhead / 2);
    if (pair[0] != nullptr && pair[1] != nullptr && pair[0]->id != 0 && pair[1]->id != 0) {
      builder.prefetchPair(pair[0]->id, pair[1]->id);
    }
  }
}

// Cuts the text after line breaks into pieces of about `size` bytes.
std::vector<std::string_view> CutIntoPieces(std::string_view text, std::size_t size);

// The size of the pieces for a text read on `threads` threads: enough of them to keep
// every thread busy while the calling thread adds the earlier ones, and at most `largest`
// bytes (at most 4 MB, so that offsets within a piece fit 32 bits with room to spare).
std::size_t PieceSize(std::size_t textSize, unsigned threads, std::size_t largest);

// Has the kernel ready the share of `block` (the interactions' memory) that the rows of
// `piece` (part of `text`) will take, so that memory grows as the text is read.
void PrefaultShare(std::span<std::byte> block, std::string_view text, std::string_view piece);

// Runs scan(k) for every piece k on up to `threads` threads, the calling one included, and
// add(k) on the calling thread in order 0, 1, ..., each once scan(k) is done. Scanners stay
// at most twice `threads` pieces ahead of the adding, so that only a few scanned pieces are
// held at a time; while its next piece is being scanned, the calling thread scans a later
// one. The first exception of a scan or an add is rethrown once every thread has stopped.
void ScanAndAddInOrder(std::size_t pieces, unsigned threads,
                       const std::function<void(std::size_t)>& scan,
                       const std::function<void(std::size_t)>& add);

}  // namespace tessel::pieces
