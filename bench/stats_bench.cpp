// The statistics page's numbers on connected synthetic networks.
//
// BM_ComputeStatistics runs tessel::ComputeStatistics (tallies, references, connectivity
// histograms, islands, characteristic path length, clustering and grid coefficients) on
// networks of 2,500, 5,000 and 10,000 molecules with four interactions per molecule, on
// one thread and on two; the 10,000-molecule case is the reference figure. The BM_Part_*
// benchmarks time the expensive parts on the 10,000-molecule network alone, one thread,
// to show where the time goes. bench/compare.sh compares with igraph.
// Networks are generated once (see synthetic.h) and loaded before timing starts.

#include <benchmark/benchmark.h>

#include <map>
#include <memory>

#include "analysis/metrics.h"
#include "analysis/statistics.h"
#include "model/readers.h"
#include "synthetic.h"
#include "util/progress.h"

namespace {

constexpr std::size_t kReferenceMolecules = 10000;

tessel::bench::SyntheticOptions Options(std::size_t molecules) {
  tessel::bench::SyntheticOptions o;
  o.molecules = molecules;
  o.interactions = molecules * 4;
  o.rows = molecules * 5;
  o.connected = true;
  o.seed = 42;
  return o;
}

const tessel::Network& NetworkOf(std::size_t molecules) {
  static std::map<std::size_t, std::unique_ptr<tessel::Network>> cache;
  auto& slot = cache[molecules];
  if (!slot) {
    const auto file =
        tessel::bench::EnsureSyntheticFile(Options(molecules), tessel::bench::BenchDataFolder());
    slot = std::make_unique<tessel::Network>(tessel::LoadNetwork(file));
  }
  return *slot;
}

void SetCounters(benchmark::State& state, const tessel::Network& network) {
  state.counters["molecules"] = static_cast<double>(network.moleculeCount());
  state.counters["interactions"] = static_cast<double>(network.interactionCount());
  state.counters["peak_rss_MiB"] =
      static_cast<double>(tessel::bench::PeakRssBytes()) / (1024.0 * 1024.0);
}

void BM_ComputeStatistics(benchmark::State& state) {
  const tessel::Network& network = NetworkOf(static_cast<std::size_t>(state.range(0)));
  const auto threads = static_cast<unsigned>(state.range(1));
  if (!tessel::bench::ResetPeakRss()) state.SetLabel("peak memory not reset");
  tessel::NullProgress progress;
  double cpl = 0;
  std::size_t islands = 0;
  for (auto _ : state) {
    const tessel::Statistics stats = tessel::ComputeStatistics(network, progress, threads);
    // Passed as const: with GCC 12 and Google Benchmark 1.7, DoNotOptimize on a writable
    // double corrupts its value.
    benchmark::DoNotOptimize(stats.pathLength.value);
    cpl = stats.pathLength.value;
    islands = stats.islands.count;
  }
  SetCounters(state, network);
  state.counters["cpl"] = cpl;
  state.counters["islands"] = static_cast<double>(islands);
}
BENCHMARK(BM_ComputeStatistics)
    ->ArgNames({"molecules", "threads"})
    ->ArgsProduct({{2500, 5000, static_cast<std::int64_t>(kReferenceMolecules)}, {1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(3);

template <typename Compute>
void RunPart(benchmark::State& state, Compute compute) {
  const tessel::Network& network = NetworkOf(kReferenceMolecules);
  tessel::bench::ResetPeakRss();
  for (auto _ : state) compute(network);
  SetCounters(state, network);
}

void BM_Part_PathLength(benchmark::State& state) {
  tessel::NullProgress progress;
  RunPart(state, [&](const tessel::Network& n) {
    benchmark::DoNotOptimize(tessel::CharacteristicPathLength(n, progress).value);
  });
}
void BM_Part_Clustering(benchmark::State& state) {
  RunPart(state, [](const tessel::Network& n) {
    std::vector<double> perMolecule;
    benchmark::DoNotOptimize(tessel::ClusteringCoefficient(n, &perMolecule));
  });
}
void BM_Part_Grid(benchmark::State& state) {
  RunPart(state, [](const tessel::Network& n) {
    std::vector<double> perMolecule;
    benchmark::DoNotOptimize(tessel::GridCoefficient(n, &perMolecule));
  });
}
void BM_Part_Islands(benchmark::State& state) {
  RunPart(state,
          [](const tessel::Network& n) { benchmark::DoNotOptimize(tessel::FindIslands(n).count); });
}
void BM_Part_TalliesAndHistograms(benchmark::State& state) {
  RunPart(state, [](const tessel::Network& n) {
    benchmark::DoNotOptimize(tessel::CountReferences(n));
    benchmark::DoNotOptimize(tessel::TallyMoleculeTypes(n).distinct());
    benchmark::DoNotOptimize(tessel::TallyLocations(n).distinct());
    benchmark::DoNotOptimize(tessel::TallyEffects(n).distinct());
    benchmark::DoNotOptimize(tessel::TallyInteractionTypes(n).distinct());
    benchmark::DoNotOptimize(tessel::ComputeConnectivityDistribution(n).links.size());
    benchmark::DoNotOptimize(tessel::AverageLinksPerNode(n));
  });
}
BENCHMARK(BM_Part_PathLength)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Part_Clustering)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Part_Grid)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Part_Islands)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Part_TalliesAndHistograms)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
