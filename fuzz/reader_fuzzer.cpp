// One libFuzzer target per input surface. The same source is built once per reader, with
// TESSEL_FUZZ_READER naming the reader (see fuzz/CMakeLists.txt). A reader may reject its
// input with InputError or std::invalid_argument; anything else that escapes (another
// exception, a crash, a sanitizer report) is a fault.
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "model/color_table.h"
#include "model/graphml.h"
#include "model/psimi.h"
#include "model/readers.h"
#include "model/table_reader.h"
#include "model/warnings.h"
#include "output/pubmed.h"
#include "util/error.h"

namespace {

using namespace tessel;

const std::string kFile = "fuzz-input";

// The invariants every reader's network must keep: ids in range, each name found again by
// lookup, every interaction reachable from its source and with at least one PubMed id. A
// broken invariant traps, so libFuzzer reports it as a crash.
[[maybe_unused]] void Check(const Network& network) {
  const std::size_t n = network.moleculeCount();
  for (const Molecule& m : network.molecules()) {
    if (m.id == 0 || m.id > n || network.findId(m.name) != m.id) __builtin_trap();
    for (MoleculeId other : network.neighbours(m.id))
      if (other == 0 || other > n || other == m.id) __builtin_trap();
  }
  for (const Interaction& i : network.interactions()) {
    if (i.source == 0 || i.source > n || i.target == 0 || i.target > n) __builtin_trap();
    if (i.pubmedIds.empty() || network.findInteraction(i.source, i.target) != &i) __builtin_trap();
  }
  if (network.displayOrder().size() != n) __builtin_trap();
}

void Run(std::string_view text) {
  Warnings warnings;
#if TESSEL_FUZZ_READER == 1
  Check(ReadSigText(text, kFile, &warnings));
#elif TESSEL_FUZZ_READER == 2
  Check(ReadTwoColumnText(text, kFile, &warnings));
#elif TESSEL_FUZZ_READER == 3
  Check(ReadPsiMiXml(text, kFile, &warnings));
#elif TESSEL_FUZZ_READER == 4
  Check(ReadMitabText(text, kFile, &warnings));
#elif TESSEL_FUZZ_READER == 5
  Check(ReadTableText(text, kFile, {}, &warnings));
#elif TESSEL_FUZZ_READER == 6
  Check(ReadSifText(text, kFile, &warnings));
#elif TESSEL_FUZZ_READER == 7
  Check(ReadSignorText(text, kFile, &warnings));
#elif TESSEL_FUZZ_READER == 8
  Check(ReadOmniPathText(text, kFile, &warnings));
#elif TESSEL_FUZZ_READER == 9
  Check(ReadGraphMlText(text, kFile, &warnings));
#elif TESSEL_FUZZ_READER == 10
  // Format detection first, then the reader it picks, as a file given without --format.
  (void)DetectTabularFormat(text);
  (void)DetectFormat(text, "fuzz-input.txt");
  Check(ReadNetworkText(text, kFile, ReadOptions{}, &warnings));
#elif TESSEL_FUZZ_READER == 11
  ColorShapeTable table = ColorShapeTable::Parse(text);
  Network empty = ReadSigText("", kFile);
  (void)table.legend(empty);
  (void)table.colorOf(empty, "X");
#elif TESSEL_FUZZ_READER == 12
  for (const auto& [id, reference] : ParsePubmedXml(text, kFile)) (void)ReferenceText(reference);
#else
#error "TESSEL_FUZZ_READER names no reader"
#endif
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    Run(std::string_view(reinterpret_cast<const char*>(data), size));
  } catch (const InputError&) {
  } catch (const std::invalid_argument&) {
  }
  return 0;
}
