// The SIG reader: 13 blank-separated fields per line.
//
// A file of a million rows is read in two stages. The text is cut at line breaks into
// pieces, and each piece is scanned on its own (on several threads when there are several
// pieces): its lines are split, checked and numbered, its effect and type words listed
// once each, and the names of its rows looked up in a table of names shared by all
// scanners. Each name there keeps the fields that followed it when it was first met, as
// written, and every row end says whether it repeats them. The pieces are then added to
// the network one after the other, in file order, on the calling thread: an end that
// repeats its name's usual fields, once such an end has been added and changed nothing,
// takes the molecule and the pooled fields kept with the name, with no look-up by name.
// Molecule ids, merge rules, warnings and error lines are those of reading the rows one
// by one, whatever the number of threads.

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <thread>
#include <type_traits>
#include <vector>

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>
#include <absl/hash/hash.h>

#include "model/effects.h"
#include "model/line_fields.h"
#include "model/readers.h"
#include "model/text_input.h"
#include "util/error.h"
#include "util/memory.h"
#include "util/parallel.h"

namespace tessel {
namespace {

constexpr std::string_view kSigColumnMessage =
    " to few columns\nThe program only accepts text files with 13 columns in each row!";

// Names must begin with a letter: a leading digit gains a "P".
std::string_view WithLetterPrefix(std::string_view name, std::string& buffer) {
  if (name.empty() || name[0] < '0' || name[0] > '9') return name;
  buffer.assign("P");
  buffer.append(name);
  return buffer;
}

// Says what a known effect word means, for the warning about an effect SIG does not know.
std::string UnknownEffectMessage(std::string_view effect) {
  std::string message = "effect \"" + Abbreviate(effect, 40) +
                        "\" is none of \"+\" (activation), \"_\" (inhibition), \"0\" "
                        "(binding): kept as read and listed in the validation report; loop and "
                        "path signs count only \"_\" as an inhibition";
  if (const auto meant = EffectFromWord(effect)) {
    message += " (did you mean \"" + std::string(*meant) + "\"?)";
  }
  return message;
}

// A name as the scanners meet it. The text of the name and the text of the four fields
// that followed it the first time it was met (its usual fields, exactly as written) never
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
  // while one thread scans: with several, the table may change meanwhile.
  void prefetch(const Key& key) const {
    if (!concurrent_) shards_[key.hash >> (64 - kShardBits)].entries.prefetch(key);
  }

  // The entry for `key`, made with `usual` as its usual fields if the name is new.
  NameEntry* find(const Key& key, std::string_view usual) {
    const std::string_view name = key.name;
    Shard& shard = shards_[key.hash >> (64 - kShardBits)];
    std::unique_lock lock(shard.lock, std::defer_lock);
    if (concurrent_) lock.lock();
    const auto it = shard.entries.find(key);
    if (it != shard.entries.end()) return it->entry;
    Slot slot{shard.make(name, usual, key.hash), kLong, {}};
    if (name.size() < kLong) {
      slot.size = static_cast<std::uint8_t>(name.size());
      std::copy(name.begin(), name.end(), slot.head.begin());
    }
    shard.entries.insert(slot);
    return slot.entry;
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

  struct Shard {
    SpinLock lock;
    absl::flat_hash_set<Slot, KeyHash, KeyEq> entries;
    // Entries are cut from blocks of memory that live as long as the table; an entry's
    // texts take the room of the entries after it.
    std::vector<std::unique_ptr<NameEntry[]>> blocks;
    std::size_t used = 0, capacity = 0;  // entries of the last block

    NameEntry* make(std::string_view name, std::string_view usual, std::size_t hash) {
      const std::size_t slots =
          1 + (name.size() + usual.size() + sizeof(NameEntry) - 1) / sizeof(NameEntry);
      if (capacity - used < slots) {
        // Blocks grow from small ones, for the many small networks read by shuffles.
        capacity = std::max(slots, std::clamp<std::size_t>(2 * capacity, 16, kBlockEntries));
        blocks.push_back(std::make_unique<NameEntry[]>(capacity));
        used = 0;
      }
      NameEntry* entry = blocks.back().get() + used;
      used += slots;
      entry->hash = hash;
      entry->nameSize = static_cast<std::uint32_t>(name.size());
      entry->usualSize = static_cast<std::uint32_t>(usual.size());
      char* text = reinterpret_cast<char*>(entry + 1);
      std::copy(usual.begin(), usual.end(), text);
      std::copy(name.begin(), name.end(), text + usual.size());
      return entry;
    }
  };

  std::array<Shard, std::size_t{1} << kShardBits> shards_;
  bool concurrent_;
};

// One data row of a piece.
struct ScannedRow {
  std::uint32_t offset = 0;          // of its line in the piece
  std::uint32_t line = 0;            // its line, counted from the piece's first (0)
  std::array<NameEntry*, 2> name{};  // source and target
  // The four fields after each name, as written, blanks between them included.
  std::array<std::uint32_t, 2> fieldsAt{};  // offset in the piece
  std::array<std::uint32_t, 2> fieldsSize{};
  bool endsData = false;     // names "na": the data end here
  bool numeric = true;       // the PubMed field is a number
  std::uint32_t effect = 0;  // index into ScannedPiece::words
  std::uint32_t type = 0;    // likewise
  PubmedId pubmed = 0;
};

// What is wrong with a piece's first bad line; the rows before it are good.
struct ScanError {
  enum class Kind { Columns, TitleRow } kind = Kind::Columns;
  std::size_t row = 0;  // rows of the piece before it
  std::uint32_t line = 0;
  std::uint32_t offset = 0;
};

struct ScannedPiece {
  std::string_view text;
  std::uint32_t lines = 0;
  std::vector<ScannedRow> rows;
  std::vector<std::string_view> words;  // effects and interaction types
  std::optional<ScanError> error;
};

std::string_view LineAt(std::string_view text, std::size_t offset) {
  const std::size_t end = text.find('\n', offset);
  return text.substr(offset, end == std::string_view::npos ? std::string_view::npos : end - offset);
}

// Scans one piece. `fileStart`: the piece begins the file, so its first row may be a line
// of column titles.
ScannedPiece ScanPiece(std::string_view text, bool fileStart, SharedNames& names) {
  ScannedPiece piece;
  piece.text = text;
  piece.rows.reserve(text.size() / 80 + 1);
  absl::flat_hash_map<std::string_view, std::uint32_t> words;
  const auto word = [&](std::string_view w) {
    const auto [it, inserted] =
        words.try_emplace(w, static_cast<std::uint32_t>(piece.words.size()));
    if (inserted) piece.words.push_back(w);
    return it->second;
  };
  std::vector<std::array<SharedNames::Key, 2>> keys;  // per row: source and target
  keys.reserve(piece.rows.capacity());
  std::array<std::string_view, 13> f;
  LineCursor lines(text, LineCursor::Mode::kRaw);
  std::string_view line;
  while (lines.next(line)) {
    const std::size_t count = SplitLine(line, f);
    if (count == 0) continue;
    const auto offset = static_cast<std::uint32_t>(line.data() - text.data());
    const auto lineIndex = static_cast<std::uint32_t>(lines.number() - 1);
    if (count != 13) {
      piece.error = ScanError{ScanError::Kind::Columns, piece.rows.size(), lineIndex, offset};
      break;
    }
    ScannedRow& row = piece.rows.emplace_back();
    row.offset = offset;
    row.line = lineIndex;
    row.pubmed = ParsePubmedId(f[12], row.numeric);
    // A column-title line: its PubMed field is no number and its effect no effect.
    if (fileStart && piece.rows.size() == 1 && !row.numeric && !IsKnownEffect(f[10]) &&
        !EffectFromWord(f[10])) {
      piece.rows.pop_back();
      piece.error = ScanError{ScanError::Kind::TitleRow, 0, lineIndex, offset};
      break;
    }
    row.endsData = f[0] == "na" || f[5] == "na";
    row.effect = word(f[10]);
    row.type = word(f[11]);
    auto& key = keys.emplace_back();
    for (std::size_t side = 0; side < 2; ++side) {
      const std::size_t first = side * 5;
      // The four fields after the name as written, blanks between them included.
      const char* begin = f[first + 1].data();
      row.fieldsAt[side] = static_cast<std::uint32_t>(begin - text.data());
      row.fieldsSize[side] =
          static_cast<std::uint32_t>(f[first + 4].data() + f[first + 4].size() - begin);
      key[side] = SharedNames::KeyOf(f[first]);
    }
  }
  piece.lines = static_cast<std::uint32_t>(lines.number());
  // The names are looked up once the lines are split, so that the table's places for the
  // names of rows a few on can be fetched ahead.
  constexpr std::size_t kAhead = 8;
  for (std::size_t r = 0; r < piece.rows.size(); ++r) {
    if (r + kAhead < piece.rows.size()) {
      for (const SharedNames::Key& k : keys[r + kAhead]) names.prefetch(k);
    }
    ScannedRow& row = piece.rows[r];
    for (std::size_t side = 0; side < 2; ++side) {
      row.name[side] =
          names.find(keys[r][side], text.substr(row.fieldsAt[side], row.fieldsSize[side]));
    }
  }
  return piece;
}

// Adds the scanned pieces to the builder in file order.
class PieceAdder {
 public:
  static constexpr std::size_t kAhead = 8;

  PieceAdder(NetworkBuilder& builder, const std::string& file, Warnings* warnings)
      : builder_(builder), file_(file), warnings_(warnings) {}

  void add(const ScannedPiece& piece) {
    pooled_.assign(piece.words.size(), std::nullopt);
    for (std::size_t r = 0; r < piece.rows.size(); ++r) {
      // The entries of a row a few rows on are fetched now: they mostly miss the cache,
      // and by the time that row is added they are there.
      if (r + kAhead < piece.rows.size()) {
        for (const NameEntry* entry : piece.rows[r + kAhead].name) {
          __builtin_prefetch(entry);
          __builtin_prefetch(entry + 1);  // its usual fields
        }
      }
      // Half way there, the entries are in, and the pair's place in the index is fetched.
      if (r + kAhead / 2 < piece.rows.size()) {
        const auto& [source, target] = piece.rows[r + kAhead / 2].name;
        if (source->id != 0 && target->id != 0) builder_.prefetchPair(source->id, target->id);
      }
      addRow(piece, r);
    }
    if (piece.error) fail(piece, *piece.error);
    firstLine_ += piece.lines;
  }

 private:
  void addRow(const ScannedPiece& piece, std::size_t r) {
    const ScannedRow& row = piece.rows[r];
    const std::size_t line = firstLine_ + row.line + 1;
    if (ended_ || row.endsData) {
      ended_ = true;
      return;
    }
    if (warnings_ != nullptr) {
      const std::string_view effect = piece.words[row.effect];
      if (!IsKnownEffect(effect)) {
        warnings_->add("effect\t" + std::string(effect), file_, line, UnknownEffectMessage(effect));
      }
      if (!row.numeric) {
        std::array<std::string_view, 13> f;
        SplitLine(LineAt(piece.text, row.offset), f);
        warnings_->add("pubmed", file_, line,
                       "PubMed id \"" + Abbreviate(f[12], 40) + "\" is not a number; read as " +
                           std::to_string(row.pubmed));
      }
    }
    std::array<NetworkBuilder::EndFields, 2> fields;
    std::array<MoleculeId, 2> ids{};
    std::array<std::string_view, 13> f;
    bool split = false;
    for (std::size_t side = 0; side < 2; ++side) {
      NameEntry& entry = *row.name[side];
      const bool usual =
          entry.usual() == piece.text.substr(row.fieldsAt[side], row.fieldsSize[side]);
      if (entry.repeats && usual) {
        ids[side] = entry.id;
        fields[side] = entry.fields;
        continue;
      }
      if (!split) {
        SplitLine(LineAt(piece.text, row.offset), f);
        split = true;
      }
      const std::size_t first = side * 5;
      const EndPoint end{WithLetterPrefix(f[first], nameBuffer_), f[first + 1], f[first + 2],
                         f[first + 3], f[first + 4]};
      const MoleculeId id = builder_.addEnd(end, line, fields[side]);
      ids[side] = id;
      entry.id = id;
      if (usual && builder_.repeatable(id)) {
        entry.repeats = true;
        entry.fields = fields[side];
      }
    }
    builder_.addInteraction(ids[0], ids[1], fields[0], fields[1], pooled(piece, row.effect),
                            pooled(piece, row.type), row.pubmed, line);
  }

  PooledText pooled(const ScannedPiece& piece, std::uint32_t word) {
    auto& slot = pooled_[word];
    if (!slot) slot = builder_.pooled(piece.words[word]);
    return *slot;
  }

  [[noreturn]] void fail(const ScannedPiece& piece, const ScanError& error) {
    const std::size_t line = firstLine_ + error.line + 1;
    const std::string_view text = LineAt(piece.text, error.offset);
    if (error.kind == ScanError::Kind::Columns) ColumnError(file_, line, text, kSigColumnMessage);
    throw InputError(file_, line,
                     "the first line looks like a row of column titles (\"" + Abbreviate(text, 60) +
                         "\"), not an interaction: remove it, or read a table with a header "
                         "row with --format table");
  }

  NetworkBuilder& builder_;
  const std::string& file_;
  Warnings* warnings_;
  std::size_t firstLine_ = 0;  // lines before the piece
  bool ended_ = false;         // a row naming "na" ended the data; later lines are still checked
  std::vector<std::optional<PooledText>> pooled_;  // per word of the piece, once pooled
  std::string nameBuffer_;
};

// Cuts the text after line breaks into pieces of about `size` bytes.
std::vector<std::string_view> CutIntoPieces(std::string_view text, std::size_t size) {
  std::vector<std::string_view> pieces;
  while (!text.empty()) {
    std::size_t end = text.size();
    if (text.size() > size) {
      const std::size_t lineEnd = text.find('\n', size);
      end = lineEnd == std::string_view::npos ? text.size() : lineEnd + 1;
    }
    pieces.push_back(text.substr(0, end));
    text.remove_prefix(end);
  }
  return pieces;
}

}  // namespace

void ReadSigRows(std::string_view text, const std::string& file, Warnings* warnings,
                 unsigned threads, NetworkBuilder& builder,
                 const std::function<void(std::string_view)>& consumed) {
  CheckIsText(text, file, EmptyText::kNoBytes);
  builder.reserve(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1);
  threads = ResolveThreads(threads);
  // Pieces of at most 4 MB (offsets within a piece fit 32 bits with room to spare), enough of
  // them to keep every thread busy while the calling thread adds the earlier ones.
  const std::size_t pieceSize =
      std::clamp<std::size_t>(text.size() / (8 * static_cast<std::size_t>(threads)) + 1,
                              std::size_t{1} << 16, std::size_t{1} << 22);
  const std::vector<std::string_view> pieces = CutIntoPieces(text, pieceSize);
  PieceAdder adder(builder, file, warnings);
  SharedNames names(threads > 1 && pieces.size() > 1);
  if (threads == 1 || pieces.size() == 1) {
    for (std::size_t k = 0; k < pieces.size(); ++k) {
      adder.add(ScanPiece(pieces[k], k == 0, names));
      if (consumed) consumed(pieces[k]);
    }
  } else {
    // Scanners take pieces in order and stay at most `window` pieces ahead of the adder, so
    // that only a few scanned pieces are held at a time.
    const std::size_t window = 2 * static_cast<std::size_t>(threads);
    const std::span<std::byte> block = builder.reservedInteractions();
    std::vector<std::optional<ScannedPiece>> scanned(pieces.size());
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t next = 0, added = 0;
    bool stop = false;
    std::exception_ptr failure;
    // Scans the next piece if one may be taken; called with `lock` held.
    const auto scanNext = [&](std::unique_lock<std::mutex>& lock) {
      if (stop || next >= pieces.size() || next >= added + window) return false;
      const std::size_t k = next++;
      lock.unlock();
      std::optional<ScannedPiece> piece;
      std::exception_ptr error;
      try {
        piece.emplace(ScanPiece(pieces[k], k == 0, names));
        // The kernel readies the memory the piece's interactions will take, here rather
        // than page by page on the adding thread; no sooner, so that it grows as the text
        // read is given back.
        const auto at = [&](const char* p) {  // in floating point: the product may not fit
          return std::min(block.size(),
                          static_cast<std::size_t>(static_cast<double>(block.size()) *
                                                   static_cast<double>(p - text.data()) /
                                                   static_cast<double>(text.size())));
        };
        const std::size_t from = at(pieces[k].data());
        PrefaultPages(block.data() + from, at(pieces[k].data() + pieces[k].size()) - from);
      } catch (...) {
        error = std::current_exception();
      }
      lock.lock();
      if (error && !failure) failure = error;
      if (error) stop = true;
      scanned[k] = std::move(piece);
      changed.notify_all();
      return true;
    };
    const auto scanner = [&] {
      std::unique_lock lock(mutex);
      while (!stop && next < pieces.size()) {
        if (!scanNext(lock)) changed.wait(lock);
      }
    };
    std::vector<std::jthread> workers;
    const std::size_t scanners = std::min<std::size_t>(threads - 1, pieces.size());
    for (std::size_t t = 0; t < std::max<std::size_t>(scanners, 1); ++t) {
      workers.emplace_back(scanner);
    }
    const auto finish = [&] {
      {
        std::lock_guard lock(mutex);
        stop = true;
      }
      changed.notify_all();
      workers.clear();
    };
    try {
      for (std::size_t k = 0; k < pieces.size(); ++k) {
        std::optional<ScannedPiece> piece;
        {
          // While its next piece is being scanned, the adding thread scans a later one.
          std::unique_lock lock(mutex);
          while (!scanned[k].has_value() && failure == nullptr) {
            if (!scanNext(lock)) changed.wait(lock);
          }
          if (failure) std::rethrow_exception(failure);
          piece = std::move(scanned[k]);
          scanned[k].reset();
        }
        adder.add(*piece);
        piece.reset();
        if (consumed) consumed(pieces[k]);
        {
          std::lock_guard lock(mutex);
          added = k + 1;
        }
        changed.notify_all();
      }
    } catch (...) {
      finish();
      throw;
    }
    finish();
  }
  if (builder.rowCount() == 0) {
    throw InputError(file, 0, "the file holds no interactions");
  }
}

Network ReadSigText(std::string_view text, const std::string& file, Warnings* warnings,
                    unsigned threads) {
  NetworkBuilder builder;
  ReadSigRows(text, file, warnings, threads, builder);
  return builder.build(ResolveThreads(threads));
}

}  // namespace tessel
