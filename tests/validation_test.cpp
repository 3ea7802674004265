// The validation report: golden pages, the indexed checks against the plain pairwise rules
// on random networks, escaping, and writing the page.
#include "analysis/validation.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <tuple>
#include <utility>

#include "model/readers.h"
#include "test_support.h"
#include "util/error.h"

namespace tessel {
namespace {

auto Counts(const ValidationSummary& s) {
  return std::make_tuple(s.selfLoops, s.codeConflicts, s.effectConflicts, s.reversedPairs);
}

// One end of an interaction: its molecule, accession and extra id.
using End = std::tuple<const MoleculeId&, const std::string&, const std::string&>;
End EndOf(const Interaction& i, bool source) {
  return source ? End(i.source, i.sourceAccession, i.sourceExtraId)
                : End(i.target, i.targetAccession, i.targetExtraId);
}

// The page by the plain rules, comparing every two interactions (names need no escaping and
// there are no merged rows with other effects). Quadratic; only for small networks.
std::string PairwisePage(const Network& net, ValidationSummary& counts) {
  const auto& all = net.interactions();
  const auto pair = [&net](const Interaction& i) {
    return net.sourceName(i) + " " + net.targetName(i);
  };
  std::string loops, codes, reversed;
  const auto compare = [&](const Interaction& f, const Interaction& s, End a, End b) {
    const auto& [molecule, accession, extraId] = a;
    if (molecule != std::get<0>(b) || a == b) return;
    const bool byAccession = accession != std::get<1>(b);
    codes += net.nameOf(molecule) + " have different accession code in the " + pair(f) +
             " interaction (" + (byAccession ? accession : extraId) + ") compared to " + pair(s) +
             " interaction (" + (byAccession ? std::get<1>(b) : std::get<2>(b)) +
             ") interaction.<br><br>\n";
    ++counts.codeConflicts;
  };
  for (std::size_t i = 0; i < all.size(); ++i) {
    const Interaction& f = all[i];
    bool reverse = f.source == f.target;
    if (reverse) {
      loops += "The following interaction has " + net.sourceName(f) +
               " as both the source and target!<br>\n";
      ++counts.selfLoops;
    }
    compare(f, f, EndOf(f, true), EndOf(f, false));
    for (std::size_t j = i + 1; j < all.size(); ++j) {
      const Interaction& s = all[j];
      reverse = reverse || (s.source == f.target && s.target == f.source);
      // Source with source, source with target, target with target, target with source.
      for (const auto& [fs, ss] :
           {std::pair{true, true}, {true, false}, {false, false}, {false, true}}) {
        compare(f, s, EndOf(f, fs), EndOf(s, ss));
      }
    }
    if (reverse) {
      reversed += "The interaction between " + net.sourceName(f) + " and " + net.targetName(f) +
                  " has the source being the target and the target being the source.<br>";
      ++counts.reversedPairs;
    }
  }
  return "<html><body>\n" +
         (loops.empty() ? "There are no interactions with the same source and target.<br>\n"
                        : loops) +
         "<br>\n" +
         (codes.empty()
              ? "No conflicts regarding different accession codes and the same name.<br><br>\n"
              : codes) +
         "The are no interactions with the same source and target and different effect of type "
         "of interaction.<br><br>\n" +
         (reversed.empty()
              ? "There are no cases where the source and the target are in opposite places.<br>\n"
              : reversed) +
         // The networks here use only "+" and give no types or locations, so the two newer
         // sections find nothing.
         "\n<br>\n<h4>Effects other than + (activation), _ (inhibition) and 0 (binding)</h4>\n"
         "All interactions have the effect +, _ or 0.<br><br>\n"
         "<h4>Molecules whose rows give different types or locations</h4>\n"
         "Every molecule has the same type and location in all its rows.<br>\n"
         "</body></html>";
}

TEST(Validation, IndexedChecksAgreeWithThePairwiseRulesOnRandomNetworks) {
  std::mt19937_64 rng(20240611);
  std::uniform_int_distribution<int> molecule(0, 5), code(0, 2), size(0, 25);
  const auto pick = [&rng](const char* prefix, auto& d) { return prefix + std::to_string(d(rng)); };
  for (int round = 0; round < 60; ++round) {
    NetworkBuilder builder;
    for (int k = size(rng); k > 0; --k) {
      builder.addRow({pick("M", molecule), pick("P", code), pick("E", code)},
                     {pick("M", molecule), pick("P", code), pick("E", code)}, "+", "NA", 1);
    }
    const Network net = builder.build();
    ValidationSummary summary{9, 9, 9, 9}, expected;
    EXPECT_EQ(ValidationPage(net, &summary), PairwisePage(net, expected)) << "round " << round;
    EXPECT_EQ(Counts(summary), Counts(expected)) << "round " << round;
  }
}

TEST(Validation, GoldenPages) {
  ValidationSummary summary;
  const Network small = LoadNetwork(test::DataDir() / "validation_small.sig");
  test::ExpectGolden(ValidationPage(small, &summary), "validation_small.htm");
  EXPECT_EQ(Counts(summary), std::make_tuple(2u, 4u, 2u, 4u));
  const Network lbc = LoadNetwork(test::DataDir() / "networks" / "signor_lbc.sig");
  test::ExpectGolden(ValidationPage(lbc), "validation_signor_lbc.htm");
}

TEST(Validation, FindingsGiveKindsMoleculesLinesAndPubmedIds) {
  const Network small = LoadNetwork(test::DataDir() / "validation_small.sig");
  const std::vector<Finding> findings = ValidationFindings(small);
  std::map<std::string_view, int> kinds;
  for (const Finding& f : findings) ++kinds[FindingKindName(f.kind)];
  EXPECT_EQ(
      kinds,
      (std::map<std::string_view, int>{
          {"self_loop", 2}, {"code_conflict", 4}, {"effect_conflict", 2}, {"reversed_pair", 4}}));
  // The two other variants of A to B, at their first rows, with the interaction's papers.
  std::vector<std::size_t> lines;
  for (const Finding& f : findings) {
    if (f.kind != FindingKind::EffectConflict) continue;
    EXPECT_EQ(f.molecules, (std::vector<std::string>{"A", "B"}));
    EXPECT_EQ(f.pubmedIds, (std::vector<PubmedId>{1001, 1005, 1006, 1007}));
    lines.insert(lines.end(), f.lines.begin(), f.lines.end());
  }
  EXPECT_EQ(lines, (std::vector<std::size_t>{5, 7}));
  // A reversed pair names both interactions; the page lists exactly the findings.
  EXPECT_EQ(findings[8].kind, FindingKind::ReversedPair);
  EXPECT_EQ(findings[8].interactions.size(), 2u);
  EXPECT_EQ(ValidationPage(findings), ValidationPage(small));

  const Network fields = LoadNetwork(test::DataDir() / "validation_fields.sig");
  const std::vector<Finding> more = ValidationFindings(fields);
  ASSERT_EQ(more.size(), 6u);
  EXPECT_EQ(more[0].kind, FindingKind::UnknownEffect);
  EXPECT_EQ(more[0].interactions.size(), 2u);  // the two "-" interactions in one finding
  EXPECT_EQ(more[2].kind, FindingKind::MoleculeConflict);
  EXPECT_EQ(more[2].lines, std::vector<std::size_t>{4});
  EXPECT_EQ(more[2].message,
            "SOS1 has the type Protein, but 1 row gives Kinase (first on line 4).");
  EXPECT_EQ(SummaryOf(more).unknownEffects, 3u);
}

TEST(Validation, UnknownEffectsAndDisagreeingMoleculeFieldsAreListed) {
  // "-" and "inhibits" are kept as read (and reported); GRB2's unknown type and location
  // are filled by its second row; the other rows that disagree are listed with their lines.
  ValidationSummary summary;
  const Network net = LoadNetwork(test::SourceDir() / "tests" / "data" / "validation_fields.sig");
  EXPECT_EQ(net.molecule(net.findId("GRB2")).moleculeType, "Adaptor");
  test::ExpectGolden(ValidationPage(net, &summary), "validation_fields.htm");
  EXPECT_EQ(summary.unknownEffects, 3u);
  EXPECT_EQ(summary.moleculeConflicts, 4u);
}

TEST(Validation, EscapesNamesCodesAndEffects) {
  NetworkBuilder builder;
  builder.addRow({"a<b&\"c", "X<1>"}, {"a<b&\"c", "Y&2"}, "+", "NA", 1);
  builder.addRow({"a<b&\"c", "X<1>"}, {"a<b&\"c", "Y&2"}, "<i>", "NA", 2);
  const std::string page = ValidationPage(builder.build());
  for (const char* raw : {"a<b", "b&\"", "X<1>", "Y&2", "<i>"}) {  // each field is escaped
    EXPECT_EQ(page.find(raw), std::string::npos) << raw << "\n" << page;
  }
}

TEST(Validation, WritesIntoTheGivenFolderAndReplacesAnOldPage) {
  test::ScratchDir dir;
  const Network loop = test::NetworkFromEdges("A A +\n"), clean = test::NetworkFromEdges("A B +\n");
  ValidationSummary summary;
  const auto path = WriteValidationReport(loop, dir / "reports" / "today", &summary);
  EXPECT_EQ(path, dir / "reports" / "today" / "validation.htm");
  EXPECT_EQ(test::ReadFile(path), ValidationPage(loop));
  EXPECT_EQ(summary.selfLoops, 1u);
  WriteValidationReport(clean, dir / "reports" / "today");
  EXPECT_EQ(test::ReadFile(path), ValidationPage(clean));
  EXPECT_THROW(WriteValidationReport(clean, std::filesystem::path{}), OutputError);
}

}  // namespace
}  // namespace tessel
