// Pathway maps on examples/omnipath_signed.sig (678 molecules, 807 interactions).
//
// BM_PathwaySearch times FindPathwayMaps alone; BM_PathwayCommand the whole command with
// every map's SIG file, drawings (SVG twice and JPEG) and page, and the form. Query 0 is the
// default query (ligands to transcription factors, 9 steps, size 70); query 1 asks for every
// protein to every protein with size 10, which keeps a few hundred maps on this network
// and so measures the search and the drawing under load. The example file is found beside
// this source file (examples/ in the repository).

#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <string>

#include "model/color_table.h"
#include "model/readers.h"
#include "pathways/path_search.h"
#include "pathways/pathway_pages.h"
#include "util/progress.h"

namespace {

namespace fs = std::filesystem;

const tessel::Network& Network() {
  static const std::unique_ptr<tessel::Network> network = [] {
    const fs::path file =
        fs::path(__FILE__).parent_path().parent_path() / "examples" / "omnipath_signed.sig";
    return std::make_unique<tessel::Network>(tessel::LoadNetwork(file));
  }();
  return *network;
}

tessel::PathwayQuery Query(std::int64_t which) {
  if (which == 0) return tessel::PathwayQuery::Default();
  tessel::PathwayQuery q;
  q.sources.push_back({tessel::ConditionKind::Type, "Protein"});
  q.targets.push_back({tessel::ConditionKind::Type, "Protein"});
  q.maxSteps = 9;
  q.maxSize = 10;
  return q;
}

void SetCounters(benchmark::State& state, std::size_t maps) {
  state.counters["molecules"] = static_cast<double>(Network().moleculeCount());
  state.counters["interactions"] = static_cast<double>(Network().interactionCount());
  state.counters["maps"] = static_cast<double>(maps);
}

void BM_PathwaySearch(benchmark::State& state) {
  const tessel::Network& network = Network();
  const tessel::PathwayQuery query = Query(state.range(0));
  const auto threads = static_cast<unsigned>(state.range(1));
  tessel::NullProgress progress;
  std::size_t maps = 0;
  for (auto _ : state) {
    const auto found = tessel::FindPathwayMaps(network, query, progress, threads);
    maps = found.size();
    benchmark::DoNotOptimize(found.data());
  }
  SetCounters(state, maps);
}
BENCHMARK(BM_PathwaySearch)
    ->ArgNames({"query", "threads"})
    ->ArgsProduct({{0, 1}, {1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void BM_PathwayCommand(benchmark::State& state) {
  const tessel::Network& network = Network();
  const tessel::PathwayQuery query = Query(state.range(0));
  const tessel::ColorShapeTable colors = tessel::ColorShapeTable::Defaults();
  const fs::path output = fs::temp_directory_path() / "tessel-bench-pathways";
  tessel::NullProgress progress;
  std::size_t maps = 0;
  for (auto _ : state) {
    state.PauseTiming();
    fs::remove_all(output);
    state.ResumeTiming();
    const auto result = tessel::RunPathwayCommand(network, colors, query, output, progress);
    maps = result.maps.size();
  }
  fs::remove_all(output);
  SetCounters(state, maps);
}
BENCHMARK(BM_PathwayCommand)
    ->ArgName("query")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(3)
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
