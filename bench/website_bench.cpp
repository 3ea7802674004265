// The web site of a synthetic network of 1,000 molecules and 3,000 interactions (4,000 rows,
// so some interactions cite several papers), offline with an empty PubMed cache: the
// statistics page, list and compartment pages, the overview and legend drawings, and one
// drawing and one page per molecule. The argument is the number of page-writing threads.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>

#include "model/color_table.h"
#include "model/readers.h"
#include "output/website.h"
#include "synthetic.h"
#include "util/progress.h"

namespace {

namespace fs = std::filesystem;

const tessel::Network& Network() {
  static const std::unique_ptr<tessel::Network> network = [] {
    tessel::bench::SyntheticOptions o;
    o.molecules = 1000;
    o.interactions = 3000;
    o.rows = 4000;
    o.connected = true;
    o.seed = 7;
    const auto file = tessel::bench::EnsureSyntheticFile(o, tessel::bench::BenchDataFolder());
    return std::make_unique<tessel::Network>(tessel::LoadNetwork(file));
  }();
  return *network;
}

void BM_Website(benchmark::State& state) {
  const tessel::Network& network = Network();
  const tessel::ColorShapeTable colors = tessel::ColorShapeTable::Defaults();
  const fs::path root = fs::temp_directory_path() / "tessel-bench-website";
  tessel::WebsiteSettings settings;
  settings.offline = true;
  settings.threads = static_cast<unsigned>(state.range(0));
  settings.services.cacheDir = root / "empty-cache";
  tessel::NullProgress progress;
  std::size_t pages = 0;
  for (auto _ : state) {
    state.PauseTiming();
    fs::remove_all(root);
    state.ResumeTiming();
    const auto result = tessel::RunWebsiteCommand(network, colors, settings, root, progress);
    pages = result.moleculePages;
  }
  fs::remove_all(root);
  state.counters["molecules"] = static_cast<double>(network.moleculeCount());
  state.counters["interactions"] = static_cast<double>(network.interactionCount());
  state.counters["pages"] = static_cast<double>(pages);
}
BENCHMARK(BM_Website)
    ->ArgName("threads")
    ->Arg(1)
    ->Arg(2)
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
