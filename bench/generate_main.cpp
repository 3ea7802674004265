// tessel-generate: writes a synthetic signed network as a SIG file.
//
//   tessel-generate --molecules N --interactions M [--rows R] [--seed S] [--connected]
//                   --out FILE

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include "synthetic.h"
#include "util/files.h"

int main(int argc, char** argv) {
  tessel::bench::SyntheticOptions options;
  std::string out;
  // Unsigned options would otherwise take "-3" as a huge number.
  const CLI::Validator whole(
      [](std::string& value) -> std::string {
        const bool digits = !value.empty() && std::all_of(value.begin(), value.end(), [](char c) {
          return c >= '0' && c <= '9';
        });
        return digits ? std::string() : "must be a whole number, not " + value;
      },
      "", "WHOLE");
  CLI::App app{"Writes a synthetic signed network (SIG rows) for benchmarks and tests."};
  app.add_option("--molecules", options.molecules, "Number of molecules")->required()->check(whole);
  app.add_option("--interactions", options.interactions,
                 "Number of interactions (distinct ordered pairs, no self-interactions)")
      ->required()
      ->check(whole);
  app.add_option("--rows", options.rows,
                 "Number of rows (at least the interactions; extra rows repeat an "
                 "interaction with a new PubMed id). Default: one row per interaction")
      ->check(whole);
  app.add_option("--seed", options.seed, "Random seed")->capture_default_str()->check(whole);
  app.add_flag("--connected", options.connected,
               "Make the network a single island (a random spanning tree comes first)");
  app.add_option("--out", out, "SIG file to write")->required();
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    const int code = app.exit(e);
    return code == 0 ? 0 : 2;
  }

  try {
    tessel::bench::CheckSyntheticOptions(options);
  } catch (const std::invalid_argument& e) {
    std::cerr << "tessel-generate: " << e.what() << "\n";
    return 2;
  }
  try {
    const auto start = std::chrono::steady_clock::now();
    const std::string text = tessel::bench::GenerateSigText(options);
    const auto generated = std::chrono::steady_clock::now();
    tessel::WriteFileAtomically(out, text);
    const auto written = std::chrono::steady_clock::now();
    const auto ms = [](auto d) {
      return std::chrono::duration_cast<std::chrono::milliseconds>(d).count();
    };
    std::cout << out << ": " << options.molecules << " molecules, " << options.interactions
              << " interactions, " << (options.rows == 0 ? options.interactions : options.rows)
              << " rows" << (options.connected ? ", one island" : "") << ", seed " << options.seed
              << " (" << text.size() << " bytes; generated in " << ms(generated - start)
              << " ms, written in " << ms(written - generated) << " ms)\n";
  } catch (const std::exception& e) {
    std::cerr << "tessel-generate: " << e.what() << "\n";
    return 1;
  }
  return 0;
}
