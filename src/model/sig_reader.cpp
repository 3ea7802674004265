// The SIG reader: 13 blank-separated fields per line.
//
// A file of a million rows is read in two stages. The text is cut at line breaks into
// pieces, and each piece is scanned on its own (on several threads when there are several
// pieces): its lines are split, checked and numbered, its names and effect and type words
// listed once each, and every row end that repeats the fields of the previous end naming
// the same molecule in the piece is marked. The pieces are then added to the network one
// after the other, in file order, on the calling thread: a marked end costs one look-up by
// molecule id instead of a search by name and four field comparisons. Molecule ids, merge
// rules, warnings and error lines are those of reading the rows one by one, whatever the
// number of threads.

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include <absl/container/flat_hash_map.h>

#include "model/effects.h"
#include "model/line_fields.h"
#include "model/readers.h"
#include "model/text_input.h"
#include "util/error.h"
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

constexpr std::uint32_t kNone = ~std::uint32_t{0};

// One data row of a piece.
struct ScannedRow {
  std::uint32_t offset = 0;                // of its line in the piece
  std::uint32_t line = 0;                  // its line, counted from the piece's first (0)
  std::array<std::uint32_t, 2> name{};     // index into ScannedPiece::names
  std::array<std::uint32_t, 2> earlier{};  // the end it repeats (2 * row + side), or kNone
  std::uint32_t effect = 0;                // index into ScannedPiece::words
  std::uint32_t type = 0;                  // likewise
  bool endsData = false;                   // names "na": the data end here
  bool numeric = true;                     // the PubMed field is a number
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
  std::vector<std::string_view> names;  // as written (without the "P" before a digit)
  std::vector<std::string_view> words;  // effects and interaction types
  std::optional<ScanError> error;
};

std::string_view LineAt(std::string_view text, std::size_t offset) {
  const std::size_t end = text.find('\n', offset);
  return text.substr(offset, end == std::string_view::npos ? std::string_view::npos : end - offset);
}

// Scans one piece. `fileStart`: the piece begins the file, so its first row may be a line
// of column titles. `findRepeats`: mark the ends that repeat an earlier end of the piece
// (worth it when the piece is scanned on another thread than the one adding rows).
ScannedPiece ScanPiece(std::string_view text, bool fileStart, bool findRepeats) {
  ScannedPiece piece;
  piece.text = text;
  piece.rows.reserve(text.size() / 80 + 1);
  struct Seen {
    std::uint32_t index;
    std::uint32_t lastEnd;                   // 2 * row + side
    std::array<std::string_view, 4> fields;  // of that end
  };
  absl::flat_hash_map<std::string_view, Seen> names;
  absl::flat_hash_map<std::string_view, std::uint32_t> words;
  const auto word = [&](std::string_view w) {
    const auto [it, inserted] =
        words.try_emplace(w, static_cast<std::uint32_t>(piece.words.size()));
    if (inserted) piece.words.push_back(w);
    return it->second;
  };
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
    const auto rowIndex = static_cast<std::uint32_t>(piece.rows.size() - 1);
    if (!findRepeats) {
      row.earlier = {kNone, kNone};
      continue;
    }
    for (std::uint32_t side = 0; side < 2; ++side) {
      const std::size_t first = side * 5;
      const std::array<std::string_view, 4> fields{f[first + 1], f[first + 2], f[first + 3],
                                                   f[first + 4]};
      const std::uint32_t end = 2 * rowIndex + side;
      const auto [it, inserted] = names.try_emplace(
          f[first], Seen{static_cast<std::uint32_t>(piece.names.size()), end, fields});
      if (inserted) {
        piece.names.push_back(f[first]);
        row.earlier[side] = kNone;
      } else {
        row.earlier[side] = it->second.fields == fields ? it->second.lastEnd : kNone;
        it->second.lastEnd = end;
        it->second.fields = fields;
      }
      row.name[side] = it->second.index;
    }
  }
  piece.lines = static_cast<std::uint32_t>(lines.number());
  return piece;
}

// Adds the scanned pieces to the builder in file order.
class PieceAdder {
 public:
  static constexpr std::size_t kAhead = 8;

  PieceAdder(NetworkBuilder& builder, const std::string& file, Warnings* warnings)
      : builder_(builder), file_(file), warnings_(warnings) {}

  void add(const ScannedPiece& piece) {
    molecules_.assign(piece.names.size(), 0);
    pooled_.assign(piece.words.size(), std::nullopt);
    for (std::size_t r = 0; r < piece.rows.size(); ++r) {
      // The name look-ups of a row a few rows on are started now: they mostly miss the
      // cache, and by the time that row is added the entries are there.
      if (!piece.names.empty() && r + kAhead < piece.rows.size()) {
        for (const std::uint32_t name : piece.rows[r + kAhead].name) {
          if (molecules_[name] == 0) builder_.prefetchMolecule(piece.names[name]);
        }
      }
      addRow(piece, r);
    }
    if (piece.error) fail(piece, *piece.error);
    firstLine_ += piece.lines;
    firstRow_ += piece.rows.size();
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
      const std::uint64_t stamp = 2 * (firstRow_ + r) + side;
      // Without marked repeats (one thread) the piece lists no names.
      MoleculeId unlisted = 0;
      MoleculeId& id = piece.names.empty() ? unlisted : molecules_[row.name[side]];
      if (id != 0 && row.earlier[side] != kNone &&
          builder_.repeatEnd(id, 2 * firstRow_ + row.earlier[side], stamp, fields[side])) {
        ids[side] = id;
        continue;
      }
      if (!split) {
        SplitLine(LineAt(piece.text, row.offset), f);
        split = true;
      }
      const std::size_t first = side * 5;
      const EndPoint end{WithLetterPrefix(f[first], nameBuffer_), f[first + 1], f[first + 2],
                         f[first + 3], f[first + 4]};
      id = builder_.addEnd(end, line, stamp, fields[side]);
      ids[side] = id;
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
  std::size_t firstRow_ = 0;   // rows before the piece
  bool ended_ = false;         // a row naming "na" ended the data; later lines are still checked
  std::vector<MoleculeId> molecules_;              // per name of the piece, once known
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
  if (threads == 1 || pieces.size() == 1) {
    for (std::size_t k = 0; k < pieces.size(); ++k) {
      adder.add(ScanPiece(pieces[k], k == 0, false));
      if (consumed) consumed(pieces[k]);
    }
  } else {
    // Scanners take pieces in order and stay at most `window` pieces ahead of the adder, so
    // that only a few scanned pieces are held at a time.
    const std::size_t window = 2 * static_cast<std::size_t>(threads);
    std::vector<std::optional<ScannedPiece>> scanned(pieces.size());
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t next = 0, added = 0;
    bool stop = false;
    std::exception_ptr failure;
    const auto scanner = [&] {
      std::unique_lock lock(mutex);
      while (true) {
        changed.wait(lock, [&] { return stop || (next < pieces.size() && next < added + window); });
        if (stop || next >= pieces.size()) return;
        const std::size_t k = next++;
        lock.unlock();
        std::optional<ScannedPiece> piece;
        std::exception_ptr error;
        try {
          piece.emplace(ScanPiece(pieces[k], k == 0, true));
        } catch (...) {
          error = std::current_exception();
        }
        lock.lock();
        if (error && !failure) failure = error;
        if (error) stop = true;
        scanned[k] = std::move(piece);
        changed.notify_all();
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
          std::unique_lock lock(mutex);
          changed.wait(lock, [&] { return scanned[k].has_value() || failure != nullptr; });
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
  return builder.build();
}

}  // namespace tessel
