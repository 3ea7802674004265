// Motif search on the 10,000-molecule / 40,000-interaction synthetic network.
//
// BM_AllMotifKinds runs tessel::FindMotifs for every kind in turn (fbl3, fbl4, fbl5, ffl3,
// ffl4, bifan, scaffold), with 1 and 2 threads: this is the reference figure. BM_MotifKind
// times each kind on its own, to show where the time goes. The network is generated once
// (see synthetic.h; the same file as the statistics benchmark) and loaded before timing
// starts. bench/networkx_cycles.py times NetworkX's bounded cycle search on the same file.

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "model/readers.h"
#include "motifs/motif_search.h"
#include "synthetic.h"
#include "util/progress.h"

namespace {

constexpr tessel::MotifKind kKinds[] = {
    tessel::MotifKind::FeedbackLoop3,    tessel::MotifKind::FeedbackLoop4,
    tessel::MotifKind::FeedbackLoop5,    tessel::MotifKind::FeedforwardLoop3,
    tessel::MotifKind::FeedforwardLoop4, tessel::MotifKind::Bifan,
    tessel::MotifKind::Scaffold,
};

tessel::bench::SyntheticOptions Options() {
  tessel::bench::SyntheticOptions o;
  o.molecules = 10000;
  o.interactions = 40000;
  o.rows = 50000;
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

void SetCounters(benchmark::State& state, const tessel::Network& network) {
  state.counters["molecules"] = static_cast<double>(network.moleculeCount());
  state.counters["interactions"] = static_cast<double>(network.interactionCount());
  state.counters["peak_rss_MiB"] =
      static_cast<double>(tessel::bench::PeakRssBytes()) / (1024.0 * 1024.0);
}

void BM_AllMotifKinds(benchmark::State& state) {
  const tessel::Network& network = Network();
  const auto threads = static_cast<unsigned>(state.range(0));
  if (!tessel::bench::ResetPeakRss()) state.SetLabel("peak memory not reset");
  tessel::NullProgress progress;
  std::size_t motifs = 0;
  for (auto _ : state) {
    motifs = 0;
    for (const tessel::MotifKind kind : kKinds) {
      const tessel::MotifResult r = tessel::FindMotifs(network, kind, progress, threads);
      motifs += r.total();
    }
    benchmark::DoNotOptimize(motifs);
  }
  SetCounters(state, network);
  state.counters["motifs"] = static_cast<double>(motifs);
}
BENCHMARK(BM_AllMotifKinds)
    ->ArgName("threads")
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(3)
    ->UseRealTime();

void BM_MotifKind(benchmark::State& state) {
  const tessel::Network& network = Network();
  const tessel::MotifKind kind = kKinds[state.range(0)];
  const auto threads = static_cast<unsigned>(state.range(1));
  tessel::NullProgress progress;
  tessel::MotifResult r;
  for (auto _ : state) {
    r = tessel::FindMotifs(network, kind, progress, threads);
    benchmark::DoNotOptimize(r.motifs.data());
  }
  state.SetLabel(std::string(tessel::MotifKindName(kind)));
  SetCounters(state, network);
  state.counters["total"] = static_cast<double>(r.total());
  if (tessel::MotifIsSigned(kind)) {
    state.counters["positive"] = static_cast<double>(r.positive);
    state.counters["negative"] = static_cast<double>(r.negative);
  }
}
BENCHMARK(BM_MotifKind)
    ->ArgNames({"kind", "threads"})
    ->ArgsProduct({{0, 1, 2, 3, 4, 5, 6}, {1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
