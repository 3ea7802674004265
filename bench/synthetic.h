// Synthetic signed networks for benchmarks: SIG text of a chosen size and shape.
//
// The networks look like curated signalling networks: a few hubs and many molecules
// with one or two partners (Chung-Lu weights with a power-law tail), molecule types
// with matching locations, mostly activating effects and repeated rows that add PubMed
// ids. The same options and seed always give the same text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace tessel::bench {

struct SyntheticOptions {
  std::size_t molecules = 1000;
  // Distinct ordered (source, target) pairs, never a molecule with itself.
  std::size_t interactions = 4000;
  // Rows written; 0 means one row per interaction. Rows beyond the interactions repeat
  // a pair with a PubMed id new to that pair.
  std::size_t rows = 0;
  // Lay a random spanning tree first so that the network is a single island (every
  // molecule then has at least one link).
  bool connected = false;
  std::uint64_t seed = 1;
};

// Throws std::invalid_argument when the options cannot be met: more interactions than
// ordered pairs, fewer rows than interactions, a connected network with fewer than
// molecules - 1 interactions, or a network that would leave molecules without links
// (every molecule appears in some row, so molecules <= 2 * interactions).
void CheckSyntheticOptions(const SyntheticOptions& options);

// The network as SIG rows, one per line.
std::string GenerateSigText(const SyntheticOptions& options);

// A stable file name for the options, e.g. "synthetic-m10000-i40000-r50000-c-s42.sig".
std::string SyntheticFileName(const SyntheticOptions& options);

// The path `folder / SyntheticFileName(options)`, generating the file first if it does
// not exist. Generation runs in a child process so that the caller's peak memory is not
// raised by it. Throws std::runtime_error on failure.
std::filesystem::path EnsureSyntheticFile(const SyntheticOptions& options,
                                          const std::filesystem::path& folder);

// Where benchmarks keep their generated networks: $TESSEL_BENCH_DATA when set, else a
// "tessel-bench" folder in the system's temporary directory.
std::filesystem::path BenchDataFolder();

// Returns freed memory to the system and lowers this process's peak resident set size
// to its current size, so that a later PeakRssBytes() covers only what happens in between. Returns
// false where the system does not allow it (the peak then covers the whole run).
bool ResetPeakRss();

// Peak resident set size of this process so far, in bytes (getrusage ru_maxrss).
std::size_t PeakRssBytes();

}  // namespace tessel::bench
