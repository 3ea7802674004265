#include "test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

#include "model/readers.h"
#include "util/text.h"

namespace tessel::test {
namespace fs = std::filesystem;

ScratchDir::ScratchDir() {
  std::random_device rd;
  path_ = fs::temp_directory_path() / ("tessel-test-" + std::to_string(rd()));
  fs::create_directories(path_);
}

ScratchDir::~ScratchDir() {
  std::error_code ec;
  fs::remove_all(path_, ec);
}

Network NetworkFromEdges(std::string_view edges) {
  std::string sig;
  std::istringstream in{std::string(edges)};
  std::string line;
  while (std::getline(in, line)) {
    const auto f = SplitFields(line);
    if (f.empty()) continue;
    if (f.size() < 3 || f.size() > 4) throw std::invalid_argument("bad edge line: " + line);
    const std::string pubmed = f.size() == 4 ? std::string(f[3]) : "1";
    sig += std::string(f[0]) + " NA NA Protein Cytosol " + std::string(f[1]) +
           " NA NA Protein Cytosol " + std::string(f[2]) + " NA " + pubmed + "\n";
  }
  return ReadSigText(sig, "edges");
}

std::string MoleculeFields(const Network& net) {
  std::string out;
  for (const Molecule& m : net.molecules()) {
    out += m.name + "/" + m.accession + "/" + m.extraId + "/" + m.moleculeType + "/" + m.location +
           "\n";
  }
  return out;
}

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path.string());
  std::ostringstream os;
  os << in.rdbuf();
  return os.str();
}

void WriteFile(const fs::path& path, std::string_view content) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(content.data(), static_cast<std::streamsize>(content.size()));
}

fs::path SourceDir() {
  return TESSEL_SOURCE_DIR;
}
fs::path GoldenDir() {
  return SourceDir() / "tests" / "golden";
}
void ExpectGolden(std::string_view actual, const std::string& name) {
  const fs::path golden = GoldenDir() / name;
  const char* update = std::getenv("TESSEL_UPDATE_GOLDEN");
  if (update != nullptr && std::string_view(update) == "1") {
    WriteFile(golden, actual);
    return;
  }
  if (fs::exists(golden) && ReadFile(golden) == actual) return;
  const fs::path written = fs::absolute(fs::path("golden-actual") / name);
  fs::create_directories(written.parent_path());
  WriteFile(written, actual);
  ADD_FAILURE() << "output differs from the golden file " << golden.string()
                << "\n  actual output: " << written.string()
                << "\n  (TESSEL_UPDATE_GOLDEN=1 rewrites the golden file)";
}

fs::path DataDir() {
  return SourceDir() / "tests" / "data";
}
fs::path SharedDataDir() {
  return TESSEL_SHARED_DATA_DIR;
}

namespace {

std::vector<fs::path> FilesIn(const fs::path& folder) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

std::vector<fs::path> DataFiles(std::string_view folder) {
  return FilesIn(DataDir() / folder);
}

std::vector<fs::path> ExtraSharedFiles(std::string_view folder) {
  const fs::path shared = SharedDataDir() / folder;
  if (!fs::is_directory(shared)) return {};
  std::vector<fs::path> extra = FilesIn(shared);
  std::erase_if(extra, [&](const fs::path& file) {
    return fs::exists(DataDir() / folder / file.filename());
  });
  return extra;
}

}  // namespace tessel::test
