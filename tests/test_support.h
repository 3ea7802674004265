// Helpers shared by the tests: scratch folders, small networks from text, file reads.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "model/network.h"

namespace tessel::test {

// A fresh, empty folder removed when the object goes away.
class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

// Builds a network from lines "SOURCE TARGET EFFECT [PUBMED]" (PubMed id 1 when absent);
// every molecule is a "Protein" in the "Cytosol" with accession and extra id "NA".
Network NetworkFromEdges(std::string_view edges);

std::string ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, std::string_view content);

std::filesystem::path SourceDir();
std::filesystem::path SharedDataDir();
std::filesystem::path GoldenDir();

}  // namespace tessel::test
