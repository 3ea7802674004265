// Network readers and the SIG writer.
//
// Readers parse text into a Network or throw InputError naming the file and line; a
// failed read never yields a partial network.
#pragma once

#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "model/network.h"
#include "model/warnings.h"

namespace tessel {

// Sig: 13 blank-separated fields per line. Pairs: two fields (source, target). PsiMi: PSI-MI
// XML 2.5 and 2.5.4. Mitab: PSI-MI TAB 2.5 to 2.8. Table: CSV or TSV with a header row.
// Sif: simple interaction format ("A rel B [C ...]"). Signor: SIGNOR's all-data and pathway
// TSV files. OmniPath: the OmniPath interactions TSV. GraphMl: GraphML with node and edge
// attributes. Auto: chosen by DetectFormat.
enum class NetworkFormat { Auto, Sig, Pairs, PsiMi, Mitab, Table, Sif, Signor, OmniPath, GraphMl };

// What the program says about one input format.
struct NetworkFormatInfo {
  NetworkFormat format;
  std::string_view name;         // as --format takes it: "sig"
  std::string_view description;  // in messages: "a SIG file"
  std::string_view label;        // in the list of readable files: "SIG" (empty for auto)
  std::string_view patterns;     // file names it usually comes in, for open dialogs: "*.sig"
};

// Every format, "auto" first; ParseNetworkFormat, FormatName, FormatDescription and
// FormatNames read this table.
std::span<const NetworkFormatInfo> NetworkFormats();

// Parses "sig", "pairs", "psimi", "mitab", "table", "sif", "signor", "omnipath", "graphml" or
// "auto"; throws std::invalid_argument otherwise.
NetworkFormat ParseNetworkFormat(std::string_view name);
std::string_view FormatName(NetworkFormat format);
// The format in words, for messages: "a table with a title line", "GraphML", ...
std::string_view FormatDescription(NetworkFormat format);
// Every name ParseNetworkFormat accepts, in table order ("auto" first).
std::vector<std::string> FormatNames();

// Columns of a table file chosen by the user: each a column title (any letter case) or a
// 1-based column number written in digits; empty means "found from the header".
struct TableColumns {
  std::string source;
  std::string target;
  std::string effect;
  std::string interactionType;
  std::string pubmed;
  std::string sourceType;
  std::string targetType;
  std::string sourceLocation;
  std::string targetLocation;
  std::string sourceAccession;
  std::string targetAccession;
  bool any() const {
    return !source.empty() || !target.empty() || !effect.empty() || !interactionType.empty() ||
           !pubmed.empty() || !sourceType.empty() || !targetType.empty() ||
           !sourceLocation.empty() || !targetLocation.empty() || !sourceAccession.empty() ||
           !targetAccession.empty();
  }
};

// How to read a network file.
struct ReadOptions {
  NetworkFormat format = NetworkFormat::Auto;
  TableColumns columns;  // table files only; given columns make Auto mean Table
  // A file from which the reader takes no interaction (only molecules, or nothing it could
  // use) is an InputError unless this is set.
  bool allowEmpty = false;
  // Threads for reading large SIG files and tables (SIGNOR and OmniPath files included)
  // and for building their networks (0: one per core).
  unsigned threads = 0;
};

// Told of each part of a text whose rows a reader has added, in order: the reader keeps no
// reference into it, so that the file holding it can be given back as the reading goes on.
using TextConsumed = std::function<void(std::string_view)>;

// The 13-column SIG format. `file` names the source in messages. `threads` (0: one per
// core) scan pieces of a large text in parallel; the network is the same for any number.
Network ReadSigText(std::string_view text, const std::string& file, Warnings* warnings = nullptr,
                    unsigned threads = 1);
// The rows of a SIG text added to `builder`, for a caller that frees the text before
// building the network; `consumed`, when given, is told of the parts read.
void ReadSigRows(std::string_view text, const std::string& file, Warnings* warnings,
                 unsigned threads, NetworkBuilder& builder, const TextConsumed& consumed = {});

// Two fields per line: source name and target name.
Network ReadTwoColumnText(std::string_view text, const std::string& file,
                          Warnings* warnings = nullptr);

// Chooses a format from the content and the file name: text starting with markup ("<?xml",
// "<entrySet", ...) is PSI-MI XML; otherwise ".sig" files are SIG; a MITAB title line
// ("#ID ...", "ID(s) interactor ...") or a first line of 15 or more tab-separated columns
// starting with a "db:id" identifier is PSI-MI TAB; a first data line of two fields is a
// two-column file; anything else is SIG.
NetworkFormat DetectFormat(std::string_view text, const std::filesystem::path& path);

// Reads a network file in the given (or detected) format. The PSI-MI readers are declared
// in model/psimi.h, the table, SIF, SIGNOR and OmniPath readers in model/table_reader.h, the
// GraphML reader in model/graphml.h.
Network LoadNetwork(const std::filesystem::path& path, NetworkFormat format = NetworkFormat::Auto,
                    Warnings* warnings = nullptr);
Network LoadNetwork(const std::filesystem::path& path, const ReadOptions& options,
                    Warnings* warnings = nullptr);
// Reads network text already in memory, as LoadNetwork does with a file's contents.
// Throws InputError when the reader took no interaction from it, unless
// options.allowEmpty.
Network ReadNetworkText(std::string_view text, const std::string& file, const ReadOptions& options,
                        Warnings* warnings = nullptr);

// The thirteen fields of one SIG data line. The views point into the strings of a Network
// (or other storage) that outlives the row.
struct SigRow {
  EndPoint source;
  EndPoint target;
  std::string_view effect;
  std::string_view interactionType;
  PubmedId pubmedId = 0;
};

// The row that represents an interaction in derived networks: its own end-point fields and
// its first PubMed id.
SigRow FirstRowOf(const Network& network, const Interaction& interaction);

// Appends one SIG line: fields separated by one blank, ended by a line break. An empty
// field is written "NA" and blanks and control characters inside a field become "_", so
// that the line always reads back as the same thirteen fields of text.
void AppendSigRow(std::string& out, const SigRow& row);

// The text of a SIG file holding the rows in order.
std::string SigRowsText(std::span<const SigRow> rows);

// One row per (interaction, PubMed id) pair, interactions in creation order.
std::string SigText(const Network& network);
// What a SIG file of the network leaves out or reads back otherwise: SIG rows are
// interactions, so molecules without one are not written; a name starting with a digit
// reads back with "P" in front of it.
struct SigLosses {
  std::size_t moleculesWithoutInteractions = 0;
  std::size_t namesStartingWithDigit = 0;  // of the molecules written
};
SigLosses SigLossesOf(const Network& network);

// Writes SigText atomically (see WriteFileAtomically).
void WriteSigFile(const Network& network, const std::filesystem::path& path);

}  // namespace tessel
