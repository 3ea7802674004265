// Helpers shared by the tests: scratch folders, small networks from text, file reads.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

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

// "name/accession/extra id/type/location" of every molecule, one a line, in id order.
std::string MoleculeFields(const Network& net);

std::string ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, std::string_view content);

std::filesystem::path SourceDir();
std::filesystem::path GoldenDir();

// Compares `actual` with the golden file GoldenDir() / `name`. On a mismatch the test fails
// naming both files, and `actual` is written to golden-actual/<name> in the working folder so
// that the two can be compared with diff. With TESSEL_UPDATE_GOLDEN=1 in the environment the
// golden file is rewritten instead (for a deliberate change of a page; review the diff).
void ExpectGolden(std::string_view actual, const std::string& name);

// The public data the tests read, copied into the repository (tests/data, one folder per
// kind: "networks", "psimi", "mitab", "pubmed").
std::filesystem::path DataDir();
// The files of DataDir() / folder, sorted by name.
std::vector<std::filesystem::path> DataFiles(std::string_view folder);

// The project's full shared data set beside the repository (TESSEL_SHARED_DATA_DIR), which
// need not exist. It holds files too large to copy into the repository.
std::filesystem::path SharedDataDir();
// The files of SharedDataDir() / folder that have no copy of the same name in DataDir(),
// sorted by name; none when the shared folder is absent.
std::vector<std::filesystem::path> ExtraSharedFiles(std::string_view folder);

}  // namespace tessel::test
