#include "analysis/validation.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "model/readers.h"
#include "test_support.h"
#include "util/error.h"

namespace tessel {
namespace {

constexpr std::string_view kNoSelfLoops =
    "There are no interactions with the same source and target.<br>\n";
constexpr std::string_view kNoCodeConflicts =
    "No conflicts regarding different accession codes and the same name.<br><br>\n";
constexpr std::string_view kNoEffectConflicts =
    "The are no interactions with the same source and target and different effect of type of "
    "interaction.<br><br>\n";
constexpr std::string_view kNoReversedPairs =
    "There are no cases where the source and the target are in opposite places.<br>\n";

// One SIG row; the molecule type and location do not matter to the report.
struct Row {
  std::string source;
  std::string sourceAccession = "NA";
  std::string sourceExtraId = "NA";
  std::string target;
  std::string targetAccession = "NA";
  std::string targetExtraId = "NA";
  std::string effect = "+";
  std::string type = "NA";
  std::string pubmed = "1";
};

Network FromRows(const std::vector<Row>& rows) {
  std::string sig;
  for (const Row& r : rows) {
    sig += r.source + " " + r.sourceAccession + " " + r.sourceExtraId + " Protein Cytosol " +
           r.target + " " + r.targetAccession + " " + r.targetExtraId + " Protein Cytosol " +
           r.effect + " " + r.type + " " + r.pubmed + "\n";
  }
  return ReadSigText(sig, "rows");
}

std::size_t Count(std::string_view text, std::string_view what) {
  std::size_t n = 0;
  for (std::size_t pos = text.find(what); pos != std::string_view::npos;
       pos = text.find(what, pos + what.size())) {
    ++n;
  }
  return n;
}

bool Contains(std::string_view text, std::string_view what) {
  return text.find(what) != std::string_view::npos;
}

std::string CodeMessage(std::string_view name, std::string_view firstPair,
                        std::string_view firstCode, std::string_view secondPair,
                        std::string_view secondCode) {
  return std::string(name) + " have different accession code in the " + std::string(firstPair) +
         " interaction (" + std::string(firstCode) + ") compared to " + std::string(secondPair) +
         " interaction (" + std::string(secondCode) + ") interaction.<br><br>\n";
}

std::string ReversedMessage(std::string_view source, std::string_view target) {
  return "The interaction between " + std::string(source) + " and " + std::string(target) +
         " has the source being the target and the target being the source.<br>";
}

// Compares a page with its golden file; TESSEL_UPDATE_GOLDEN=1 rewrites the file instead.
void ExpectGolden(const std::string& page, const std::string& goldenName) {
  const auto path = test::GoldenDir() / goldenName;
  if (const char* update = std::getenv("TESSEL_UPDATE_GOLDEN"); update && *update == '1') {
    test::WriteFile(path, page);
  }
  EXPECT_EQ(page, test::ReadFile(path)) << "golden file " << path;
}

// ---------------------------------------------------------------------------------------
// The page as a whole

TEST(ValidationPage, EmptyNetworkGivesTheFourClosingSentences) {
  ValidationSummary summary{1, 2, 3, 4};
  const std::string page = ValidationPage(Network{}, &summary);
  EXPECT_EQ(page, "<html><body>\n" + std::string(kNoSelfLoops) + "<br>\n" +
                      std::string(kNoCodeConflicts) + std::string(kNoEffectConflicts) +
                      std::string(kNoReversedPairs) + "</body></html>");
  EXPECT_EQ(summary.selfLoops, 0u);
  EXPECT_EQ(summary.codeConflicts, 0u);
  EXPECT_EQ(summary.effectConflicts, 0u);
  EXPECT_EQ(summary.reversedPairs, 0u);
}

TEST(ValidationPage, ConsistentNetworkGivesOnlyClosingSentences) {
  const Network net = test::NetworkFromEdges("A B +\nB C _\nC D 0\nA C +\nA B + 7\n");
  EXPECT_EQ(ValidationPage(net), ValidationPage(Network{}));
}

TEST(ValidationPage, EscapesNamesCodesAndEffects) {
  const Network net = FromRows({
      {.source = "a<b&\"c",
       .sourceAccession = "X<1>",
       .target = "a<b&\"c",
       .targetAccession = "Y&2",
       .effect = "+"},
      {.source = "a<b&\"c",
       .sourceAccession = "X<1>",
       .target = "a<b&\"c",
       .targetAccession = "Y&2",
       .effect = "<i>"},
  });
  const std::string page = ValidationPage(net);
  const std::string escaped = "a&lt;b&amp;&quot;c";
  EXPECT_TRUE(Contains(
      page, "The following interaction has " + escaped + " as both the source and target!<br>\n"));
  EXPECT_TRUE(Contains(page, CodeMessage(escaped, escaped + " " + escaped, "X&lt;1&gt;",
                                         escaped + " " + escaped, "Y&amp;2")));
  EXPECT_TRUE(Contains(page, "is different + and &lt;i&gt;.<br><br>"));
  EXPECT_TRUE(Contains(page, ReversedMessage(escaped, escaped)));
  EXPECT_FALSE(Contains(page, "a<b")) << page;
  EXPECT_FALSE(Contains(page, "<i>")) << page;
  // The markup itself is well formed: one document, closed once, at the very end.
  EXPECT_EQ(page.rfind("<html><body>\n", 0), 0u);
  EXPECT_EQ(Count(page, "<html>"), 1u);
  EXPECT_EQ(Count(page, "</html>"), 1u);
  EXPECT_TRUE(page.ends_with("</body></html>"));
}

TEST(ValidationPage, WritesIntoTheGivenFolderAndReplacesAnOldPage) {
  test::ScratchDir dir;
  const auto folder = dir / "reports" / "today";
  const Network net = test::NetworkFromEdges("A A +\n");
  ValidationSummary summary;
  const auto path = WriteValidationReport(net, folder, &summary);
  EXPECT_EQ(path, folder / "validation.htm");
  EXPECT_EQ(test::ReadFile(path), ValidationPage(net));
  EXPECT_EQ(summary.selfLoops, 1u);

  const Network clean = test::NetworkFromEdges("A B +\n");
  WriteValidationReport(clean, folder);
  EXPECT_EQ(test::ReadFile(path), ValidationPage(clean));
  EXPECT_THROW(WriteValidationReport(clean, std::filesystem::path{}), OutputError);
}

// ---------------------------------------------------------------------------------------
// Self-interactions

TEST(ValidationSelfLoops, EachIsListedAndTheClosingSentenceIsLeftOut) {
  const Network net = test::NetworkFromEdges("A A +\nA B +\nB B _\n");
  ValidationSummary summary;
  const std::string page = ValidationPage(net, &summary);
  EXPECT_EQ(page.rfind("<html><body>\n"
                       "The following interaction has A as both the source and target!<br>\n"
                       "The following interaction has B as both the source and target!<br>\n"
                       "<br>\n",
                       0),
            0u)
      << page;
  EXPECT_FALSE(Contains(page, kNoSelfLoops));
  EXPECT_EQ(summary.selfLoops, 2u);
}

// ---------------------------------------------------------------------------------------
// Molecules named alike with different codes

TEST(ValidationCodes, SourceCodeAgainstTargetCodeIsReportedOnceWithTheComparedCodes) {
  // A is a source with accession X and a target with accession Y.
  const Network net = FromRows({
      {.source = "A", .sourceAccession = "X", .target = "B", .targetAccession = "PB"},
      {.source = "C", .sourceAccession = "PC", .target = "A", .targetAccession = "Y"},
  });
  ValidationSummary summary;
  const std::string page = ValidationPage(net, &summary);
  EXPECT_EQ(Count(page, "have different accession code"), 1u) << page;
  EXPECT_TRUE(Contains(page, CodeMessage("A", "A B", "X", "C A", "Y"))) << page;
  EXPECT_FALSE(Contains(page, kNoCodeConflicts));
  EXPECT_EQ(summary.codeConflicts, 1u);
}

TEST(ValidationCodes, ExtraIdOnlyDifferenceShowsTheExtraIds) {
  const Network net = FromRows({
      {.source = "A", .sourceAccession = "P1", .sourceExtraId = "E1", .target = "B"},
      {.source = "A", .sourceAccession = "P1", .sourceExtraId = "E2", .target = "C"},
  });
  const std::string page = ValidationPage(net);
  EXPECT_EQ(Count(page, "have different accession code"), 1u) << page;
  EXPECT_TRUE(Contains(page, CodeMessage("A", "A B", "E1", "A C", "E2"))) << page;
}

TEST(ValidationCodes, SelfInteractionWithTwoCodesGivesOneMessage) {
  const Network net = FromRows({
      {.source = "A", .sourceAccession = "X", .target = "A", .targetAccession = "Y"},
  });
  ValidationSummary summary;
  const std::string page = ValidationPage(net, &summary);
  EXPECT_EQ(Count(page, "have different accession code"), 1u) << page;
  EXPECT_TRUE(Contains(page, CodeMessage("A", "A A", "X", "A A", "Y"))) << page;
  EXPECT_EQ(summary.codeConflicts, 1u);
}

TEST(ValidationCodes, MessagesFollowFirstThenSecondThenTest) {
  // Every end of A has its own code, so every two ends of A conflict.
  const Network net = FromRows({
      {.source = "Z", .sourceAccession = "PZ", .target = "A", .targetAccession = "T"},
      {.source = "A", .sourceAccession = "S", .target = "A", .targetAccession = "U"},
      {.source = "A", .sourceAccession = "V", .target = "Z", .targetAccession = "PZ"},
  });
  const std::string page = ValidationPage(net);
  const std::string expected = CodeMessage("A", "Z A", "T", "A A", "U") +  // (0, 1, test 3)
                               CodeMessage("A", "Z A", "T", "A A", "S") +  // (0, 1, test 4)
                               CodeMessage("A", "Z A", "T", "A Z", "V") +  // (0, 2, test 4)
                               CodeMessage("A", "A A", "S", "A A", "U") +  // (1, 1, test 2)
                               CodeMessage("A", "A A", "S", "A Z", "V") +  // (1, 2, test 1)
                               CodeMessage("A", "A A", "U", "A Z", "V");   // (1, 2, test 4)
  EXPECT_TRUE(Contains(page, "<br>\n" + expected + "The are no")) << page;
}

// Reference rule for the code messages: every pair of interactions i <= j, tested the
// plain way. Quadratic; only for small networks.
std::string PairwiseCodeMessages(const Network& net) {
  const auto& all = net.interactions();
  struct EndView {
    MoleculeId molecule;
    const std::string* accession;
    const std::string* extraId;
  };
  const auto source = [](const Interaction& i) {
    return EndView{i.source, &i.sourceAccession, &i.sourceExtraId};
  };
  const auto target = [](const Interaction& i) {
    return EndView{i.target, &i.targetAccession, &i.targetExtraId};
  };
  std::string out;
  const auto test = [&](const Interaction& f, const Interaction& s, EndView a, EndView b) {
    if (a.molecule != b.molecule) return;
    if (*a.accession == *b.accession && *a.extraId == *b.extraId) return;
    const bool byAccession = *a.accession != *b.accession;
    out += CodeMessage(net.nameOf(a.molecule), net.sourceName(f) + " " + net.targetName(f),
                       byAccession ? *a.accession : *a.extraId,
                       net.sourceName(s) + " " + net.targetName(s),
                       byAccession ? *b.accession : *b.extraId);
  };
  for (std::size_t i = 0; i < all.size(); ++i) {
    const Interaction& f = all[i];
    test(f, f, source(f), target(f));
    for (std::size_t j = i + 1; j < all.size(); ++j) {
      const Interaction& s = all[j];
      test(f, s, source(f), source(s));
      test(f, s, source(f), target(s));
      test(f, s, target(f), target(s));
      test(f, s, target(f), source(s));
    }
  }
  return out.empty() ? std::string(kNoCodeConflicts) : out;
}

TEST(ValidationCodes, IndexedSearchAgreesWithThePairwiseRuleOnRandomNetworks) {
  std::mt19937_64 rng(20240611);
  for (int round = 0; round < 40; ++round) {
    std::uniform_int_distribution<int> molecule(0, 5), code(0, 2), size(1, 25);
    std::vector<Row> rows;
    const int n = size(rng);
    for (int k = 0; k < n; ++k) {
      Row r;
      r.source = "M" + std::to_string(molecule(rng));
      r.target = "M" + std::to_string(molecule(rng));
      r.sourceAccession = "P" + std::to_string(code(rng));
      r.sourceExtraId = "E" + std::to_string(code(rng));
      r.targetAccession = "P" + std::to_string(code(rng));
      r.targetExtraId = "E" + std::to_string(code(rng));
      rows.push_back(r);
    }
    const Network net = FromRows(rows);
    ValidationSummary summary;
    const std::string page = ValidationPage(net, &summary);
    const std::string expected = PairwiseCodeMessages(net);
    EXPECT_TRUE(Contains(page, "<br>\n" + expected + "The ")) << "round " << round << "\n" << page;
    EXPECT_EQ(summary.codeConflicts, Count(expected, "have different accession code"));
  }
}

// ---------------------------------------------------------------------------------------
// Repeated interactions with a different effect or type

TEST(ValidationEffects, RepeatedRowWithAnotherEffectIsReportedOnce) {
  const Network net = FromRows({
      {.source = "A", .target = "B", .effect = "+", .pubmed = "1"},
      {.source = "A", .target = "B", .effect = "_", .pubmed = "2"},
      {.source = "A", .target = "B", .effect = "_", .pubmed = "3"},
      {.source = "A", .target = "B", .effect = "_", .pubmed = "2"},
      {.source = "A", .target = "B", .effect = "+", .pubmed = "4"},
  });
  ValidationSummary summary;
  const std::string page = ValidationPage(net, &summary);
  EXPECT_EQ(Count(page, "The effect of the interaction between"), 1u) << page;
  EXPECT_TRUE(Contains(page,
                       "The effect of the interaction between A B is different + and _."
                       "<br><br>" +
                           std::string(kNoReversedPairs)))
      << page;
  EXPECT_FALSE(Contains(page, kNoEffectConflicts));
  EXPECT_EQ(summary.effectConflicts, 1u);
}

TEST(ValidationEffects, EachVariantInOrderOfFirstOccurrence) {
  const Network net = FromRows({
      {.source = "A", .target = "B", .effect = "+", .type = "binding"},
      {.source = "C", .target = "D", .effect = "0"},
      {.source = "A", .target = "B", .effect = "+", .type = "cleavage"},  // type only
      {.source = "C", .target = "D", .effect = "_"},
      {.source = "A", .target = "B", .effect = "_", .type = "binding"},
      {.source = "A", .target = "B", .effect = "+", .type = "cleavage"},  // seen already
  });
  ValidationSummary summary;
  const std::string page = ValidationPage(net, &summary);
  EXPECT_TRUE(Contains(page,
                       "The effect of the interaction between A B is different + and +.<br><br>"
                       "The effect of the interaction between C D is different 0 and _.<br><br>"
                       "The effect of the interaction between A B is different + and _.<br><br>"
                       "There are no cases"))
      << page;
  EXPECT_EQ(summary.effectConflicts, 3u);
}

// ---------------------------------------------------------------------------------------
// Reversed pairs

TEST(ValidationReversed, EachPairOnceFromItsEarlierInteraction) {
  const Network net = test::NetworkFromEdges("X Y +\nB A +\nC D +\nA B _\nY X 0\nD E +\n");
  ValidationSummary summary;
  const std::string page = ValidationPage(net, &summary);
  EXPECT_TRUE(
      page.ends_with(ReversedMessage("X", "Y") + ReversedMessage("B", "A") + "</body></html>"))
      << page;
  EXPECT_EQ(summary.reversedPairs, 2u);
  EXPECT_FALSE(Contains(page, kNoReversedPairs));
}

TEST(ValidationReversed, SelfInteractionIsListedOnce) {
  ValidationSummary summary;
  const std::string page = ValidationPage(test::NetworkFromEdges("A A +\nA B +\n"), &summary);
  EXPECT_TRUE(page.ends_with(ReversedMessage("A", "A") + "</body></html>")) << page;
  EXPECT_EQ(summary.reversedPairs, 1u);
}

// ---------------------------------------------------------------------------------------
// Whole pages

TEST(ValidationGolden, SmallNetworkWithEverySection) {
  const auto path = test::SourceDir() / "tests" / "data" / "validation_small.sig";
  const Network net = LoadNetwork(path);
  ValidationSummary summary;
  ExpectGolden(ValidationPage(net, &summary), "validation_small.htm");
  EXPECT_EQ(summary.selfLoops, 2u);
  EXPECT_EQ(summary.codeConflicts, 4u);
  EXPECT_EQ(summary.effectConflicts, 2u);
  EXPECT_EQ(summary.reversedPairs, 4u);
}

TEST(ValidationGolden, SignorLbc) {
  const Network net = LoadNetwork(test::SharedDataDir() / "networks" / "signor_lbc.sig");
  ExpectGolden(ValidationPage(net), "validation_signor_lbc.htm");
}

// ---------------------------------------------------------------------------------------
// Size: the checks are indexed, so large networks are handled in linear time.

TEST(ValidationScale, HundredThousandConsistentInteractions) {
  constexpr std::size_t kMolecules = 20000;
  constexpr std::size_t kInteractions = 100000;
  NetworkBuilder builder;
  builder.reserve(kInteractions);
  std::vector<std::string> names, accessions;
  for (std::size_t m = 0; m < kMolecules; ++m) {
    names.push_back("M" + std::to_string(m));
    accessions.push_back("P" + std::to_string(m));
  }
  // Molecule m links to m+1 .. m+5 (wrapping): no self-loops, no reversed pairs.
  for (std::size_t k = 0; k < kInteractions; ++k) {
    const std::size_t s = k % kMolecules;
    const std::size_t t = (s + 1 + k / kMolecules) % kMolecules;
    builder.addRow({names[s], accessions[s]}, {names[t], accessions[t]}, "+", "NA",
                   static_cast<PubmedId>(k + 1));
  }
  const Network net = builder.build();
  ASSERT_EQ(net.interactionCount(), kInteractions);
  ValidationSummary summary{9, 9, 9, 9};
  EXPECT_EQ(ValidationPage(net, &summary), ValidationPage(Network{}));
  EXPECT_EQ(summary.codeConflicts, 0u);
  EXPECT_EQ(summary.reversedPairs, 0u);
}

TEST(ValidationScale, HubWithOneOddCodeGivesOneMessagePerOtherEnd) {
  // A hub with many ends of one code and a single end of another: the conflicts are the
  // odd end against each other end, without comparing the agreeing ends with each other.
  constexpr std::size_t kSpokes = 20000;
  NetworkBuilder builder;
  for (std::size_t k = 0; k < kSpokes; ++k) {
    const std::string spoke = "S" + std::to_string(k);
    builder.addRow({"HUB", "H1"}, {spoke, "Q"}, "+", "NA", 1);
  }
  builder.addRow({"LAST", "L"}, {"HUB", "H2"}, "_", "NA", 1);
  ValidationSummary summary;
  const std::string page = ValidationPage(builder.build(), &summary);
  EXPECT_EQ(summary.codeConflicts, kSpokes);
  EXPECT_TRUE(Contains(page, CodeMessage("HUB", "HUB S0", "H1", "LAST HUB", "H2")));
  EXPECT_TRUE(Contains(page, CodeMessage("HUB", "HUB S19999", "H1", "LAST HUB", "H2")));
}

}  // namespace
}  // namespace tessel
