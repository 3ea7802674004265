// Shuffled networks: 100 target-swap networks of the 2,000-molecule / 6,000-interaction
// synthetic network (connected, seed 42), written and analysed with the clustering figures
// and the motifs of size 3 and 4, with all threads (0) and with one. BM_SwapOnly times the
// swaps alone (10 passes, one network) to show that the analysis is where the time goes.
// The network is generated once (see synthetic.h) and loaded before timing starts; the
// files go to a scratch folder beside the benchmark data.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <random>
#include <string>

#include "derived/shuffle.h"
#include "model/readers.h"
#include "synthetic.h"
#include "util/progress.h"

namespace {

tessel::bench::SyntheticOptions Options() {
  tessel::bench::SyntheticOptions o;
  o.molecules = 2000;
  o.interactions = 6000;
  o.connected = true;
  o.seed = 42;
  return o;
}

const tessel::Network& Network() {
  static const std::unique_ptr<tessel::Network> network = [] {
    const auto file =
        tessel::bench::EnsureSyntheticFile(Options(), tessel::bench::BenchDataFolder());
    return std::make_unique<tessel::Network>(tessel::LoadNetwork(file));
  }();
  return *network;
}

void BM_ShuffleAndAnalyze(benchmark::State& state) {
  const tessel::Network& network = Network();
  tessel::ShuffleSettings settings;
  settings.kind = tessel::ShuffleKind::SwapTargets;
  settings.count = 100;
  settings.columns = {true, true, false};
  settings.seed = 1;
  settings.threads = static_cast<unsigned>(state.range(0));
  const std::filesystem::path out = tessel::bench::BenchDataFolder() / "shuffle-bench-out";
  if (!tessel::bench::ResetPeakRss()) state.SetLabel("peak memory not reset");
  tessel::NullProgress progress;
  std::size_t files = 0;
  for (auto _ : state) {
    const tessel::ShuffleResult r = tessel::RunShuffleCommand(network, settings, out, progress);
    files = r.files.size();
    benchmark::DoNotOptimize(files);
  }
  std::filesystem::remove_all(out);
  state.counters["molecules"] = static_cast<double>(network.moleculeCount());
  state.counters["interactions"] = static_cast<double>(network.interactionCount());
  state.counters["networks"] = static_cast<double>(files);
  state.counters["peak_rss_MiB"] =
      static_cast<double>(tessel::bench::PeakRssBytes()) / (1024.0 * 1024.0);
}
BENCHMARK(BM_ShuffleAndAnalyze)
    ->ArgName("threads")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->UseRealTime();

void BM_SwapOnly(benchmark::State& state) {
  const tessel::Network& network = Network();
  int index = 0;
  for (auto _ : state) {
    std::mt19937_64 random = tessel::NetworkRandom(1, ++index);
    const auto rows = tessel::SwapTargets(network, 10, random);
    benchmark::DoNotOptimize(rows.data());
  }
}
BENCHMARK(BM_SwapOnly)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
