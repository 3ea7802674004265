// The SIG reader: 13 blank-separated fields per line.
//
// A file of a million rows is read in pieces (see model/piece_reading.h): each piece's
// lines are split, checked and numbered, its effect and type words listed once each, and
// the names of its rows looked up in the table of names shared by all scanners; the
// pieces are then added in file order. A name's usual fields are the four fields that
// followed it when it was first met, as written. Molecule ids, merge rules, warnings and
// error lines are those of reading the rows one by one, whatever the number of threads.

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "model/effects.h"
#include "model/line_fields.h"
#include "model/piece_reading.h"
#include "model/readers.h"
#include "model/text_input.h"
#include "util/error.h"
#include "util/parallel.h"

namespace tessel {
namespace {

using pieces::NameEntry;
using pieces::SharedNames;

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
  pieces::PieceWords words;  // effects and interaction types
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
    row.effect = piece.words.number(f[10]);
    row.type = piece.words.number(f[11]);
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
  names.findRows(
      keys,
      [&](std::size_t r, std::size_t side) {
        return text.substr(piece.rows[r].fieldsAt[side], piece.rows[r].fieldsSize[side]);
      },
      [&](std::size_t r, std::size_t side, NameEntry* entry) { piece.rows[r].name[side] = entry; });
  return piece;
}

// Adds the scanned pieces to the builder in file order.
class PieceAdder {
 public:
  PieceAdder(NetworkBuilder& builder, const std::string& file, Warnings* warnings)
      : builder_(builder), file_(file), warnings_(warnings) {}

  void add(const ScannedPiece& piece) {
    pooled_.start(piece.words);
    for (std::size_t r = 0; r < piece.rows.size(); ++r) {
      pieces::FetchAhead(builder_, r, piece.rows.size(),
                         [&piece](std::size_t k) { return piece.rows[k].name; });
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
      ids[side] = pieces::AddRowEnd(builder_, entry, usual, line, fields[side], [&] {
        if (!split) {
          SplitLine(LineAt(piece.text, row.offset), f);
          split = true;
        }
        const std::size_t first = side * 5;
        return EndPoint{WithLetterPrefix(f[first], nameBuffer_), f[first + 1], f[first + 2],
                        f[first + 3], f[first + 4]};
      });
    }
    builder_.addInteraction(ids[0], ids[1], fields[0], fields[1], pooled_(builder_, row.effect),
                            pooled_(builder_, row.type), row.pubmed, line);
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
  std::size_t firstLine_ = 0;   // lines before the piece
  bool ended_ = false;          // a row naming "na" ended the data; later lines are still checked
  pieces::PooledWords pooled_;  // of the piece being added
  std::string nameBuffer_;
};

}  // namespace

void ReadSigRows(std::string_view text, const std::string& file, Warnings* warnings,
                 unsigned threads, NetworkBuilder& builder, const TextConsumed& consumed) {
  CheckIsText(text, file, EmptyText::kNoBytes);
  builder.reserve(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1);
  threads = ResolveThreads(threads);
  const std::vector<std::string_view> parts =
      pieces::CutIntoPieces(text, pieces::PieceSize(text.size(), threads, std::size_t{4} << 20));
  const bool concurrent = threads > 1 && parts.size() > 1;
  SharedNames names(concurrent);
  PieceAdder adder(builder, file, warnings);
  const std::span<std::byte> block = builder.reservedInteractions();
  std::vector<std::optional<ScannedPiece>> scanned(parts.size());
  pieces::ScanAndAddInOrder(
      parts.size(), threads,
      [&](std::size_t k) {
        scanned[k].emplace(ScanPiece(parts[k], k == 0, names));
        // The kernel readies the memory the piece's interactions will take, here rather
        // than page by page on the adding thread.
        if (concurrent) pieces::PrefaultShare(block, text, parts[k]);
      },
      [&](std::size_t k) {
        adder.add(*scanned[k]);
        scanned[k].reset();
        if (consumed) consumed(parts[k]);
      });
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
