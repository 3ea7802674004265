// The gene-list sub-network: 50 genes picked at random (seeded) from the connected
// 10,000-molecule / 40,000-interaction synthetic network, joined through 1, 2 and 3
// intermediates. The reference network is loaded once, before timing.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "derived/genelist.h"
#include "model/readers.h"
#include "synthetic.h"
#include "util/progress.h"

namespace {

const tessel::Network& Reference() {
  static const std::unique_ptr<tessel::Network> network = [] {
    tessel::bench::SyntheticOptions o;
    o.molecules = 10000;
    o.interactions = 40000;
    o.rows = 50000;
    o.connected = true;
    o.seed = 42;
    const auto file = tessel::bench::EnsureSyntheticFile(o, tessel::bench::BenchDataFolder());
    return std::make_unique<tessel::Network>(tessel::LoadNetwork(file));
  }();
  return *network;
}

std::vector<std::string> Genes(const tessel::Network& network, std::size_t count) {
  std::mt19937_64 random(5);
  std::uniform_int_distribution<std::size_t> pick(0, network.moleculeCount() - 1);
  std::vector<std::string> genes;
  while (genes.size() < count) {
    std::string name = network.molecules()[pick(random)].name;
    if (std::find(genes.begin(), genes.end(), name) == genes.end()) genes.push_back(name);
  }
  return genes;
}

void BM_GeneList(benchmark::State& state) {
  const tessel::Network& network = Reference();
  const std::vector<std::string> genes = Genes(network, 50);
  const int intermediates = static_cast<int>(state.range(0));
  tessel::NullProgress progress;
  std::size_t rows = 0;
  for (auto _ : state) {
    const tessel::GeneListResult r =
        tessel::GeneListSubnetwork(network, genes, intermediates, progress);
    rows = r.rows.size();
    benchmark::DoNotOptimize(rows);
  }
  state.counters["genes"] = static_cast<double>(genes.size());
  state.counters["interactions_kept"] = static_cast<double>(rows);
}
BENCHMARK(BM_GeneList)
    ->ArgName("intermediates")
    ->Arg(1)
    ->Arg(2)
    ->Arg(3)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
