// Loading large SIG files: 1,000,000 rows naming 50,000 molecules.
//
// BM_LoadSig runs tessel::LoadNetwork (file read, format detection, parsing, merging of
// repeated rows, adjacency, display order and link counters) on a generated file:
//   distinct: every row a new interaction (1,000,000 interactions), the heaviest case;
//   merged:   250,000 interactions backed by 4 rows each on average.
// BM_ReadWholeFile reads the same file into memory only, and BM_ReadSigText parses text
// already in memory, to separate the file read from parsing and building.
// BM_GenerateSigText times the synthetic network generator itself on the same sizes.
// BM_ReadTableText parses the same rows written as a TSV table with a title line (source,
// target, effect as 1/-1/0, type, pmid, types, locations, accessions), to compare with
// BM_ReadSigText; BM_ReadQuotedCsvText the same table as CSV with every field quoted, the
// tables' slow path.
// The network is freed outside the timed region; free_ms says how long freeing took.
// Counters: peak_rss_MiB is the process's peak resident size (getrusage ru_maxrss) reset
// at the start of each benchmark, so it covers one load and the benchmark's own overhead.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "model/readers.h"
#include "model/table_reader.h"
#include "synthetic.h"
#include "util/files.h"
#include "util/text.h"

namespace {

using tessel::bench::SyntheticOptions;

constexpr std::size_t kMolecules = 50000;
constexpr std::size_t kRows = 1000000;

SyntheticOptions Options(std::size_t interactions) {
  SyntheticOptions o;
  o.molecules = kMolecules;
  o.interactions = interactions;
  o.rows = kRows;
  o.seed = 1;
  return o;
}

void SetCommonCounters(benchmark::State& state, const std::filesystem::path& file) {
  state.counters["file_MB"] = static_cast<double>(std::filesystem::file_size(file)) / 1e6;
  state.counters["peak_rss_MiB"] =
      static_cast<double>(tessel::bench::PeakRssBytes()) / (1024.0 * 1024.0);
  state.counters["rows_per_s"] =
      benchmark::Counter(static_cast<double>(kRows) * static_cast<double>(state.iterations()),
                         benchmark::Counter::kIsRate);
}

// Frees the network outside the timed region (freeing a million interactions is not part
// of loading them) and returns the seconds it took.
double FreeUntimed(benchmark::State& state, std::unique_ptr<tessel::Network>& network) {
  state.PauseTiming();
  const auto start = std::chrono::steady_clock::now();
  network.reset();
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  state.ResumeTiming();
  return took.count();
}

void BM_LoadSig(benchmark::State& state) {
  const auto file = tessel::bench::EnsureSyntheticFile(
      Options(static_cast<std::size_t>(state.range(0))), tessel::bench::BenchDataFolder());
  if (!tessel::bench::ResetPeakRss()) state.SetLabel("peak memory not reset");
  std::size_t molecules = 0, interactions = 0;
  double freeSeconds = 0;
  for (auto _ : state) {
    auto network = std::make_unique<tessel::Network>(tessel::LoadNetwork(file));
    molecules = network->moleculeCount();
    interactions = network->interactionCount();
    benchmark::DoNotOptimize(molecules);
    freeSeconds += FreeUntimed(state, network);
  }
  SetCommonCounters(state, file);
  state.counters["molecules"] = static_cast<double>(molecules);
  state.counters["interactions"] = static_cast<double>(interactions);
  state.counters["free_ms"] = 1000 * freeSeconds / static_cast<double>(state.iterations());
}

void BM_ReadWholeFile(benchmark::State& state) {
  const auto file = tessel::bench::EnsureSyntheticFile(
      Options(static_cast<std::size_t>(state.range(0))), tessel::bench::BenchDataFolder());
  tessel::bench::ResetPeakRss();
  for (auto _ : state) {
    const std::string text = tessel::ReadWholeFile(file);
    benchmark::DoNotOptimize(text.data());
  }
  SetCommonCounters(state, file);
}

void BM_ReadSigText(benchmark::State& state) {
  const auto file = tessel::bench::EnsureSyntheticFile(
      Options(static_cast<std::size_t>(state.range(0))), tessel::bench::BenchDataFolder());
  const std::string text = tessel::ReadWholeFile(file);
  tessel::bench::ResetPeakRss();
  double freeSeconds = 0;
  for (auto _ : state) {
    auto network = std::make_unique<tessel::Network>(tessel::ReadSigText(text, file.string()));
    benchmark::DoNotOptimize(network->interactionCount());
    freeSeconds += FreeUntimed(state, network);
  }
  SetCommonCounters(state, file);
  state.counters["free_ms"] = 1000 * freeSeconds / static_cast<double>(state.iterations());
}

// The rows of a SIG text as a table: a title line, then source, target, effect, type, pmid,
// source and target type, location and accession, separated by `sep`, each field quoted
// when `quote` is set.
std::string SigToTable(std::string_view sig, char sep, bool quote) {
  std::string out;
  out.reserve(sig.size() + sig.size() / 4);
  const auto field = [&](std::string_view f, bool last) {
    if (quote) out.push_back('"');
    out.append(f);
    if (quote) out.push_back('"');
    out.push_back(last ? '\n' : sep);
  };
  for (const std::string_view title :
       {"source", "target", "effect", "type", "pmid", "source_type", "target_type",
        "source_location", "target_location", "source_accession"}) {
    field(title, false);
  }
  field("target_accession", true);
  std::size_t pos = 0;
  std::vector<std::string_view> f;
  while (pos < sig.size()) {
    const std::size_t end = std::min(sig.find('\n', pos), sig.size());
    f = tessel::SplitFields(sig.substr(pos, end - pos));
    pos = end + 1;
    if (f.size() != 13) continue;
    const std::string_view effect = f[10] == "+" ? "1" : f[10] == "_" ? "-1" : "0";
    field(f[0], false);
    field(f[5], false);
    field(effect, false);
    field(f[11], false);
    field(f[12], false);
    field(f[3], false);
    field(f[8], false);
    field(f[4], false);
    field(f[9], false);
    field(f[1], false);
    field(f[6], true);
  }
  return out;
}

void ReadTable(benchmark::State& state, char sep, bool quote) {
  const auto file = tessel::bench::EnsureSyntheticFile(
      Options(static_cast<std::size_t>(state.range(0))), tessel::bench::BenchDataFolder());
  const std::string text = SigToTable(tessel::ReadWholeFile(file), sep, quote);
  tessel::bench::ResetPeakRss();
  double freeSeconds = 0;
  std::size_t interactions = 0;
  for (auto _ : state) {
    auto network = std::make_unique<tessel::Network>(tessel::ReadTableText(text, "table"));
    interactions = network->interactionCount();
    benchmark::DoNotOptimize(interactions);
    freeSeconds += FreeUntimed(state, network);
  }
  SetCommonCounters(state, file);
  state.counters["table_MB"] = static_cast<double>(text.size()) / 1e6;
  state.counters["interactions"] = static_cast<double>(interactions);
  state.counters["free_ms"] = 1000 * freeSeconds / static_cast<double>(state.iterations());
}

void BM_ReadTableText(benchmark::State& state) {
  ReadTable(state, '\t', false);
}
void BM_ReadQuotedCsvText(benchmark::State& state) {
  ReadTable(state, ',', true);
}

void BM_GenerateSigText(benchmark::State& state) {
  const SyntheticOptions options = Options(static_cast<std::size_t>(state.range(0)));
  tessel::bench::ResetPeakRss();
  for (auto _ : state) {
    const std::string text = tessel::bench::GenerateSigText(options);
    benchmark::DoNotOptimize(text.data());
  }
  state.counters["peak_rss_MiB"] =
      static_cast<double>(tessel::bench::PeakRssBytes()) / (1024.0 * 1024.0);
  state.counters["rows_per_s"] =
      benchmark::Counter(static_cast<double>(kRows) * static_cast<double>(state.iterations()),
                         benchmark::Counter::kIsRate);
}

void Sizes(benchmark::internal::Benchmark* b) {
  b->ArgName("interactions")->Arg(1000000)->Arg(250000);
  b->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(3);
}

BENCHMARK(BM_GenerateSigText)->Apply(Sizes);
BENCHMARK(BM_ReadWholeFile)->Apply(Sizes);
BENCHMARK(BM_ReadSigText)->Apply(Sizes);
BENCHMARK(BM_LoadSig)->Apply(Sizes);
BENCHMARK(BM_ReadTableText)->Apply(Sizes);
BENCHMARK(BM_ReadQuotedCsvText)->Apply(Sizes);

}  // namespace

BENCHMARK_MAIN();
