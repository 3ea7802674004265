// Network readers and the SIG writer.
//
// Readers parse text into a Network or throw InputError naming the file and line; a
// failed read never yields a partial network.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "model/network.h"

namespace tessel {

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

// Chooses a format from the file name and the content: ".sig" files are SIG; XML is
// PSI-MI; a first data line of two fields is a two-column file; otherwise SIG.
NetworkFormat DetectFormat(std::string_view text, const std::filesystem::path& path);

// Reads a network file in the given (or detected) format.
Network LoadNetwork(const std::filesystem::path& path, NetworkFormat format = NetworkFormat::Auto,
                    Warnings* warnings = nullptr);

// One row per (interaction, PubMed id) pair, interactions in creation order.
std::string SigText(const Network& network);
// Writes SigText atomically (see WriteFileAtomically).
void WriteSigFile(const Network& network, const std::filesystem::path& path);

}  // namespace tessel
