// The whole-network drawing of a synthetic network of 3,000 molecules and 7,500
// interactions (scale-free-ish, one island): DOT text, one sfdp layout, the SVG with its
// navigation bar and the JPEG image, written to a temporary folder. Must stay well under a
// minute on two cores.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>

#include "model/color_table.h"
#include "model/readers.h"
#include "output/drawing.h"
#include "synthetic.h"
#include "util/progress.h"

namespace {

namespace fs = std::filesystem;

const tessel::Network& Network() {
  static const std::unique_ptr<tessel::Network> network = [] {
    tessel::bench::SyntheticOptions o;
    o.molecules = 3000;
    o.interactions = 7500;
    o.connected = true;
    o.seed = 3;
    const auto file = tessel::bench::EnsureSyntheticFile(o, tessel::bench::BenchDataFolder());
    return std::make_unique<tessel::Network>(tessel::LoadNetwork(file));
  }();
  return *network;
}

void BM_DrawNetwork(benchmark::State& state) {
  const tessel::Network& network = Network();
  const tessel::ColorShapeTable colors = tessel::ColorShapeTable::Defaults();
  const fs::path folder = fs::temp_directory_path() / "tessel-bench-drawing";
  tessel::NullProgress progress;
  std::uintmax_t jpegBytes = 0;
  for (auto _ : state) {
    const tessel::DrawResult drawn =
        tessel::DrawNetwork(network, colors, folder, "network", progress);
    jpegBytes = fs::file_size(drawn.jpeg);
  }
  fs::remove_all(folder);
  state.counters["molecules"] = static_cast<double>(network.moleculeCount());
  state.counters["interactions"] = static_cast<double>(network.interactionCount());
  state.counters["jpeg_MB"] = static_cast<double>(jpegBytes) / 1e6;
}
BENCHMARK(BM_DrawNetwork)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
