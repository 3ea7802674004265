// tessel-time: the in-process time of one load or one statistics computation, for
// bench/compare.sh.
//
//   tessel-time load FILE [THREADS]    seconds to load FILE (tessel::LoadNetwork; THREADS
//                                      reading a SIG file, 0, the default, is all cores)
//   tessel-time stats FILE [THREADS]   seconds for tessel::ComputeStatistics once FILE
//                                      is loaded (THREADS: 0, the default, is all cores)
//
// Prints the seconds on one line, then the molecule and interaction counts.

#include <chrono>
#include <exception>
#include <iostream>
#include <string>

#include "analysis/statistics.h"
#include "model/readers.h"
#include "util/progress.h"

namespace {

double SecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "";
  if (argc < 3 || argc > 4 || (what != "load" && what != "stats")) {
    std::cerr << "usage: " << argv[0] << " load|stats FILE [THREADS]\n";
    return 2;
  }
  try {
    auto start = std::chrono::steady_clock::now();
    tessel::ReadOptions options;
    if (what == "load" && argc == 4) options.threads = static_cast<unsigned>(std::stoul(argv[3]));
    const tessel::Network network = tessel::LoadNetwork(argv[2], options);
    double seconds = SecondsSince(start);
    if (what == "stats") {
      const unsigned threads = argc == 4 ? static_cast<unsigned>(std::stoul(argv[3])) : 0;
      tessel::NullProgress progress;
      start = std::chrono::steady_clock::now();
      const tessel::Statistics stats = tessel::ComputeStatistics(network, progress, threads);
      seconds = SecondsSince(start);
      if (stats.molecules != network.moleculeCount()) return 1;
    }
    std::cout << seconds << "\n"
              << network.moleculeCount() << " molecules, " << network.interactionCount()
              << " interactions\n";
  } catch (const std::exception& e) {
    std::cerr << argv[2] << ": " << e.what() << "\n";
    return 1;
  }
  return 0;
}
