#include "model/readers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>

#include "model/effects.h"
#include "model/graphml.h"
#include "model/line_fields.h"
#include "model/psimi.h"
#include "model/table_reader.h"
#include "model/text_input.h"
#include "util/error.h"
#include "util/files.h"
#include "util/parallel.h"
#include "util/text.h"

namespace tessel {
namespace {

constexpr std::string_view kPairsColumnMessage =
    " to few or too many columns\nThe load two column function only accepts text files with 2 "
    "columns in each row!";

constexpr NetworkFormatInfo kFormats[] = {
    {NetworkFormat::Auto, "auto", "an unknown format", {}, {}},
    {NetworkFormat::Sig, "sig", "a SIG file", "SIG", "*.sig"},
    {NetworkFormat::Pairs, "pairs", "a two-column file", "two-column", "*.txt"},
    {NetworkFormat::PsiMi, "psimi", "PSI-MI XML", "PSI-MI XML", "*.xml"},
    {NetworkFormat::Mitab, "mitab", "PSI-MI TAB", "PSI-MI TAB", "*.txt *.tsv *.mitab"},
    {NetworkFormat::Table, "table", "a table", "CSV/TSV table", "*.csv *.tsv *.txt"},
    {NetworkFormat::Sif, "sif", "SIF", "SIF", "*.sif"},
    {NetworkFormat::Signor, "signor", "a SIGNOR download", "SIGNOR", "*.tsv *.txt *.csv"},
    {NetworkFormat::OmniPath, "omnipath", "an OmniPath interactions table", "OmniPath",
     "*.tsv *.txt"},
    {NetworkFormat::GraphMl, "graphml", "GraphML", "GraphML", "*.graphml *.xml"}};

const NetworkFormatInfo& EntryOf(NetworkFormat format) {
  for (const NetworkFormatInfo& entry : kFormats) {
    if (entry.format == format) return entry;
  }
  return kFormats[0];
}

}  // namespace

std::span<const NetworkFormatInfo> NetworkFormats() {
  return kFormats;
}

NetworkFormat ParseNetworkFormat(std::string_view name) {
  for (const NetworkFormatInfo& entry : kFormats) {
    if (name == entry.name) return entry.format;
  }
  throw std::invalid_argument("unknown network format: " + std::string(name));
}

std::string_view FormatName(NetworkFormat format) {
  return EntryOf(format).name;
}

std::string_view FormatDescription(NetworkFormat format) {
  return EntryOf(format).description;
}

std::vector<std::string> FormatNames() {
  std::vector<std::string> names;
  for (const NetworkFormatInfo& entry : kFormats) names.emplace_back(entry.name);
  return names;
}

Network ReadTwoColumnText(std::string_view text, const std::string& file, Warnings* warnings) {
  CheckIsText(text, file, EmptyText::kNoBytes);
  NetworkBuilder builder;
  builder.makeNamesSigSafe(warnings, file);
  std::array<std::string_view, 2> f;
  bool ended = false;
  bool first = true;
  LineCursor lines(text, LineCursor::Mode::kRaw);
  std::string_view line;
  while (lines.next(line)) {
    const std::size_t count = SplitLine(line, f);
    if (count == 0) continue;
    if (count != 2) ColumnError(file, lines.number(), line, kPairsColumnMessage);
    if (first && IsEndPointTitle(f[0]) && IsEndPointTitle(f[1])) {
      throw InputError(file, lines.number(),
                       "the first line looks like column titles (\"" + Abbreviate(line, 60) +
                           "\"), not a pair of molecules: remove it, or read the file with "
                           "--format table");
    }
    first = false;
    if (ended || f[0] == "na" || f[1] == "na") {
      ended = true;
      continue;
    }
    // Unlike SIG names, names here keep a leading digit as it is.
    builder.addRow(EndPoint{f[0]}, EndPoint{f[1]}, "0", "NA", 0, lines.number());
  }
  if (builder.rowCount() == 0) {
    throw InputError(file, 0, "the file holds no interactions");
  }
  return builder.build();
}

namespace {

// A MITAB identifier column holds "db:id" entries (or "-" when there is no interactor).
bool LooksLikeMitabRow(std::string_view line) {
  if (std::count(line.begin(), line.end(), '\t') < 14) return false;
  const std::string_view first = line.substr(0, line.find('\t'));
  const std::size_t colon = first.find(':');
  return first == "-" || (colon != std::string_view::npos && colon > 0 && colon + 1 < first.size());
}

}  // namespace

NetworkFormat DetectFormat(std::string_view text, const std::filesystem::path& path) {
  std::size_t start = 0;
  if (text.substr(0, 3) == "\xEF\xBB\xBF") start = 3;
  while (start < text.size() && (IsBlank(text[start]) || text[start] == '\n')) ++start;
  const std::string ext = UpperCaseKey(path.extension().string());
  // Markup: GraphML or PSI-MI XML. No other format's first character is "<"; the XML readers
  // name what they do not understand.
  if (start < text.size() && text[start] == '<') {
    const std::string_view head = text.substr(start, 4096);
    if (ext == ".GRAPHML" || head.find("<graphml") != std::string_view::npos) {
      return NetworkFormat::GraphMl;
    }
    return NetworkFormat::PsiMi;
  }
  if (ext == ".SIG") return NetworkFormat::Sig;
  if (ext == ".GRAPHML") return NetworkFormat::GraphMl;
  if (ext == ".SIF") return NetworkFormat::Sif;
  LineCursor lines(text.substr(start), LineCursor::Mode::kRaw);
  std::string_view line;
  while (lines.next(line)) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    // MITAB column titles, with or without the leading "#".
    if (line.starts_with("#ID") || line.starts_with("ID(s) interactor") ||
        line.starts_with("ID interactor") || line.starts_with("#unique_identifier")) {
      return NetworkFormat::Mitab;
    }
    if (LooksLikeMitabRow(line)) return NetworkFormat::Mitab;
    std::array<std::string_view, 2> f;
    if (SplitLine(line, f) == 0) continue;
    break;
  }
  // Tables with a header, SIGNOR and OmniPath downloads, SIF.
  if (const auto tabular = DetectTabularFormat(text.substr(start))) return *tabular;
  if (ext == ".CSV" || ext == ".TSV") return NetworkFormat::Table;
  std::array<std::string_view, 2> f;
  if (SplitLine(line, f) == 2) return NetworkFormat::Pairs;
  return NetworkFormat::Sig;
}

namespace {
// Reads `text` with the reader of `format` (not Auto). `owned`, when given, is the file
// holding the text: it is given back as soon as the reader no longer needs it, which for SIG
// files and tables is before the network's adjacency is built (a million rows are about
// 100 MB of text); the text of rows already added is given back as the reading goes on.
Network ReadFormat(std::string_view text, FileText* owned, const std::string& file,
                   NetworkFormat format, const ReadOptions& options, Warnings* warnings) {
  TextConsumed consumed;
  if (owned != nullptr) consumed = [owned](std::string_view part) { owned->releasePart(part); };
  const unsigned threads = ResolveThreads(options.threads);
  switch (format) {
    case NetworkFormat::Sig: {
      NetworkBuilder builder;
      ReadSigRows(text, file, warnings, threads, builder, consumed);
      if (owned != nullptr) owned->release();
      return builder.build(threads);
    }
    case NetworkFormat::Pairs:
      return ReadTwoColumnText(text, file, warnings);
    case NetworkFormat::PsiMi:
      return ReadPsiMiXml(text, file, warnings);
    case NetworkFormat::Mitab:
      return ReadMitabText(text, file, warnings);
    case NetworkFormat::Table:
      return ReadTableText(text, file, options.columns, warnings, threads, consumed);
    case NetworkFormat::Sif:
      return ReadSifText(text, file, warnings);
    case NetworkFormat::Signor:
      return ReadSignorText(text, file, warnings, threads, consumed);
    case NetworkFormat::OmniPath:
      return ReadOmniPathText(text, file, warnings, threads, consumed);
    case NetworkFormat::GraphMl:
      return ReadGraphMlText(text, file, warnings);
    case NetworkFormat::Auto:
      break;
  }
  throw InputError(file, 0, "unknown network format");
}

// Reads a network from `text` (`owned` as for ReadFormat).
Network ReadText(std::string_view text, FileText* owned, const std::string& file,
                 const ReadOptions& options, Warnings* warnings) {
  NetworkFormat format = options.format;
  if (format == NetworkFormat::Auto) {
    CheckIsText(text, file, EmptyText::kNoBytes);
    format = options.columns.any() ? NetworkFormat::Table : DetectFormat(text, file);
    // SIG is the usual case; any other guess is said, so that a wrong one is noticed.
    if (warnings != nullptr && format != NetworkFormat::Sig) {
      warnings->note(file + ": read as " + std::string(FormatDescription(format)) + " (--format " +
                     std::string(FormatName(format)) + ")");
    }
  }
  Network network = ReadFormat(text, owned, file, format, options, warnings);
  if (network.interactionCount() == 0 && !options.allowEmpty) {
    std::string message = "the file holds no interaction the reader could use (read as " +
                          std::string(FormatDescription(format));
    if (!network.empty()) {
      message += "; it names " + std::to_string(network.moleculeCount()) + " molecule(s)";
    }
    throw InputError(file, 0, message + ")");
  }
  return network;
}

}  // namespace

Network ReadNetworkText(std::string_view text, const std::string& file, const ReadOptions& options,
                        Warnings* warnings) {
  return ReadText(text, nullptr, file, options, warnings);
}

Network LoadNetwork(const std::filesystem::path& path, const ReadOptions& options,
                    Warnings* warnings) {
  FileText text(path);
  return ReadText(text.view(), &text, path.string(), options, warnings);
}

Network LoadNetwork(const std::filesystem::path& path, NetworkFormat format, Warnings* warnings) {
  ReadOptions options;
  options.format = format;
  return LoadNetwork(path, options, warnings);
}

SigRow FirstRowOf(const Network& network, const Interaction& i) {
  return {
      {network.sourceName(i), i.sourceAccession, i.sourceExtraId, i.sourceType, i.sourceLocation},
      {network.targetName(i), i.targetAccession, i.targetExtraId, i.targetType, i.targetLocation},
      i.effect,
      i.interactionType,
      i.firstPubmedId()};
}

void AppendSigRow(std::string& out, const SigRow& row) {
  const auto field = [&out](std::string_view s) {
    if (s.empty()) {
      out.append("NA");
    } else {
      const std::size_t start = out.size();
      out.append(s);
      for (std::size_t k = start; k < out.size(); ++k) {
        // Blanks would split the field, and control characters (NUL included) would make
        // the file binary.
        const auto c = static_cast<unsigned char>(out[k]);
        if (c < 0x20 || c == 0x7F || c == ' ') out[k] = '_';
      }
    }
    out.push_back(' ');
  };
  field(row.source.name);
  field(row.source.accession);
  field(row.source.extraId);
  field(row.source.moleculeType);
  field(row.source.location);
  field(row.target.name);
  field(row.target.accession);
  field(row.target.extraId);
  field(row.target.moleculeType);
  field(row.target.location);
  field(row.effect);
  field(row.interactionType);
  out.append(std::to_string(row.pubmedId));
  out.push_back('\n');
}

std::string SigRowsText(std::span<const SigRow> rows) {
  std::string out;
  out.reserve(rows.size() * 64);
  for (const SigRow& row : rows) AppendSigRow(out, row);
  return out;
}

std::string SigText(const Network& network) {
  std::string out;
  for (const Interaction& i : network.interactions()) {
    SigRow row = FirstRowOf(network, i);
    for (const PubmedId id : i.pubmedIds) {
      row.pubmedId = id;
      AppendSigRow(out, row);
    }
  }
  return out;
}

SigLosses SigLossesOf(const Network& network) {
  SigLosses losses;
  for (const Molecule& m : network.molecules()) {
    if (network.outgoing(m.id).empty() && network.incoming(m.id).empty()) {
      ++losses.moleculesWithoutInteractions;
    } else if (!m.name.empty() && m.name[0] >= '0' && m.name[0] <= '9') {
      ++losses.namesStartingWithDigit;
    }
  }
  return losses;
}

void WriteSigFile(const Network& network, const std::filesystem::path& path) {
  WriteFileAtomically(path, SigText(network));
}

}  // namespace tessel
