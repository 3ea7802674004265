// Loads a network file and writes its Pajek export: write_pajek NETWORK OUTPUT.NET
#include <exception>
#include <iostream>

#include "model/readers.h"
#include "output/exports.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: " << (argc > 0 ? argv[0] : "write_pajek") << " NETWORK OUTPUT.NET\n";
    return 2;
  }
  try {
    const tessel::Network network = tessel::LoadNetwork(argv[1]);
    tessel::WriteExport(network, tessel::ExportFormat::Pajek, argv[2]);
  } catch (const std::exception& e) {
    std::cerr << e.what() << "\n";
    return 1;
  }
  return 0;
}
