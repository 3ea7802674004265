// Network readers and the SIG writer.
//
// Readers parse text into a Network or throw InputError naming the file and line; a
// failed read never yields a partial network.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "model/network.h"

namespace tessel {

// Sig: 13 blank-separated fields per line. Pairs: two fields (source, target). PsiMi: PSI-MI
// XML 2.5 and 2.5.4. Mitab: PSI-MI TAB 2.5 to 2.8. Auto: chosen by DetectFormat.
enum class NetworkFormat { Auto, Sig, Pairs, PsiMi, Mitab };

// Parses "sig", "pairs", "psimi", "mitab" or "auto"; throws std::invalid_argument otherwise.
NetworkFormat ParseNetworkFormat(std::string_view name);
std::string_view FormatName(NetworkFormat format);

// Non-fatal remarks made while reading (for example a PubMed id that is not a number).
using Warnings = std::vector<std::string>;

// The 13-column SIG format. `file` names the source in messages.
Network ReadSigText(std::string_view text, const std::string& file, Warnings* warnings = nullptr);

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
// in model/psimi.h.
Network LoadNetwork(const std::filesystem::path& path, NetworkFormat format = NetworkFormat::Auto,
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
// field is written "NA" and blanks inside a field become "_", so that the line always
// reads back as the same thirteen fields.
void AppendSigRow(std::string& out, const SigRow& row);

// The text of a SIG file holding the rows in order.
std::string SigRowsText(std::span<const SigRow> rows);

// One row per (interaction, PubMed id) pair, interactions in creation order.
std::string SigText(const Network& network);
// Writes SigText atomically (see WriteFileAtomically).
void WriteSigFile(const Network& network, const std::filesystem::path& path);

}  // namespace tessel
