#include "model/table_reader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "model/effects.h"
#include "model/piece_reading.h"
#include "model/text_input.h"
#include "util/error.h"
#include "util/text.h"

namespace tessel {
namespace {

// ---------------------------------------------------------------------------------------
// Text helpers

bool IsDigits(std::string_view s) {
  return !s.empty() && std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// A column title reduced to lower-case letters and digits, so that "Source GeneSymbol",
// "source_genesymbol" and "source.genesymbol" compare equal.
std::string TitleKey(std::string_view title) {
  std::string key;
  key.reserve(title.size());
  for (const char c : title) {
    const char l = LowerAscii(c);
    if ((l >= 'a' && l <= 'z') || (l >= '0' && l <= '9')) key.push_back(l);
  }
  return key;
}

// A field usable as one word of a network file: blanks inside become "_" (runs of blanks
// and line breaks inside quoted fields give one "_"). Returns the field itself when it
// holds no blank, else the text built in `buffer`.
std::string_view OneWord(std::string_view field, std::string& buffer) {
  const bool blank = std::any_of(field.begin(), field.end(), IsSpace);
  if (!blank) return field;
  buffer = BlanksToUnderscores(field);
  return buffer;
}

// An optional field: "NA" when empty, else one word.
std::string_view OptionalWord(std::string_view field, std::string& buffer) {
  return IsUnknownField(field) ? std::string_view("NA") : OneWord(field, buffer);
}

// Splits records into fields at one separator character, or at runs of blanks when the
// separator is ' '. Fields are trimmed of blanks. With quotes on (not for blanks), a field starting
// with '"' runs to the matching '"' ("" inside is one quote) and may hold separators and line
// breaks; such fields are copied, all others are views of the record.
class FieldSplitter {
 public:
  FieldSplitter(char separator, bool quotes) : sep_(separator), quotes_(quotes) {}

  // Returns false when a quoted field is still open at the end of the record.
  bool split(std::string_view record) {
    fields_.clear();
    if (sep_ == ' ') {
      std::size_t i = 0;
      while (true) {
        while (i < record.size() && IsBlank(record[i])) ++i;
        if (i == record.size()) return true;
        const std::size_t start = i;
        while (i < record.size() && !IsBlank(record[i])) ++i;
        fields_.push_back(record.substr(start, i - start));
      }
    }
    if (!quotes_ || record.find('"') == std::string_view::npos) {
      std::size_t start = 0;
      while (true) {
        const std::size_t end = record.find(sep_, start);
        if (end == std::string_view::npos) {
          fields_.push_back(TrimBlanks(record.substr(start)));
          return true;
        }
        fields_.push_back(TrimBlanks(record.substr(start, end - start)));
        start = end + 1;
      }
    }
    return splitQuoted(record);
  }

  const std::vector<std::string_view>& fields() const { return fields_; }
  std::string_view operator[](std::size_t i) const {
    return i < fields_.size() ? fields_[i] : std::string_view();
  }
  std::size_t size() const { return fields_.size(); }

 private:
  bool splitQuoted(std::string_view record) {
    // Unquoted text is never longer than the record, so the views into storage_ stay valid.
    storage_.clear();
    storage_.reserve(record.size());
    std::size_t i = 0;
    while (true) {
      while (i < record.size() && record[i] != sep_ && IsBlank(record[i])) ++i;
      if (i < record.size() && record[i] == '"') {
        const std::size_t begin = storage_.size();
        ++i;
        bool closed = false;
        while (i < record.size()) {
          if (record[i] == '"') {
            if (i + 1 < record.size() && record[i + 1] == '"') {
              storage_.push_back('"');
              i += 2;
              continue;
            }
            ++i;
            closed = true;
            break;
          }
          storage_.push_back(record[i++]);
        }
        if (!closed) return false;
        // Text between the closing quote and the separator is kept as written.
        const std::size_t end = std::min(record.find(sep_, i), record.size());
        storage_.append(TrimBlanks(record.substr(i, end - i)));
        fields_.push_back(std::string_view(storage_).substr(begin));
        if (end == record.size()) return true;
        i = end + 1;
      } else {
        const std::size_t end = std::min(record.find(sep_, i), record.size());
        fields_.push_back(TrimBlanks(record.substr(i, end - i)));
        if (end == record.size()) return true;
        i = end + 1;
      }
    }
  }

  char sep_;
  bool quotes_;
  std::vector<std::string_view> fields_;
  std::string storage_;
};

// Reads the next record: one line, or several when a quoted field holds line breaks.
// Returns false at the end of the text.
bool NextRecord(LineCursor& lines, FieldSplitter& splitter, const std::string& file,
                std::size_t& recordLine) {
  std::string_view record;
  if (!lines.nextContent(record)) return false;
  recordLine = lines.number();
  while (!splitter.split(record)) {
    if (!lines.extend(record)) {
      throw InputError(file, recordLine, "a quoted field opened on this line is never closed");
    }
  }
  return true;
}

// ---------------------------------------------------------------------------------------
// Effects, PubMed ids, SIGNOR types

// EffectFromWord with a small memory of the words already seen: tables repeat a handful
// of sign words over millions of rows.
class EffectWords {
 public:
  std::optional<std::string_view> find(std::string_view word) {
    for (const auto& [seen, effect] : seen_) {
      if (seen == word) return effect;
    }
    const std::optional<std::string_view> effect = EffectFromWord(word);
    if (seen_.size() < 32) seen_.emplace_back(std::string(word), effect);
    return effect;
  }

 private:
  std::vector<std::pair<std::string, std::optional<std::string_view>>> seen_;
};

// Every numeric PubMed id of a references field, each once, in order. Entries are
// separated by ";", "|", "," or blanks and may carry a "source:" prefix ("SIGNOR:12345",
// "PMID:678"); entries that are not whole numbers after the prefix ("PMC123", DOIs) are
// not PubMed ids.
void ParsePubmedIds(std::string_view field, std::vector<PubmedId>& ids) {
  ids.clear();
  PubmedId value = 0;
  if (IsDigits(field)) {  // the common case: one plain id
    const auto [end, ec] = std::from_chars(field.data(), field.data() + field.size(), value);
    if (ec == std::errc() && value > 0) ids.push_back(value);
    return;
  }
  std::size_t i = 0;
  while (i < field.size()) {
    const std::size_t end = std::min(field.find_first_of(";|, \t", i), field.size());
    std::string_view entry = field.substr(i, end - i);
    i = end + 1;
    const std::size_t colon = entry.rfind(':');
    if (colon != std::string_view::npos) entry.remove_prefix(colon + 1);
    if (!IsDigits(entry)) continue;
    const auto [stop, ec] = std::from_chars(entry.data(), entry.data() + entry.size(), value);
    if (ec != std::errc() || value <= 0) continue;
    if (std::find(ids.begin(), ids.end(), value) == ids.end()) ids.push_back(value);
  }
}

// SIGNOR's entity types as molecule types: "proteinfamily" -> "ProteinFamily", "smallmolecule"
// -> "SmallMolecule", "mirna" -> "miRNA"; other words are capitalised, with blanks removed
// between the capitalised words ("fusion protein" -> "FusionProtein").
std::string SignorEntityType(std::string_view raw) {
  raw = TrimBlanks(raw);
  if (raw.empty()) return "NA";
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 10> kKnown = {{
      {"protein", "Protein"},
      {"proteinfamily", "ProteinFamily"},
      {"complex", "Complex"},
      {"phenotype", "Phenotype"},
      {"chemical", "Chemical"},
      {"smallmolecule", "SmallMolecule"},
      {"stimulus", "Stimulus"},
      {"mirna", "miRNA"},
      {"fusionprotein", "FusionProtein"},
      {"antibody", "Antibody"},
  }};
  const std::string key = TitleKey(raw);
  for (const auto& [word, type] : kKnown) {
    if (key == word) return std::string(type);
  }
  std::string type;
  bool upper = true;
  for (const char c : raw) {
    if (IsBlank(c) || c == '_' || c == '-') {
      upper = true;
      continue;
    }
    type.push_back(upper && c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c);
    upper = false;
  }
  return type;
}

// ---------------------------------------------------------------------------------------
// Column layouts

enum Role : std::size_t {
  kSource,
  kTarget,
  kSourceSymbol,
  kTargetSymbol,
  kEffect,
  kType,
  kPubmed,
  kSourceType,
  kTargetType,
  kSourceLocation,
  kTargetLocation,
  kSourceAccession,
  kTargetAccession,
  kStimulationFlag,
  kInhibitionFlag,
  kConsensusStimulationFlag,
  kConsensusInhibitionFlag,
  kRoleCount
};

constexpr std::size_t kAbsent = static_cast<std::size_t>(-1);

// Title keys (see TitleKey) that name each role, most specific first.
const std::vector<std::string_view>& Synonyms(Role role) {
  static const std::array<std::vector<std::string_view>, kRoleCount> kSynonyms = {{
      {"source",     "from",       "regulator",     "node1",         "nodea", "tf",    "sourcename",
       "sourcenode", "sourcegene", "sourceprotein", "sourceid",      "gene1", "genea", "protein1",
       "proteina",   "entitya",    "interactora",   "regulatorgene", "src",   "head"},
      {"target", "to", "regulated", "node2", "nodeb", "targetname", "targetnode", "targetgene",
       "targetprotein", "targetid", "gene2", "geneb", "protein2", "proteinb", "entityb",
       "interactorb", "regulatedgene", "tgt", "tail"},
      {"sourcegenesymbol", "sourcesymbol", "genesymbolsource", "sourcegenename"},
      {"targetgenesymbol", "targetsymbol", "genesymboltarget", "targetgenename"},
      {"effect", "sign", "interaction", "mode", "regulation", "modeofregulation", "modeofaction",
       "effectsign", "interactionsign", "edgesign", "signs"},
      {"type", "interactiontype", "mechanism", "edgetype", "interactiontypes", "mechanisms"},
      {"pmid", "pmids", "references", "reference", "pubmed", "pubmedid", "pubmedids", "refs",
       "pubmedreferences", "literature"},
      {"sourcetype", "typea", "regulatortype", "sourcemoleculetype", "sourceentitytype"},
      {"targettype", "typeb", "regulatedtype", "targetmoleculetype", "targetentitytype"},
      {"sourcelocation", "regulatorlocation", "locationa", "sourcecompartment"},
      {"targetlocation", "regulatedlocation", "locationb", "targetcompartment"},
      {"sourceaccession", "sourceuniprot", "sourceacc", "ida", "uniprota", "accessiona"},
      {"targetaccession", "targetuniprot", "targetacc", "idb", "uniprotb", "accessionb"},
      {"isstimulation"},
      {"isinhibition"},
      {"consensusstimulation"},
      {"consensusinhibition"},
  }};
  return kSynonyms[role];
}

// Where each role's field is in a row, and how the row's fields are read.
struct Layout {
  std::array<std::size_t, kRoleCount> column;
  char separator = '\t';
  bool quotes = false;
  bool header = true;         // the first content line holds titles
  bool signorTypes = false;   // types are SIGNOR entity types
  bool signorLayers = false;  // locations are SIGNOR drawing layers
  std::string sourceTitle;    // to recognise a repeated title line
  std::string targetTitle;
  std::vector<std::string> titles;  // of every column, when there is a title line
  Layout() { column.fill(kAbsent); }
  bool has(Role r) const { return column[r] != kAbsent; }
};

// Finds a column given by title (any letter case, or equal title keys) or 1-based number.
std::size_t FindGivenColumn(const std::vector<std::string_view>& titles, std::string_view given) {
  given = TrimBlanks(given);
  if (IsDigits(given)) {
    std::size_t number = 0;
    std::from_chars(given.data(), given.data() + given.size(), number);
    return number >= 1 && number <= titles.size() ? number - 1 : kAbsent;
  }
  for (std::size_t i = 0; i < titles.size(); ++i) {
    if (EqualsNoCase(titles[i], given)) return i;
  }
  const std::string key = TitleKey(given);
  for (std::size_t i = 0; i < titles.size(); ++i) {
    if (!key.empty() && TitleKey(titles[i]) == key) return i;
  }
  return kAbsent;
}

// Assigns every role not yet placed to the first column whose title is one of its
// synonyms (in the synonyms' order) and that no other role uses.
void FindColumnsByTitle(const std::vector<std::string_view>& titles, Layout& layout) {
  std::vector<std::string> keys;
  keys.reserve(titles.size());
  for (const std::string_view t : titles) keys.push_back(TitleKey(t));
  std::vector<bool> used(titles.size(), false);
  for (const std::size_t c : layout.column) {
    if (c != kAbsent) used[c] = true;
  }
  for (std::size_t r = 0; r < kRoleCount; ++r) {
    if (layout.column[r] != kAbsent) continue;
    for (const std::string_view synonym : Synonyms(static_cast<Role>(r))) {
      const auto it = std::find(keys.begin(), keys.end(), synonym);
      if (it == keys.end()) continue;
      const auto index = static_cast<std::size_t>(it - keys.begin());
      if (used[index]) continue;
      layout.column[r] = index;
      used[index] = true;
      break;
    }
  }
}

std::string TitleList(const std::vector<std::string_view>& titles) {
  std::string list;
  for (const std::string_view t : titles) {
    if (!list.empty()) list.append(", ");
    list.append("\"").append(Abbreviate(t, 40)).append("\"");
  }
  return list.empty() ? "none" : list;
}

// A header-less file of four tab-separated columns: regulator, target, a sign word and
// ";"-separated PubMed ids.
bool IsFourColumnRegulationLine(std::string_view line) {
  if (std::count(line.begin(), line.end(), '\t') != 3) return false;
  FieldSplitter f('\t', false);
  f.split(line);
  if (f[0].empty() || f[1].empty() || !EffectFromWord(f[2])) return false;
  const std::string_view ids = f[3];
  return ids.empty() || std::all_of(ids.begin(), ids.end(), [](char c) {
           return (c >= '0' && c <= '9') || c == ';' || c == ',' || c == ' ';
         });
}

void SetFourColumnLayout(Layout& layout) {
  layout.separator = '\t';
  layout.header = false;
  layout.column[kSource] = 0;
  layout.column[kTarget] = 1;
  layout.column[kEffect] = 2;
  layout.column[kPubmed] = 3;
}

char SeparatorOf(std::string_view headerLine) {
  if (headerLine.find('\t') != std::string_view::npos) return '\t';
  if (headerLine.find(',') != std::string_view::npos) return ',';
  if (headerLine.find(';') != std::string_view::npos) return ';';
  return ' ';
}

// ---------------------------------------------------------------------------------------
// Reading rows

// Reads a 0/1 flag ("1", "0", "true", "false", "yes", "no"); nullopt for anything else.
std::optional<bool> ParseFlag(std::string_view s) {
  if (s == "1" || EqualsNoCase(s, "true") || EqualsNoCase(s, "yes") || EqualsNoCase(s, "t")) {
    return true;
  }
  if (s == "0" || EqualsNoCase(s, "false") || EqualsNoCase(s, "no") || EqualsNoCase(s, "f") ||
      s.empty()) {
    return false;
  }
  return std::nullopt;
}

using pieces::NameEntry;
using pieces::SharedNames;

// A record of a piece of the table, as scanned for the adding thread.
struct TableRow {
  std::uint32_t line = 0;  // where the record starts, counted from the piece's first line (1)
  // Source and target; null when the row adds nothing (its warnings say why).
  std::array<NameEntry*, 2> name{};
  // Each end's fields in TablePiece::texts (see AppendEndKey).
  std::array<std::uint32_t, 2> fieldsAt{}, fieldsSize{};
  std::uint32_t effect = 0, type = 0;     // in TablePiece::words
  std::uint32_t idsAt = 0, idsCount = 0;  // the PubMed ids in TablePiece::ids
  std::uint32_t warningsEnd = 0;          // TablePiece::warnings up to and with this row's
};

struct PendingWarning {
  std::string key;
  std::uint32_t line;  // in the piece, as TableRow::line
  std::string message;
};

struct TablePiece {
  std::uint32_t lines = 0;
  std::vector<TableRow> rows;
  std::string texts;         // row ends' names and fields
  pieces::PieceWords words;  // effects and interaction types
  std::vector<PubmedId> ids;
  std::vector<PendingWarning> warnings;
  // A record that cannot be read; the rows before it are good.
  std::optional<std::pair<std::uint32_t, std::string>> error;
  // While scanning, per row with names: the row, and where its source and target names
  // are in texts (offset and size of each); then the names' keys.
  struct Named {
    std::uint32_t row;
    std::array<std::uint32_t, 4> name;
  };
  std::vector<Named> named;
  std::vector<std::array<SharedNames::Key, 2>> keys;

  void clear() {
    lines = 0;
    rows.clear();
    texts.clear();
    words.clear();
    ids.clear();
    warnings.clear();
    error.reset();
    named.clear();
    keys.clear();
  }
};

// An end's fields other than the name, as one text (they hold no NUL: such texts are
// refused), so that an end can be compared with its name's usual fields at once.
void AppendEndKey(const EndPoint& e, std::string& out) {
  for (const std::string_view field : {e.accession, e.extraId, e.moleculeType}) {
    out.append(field);
    out.push_back('\0');
  }
  out.append(e.location);
}

EndPoint EndFromKey(std::string_view name, std::string_view key) {
  std::array<std::string_view, 4> f;
  for (std::size_t k = 0; k < 3; ++k) {
    const std::size_t end = key.find('\0');
    f[k] = key.substr(0, end);
    key.remove_prefix(end + 1);
  }
  f[3] = key;
  return EndPoint{name, f[0], f[1], f[2], f[3]};
}

// Turns the records of a piece into rows: their fields as the network takes them, their
// names looked up in the shared table, and the warnings each gives.
class RowScanner {
 public:
  RowScanner(const Layout& layout, bool preferEffectColumn, bool collectWarnings)
      : layout_(layout), collect_(collectWarnings) {
    // Flags give the sign unless the user chose an effect column; consensus flags win.
    if (preferEffectColumn) return;
    if (layout.has(kConsensusStimulationFlag) && layout.has(kConsensusInhibitionFlag)) {
      flags_ = {layout.column[kConsensusStimulationFlag], layout.column[kConsensusInhibitionFlag]};
      flagTitles_ = {"consensus_stimulation", "consensus_inhibition"};
    } else if (layout.has(kStimulationFlag) && layout.has(kInhibitionFlag)) {
      flags_ = {layout.column[kStimulationFlag], layout.column[kInhibitionFlag]};
      flagTitles_ = {"is_stimulation", "is_inhibition"};
    }
  }

  // Scans records from `lines` into `piece`, whose memory is reused, until the end of the
  // text or the first record that ends `budget` bytes or more after where `lines` stood.
  // Lines are counted from there.
  void scan(LineCursor& lines, std::size_t budget, SharedNames& names, TablePiece& piece) {
    piece.clear();
    piece_ = &piece;
    const std::size_t start = lines.offset(), firstLine = lines.number();
    piece.rows.reserve(std::min(budget, lines.size() - start) / 40 + 1);
    FieldSplitter row(layout_.separator, layout_.quotes);
    std::string_view record;
    while (lines.offset() - start < budget && lines.nextContent(record)) {
      const auto line = static_cast<std::uint32_t>(lines.number() - firstLine);
      bool closed = row.split(record);
      while (!closed && lines.extend(record)) closed = row.split(record);
      if (!closed) {
        piece.error.emplace(line, "a quoted field opened on this line is never closed");
        break;
      }
      if (addRow(row, line)) {
        TableRow& r = piece.rows.back();
        auto& [index, at] = piece.named.emplace_back();
        index = static_cast<std::uint32_t>(piece.rows.size() - 1);
        for (std::size_t side = 0; side < 2; ++side) {
          const EndPoint& e = ends_[side];
          at[2 * side] = static_cast<std::uint32_t>(piece.texts.size());
          at[2 * side + 1] = static_cast<std::uint32_t>(e.name.size());
          piece.texts.append(e.name);
          r.fieldsAt[side] = static_cast<std::uint32_t>(piece.texts.size());
          AppendEndKey(e, piece.texts);
          r.fieldsSize[side] = static_cast<std::uint32_t>(piece.texts.size() - r.fieldsAt[side]);
        }
      }
      piece.rows.back().warningsEnd = static_cast<std::uint32_t>(piece.warnings.size());
    }
    piece.lines = static_cast<std::uint32_t>(lines.number() - firstLine);
    // The names are looked up once every record is read, so that the table's places for
    // the names of rows a few on can be fetched ahead.
    const std::string_view texts = piece.texts;
    std::vector<std::array<SharedNames::Key, 2>>& keys = piece.keys;
    keys.resize(piece.named.size());
    for (std::size_t k = 0; k < keys.size(); ++k) {
      const std::array<std::uint32_t, 4>& at = piece.named[k].name;
      keys[k] = {SharedNames::KeyOf(texts.substr(at[0], at[1])),
                 SharedNames::KeyOf(texts.substr(at[2], at[3]))};
    }
    names.findRows(
        keys,
        [&](std::size_t k, std::size_t side) {
          const TableRow& r = piece.rows[piece.named[k].row];
          return texts.substr(r.fieldsAt[side], r.fieldsSize[side]);
        },
        [&](std::size_t k, std::size_t side, NameEntry* entry) {
          piece.rows[piece.named[k].row].name[side] = entry;
        });
    piece_ = nullptr;
  }

 private:
  void warn(std::string key, std::uint32_t line, std::string message) {
    if (collect_) piece_->warnings.push_back({std::move(key), line, std::move(message)});
  }

  std::string_view field(const FieldSplitter& row, Role role) const {
    const std::size_t c = layout_.column[role];
    return c == kAbsent ? std::string_view() : row[c];
  }

  std::string_view effectOf(const FieldSplitter& row, std::uint32_t line) {
    if (flags_.first != kAbsent) {
      const std::string_view stimText = row[flags_.first];
      const std::string_view inhText = row[flags_.second];
      const std::optional<bool> stim = ParseFlag(stimText);
      const std::optional<bool> inh = ParseFlag(inhText);
      if (!stim || !inh) {
        warn("flag value", line,
             "flag \"" + Abbreviate(stim ? inhText : stimText, 40) + "\" in " +
                 (stim ? flagTitles_.second : flagTitles_.first) +
                 " is not 0 or 1; effect read as \"0\"");
        return kNeutral;
      }
      if (*stim && !*inh) return kActivation;
      if (*inh && !*stim) return kInhibition;
      if (*stim) {
        warn("both flags", line,
             "both " + flagTitles_.first + " and " + flagTitles_.second +
                 " are 1; effect read as \"0\"");
      } else {
        warn("no flag", line,
             "neither " + flagTitles_.first + " nor " + flagTitles_.second +
                 " is 1; effect read as \"0\"");
      }
      return kNeutral;
    }
    const std::string_view word = field(row, kEffect);
    if (IsUnknownField(word)) return kNeutral;
    if (const auto effect = effects_.find(word)) return *effect;
    const std::string shown = Abbreviate(word, 40);
    warn("effect word " + shown, line,
         "effect \"" + shown + "\" is not a known sign word; read as \"0\"");
    return kNeutral;
  }

  EndPoint endPoint(const FieldSplitter& row, bool source) {
    const Role id = source ? kSource : kTarget;
    const Role symbol = source ? kSourceSymbol : kTargetSymbol;
    const Role accession = source ? kSourceAccession : kTargetAccession;
    const Role type = source ? kSourceType : kTargetType;
    const Role location = source ? kSourceLocation : kTargetLocation;
    Buffers& b = source ? sourceBuffers_ : targetBuffers_;
    EndPoint e;
    std::string_view name = field(row, symbol);
    std::string_view acc = field(row, accession);
    if (layout_.has(symbol)) {
      // Gene symbols name the molecules; the plain column then holds the accessions.
      if (!layout_.has(accession)) acc = field(row, id);
      if (IsUnknownField(name)) name = field(row, id);
    } else {
      name = field(row, id);
    }
    e.name = IsUnknownField(name) ? std::string_view() : OneWord(name, b.name);
    e.accession = OptionalWord(acc, b.accession);
    if (layout_.signorTypes) {
      b.type = SignorEntityType(field(row, type));
      e.moleculeType = b.type;
      e.location = "NA";
      if (layout_.signorLayers) {
        const std::string_view layer = field(row, location);
        if (EqualsNoCase(layer, "extracellular")) {
          e.moleculeType = "Ligand";
          e.location = "Extracellular";
        } else if (EqualsNoCase(layer, "receptor")) {
          e.moleculeType = "Receptor";
          e.location = "Membrane";
        } else if (EqualsNoCase(layer, "factor")) {
          e.moleculeType = "TF";
          e.location = "Nucleus";
        } else if (StartsWithNoCase(layer, "phenotype")) {
          e.moleculeType = "Phenotype";
          e.location = "Cytosol";
        } else {
          e.location = "Cytosol";
        }
      }
    } else {
      e.moleculeType = OptionalWord(field(row, type), b.type);
      e.location = OptionalWord(field(row, location), b.location);
    }
    return e;
  }

  // Makes the record's row, its ends in ends_; false when it adds nothing.
  bool addRow(const FieldSplitter& row, std::uint32_t line) {
    TablePiece& piece = *piece_;
    piece.rows.emplace_back().line = line;
    ends_ = {endPoint(row, true), endPoint(row, false)};
    if (ends_[0].name.empty() || ends_[1].name.empty()) {
      warn("no end", line, "row without a source or target; skipped");
      return false;
    }
    if (layout_.header && EqualsNoCase(field(row, kSource), layout_.sourceTitle) &&
        EqualsNoCase(field(row, kTarget), layout_.targetTitle)) {
      warn("title line", line, "repeated title line; skipped");
      return false;
    }
    TableRow& r = piece.rows.back();
    r.effect = piece.words.number(effectOf(row, line));
    r.type = piece.words.number(OptionalWord(field(row, kType), typeBuffer_));
    const std::string_view references = field(row, kPubmed);
    ParsePubmedIds(references, pubmedIds_);
    if (pubmedIds_.empty()) {
      if (!IsUnknownField(references)) {
        warn("pubmed", line,
             "references \"" + Abbreviate(references, 40) + "\" hold no PubMed id; read as 0");
      }
      pubmedIds_.push_back(0);
    }
    r.idsAt = static_cast<std::uint32_t>(piece.ids.size());
    r.idsCount = static_cast<std::uint32_t>(pubmedIds_.size());
    piece.ids.insert(piece.ids.end(), pubmedIds_.begin(), pubmedIds_.end());
    return true;
  }

  struct Buffers {
    std::string name, accession, type, location;
  };

  const Layout& layout_;
  bool collect_;
  std::pair<std::size_t, std::size_t> flags_{kAbsent, kAbsent};
  std::pair<std::string, std::string> flagTitles_;
  EffectWords effects_;
  Buffers sourceBuffers_, targetBuffers_;
  std::array<EndPoint, 2> ends_;
  std::string typeBuffer_;
  std::vector<PubmedId> pubmedIds_;
  TablePiece* piece_ = nullptr;
};

// Adds the scanned pieces of a table to the builder in file order.
class TableAdder {
 public:
  TableAdder(NetworkBuilder& builder, const std::string& file, Warnings* warnings,
             std::size_t linesBefore)
      : builder_(builder), file_(file), warnings_(warnings), firstLine_(linesBefore) {}

  void add(const TablePiece& piece) {
    pooled_.start(piece.words);
    std::size_t warned = 0;
    const std::string_view texts = piece.texts;
    for (std::size_t k = 0; k < piece.rows.size(); ++k) {
      pieces::FetchAhead(builder_, k, piece.rows.size(),
                         [&piece](std::size_t j) { return piece.rows[j].name; });
      const TableRow& row = piece.rows[k];
      for (; warned < row.warningsEnd; ++warned) {
        const PendingWarning& w = piece.warnings[warned];
        warnings_->add(w.key, file_, firstLine_ + w.line, w.message);
      }
      if (row.name[0] == nullptr) continue;
      const std::size_t line = firstLine_ + row.line;
      const PooledText effect = pooled_(builder_, row.effect);
      const PooledText type = pooled_(builder_, row.type);
      for (std::uint32_t i = 0; i < row.idsCount; ++i) {
        std::array<NetworkBuilder::EndFields, 2> fields;
        std::array<MoleculeId, 2> ids{};
        for (std::size_t side = 0; side < 2; ++side) {
          NameEntry& entry = *row.name[side];
          const std::string_view key = texts.substr(row.fieldsAt[side], row.fieldsSize[side]);
          ids[side] = pieces::AddRowEnd(builder_, entry, entry.usual() == key, line, fields[side],
                                        [&] { return EndFromKey(entry.name(), key); });
        }
        builder_.addInteraction(ids[0], ids[1], fields[0], fields[1], effect, type,
                                piece.ids[row.idsAt + i], line);
      }
    }
    if (piece.error) throw InputError(file_, firstLine_ + piece.error->first, piece.error->second);
    firstLine_ += piece.lines;
  }

 private:
  NetworkBuilder& builder_;
  const std::string& file_;
  Warnings* warnings_;
  std::size_t firstLine_;       // lines before the piece
  pieces::PooledWords pooled_;  // of the piece being added
};

// A scanned piece of a table takes about five times its text (rows, names, keys); pieces
// of at most 1 MB keep the few held at a time small.
constexpr std::size_t kLargestPiece = std::size_t{1} << 20;

// Reads the rows after the title line (or all rows when the layout has none), in pieces:
// on `threads` threads, unless a quoted field may hold a line break.
Network ReadWithLayout(std::string_view text, const std::string& file, const Layout& layout,
                       bool preferEffectColumn, Warnings* warnings, unsigned threads,
                       const TextConsumed& consumed) {
  NetworkBuilder builder;
  builder.makeNamesSigSafe(warnings, file);
  builder.reserve(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1);
  LineCursor lines(text, LineCursor::Mode::kStripped);
  if (layout.header) {
    FieldSplitter titles(layout.separator, layout.quotes);
    std::size_t line = 0;
    NextRecord(lines, titles, file, line);
  }
  // After the title line and a byte order mark, both taken by `lines`.
  const std::string_view rows = text.substr(lines.offset());
  constexpr LineCursor::Mode kPart = LineCursor::Mode::kStrippedPart;
  TableAdder adder(builder, file, warnings, lines.number());
  if (layout.quotes && rows.find('"') != std::string_view::npos) {
    // A quoted field may hold a line break, so that the records cannot be cut apart
    // before they are read: they are read in turn, a piece at a time, on this thread.
    SharedNames names(false);
    RowScanner scanner(layout, preferEffectColumn, warnings != nullptr);
    TablePiece piece;
    LineCursor records(rows, kPart);
    while (records.offset() < rows.size()) {
      const std::size_t from = records.offset();
      scanner.scan(records, kLargestPiece, names, piece);
      adder.add(piece);
      if (consumed) consumed(rows.substr(from, records.offset() - from));
    }
  } else {
    const std::vector<std::string_view> parts =
        pieces::CutIntoPieces(rows, pieces::PieceSize(rows.size(), threads, kLargestPiece));
    const bool concurrent = threads > 1 && parts.size() > 1;
    SharedNames names(concurrent);
    const std::span<std::byte> block = builder.reservedInteractions();
    // Scanned pieces, and those already added, whose memory is taken again by later pieces.
    std::vector<std::unique_ptr<TablePiece>> scanned(parts.size());
    std::vector<std::unique_ptr<TablePiece>> spare;
    std::mutex spareMutex;
    pieces::ScanAndAddInOrder(
        parts.size(), threads,
        [&](std::size_t k) {
          std::unique_ptr<TablePiece> piece;
          {
            std::lock_guard lock(spareMutex);
            if (!spare.empty()) {
              piece = std::move(spare.back());
              spare.pop_back();
            }
          }
          if (!piece) piece = std::make_unique<TablePiece>();
          LineCursor lines(parts[k], kPart);
          RowScanner(layout, preferEffectColumn, warnings != nullptr)
              .scan(lines, parts[k].size(), names, *piece);
          scanned[k] = std::move(piece);
          // The kernel readies the memory the piece's interactions will take, here rather
          // than page by page on the adding thread.
          if (concurrent) pieces::PrefaultShare(block, rows, parts[k]);
        },
        [&](std::size_t k) {
          adder.add(*scanned[k]);
          if (consumed) consumed(parts[k]);
          std::lock_guard lock(spareMutex);
          spare.push_back(std::move(scanned[k]));
        });
  }
  if (builder.rowCount() == 0) throw InputError(file, 0, "the file holds no interactions");
  if (consumed) consumed(text);
  return builder.build(threads);
}

// Places the table columns from the title line and the user's choices; throws when no
// source or target column is found.
Layout TableLayout(std::string_view text, const std::string& file, const TableColumns& given,
                   bool quotes) {
  LineCursor peek(text, LineCursor::Mode::kStripped);
  std::string_view first;
  if (!peek.nextContent(first)) throw InputError(file, 0, "the file holds no interactions");
  Layout layout;
  layout.separator = SeparatorOf(first);
  layout.quotes = quotes && layout.separator != ' ';
  FieldSplitter header(layout.separator, layout.quotes);
  LineCursor lines(text, LineCursor::Mode::kStripped);
  std::size_t titleLine = 0;
  NextRecord(lines, header, file, titleLine);
  const std::vector<std::string_view>& titles = header.fields();

  const std::array<std::pair<Role, const std::string*>, 11> choices = {{
      {kSource, &given.source},
      {kTarget, &given.target},
      {kEffect, &given.effect},
      {kType, &given.interactionType},
      {kPubmed, &given.pubmed},
      {kSourceType, &given.sourceType},
      {kTargetType, &given.targetType},
      {kSourceLocation, &given.sourceLocation},
      {kTargetLocation, &given.targetLocation},
      {kSourceAccession, &given.sourceAccession},
      {kTargetAccession, &given.targetAccession},
  }};
  for (const auto& [role, value] : choices) {
    if (value->empty()) continue;
    const std::size_t c = FindGivenColumn(titles, *value);
    if (c == kAbsent) {
      throw InputError(
          file, titleLine,
          "no column \"" + *value + "\" in the title line; titles found: " + TitleList(titles));
    }
    layout.column[role] = c;
  }
  // A column chosen by the user as source or target is not replaced by a symbol column.
  if (!given.source.empty()) layout.column[kSourceSymbol] = layout.column[kSource];
  if (!given.target.empty()) layout.column[kTargetSymbol] = layout.column[kTarget];
  FindColumnsByTitle(titles, layout);
  if (!given.source.empty()) layout.column[kSourceSymbol] = kAbsent;
  if (!given.target.empty()) layout.column[kTargetSymbol] = kAbsent;
  // Gene symbols alone can stand for the plain columns.
  if (!layout.has(kSource)) std::swap(layout.column[kSource], layout.column[kSourceSymbol]);
  if (!layout.has(kTarget)) std::swap(layout.column[kTarget], layout.column[kTargetSymbol]);

  if (!layout.has(kSource) || !layout.has(kTarget)) {
    if (!given.any() && IsFourColumnRegulationLine(first)) {
      Layout fixed;
      SetFourColumnLayout(fixed);
      return fixed;
    }
    const std::string missing = !layout.has(kSource) && !layout.has(kTarget) ? "source and target"
                                : !layout.has(kSource)                       ? "source"
                                                                             : "target";
    throw TableColumnsError(
        file, titleLine,
        "no " + missing + " column found in the title line; titles found: " + TitleList(titles) +
            ". Name the columns with --source-col and --target-col (a title or a column number)",
        std::vector<std::string>(titles.begin(), titles.end()));
  }
  layout.sourceTitle = std::string(titles[layout.column[kSource]]);
  layout.targetTitle = std::string(titles[layout.column[kTarget]]);
  layout.titles.assign(titles.begin(), titles.end());
  return layout;
}

// ---------------------------------------------------------------------------------------
// Format detection

// SIF relation words besides the sign words: the usual short codes (pp, pd, ...) and the relation
// names of pathway-database SIF exports.
bool IsRelationWord(std::string_view word) {
  static constexpr std::array<std::string_view, 22> kRelations = {"pp",
                                                                  "pd",
                                                                  "pr",
                                                                  "rc",
                                                                  "cr",
                                                                  "gl",
                                                                  "co",
                                                                  "ip",
                                                                  "interacts",
                                                                  "interacts_with",
                                                                  "interacts-with",
                                                                  "controls-state-change-of",
                                                                  "controls-expression-of",
                                                                  "controls-transport-of",
                                                                  "controls-production-of",
                                                                  "in-complex-with",
                                                                  "neighbor-of",
                                                                  "catalysis-precedes",
                                                                  "chemical-affects",
                                                                  "consumption-controlled-by",
                                                                  "reacts-with",
                                                                  "used-to-produce"};
  for (const std::string_view r : kRelations) {
    if (EqualsNoCase(word, r)) return true;
  }
  return EffectFromWord(word).has_value();
}

// Fields of a SIF line: tab separated when it holds a tab, else blank separated.
std::vector<std::string_view> SifFields(std::string_view line) {
  std::vector<std::string_view> fields;
  if (line.find('\t') != std::string_view::npos) {
    std::size_t start = 0;
    while (true) {
      const std::size_t end = std::min(line.find('\t', start), line.size());
      const std::string_view f = TrimBlanks(line.substr(start, end - start));
      if (!f.empty()) fields.push_back(f);
      if (end == line.size()) break;
      start = end + 1;
    }
    return fields;
  }
  return SplitFields(line);
}

bool HasKey(const std::vector<std::string>& keys, std::string_view key) {
  return std::find(keys.begin(), keys.end(), key) != keys.end();
}

}  // namespace

// Says which column gave which field and which columns were not used, so that a column
// taken for the wrong field is seen at once.
void NoteColumnsUsed(const Layout& layout, const std::string& file, bool effectChosen,
                     Warnings* warnings) {
  if (warnings == nullptr) return;
  if (!layout.header) {
    warnings->note(file + ": no title line; columns read as source, target, effect and PubMed ids");
    return;
  }
  if (layout.titles.empty()) return;
  std::vector<std::pair<std::size_t, const char*>> shown;
  const auto add = [&](Role role, const char* what) {
    if (layout.has(role)) shown.emplace_back(layout.column[role], what);
  };
  // Gene symbols name the molecules when present; the plain column then gives accessions.
  for (const bool source : {true, false}) {
    const Role id = source ? kSource : kTarget;
    const Role symbol = source ? kSourceSymbol : kTargetSymbol;
    const Role accession = source ? kSourceAccession : kTargetAccession;
    add(layout.has(symbol) ? symbol : id, source ? "source" : "target");
    if (layout.has(accession)) {
      add(accession, source ? "source accession" : "target accession");
    } else if (layout.has(symbol)) {
      add(id, source ? "source accession" : "target accession");
    }
  }
  // The sign comes from one place, as RowReader chooses it: a chosen effect column, else the
  // consensus flags, else the plain flags, else an effect column found by title.
  const bool consensus =
      layout.has(kConsensusStimulationFlag) && layout.has(kConsensusInhibitionFlag);
  const bool plain = layout.has(kStimulationFlag) && layout.has(kInhibitionFlag);
  if (effectChosen || (!consensus && !plain)) {
    add(kEffect, "effect");
  } else if (consensus) {
    add(kConsensusStimulationFlag, "stimulation flag");
    add(kConsensusInhibitionFlag, "inhibition flag");
  } else {
    add(kStimulationFlag, "stimulation flag");
    add(kInhibitionFlag, "inhibition flag");
  }
  add(kType, "interaction type");
  add(kPubmed, "PubMed ids");
  add(kSourceType, "source type");
  add(kTargetType, "target type");
  add(kSourceLocation, "source location");
  add(kTargetLocation, "target location");

  std::vector<bool> used(layout.titles.size(), false);
  std::string text = file + ": columns used:";
  bool first = true;
  for (const auto& [column, what] : shown) {
    if (column >= used.size() || used[column]) continue;
    used[column] = true;
    text += first ? " " : ", ";
    first = false;
    text += std::string(what) + " \"" + Abbreviate(layout.titles[column], 40) + "\"";
  }
  std::string unused;
  for (std::size_t k = 0; k < used.size(); ++k) {
    if (used[k]) continue;
    unused += unused.empty() ? "" : ", ";
    unused += "\"" + Abbreviate(layout.titles[k], 40) + "\"";
  }
  if (!unused.empty()) text += "; not used: " + unused;
  warnings->note(text);
}

Network ReadTableText(std::string_view text, const std::string& file, const TableColumns& columns,
                      Warnings* warnings, unsigned threads, const TextConsumed& consumed) {
  CheckIsText(text, file, EmptyText::kOnlyBlanks);
  const Layout layout = TableLayout(text, file, columns, true);
  NoteColumnsUsed(layout, file, !columns.effect.empty(), warnings);
  return ReadWithLayout(text, file, layout, !columns.effect.empty(), warnings, threads, consumed);
}

Network ReadOmniPathText(std::string_view text, const std::string& file, Warnings* warnings,
                         unsigned threads, const TextConsumed& consumed) {
  CheckIsText(text, file, EmptyText::kOnlyBlanks);
  const Layout layout = TableLayout(text, file, {}, false);
  if (!layout.header) {
    throw InputError(file, 1, "no OmniPath title line (source, target, ...)");
  }
  NoteColumnsUsed(layout, file, false, warnings);
  return ReadWithLayout(text, file, layout, false, warnings, threads, consumed);
}

Network ReadSignorText(std::string_view text, const std::string& file, Warnings* warnings,
                       unsigned threads, const TextConsumed& consumed) {
  CheckIsText(text, file, EmptyText::kOnlyBlanks);
  LineCursor lines(text, LineCursor::Mode::kStripped);
  std::string_view first;
  if (!lines.nextContent(first)) throw InputError(file, 0, "the file holds no interactions");
  FieldSplitter f('\t', false);
  f.split(first);
  Layout layout;
  layout.signorTypes = true;
  std::vector<std::string> keys;
  for (const std::string_view t : f.fields()) keys.push_back(TitleKey(t));
  if (HasKey(keys, "entitya") && HasKey(keys, "entityb")) {
    const auto at = [&keys](std::string_view key) {
      const auto it = std::find(keys.begin(), keys.end(), key);
      return it == keys.end() ? kAbsent : static_cast<std::size_t>(it - keys.begin());
    };
    layout.column[kSource] = at("entitya");
    layout.column[kTarget] = at("entityb");
    layout.column[kSourceType] = at("typea");
    layout.column[kTargetType] = at("typeb");
    layout.column[kSourceAccession] = at("ida");
    layout.column[kTargetAccession] = at("idb");
    layout.column[kEffect] = at("effect");
    layout.column[kType] = at("mechanism");
    layout.column[kPubmed] = at("pmid");
    layout.column[kSourceLocation] = at("regulatorlocation");
    layout.column[kTargetLocation] = at("targetlocation");
    layout.signorLayers = layout.has(kSourceLocation) && layout.has(kTargetLocation);
    layout.sourceTitle = std::string(f[layout.column[kSource]]);
    layout.targetTitle = std::string(f[layout.column[kTarget]]);
  } else if (f.size() == 28) {
    // The all-data download without its title line: ENTITYA TYPEA IDA DATABASEA ENTITYB
    // TYPEB IDB DATABASEB EFFECT MECHANISM ... PMID (22nd) ...
    layout.header = false;
    layout.column[kSource] = 0;
    layout.column[kSourceType] = 1;
    layout.column[kSourceAccession] = 2;
    layout.column[kTarget] = 4;
    layout.column[kTargetType] = 5;
    layout.column[kTargetAccession] = 6;
    layout.column[kEffect] = 8;
    layout.column[kType] = 9;
    layout.column[kPubmed] = 21;
  } else {
    throw InputError(file, lines.number(),
                     "not a SIGNOR file: expected a title line naming ENTITYA and ENTITYB, or "
                     "28 tab-separated columns (found " +
                         std::to_string(f.size()) + ")");
  }
  return ReadWithLayout(text, file, layout, true, warnings, threads, consumed);
}

Network ReadSifText(std::string_view text, const std::string& file, Warnings* warnings) {
  CheckIsText(text, file, EmptyText::kOnlyBlanks);
  NetworkBuilder builder;
  builder.makeNamesSigSafe(warnings, file);
  LineCursor lines(text, LineCursor::Mode::kStripped);
  EffectWords effects;
  std::string_view line;
  std::string sourceBuffer, targetBuffer, relationBuffer;
  std::size_t molecules = 0;
  while (lines.nextContent(line)) {
    const std::vector<std::string_view> fields = SifFields(line);
    const EndPoint source{OneWord(fields[0], sourceBuffer)};
    if (fields.size() == 1) {
      builder.addMolecule(source, lines.number());
      ++molecules;
      continue;
    }
    if (fields.size() == 2) {
      if (warnings) {
        warnings->add(
            "no target", file, lines.number(),
            "line \"" + Abbreviate(line, 40) + "\" names a relation but no target; " + "skipped");
      }
      continue;
    }
    const std::string_view relation = OneWord(fields[1], relationBuffer);
    const std::optional<std::string_view> sign = effects.find(relation);
    const std::string_view effect = sign ? *sign : kNeutral;
    const std::string_view type = sign ? std::string_view("NA") : relation;
    for (std::size_t k = 2; k < fields.size(); ++k) {
      builder.addRow(source, EndPoint{OneWord(fields[k], targetBuffer)}, effect, type, 0,
                     lines.number());
    }
  }
  if (builder.rowCount() == 0 && molecules == 0) {
    throw InputError(file, 0, "the file holds no interactions");
  }
  return builder.build();
}

bool IsEndPointTitle(std::string_view title) {
  const std::string key = TitleKey(title);
  for (const Role role : {kSource, kTarget, kSourceSymbol, kTargetSymbol}) {
    const auto& synonyms = Synonyms(role);
    if (std::find(synonyms.begin(), synonyms.end(), key) != synonyms.end()) return true;
  }
  return false;
}

std::optional<NetworkFormat> DetectTabularFormat(std::string_view text) {
  LineCursor lines(text, LineCursor::Mode::kStripped);
  std::string_view first;
  if (!lines.nextContent(first)) return std::nullopt;

  // Title lines.
  FieldSplitter titles(SeparatorOf(first), true);
  if (titles.split(first) && titles.size() >= 2) {
    std::vector<std::string> keys;
    for (const std::string_view t : titles.fields()) keys.push_back(TitleKey(t));
    if (HasKey(keys, "entitya") && HasKey(keys, "entityb")) return NetworkFormat::Signor;
    const bool sourceTarget = (HasKey(keys, "source") || HasKey(keys, "sourcegenesymbol")) &&
                              (HasKey(keys, "target") || HasKey(keys, "targetgenesymbol"));
    if (sourceTarget && (HasKey(keys, "isdirected") || HasKey(keys, "isstimulation") ||
                         HasKey(keys, "consensusdirection"))) {
      return NetworkFormat::OmniPath;
    }
    Layout layout;
    FindColumnsByTitle(titles.fields(), layout);
    // Blank-separated lines are titles only when every field is one, so that no data row
    // (of a SIG file, say) passes for a title line.
    const bool allTitles = static_cast<std::size_t>(std::count_if(
                               layout.column.begin(), layout.column.end(),
                               [](std::size_t c) { return c != kAbsent; })) == titles.size();
    if ((layout.has(kSource) || layout.has(kSourceSymbol)) &&
        (layout.has(kTarget) || layout.has(kTargetSymbol)) &&
        (allTitles || SeparatorOf(first) != ' ')) {
      return NetworkFormat::Table;
    }
  }

  // Header-less rows.
  if (std::count(first.begin(), first.end(), '\t') == 27) {
    FieldSplitter f('\t', false);
    f.split(first);
    const std::string_view effect = f[8];
    if (!f[0].empty() && !f[4].empty() &&
        (EffectFromWord(effect) || StartsWithNoCase(effect, "form complex"))) {
      return NetworkFormat::Signor;
    }
  }
  if (IsFourColumnRegulationLine(first)) return NetworkFormat::Table;

  // SIF: every line of the first few has one name, or three or more fields with a relation
  // word second; at least one of them relates molecules.
  std::string_view line = first;
  bool relates = false;
  for (int n = 0; n < 5; ++n) {
    const std::vector<std::string_view> fields = SifFields(line);
    if (fields.size() == 2) return std::nullopt;
    if (fields.size() >= 3) {
      if (!IsRelationWord(fields[1])) return std::nullopt;
      relates = true;
    }
    if (!lines.nextContent(line)) break;
  }
  if (relates) return NetworkFormat::Sif;
  return std::nullopt;
}

}  // namespace tessel
