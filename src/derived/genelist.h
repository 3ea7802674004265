// The sub-network that connects a list of genes or proteins within a reference network: for
// every pair of listed molecules, the molecules on short paths between them (at most
// `intermediates` molecules in between, links followed in either direction) and the
// interactions among those molecules.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "model/network.h"
#include "model/readers.h"
#include "model/warnings.h"
#include "net/http.h"
#include "util/error.h"
#include "util/progress.h"

namespace tessel {

inline constexpr const char* kNoConnectionsMessage = "No connections were found!";
inline constexpr const char* kGeneListSuccessMessage =
    "A subnetwork containing your genes/proteins was successfully created!";

// The names of a gene list: words separated by blanks or line ends, upper-cased, each kept
// once, in file order. Throws InputError naming `file` when it holds no name.
std::vector<std::string> ReadGeneList(std::string_view text, const std::string& file);

// Reads the reference network from a local file or an http(s) URL. Throws InputError,
// HttpError or std::runtime_error.
Network LoadReferenceNetwork(const std::string& fileOrUrl, const HttpSettings& http = {},
                             Warnings* warnings = nullptr);

struct GeneListResult {
  std::vector<SigRow> rows;         // the sub-network's interactions, in reference order
  std::vector<std::string> found;   // listed names present in the reference
  std::vector<std::string> absent;  // listed names the reference does not hold
};

// Names are matched without regard to letter case. For each pair of listed molecules P, R
// a molecule X joins the sub-network when a simple path P ... X ... R of at most
// intermediates + 1 links exists (found with breadth-first searches, not by enumerating
// paths); P and R join when such a path exists. The interactions kept are those whose two
// ends both lie in one pair's set. `intermediates` is 1, 2 or 3 (std::invalid_argument
// otherwise). Reports one step per pair and throws Cancelled when asked.
GeneListResult GeneListSubnetwork(const Network& reference, const std::vector<std::string>& genes,
                                  int intermediates, Progress& progress);

// Reads the gene-list file and its names (ReadGeneList). Throws InputError naming the file.
std::vector<std::string> ReadGeneListFile(const std::filesystem::path& file);

// The reference network could not be read or downloaded. Carries the cause's category and
// message, so it is reported as the cause would be; a front end can also tell from it that
// the reference it was given is at fault.
class ReferenceError : public Error {
 public:
  ReferenceError(ErrorCategory category, const std::string& message) : Error(category, message) {}
};

struct GeneListSettings {
  std::filesystem::path listFile;  // the names, blank-separated
  std::string reference;           // a SIG or two-column file, or an http(s) address
  int intermediates = 1;           // 1, 2 or 3
  HttpSettings http;
  std::filesystem::path output;  // the SIG file written when connections are found
};

// What the gene-list command did, for the front ends to report.
struct GeneListOutcome {
  std::vector<std::string> genes;   // the names read, upper-cased, each once
  std::vector<std::string> found;   // listed names present in the reference
  std::vector<std::string> absent;  // listed names the reference does not hold
  std::size_t interactions = 0;     // rows written
  std::size_t molecules = 0;        // molecules those rows name
  std::filesystem::path file;       // the SIG file written; empty when nothing connects
  Warnings warnings;                // remarks made while reading the reference

  bool connected() const { return interactions > 0; }
  // kGeneListSuccessMessage or kNoConnectionsMessage.
  const char* message() const {
    return connected() ? kGeneListSuccessMessage : kNoConnectionsMessage;
  }
};

// The whole command: reads the list, reads or downloads the reference network, finds the
// sub-network (GeneListSubnetwork) and, when it holds an interaction, writes it as a SIG
// file to settings.output with WriteFileAtomically; nothing is written otherwise. The
// number of intermediates is checked before anything is read (std::invalid_argument).
// A failure to get the reference throws ReferenceError.
GeneListOutcome RunGeneListCommand(const GeneListSettings& settings, Progress& progress);

}  // namespace tessel
