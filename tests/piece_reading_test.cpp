// The SIG and table readers scan large texts in pieces, on several threads: whatever the
// number of threads, the network and the warnings must be those that adding the rows one
// by one gives.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "model/line_fields.h"
#include "model/readers.h"
#include "model/table_reader.h"
#include "test_support.h"
#include "util/error.h"

namespace tessel {
namespace {

// About `rows` lines over 300 molecules: repeated pairs, rows that fill a molecule's
// unknown fields or disagree with them, the same fields with other blanks between them,
// names with a leading digit (and the same names with the "P" the reader puts before
// them), unknown effects, PubMed ids that are no numbers, blank lines.
std::string MixedText(std::size_t rows, unsigned seed) {
  std::mt19937 random(seed);
  const auto pick = [&random](std::size_t n) {
    return std::uniform_int_distribution<std::size_t>(0, n - 1)(random);
  };
  const auto name = [&](std::size_t m) {
    if (m % 50 == 7) return std::to_string(m) + "x";
    if (m % 50 == 8) return "P" + std::to_string(m - 1) + "x";
    return "M" + std::to_string(m);
  };
  const char* types[] = {"Kinase", "TF", "NA", "Ligand"};
  const char* effects[] = {"+", "+", "_", "0", "activates"};
  const auto end = [&](std::size_t m) {
    const std::string accession = pick(20) == 0 ? "NA" : "P" + std::to_string(10000 + m);
    const std::string type = pick(15) == 0 ? types[pick(4)] : types[m % 2];
    // Now and then the same fields with other blanks between them.
    const char* gap = pick(30) == 0 ? " \t" : " ";
    return name(m) + " " + accession + gap + "NA " + type +
           (pick(25) == 0 ? " Nucleus" : " Cytosol");
  };
  std::string text;
  for (std::size_t r = 0; r < rows; ++r) {
    if (pick(40) == 0) text += "  \n";
    const std::size_t a = pick(300), b = pick(12) == 0 ? a : pick(300);
    text += end(a) + " " + end(b) + " " + effects[pick(5)] + (pick(9) == 0 ? " binding " : " NA ");
    text += pick(60) == 0 ? "x" + std::to_string(r) : std::to_string(1000 + pick(40));
    text += "\n";
  }
  return text;
}

// The network built by adding each row in turn.
Network RowByRow(std::string_view text) {
  NetworkBuilder builder;
  std::array<std::string_view, 13> f;
  std::string source, target;
  std::size_t number = 0;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    ++number;
    if (SplitLine(line, f) != 13) continue;
    const auto prefixed = [](std::string_view n, std::string& buffer) -> std::string_view {
      if (n[0] < '0' || n[0] > '9') return n;
      return buffer = "P" + std::string(n);
    };
    bool numeric = true;
    builder.addRow({prefixed(f[0], source), f[1], f[2], f[3], f[4]},
                   {prefixed(f[5], target), f[6], f[7], f[8], f[9]}, f[10], f[11],
                   ParsePubmedId(f[12], numeric), number);
  }
  return builder.build();
}

// Everything a reader decides: rows, molecule fields, merge conflicts and their lines.
std::string Fingerprint(const Network& network) {
  std::string out = SigText(network);
  for (const Molecule& m : network.molecules()) {
    out += m.name + " " + m.accession + " " + m.extraId + " " + m.moleculeType + " " + m.location +
           "\n";
  }
  for (const RowConflict& c : network.conflicts()) {
    out += std::to_string(c.interaction) + " " + c.effect + " " + c.interactionType + " " +
           std::to_string(c.line) + "\n";
  }
  for (const MoleculeConflict& c : network.moleculeConflicts()) {
    out += std::to_string(c.molecule) + " " + c.value + " " + std::to_string(c.line) + " " +
           std::to_string(c.rows) + "\n";
  }
  return out;
}

// The first line where two fingerprints differ, or "" (gtest's diff of texts this large
// would take gigabytes).
std::string FirstDifference(const std::string& actual, const std::string& expected) {
  std::size_t at = 0, line = 1;
  while (at < actual.size() && at < expected.size() && actual[at] == expected[at]) {
    if (actual[at++] == '\n') ++line;
  }
  if (at == actual.size() && at == expected.size()) return "";
  const auto lineOf = [&](const std::string& s) {
    const std::size_t start = s.rfind('\n', at == 0 ? 0 : at - 1);
    const std::size_t from = start == std::string::npos || at == 0 ? 0 : start + 1;
    return s.substr(from, s.find('\n', from) - from);
  };
  return "line " + std::to_string(line) + ": \"" + lineOf(actual) + "\" where \"" +
         lineOf(expected) + "\" was expected";
}

TEST(SigReaderPieces, AnyNumberOfThreadsGivesTheRowByRowNetworkAndWarnings) {
  const std::string text = MixedText(30000, 5);  // about 2 MB: dozens of pieces
  const Network expected = RowByRow(text);
  ASSERT_GT(expected.moleculeConflicts().size(), 10u);
  ASSERT_GT(expected.conflicts().size(), 10u);
  std::vector<std::string> expectedWarnings;
  for (const unsigned threads : {1u, 2u, 3u}) {
    Warnings warnings;
    const Network network = ReadSigText(text, "mixed.sig", &warnings, threads);
    EXPECT_EQ(FirstDifference(Fingerprint(network), Fingerprint(expected)), "")
        << threads << " threads";
    if (threads == 1) {
      expectedWarnings = warnings.lines();
      EXPECT_EQ(warnings.size(), 2u);  // the unknown effect and the PubMed ids
    }
    EXPECT_EQ(warnings.lines(), expectedWarnings) << threads << " threads";
  }
}

TEST(SigReaderPieces, BadLinesAndTheEndOfDataInLaterPieces) {
  std::string text = MixedText(20000, 9);
  const std::size_t lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  for (const unsigned threads : {1u, 3u}) {
    std::string bad = text + "A B C\n" + text;
    try {
      ReadSigText(bad, "bad.sig", nullptr, threads);
      ADD_FAILURE() << "no error";
    } catch (const InputError& e) {
      EXPECT_EQ(e.line(), lines + 1) << e.what();
    }
    // "na" ends the data: the rows after it are checked but not read.
    std::string ended = text + "na x x x x y y y y y + NA 1\n" + MixedText(3000, 2);
    EXPECT_EQ(FirstDifference(Fingerprint(ReadSigText(ended, "e.sig", nullptr, threads)),
                              Fingerprint(RowByRow(text))),
              "");
    ended += "A B C\n";
    EXPECT_THROW(ReadSigText(ended, "e.sig", nullptr, threads), InputError);
  }
}

// Lines are split sixteen bytes at a time: fields across those blocks, every kind of blank,
// bytes that are no blanks (a line break inside a line, control and high bytes), lines
// with one field too many.
TEST(SigReaderPieces, SplitLineAgreesWithAByteByByteSplit) {
  std::mt19937 random(4);
  const std::string bytes = "ab \t\r\v\f\n\x01\xff";
  for (int n = 0; n < 50000; ++n) {
    std::string line(random() % 100, ' ');
    const std::size_t kinds = random() % 2 == 0 ? bytes.size() : 3;
    for (char& c : line) c = bytes[random() % kinds];
    std::vector<std::string_view> expected;
    for (std::size_t i = 0; i < line.size();) {
      const auto blank = [&](std::size_t k) {
        return std::string_view(" \t\r\v\f").find(line[k]) != std::string_view::npos;
      };
      while (i < line.size() && blank(i)) ++i;
      const std::size_t start = i;
      while (i < line.size() && !blank(i)) ++i;
      if (i > start) expected.push_back(std::string_view(line).substr(start, i - start));
    }
    std::array<std::string_view, 13> f;
    const std::size_t count = SplitLine(std::string_view(line), f);
    ASSERT_EQ(count, std::min<std::size_t>(expected.size(), 14)) << line;
    for (std::size_t k = 0; k < std::min<std::size_t>(count, 13); ++k) {
      ASSERT_EQ(f[k].data(), expected[k].data()) << line;
      ASSERT_EQ(f[k].size(), expected[k].size()) << line;
    }
  }
}

// A file of several MB is mapped rather than read, and given back piece by piece as its
// rows are added.
TEST(SigReaderPieces, LargeFilesReadLikeTheirText) {
  const std::string text = MixedText(70000, 3);
  ASSERT_GT(text.size(), std::size_t{4} << 20);
  test::ScratchDir dir;
  test::WriteFile(dir / "large.sig", text);
  ReadOptions options;
  options.threads = 2;
  EXPECT_EQ(FirstDifference(Fingerprint(LoadNetwork(dir / "large.sig", options)),
                            Fingerprint(ReadNetworkText(text, "large.sig", {}))),
            "");
}

// About `rows` records of a table over 300 molecules, with what the reader must turn into
// the network's words, and the network that adding its rows one by one gives: names with
// blanks, "na" (renamed for SIG files, warned on every row), rows without a target, unknown
// effect words, several PubMed ids per row, repeated title lines, comments, blank lines
// and CRLF line breaks, fields that fill or contradict a molecule's.
struct MixedTable {
  std::string text;
  Network expected;
  std::vector<std::pair<std::size_t, std::size_t>> warnings;  // first line and count, per kind
};

std::vector<std::pair<std::size_t, std::size_t>> LinesAndCounts(const Warnings& warnings) {
  std::vector<std::pair<std::size_t, std::size_t>> out;
  for (const Warnings::Entry& e : warnings.entries()) out.emplace_back(e.line, e.count);
  return out;
}

// `quoted`: some names are quoted and hold a line break, so that the table cannot be cut
// into pieces before it is read.
MixedTable MakeMixedTable(std::size_t rows, unsigned seed, bool quoted = false) {
  std::mt19937 random(seed);
  const auto pick = [&random](std::size_t n) {
    return std::uniform_int_distribution<std::size_t>(0, n - 1)(random);
  };
  const auto name = [quoted](std::size_t m) -> std::string {
    if (m == 13) return "na";
    if (m % 40 != 5) return "M" + std::to_string(m);
    return quoted ? "\"Protein\n kinase " + std::to_string(m) + "\""
                  : "Protein  kinase " + std::to_string(m);
  };
  // The name as the table reader gives it to the builder, which renames "na" itself.
  const auto word = [](std::size_t m) -> std::string {
    if (m == 13) return "na";
    return m % 40 == 5 ? "Protein_kinase_" + std::to_string(m) : "M" + std::to_string(m);
  };
  const char* types[] = {"Kinase", "TF", "", "small molecule"};
  const char* typeWords[] = {"Kinase", "TF", "NA", "small_molecule"};
  const char* effects[] = {"activation", "inhibition", "binding", "", "wobbles"};
  const char* signs[] = {"+", "_", "0", "0", "0"};
  NetworkBuilder builder;
  Warnings warned;  // the builder's, and the reader's under keys of this test
  builder.makeNamesSigSafe(&warned, "t.tsv");
  std::string text = "source\ttarget\teffect\tpubmed\tsource_type\ttarget_location\n";
  std::size_t line = 1;
  for (std::size_t r = 0; r < rows; ++r) {
    if (pick(50) == 0) {
      text += pick(2) == 0 ? "# a comment\n" : " \t\n";
      ++line;
    }
    if (pick(400) == 0) {
      text += "source\ttarget\teffect\tpubmed\tsource_type\ttarget_location\n";
      warned.add("title", "t.tsv", ++line, "");
    }
    const std::size_t a = pick(300), b = pick(300);
    const std::size_t effect = pick(5);
    const std::size_t type = pick(12) == 0 ? pick(4) : a % 2;
    const bool location = pick(20) == 0;
    const bool noTarget = pick(300) == 0;
    std::vector<PubmedId> ids{static_cast<PubmedId>(1000 + pick(40))};
    std::string references = std::to_string(ids[0]);
    if (pick(10) == 0) {
      ids.push_back(static_cast<PubmedId>(2000 + pick(40)));
      references += ";PMID:" + std::to_string(ids[1]);
    }
    text += name(a) + "\t" + (noTarget ? "" : name(b)) + "\t" + effects[effect] + "\t" +
            references + "\t" + types[type] + "\t" + (location ? "Nucleus" : "") +
            (pick(7) == 0 ? "\r\n" : "\n");
    const std::size_t recordLine = ++line;
    line += quoted ? (a % 40 == 5) + (!noTarget && b % 40 == 5) : 0;
    if (noTarget) {
      warned.add("no target", "t.tsv", recordLine, "");
      continue;
    }
    if (effect == 4) warned.add("effect", "t.tsv", recordLine, "");
    for (const PubmedId id : ids) {
      builder.addRow({word(a), "NA", "NA", typeWords[type], "NA"},
                     {word(b), "NA", "NA", "NA", location ? "Nucleus" : "NA"}, signs[effect], "NA",
                     id, recordLine);
    }
  }
  return {std::move(text), builder.build(), LinesAndCounts(warned)};
}

TEST(TableReaderPieces, AnyNumberOfThreadsGivesTheRowByRowNetworkAndWarnings) {
  const MixedTable table = MakeMixedTable(40000, 6);  // about 1.3 MB: dozens of pieces
  ASSERT_GT(table.expected.moleculeConflicts().size(), 5u);
  ASSERT_GT(table.expected.conflicts().size(), 10u);
  for (const unsigned threads : {1u, 2u, 3u}) {
    Warnings warnings;
    const Network network = ReadTableText(table.text, "t.tsv", {}, &warnings, threads);
    EXPECT_EQ(FirstDifference(Fingerprint(network), Fingerprint(table.expected)), "")
        << threads << " threads";
    // Unknown effect, renamed "na" (on every row end), no target, repeated titles.
    ASSERT_EQ(LinesAndCounts(warnings).size(), 4u);
    EXPECT_EQ(LinesAndCounts(warnings), table.warnings) << threads << " threads";
  }
  // Read from a file, whose text is given back piece by piece as the rows are added.
  test::ScratchDir dir;
  test::WriteFile(dir / "t.tsv", table.text);
  ReadOptions options;
  options.threads = 2;
  EXPECT_EQ(FirstDifference(Fingerprint(LoadNetwork(dir / "t.tsv", options)),
                            Fingerprint(table.expected)),
            "");
  // Quoted names holding line breaks: the records are read in turn, a piece at a time.
  const MixedTable quoted = MakeMixedTable(40000, 7, true);
  Warnings warnings;
  EXPECT_EQ(FirstDifference(Fingerprint(ReadTableText(quoted.text, "t.tsv", {}, &warnings, 2)),
                            Fingerprint(quoted.expected)),
            "");
  EXPECT_EQ(LinesAndCounts(warnings), quoted.warnings);
  // An unclosed quote in a later piece names its line, whatever the threads.
  const std::size_t lines =
      static_cast<std::size_t>(std::count(table.text.begin(), table.text.end(), '\n'));
  const std::string bad = table.text + "A\t\"B\tactivation\t1\n" + "C\tD\tactivation\t2\n";
  for (const unsigned threads : {1u, 3u}) {
    try {
      ReadTableText(bad, "bad.tsv", {}, nullptr, threads);
      ADD_FAILURE() << "no error";
    } catch (const InputError& e) {
      EXPECT_EQ(e.line(), lines + 1) << e.what();
    }
  }
}

}  // namespace
}  // namespace tessel
