// Reading networks: merge rules, ids and order, the SIG and two-column formats, bad input.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <utility>

#include "model/readers.h"
#include "test_support.h"
#include "util/error.h"

namespace tessel {
namespace {

using test::NetworkFromEdges;

std::string SigRow(std::string_view source, std::string_view target, std::string_view effect,
                   std::string_view pubmed, std::string_view type = "binding") {
  return std::string(source) + " ACC_" + std::string(source) + " NA Kinase Cytosol " +
         std::string(target) + " ACC_" + std::string(target) + " NA TF Nucleus " +
         std::string(effect) + " " + std::string(type) + " " + std::string(pubmed) + "\n";
}

std::vector<std::string> Names(const Network& net, std::span<const MoleculeId> ids) {
  std::vector<std::string> names;
  for (MoleculeId id : ids) names.push_back(net.nameOf(id));
  return names;
}

TEST(NetworkMerge, ReversedRowsShareOneNeighbourEntryButAreTwoInteractions) {
  const Network net = NetworkFromEdges("A B +\nB A _\n");
  ASSERT_EQ(net.moleculeCount(), 2u);
  EXPECT_EQ(net.interactionCount(), 2u);
  EXPECT_EQ(Names(net, net.neighbours(1)), std::vector<std::string>{"B"});
  EXPECT_EQ(Names(net, net.neighbours(2)), std::vector<std::string>{"A"});
  EXPECT_EQ(net.findInteraction(1, 2)->effect, "+");
  EXPECT_EQ(net.findInteraction(2, 1)->effect, "_");
}

TEST(NetworkMerge, RepeatedRowsMergePubmedIdsInFileOrderAndKeepFirstValues) {
  const Network net =
      ReadSigText(SigRow("A", "B", "+", "30") + SigRow("A", "B", "+", "10") +
                      SigRow("A", "B", "_", "30", "phosphorylation") + SigRow("A", "B", "+", "20"),
                  "rows.sig");
  ASSERT_EQ(net.interactionCount(), 1u);
  const Interaction& i = net.interactions()[0];
  EXPECT_EQ(i.pubmedIds, (PubmedIds{30, 10, 20}));
  EXPECT_EQ(i.effect, "+");
  EXPECT_EQ(i.interactionType, "binding");
  // The differing repeat is kept for the validation report, with its line.
  ASSERT_EQ(net.conflicts().size(), 1u);
  EXPECT_EQ(net.conflicts()[0].effect, "_");
  EXPECT_EQ(net.conflicts()[0].interactionType, "phosphorylation");
  EXPECT_EQ(net.conflicts()[0].line, 3u);
}

TEST(NetworkMerge, MoleculeFieldsComeFromTheFirstRowNamingIt) {
  const Network net = ReadSigText(
      "A P1 X1 Ligand Extracellular B P2 X2 Receptor Membrane + NA 1\n"
      "C P3 X3 Kinase Cytosol A OTHER X9 Kinase Nucleus + NA 2\n",
      "first.sig");
  const Molecule& a = net.molecule(net.findId("A"));
  EXPECT_EQ(a.accession, "P1");
  EXPECT_EQ(a.moleculeType, "Ligand");
  EXPECT_EQ(a.location, "Extracellular");
  // The interaction keeps its own row's end-point fields.
  const Interaction* ca = net.findInteraction(net.findId("C"), net.findId("A"));
  ASSERT_NE(ca, nullptr);
  EXPECT_EQ(ca->targetAccession, "OTHER");
  EXPECT_EQ(ca->targetType, "Kinase");
  EXPECT_EQ(ca->targetLocation, "Nucleus");
}

TEST(NetworkMerge, UnknownFieldsAreFilledByLaterRowsAndDisagreementsRecorded) {
  // A transcription factor first met as a target (type NA) takes its type from the first
  // row that gives one; later rows naming another type are kept as conflicts, not applied.
  const Network net = ReadSigText(
      "A NA NA Kinase Cytosol TF1 NA NA NA NA + NA 1\n"
      "TF1 Q1 NA TF Nucleus B NA NA NA NA + NA 2\n"
      "TF1 Q2 NA Protein Nucleus C NA NA NA Cytosol + NA 3\n"
      "D NA NA Kinase NA TF1 NA NA Protein Cytosol + NA 4\n"
      "E NA NA Kinase NA TF1 NA NA Protein Cytosol + NA 5\n",
      "fill.sig");
  const Molecule& tf = net.molecule(net.findId("TF1"));
  EXPECT_EQ(tf.moleculeType, "TF");
  EXPECT_EQ(tf.location, "Nucleus");
  EXPECT_EQ(tf.accession, "Q1");  // filled once, not overwritten by Q2
  EXPECT_EQ(net.molecule(net.findId("C")).location, "Cytosol");
  ASSERT_EQ(net.moleculeConflicts().size(), 2u);
  const MoleculeConflict& type = net.moleculeConflicts()[0];
  EXPECT_EQ(type.field, MoleculeConflict::Field::Type);
  EXPECT_EQ(type.value, "Protein");
  EXPECT_EQ(type.line, 3u);
  EXPECT_EQ(type.rows, 3u);
  const MoleculeConflict& location = net.moleculeConflicts()[1];
  EXPECT_EQ(location.field, MoleculeConflict::Field::Location);
  EXPECT_EQ(location.value, "Cytosol");
  EXPECT_EQ(location.line, 4u);
  EXPECT_EQ(location.rows, 2u);
}

TEST(NetworkIds, CreationOrderIdsAndCaseInsensitiveStableDisplayOrder) {
  const Network net = NetworkFromEdges("beta Alpha +\nBETA gamma +\nalpha Beta 0\n");
  EXPECT_EQ(Names(net, std::vector<MoleculeId>{1, 2, 3, 4, 5}),
            (std::vector<std::string>{"beta", "Alpha", "BETA", "gamma", "alpha"}));
  // Upper-cased keys compare equal for Alpha/alpha and beta/BETA/Beta: creation order decides.
  EXPECT_EQ(Names(net, net.displayOrder()),
            (std::vector<std::string>{"Alpha", "alpha", "beta", "BETA", "Beta", "gamma"}));
  EXPECT_EQ(net.findId("ALPHA"), 0u);
  EXPECT_EQ(net.findId("alpha"), 5u);
}

TEST(NetworkIds, SelfInteractionIsAnInteractionButNotANeighbour) {
  const Network net = NetworkFromEdges("A A +\nA B _\n");
  const MoleculeId a = net.findId("A");
  EXPECT_EQ(net.interactionCount(), 2u);
  EXPECT_EQ(Names(net, net.neighbours(a)), std::vector<std::string>{"B"});
  EXPECT_EQ(net.linkCount(a), 1u);
  // Counted both as an out link and an in link of A.
  EXPECT_EQ(net.molecule(a).links.outLinks, 2);
  EXPECT_EQ(net.molecule(a).links.inLinks, 1);
  EXPECT_EQ(net.outgoing(a).size(), 2u);
  EXPECT_EQ(net.incoming(a).size(), 1u);
}

TEST(LinkCounters, NeutralSignedAndUnexpectedEffects) {
  const Network net = NetworkFromEdges("A B 0\nA C +\nC A _\nD A -\n");
  const LinkCounters& a = net.molecule(net.findId("A")).links;
  EXPECT_EQ(a.neutralLinks, 1);
  EXPECT_EQ(a.allLinks, 4);
  EXPECT_EQ(a.outLinks, 1);
  EXPECT_EQ(a.inLinks, 2);
  EXPECT_EQ(a.positiveLinks, 1);
  EXPECT_EQ(a.positiveOutLinks, 1);
  EXPECT_EQ(a.negativeLinks, 2);  // "_" and the unexpected "-"
  EXPECT_EQ(a.negativeInLinks, 2);
  const LinkCounters& b = net.molecule(net.findId("B")).links;
  EXPECT_EQ(b.inLinks + b.outLinks, 0);
  EXPECT_EQ(b.neutralLinks, 1);
}

TEST(SigReader, LeadingDigitGainsPButOnlyInSigFiles) {
  const Network sig = ReadSigText(SigRow("14-3-3", "2B4", "+", "1"), "digits.sig");
  EXPECT_NE(sig.findId("P14-3-3"), 0u);
  EXPECT_NE(sig.findId("P2B4"), 0u);
  EXPECT_EQ(sig.findId("14-3-3"), 0u);
  const Network pairs = ReadTwoColumnText("14-3-3 2B4\n", "digits.txt");
  EXPECT_NE(pairs.findId("14-3-3"), 0u);
  EXPECT_NE(pairs.findId("2B4"), 0u);
}

TEST(SigReader, NaEndsTheDataButLaterLinesAreStillChecked) {
  const std::string rows =
      SigRow("A", "B", "+", "1") + SigRow("na", "C", "+", "2") + SigRow("D", "E", "+", "3");
  const Network net = ReadSigText(rows, "na.sig");
  EXPECT_EQ(net.interactionCount(), 1u);
  EXPECT_EQ(net.findId("D"), 0u);
  const Network targetNa =
      ReadSigText(SigRow("A", "B", "+", "1") + SigRow("C", "na", "+", "2"), "na6.sig");
  EXPECT_EQ(targetNa.moleculeCount(), 2u);
  EXPECT_THROW(ReadSigText(rows + "X Y\n", "na-bad.sig"), InputError);
}

TEST(SigReader, WrongFieldCountsNameTheLine) {
  const std::string good = SigRow("A", "B", "+", "1");
  for (const std::string bad : {"A NA NA Kinase Cytosol B NA NA TF Nucleus + 7",
                                "A NA NA Kinase Cytosol B NA NA TF Nucleus + NA 7 extra"}) {
    try {
      ReadSigText(good + "\n" + bad + "\n", "bad.sig");
      FAIL() << "accepted: " << bad;
    } catch (const InputError& e) {
      EXPECT_EQ(e.file(), "bad.sig");
      EXPECT_EQ(e.line(), 3u);
      EXPECT_NE(e.message().find("line #3 to few columns\nThe program only accepts text files "
                                 "with 13 columns in each row!"),
                std::string::npos)
          << e.message();
    }
  }
}

TEST(SigReader, EmptyBlankAndBinaryFilesAreRefused) {
  const auto messageOf = [](std::string_view text) {
    try {
      ReadSigText(text, "f.sig");
    } catch (const InputError& e) {
      return std::string(e.what());
    }
    return std::string("accepted");
  };
  using namespace std::literals;
  EXPECT_EQ(messageOf(""), "f.sig: the file is empty");
  EXPECT_EQ(messageOf("\n\n  \t\n"), "f.sig: the file holds no interactions");
  EXPECT_EQ(messageOf("A B\n\x7f"
                      "ELF\0\0\0\x01"sv),
            "f.sig:2: binary data: this is not a text network file");
}

TEST(SigReader, NonNumericPubmedIdReadsAsZeroWithAWarning) {
  Warnings warnings;
  const Network net = ReadSigText(SigRow("A", "B", "+", "PMID:123"), "w.sig", &warnings);
  EXPECT_EQ(net.interactions()[0].pubmedIds, PubmedIds{0});
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_NE(warnings.lines()[0].find("w.sig:1"), std::string::npos);
}

TEST(SigReader, UnknownEffectsAreKeptAndCountedWithTheirFirstLine) {
  Warnings warnings;
  const Network net = ReadSigText(SigRow("A", "B", "+", "1") + SigRow("B", "C", "-", "2") +
                                      SigRow("C", "D", "-", "3") + SigRow("D", "E", "?", "4"),
                                  "minus.sig", &warnings);
  EXPECT_EQ(net.findInteraction(net.findId("B"), net.findId("C"))->effect, "-");
  ASSERT_EQ(warnings.size(), 2u);
  EXPECT_EQ(warnings.entries()[0].line, 2u);
  EXPECT_EQ(warnings.entries()[0].count, 2u);
  EXPECT_EQ(warnings.entries()[1].line, 4u);
  const std::vector<std::string> lines = warnings.lines();
  EXPECT_EQ(lines[0].rfind("minus.sig:2: effect \"-\"", 0), 0u) << lines[0];
  EXPECT_NE(lines[0].find("did you mean \"_\"?"), std::string::npos) << lines[0];
  EXPECT_NE(lines[0].find("on 2 rows"), std::string::npos) << lines[0];
  EXPECT_EQ(lines[1].find("did you mean"), std::string::npos) << lines[1];
}

TEST(SigReader, AHeaderLineIsAnErrorButADataLineWithOddFieldsIsNot) {
  const std::string header =
      "source source_acc x source_type source_loc target target_acc y target_type target_loc "
      "effect type pmid\n";
  for (const std::string& text : {header + SigRow("A", "B", "+", "1"), "\n\n" + header}) {
    try {
      ReadSigText(text, "header.sig");
      FAIL() << text;
    } catch (const InputError& e) {
      EXPECT_EQ(e.line(), text.front() == '\n' ? 3u : 1u);
      EXPECT_NE(e.message().find("column titles"), std::string::npos) << e.message();
    }
  }
  // A PubMed id that is not a number on a row with an effect is data, with a warning; so is
  // an unknown effect with a numeric id; and a title-like line after the first is data too.
  Warnings warnings;
  EXPECT_EQ(ReadSigText(SigRow("A", "B", "+", "NA") + SigRow("B", "C", "acts", "7") + header,
                        "data.sig", &warnings)
                .interactionCount(),
            3u);
}

TEST(SigReader, AwkwardButValidInput) {
  // CRLF line ends, tabs, a very long name, names with path characters and markup.
  const std::string longName(1 << 20, 'x');
  const std::string text = "A\tNA NA Kinase Cytosol ../b/c NA NA TF Nucleus + NA 5\r\n" +
                           SigRow(longName, "a<\"b>", "_", "6") +
                           SigRow("\xc3\xa9t\xc3\xa9", "A", "0", "7");
  const Network net = ReadSigText(text, "odd.sig");
  EXPECT_EQ(net.moleculeCount(), 5u);
  EXPECT_NE(net.findId("../b/c"), 0u);
  EXPECT_NE(net.findId(longName), 0u);
  EXPECT_NE(net.findId("a<\"b>"), 0u);
  EXPECT_NE(net.findId("\xc3\xa9t\xc3\xa9"), 0u);
  EXPECT_EQ(net.interactions()[0].pubmedIds, PubmedIds{5});
}

// Writing a network and reading the text back gives the same network and the same text.
void ExpectSigRoundTrip(const std::filesystem::path& file) {
  SCOPED_TRACE(file.string());
  const Network first = LoadNetwork(file);
  const std::string text = SigText(first);
  const Network second = ReadSigText(text, "copy.sig");
  EXPECT_EQ(SigText(second), text);
  ASSERT_EQ(second.moleculeCount(), first.moleculeCount());
  ASSERT_EQ(second.interactionCount(), first.interactionCount());
  for (std::size_t k = 0; k < first.interactionCount(); ++k) {
    EXPECT_EQ(second.interactions()[k].pubmedIds, first.interactions()[k].pubmedIds);
  }
  // Every distinct row of the original survives (rows repeating a PubMed id merge).
  std::size_t rows = 0;
  for (const Interaction& i : first.interactions()) rows += i.pubmedIds.size();
  EXPECT_EQ(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')), rows);
}

// The copies in tests/data and any further network of the shared data set.
TEST(SigWriter, RoundTripOfEveryExampleNetwork) {
  auto files = test::DataFiles("networks");
  ASSERT_FALSE(files.empty());
  for (auto& file : test::ExtraSharedFiles("networks")) files.push_back(std::move(file));
  for (const auto& file : files) ExpectSigRoundTrip(file);
}

TEST(SigWriter, RepeatedPairWritesOneRowPerPubmedId) {
  const Network net = LoadNetwork(test::DataDir() / "networks" / "signor_il1r.sig");
  EXPECT_EQ(SigText(net),
            "IL1R1 P14778 NA Receptor Membrane IRAK1 P51617 NA Protein Cytosol + NA 14625308\n"
            "IRAK1 P51617 NA Protein Cytosol TRAF6 Q9Y4K3 NA Protein Cytosol + binding 12242293\n"
            "IRAK1 P51617 NA Protein Cytosol TRAF6 Q9Y4K3 NA Protein Cytosol + binding 8837778\n");
}

TEST(TwoColumnReader, DefaultsMergeAndColumnErrors) {
  const Network net = ReadTwoColumnText("A B\n\nA B\nB A\nna C\nD E\n", "pairs.txt");
  EXPECT_EQ(net.interactionCount(), 2u);
  EXPECT_EQ(net.moleculeCount(), 2u);
  const Interaction& ab = net.interactions()[0];
  EXPECT_EQ(ab.effect, "0");
  EXPECT_EQ(ab.interactionType, "NA");
  EXPECT_EQ(ab.pubmedIds, PubmedIds{0});
  EXPECT_EQ(net.molecule(1).moleculeType, "NA");
  try {
    ReadTwoColumnText("A B\nA B C\n", "three.txt");
    FAIL();
  } catch (const InputError& e) {
    EXPECT_EQ(e.line(), 2u);
    EXPECT_NE(e.message().find("A B C line #2 to few or too many columns\nThe load two column "
                               "function only accepts text files with 2 columns in each row!"),
              std::string::npos);
  }
  // A title line is refused rather than read as a pair of molecules named "source" and
  // "target"; two ordinary names are not titles.
  for (const char* text : {"source\ttarget\nA B\n", "\nFrom To\nA B\n"}) {
    try {
      ReadTwoColumnText(text, "titled.txt");
      FAIL() << text;
    } catch (const InputError& e) {
      EXPECT_NE(e.message().find("column titles"), std::string::npos) << e.message();
    }
  }
  EXPECT_EQ(ReadTwoColumnText("source B\nB target\n", "t.txt").interactionCount(), 2u);
}

TEST(FormatDetection, ExtensionAndContent) {
  EXPECT_EQ(DetectFormat("A B\n", "x.sig"), NetworkFormat::Sig);
  EXPECT_EQ(DetectFormat("\n\nA B\n", "x.txt"), NetworkFormat::Pairs);
  EXPECT_EQ(DetectFormat(SigRow("A", "B", "+", "1"), "x.txt"), NetworkFormat::Sig);
  EXPECT_EQ(DetectFormat("<?xml version=\"1.0\"?><entrySet/>", "x.txt"), NetworkFormat::PsiMi);
  EXPECT_EQ(DetectFormat("#ID interactor A\tID interactor B\n", "x.txt"), NetworkFormat::Mitab);
  // GraphML is markup too, told apart by its root element or its extension.
  EXPECT_EQ(DetectFormat("<?xml version=\"1.0\"?>\n<graphml xmlns=\"x\">", "x.xml"),
            NetworkFormat::GraphMl);
  EXPECT_EQ(DetectFormat("<?xml version=\"1.0\"?>\n<g/>", "x.graphml"), NetworkFormat::GraphMl);
  // A pair file with a title line is a table; a SIF extension wins over the content.
  EXPECT_EQ(DetectFormat("source\ttarget\nA\tB\n", "x.txt"), NetworkFormat::Table);
  EXPECT_EQ(DetectFormat("A B\n", "x.sif"), NetworkFormat::Sif);
  EXPECT_EQ(DetectFormat("A pp B\nB pd C D\n", "x.txt"), NetworkFormat::Sif);
  EXPECT_EQ(DetectFormat("A B\n", "x.csv"), NetworkFormat::Table);
  EXPECT_EQ(ParseNetworkFormat("pairs"), NetworkFormat::Pairs);
  for (const std::string& name : FormatNames()) {
    EXPECT_EQ(FormatName(ParseNetworkFormat(name)), name);
  }
  EXPECT_THROW(ParseNetworkFormat("csv"), std::invalid_argument);
}

TEST(LoadNetwork, MissingFilesAndDirectoriesAreClearErrors) {
  test::ScratchDir dir;
  try {
    LoadNetwork(dir / "nope.sig");
    FAIL();
  } catch (const InputError& e) {
    EXPECT_EQ(std::string(e.what()), (dir / "nope.sig").string() + ": no such file");
  }
  try {
    LoadNetwork(dir.path());
    FAIL();
  } catch (const InputError& e) {
    EXPECT_NE(std::string(e.what()).find("is a directory"), std::string::npos);
  }
}

// Molecules with interactions, sorted, and the interactions as "source target effect ids".
std::pair<std::vector<std::string>, std::vector<std::string>> Shape(const Network& net) {
  std::vector<std::string> names, rows;
  for (const Interaction& i : net.interactions()) {
    names.push_back(net.sourceName(i));
    names.push_back(net.targetName(i));
    std::string row = net.sourceName(i) + " " + net.targetName(i) + " " + i.effect;
    for (const PubmedId id : i.pubmedIds) row += " " + std::to_string(id);
    rows.push_back(std::move(row));
  }
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return {names, rows};
}

TEST(SigRoundTrip, NamesSigCannotHoldAreRenamedOnLoadSoThatSaveAndLoadAgree) {
  using namespace std::string_literals;
  const std::string mitabTail = "\t-\t-\tpubmed:5\t-\t-\t-\t-\t-\t-\n";
  const std::string graphml =
      "<graphml xmlns=\"http://graphml.graphdrawing.org/xmlns\"><graph edgedefault=\"directed\">"
      "<node id=\"na\"/><node id=\"a b\"/><node id=\"Na\"/><node id=\"lonely\"/>"
      "<edge source=\"na\" target=\"a b\"/><edge source=\"a b\" target=\"Na\"/>"
      "</graph></graphml>\n";
  const std::string psimi =
      "<entrySet level='2'><entry><interactorList>"
      "<interactor id='1'><names><shortLabel>na</shortLabel></names></interactor>"
      "<interactor id='2'><names><shortLabel>NA</shortLabel></names></interactor>"
      "</interactorList><interactionList><interaction><xref><primaryRef db='PubMed' id='7'/>"
      "</xref><participantList><participant><interactorRef>1</interactorRef></participant>"
      "<participant><interactorRef>2</interactorRef></participant></participantList>"
      "</interaction></interactionList></entry></entrySet>\n";
  const struct {
    NetworkFormat format;
    std::string text;
    std::string names;  // the molecules as read, in id order
  } cases[] = {
      {NetworkFormat::Mitab,
       "uniprotkb:P1\tuniprotkb:P2\t-\t-\tuniprotkb:na(gene name)\tuniprotkb:X\x01Y(gene name)" +
           mitabTail + "uniprotkb:P3\tuniprotkb:P2\t-\t-\tuniprotkb:A\0B(gene name)"s +
           "\tuniprotkb:X\x01Y(gene name)" + mitabTail,
       "na_ X_Y A_B"},
      {NetworkFormat::Table, "source,target,effect\nna,B C,+\nnA,x\ty,-\n", "na_ B_C nA_ x_y"},
      {NetworkFormat::Sif, "nA pp B\x7f\nB\x7f pd Na\n", "nA_ B_ Na_"},
      {NetworkFormat::GraphMl, graphml, "na_ a_b Na_ lonely"},
      {NetworkFormat::PsiMi, psimi, "na_ NA_"},
      {NetworkFormat::Pairs, "A\x02 NA\nNA nA\n", "A_ NA_ nA_"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(FormatName(c.format)));
    ReadOptions options;
    options.format = c.format;
    Warnings warnings;
    const Network loaded = ReadNetworkText(c.text, "in", options, &warnings);
    std::string names;
    for (const Molecule& m : loaded.molecules()) names += (names.empty() ? "" : " ") + m.name;
    EXPECT_EQ(names, c.names);
    // Each renaming is a counted warning.
    EXPECT_TRUE(std::any_of(warnings.entries().begin(), warnings.entries().end(),
                            [](const Warnings::Entry& e) { return e.key == "sig-name"; }));
    const Network again = ReadSigText(SigText(loaded), "saved.sig");
    EXPECT_EQ(Shape(again), Shape(loaded));
    EXPECT_GE(Shape(loaded).second.size(), 1u);
    for (const auto& name : Shape(loaded).first) EXPECT_FALSE(SigSafeName(name)) << name;
  }
  EXPECT_EQ(SigSafeName("na"), "na_");
  EXPECT_EQ(SigSafeName("a b\tc\0"s), "a_b_c_");
  EXPECT_EQ(SigSafeName("nab"), std::nullopt);
}

TEST(SigRoundTrip, FilesWithoutInteractionsAndMoleculesSigCannotHold) {
  // Only molecules, or a MITAB row of a single participant: refused unless asked for (the
  // message is checked with the command line).
  ReadOptions options;
  options.format = NetworkFormat::Sif;
  EXPECT_THROW(ReadNetworkText("A\nB\n", "lonely.sif", options), InputError);
  options.allowEmpty = true;
  EXPECT_EQ(ReadNetworkText("A\nB\n", "lonely.sif", options).moleculeCount(), 2u);
  options = {};
  options.format = NetworkFormat::Mitab;
  EXPECT_THROW(ReadNetworkText("uniprotkb:P1\tuniprotkb:P1" + std::string(13, '\t') + "\n",
                               "one.txt", options),
               InputError);
  // What SIG leaves out: molecules without interactions; digits gain a "P" on reading back.
  options = {};
  options.format = NetworkFormat::Sif;
  const Network net = ReadNetworkText("A pp 1B\nC\n", "x.sif", options);
  const SigLosses losses = SigLossesOf(net);
  EXPECT_EQ(losses.moleculesWithoutInteractions, 1u);
  EXPECT_EQ(losses.namesStartingWithDigit, 1u);
}

}  // namespace
}  // namespace tessel
