// Loads a network file and writes its exchange files: write_exchange NETWORK OUTPUT_STEM
// writes OUTPUT_STEM.graphml, .csv, .sif and .cx2.
#include <exception>
#include <iostream>
#include <string>

#include "model/color_table.h"
#include "model/readers.h"
#include "output/exchange.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: " << (argc > 0 ? argv[0] : "write_exchange") << " NETWORK OUTPUT_STEM\n";
    return 2;
  }
  try {
    const tessel::Network network = tessel::LoadNetwork(argv[1]);
    const tessel::ColorShapeTable table = tessel::ColorShapeTable::Defaults();
    const std::string stem = argv[2];
    tessel::WriteExchange(network, table, tessel::ExchangeFormat::GraphMl, stem + ".graphml");
    tessel::WriteExchange(network, table, tessel::ExchangeFormat::Table, stem + ".csv");
    tessel::WriteExchange(network, table, tessel::ExchangeFormat::SignedSif, stem + ".sif");
    tessel::WriteExchange(network, table, tessel::ExchangeFormat::Cx2, stem + ".cx2");
  } catch (const std::exception& e) {
    std::cerr << e.what() << "\n";
    return 1;
  }
  return 0;
}
