// Tabular network files: CSV/TSV tables, SIF, SIGNOR and OmniPath downloads, and their
// detection from content.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model/table_reader.h"
#include "test_support.h"
#include "util/error.h"

namespace tessel {
namespace {

std::string Fixture(std::string_view name) {
  return test::ReadFile(test::SourceDir() / "tests" / "data" / name);
}

// One line "source target effect interaction-type id;id" per interaction, in id order.
std::string Edges(const Network& net) {
  std::string out;
  for (const Interaction& i : net.interactions()) {
    out += net.molecule(i.source).name + " " + net.molecule(i.target).name + " " + i.effect + " " +
           i.interactionType + " ";
    for (const PubmedId id : i.pubmedIds) out += std::to_string(id) + ";";
    out.back() = '\n';
  }
  return out;
}

TableColumns Columns(std::string source, std::string target = "", std::string effect = "",
                     std::string pubmed = "", std::string sourceType = "") {
  TableColumns c;
  c.source = std::move(source);
  c.target = std::move(target);
  c.effect = std::move(effect);
  c.pubmed = std::move(pubmed);
  c.sourceType = std::move(sourceType);
  return c;
}

// "line N, M times" of the warning whose message holds `text`.
std::string Seen(const Warnings& w, std::string_view text) {
  for (const Warnings::Entry& e : w.entries()) {
    if (e.message.find(text) != std::string::npos) {
      return "line " + std::to_string(e.line) + ", " + std::to_string(e.count) + " times";
    }
  }
  return "no warning";
}

// The InputError a read throws; fails the test when there is none.
template <typename Read>
InputError ErrorOf(Read read) {
  try {
    read();
  } catch (const InputError& e) {
    return e;
  }
  ADD_FAILURE() << "no InputError";
  return InputError("", 0, "");
}

TEST(SignorReader, PathwayFileGivesTheNetworkOfItsSigConversion) {
  Warnings warnings;
  const Network fromTsv = ReadSignorText(Fixture("signor_lbc.tsv"), "lbc.tsv", &warnings);
  const Network fromSig = ReadSigText(Fixture("networks/signor_lbc.sig"), "lbc.sig");
  EXPECT_TRUE(warnings.empty()) << warnings.lines().front();
  EXPECT_EQ(test::MoleculeFields(fromTsv), test::MoleculeFields(fromSig));
  EXPECT_EQ(SigText(fromTsv), SigText(fromSig));
}

TEST(SignorReader, AllDataRowsWithAndWithoutTitleLine) {
  const std::string rows = Fixture("signor_all_data.tsv");
  const std::string title =
      "ENTITYA\tTYPEA\tIDA\tDATABASEA\tENTITYB\tTYPEB\tIDB\tDATABASEB\tEFFECT\tMECHANISM\t"
      "RESIDUE\tSEQUENCE\tTAX_ID\tCELL_DATA\tTISSUE_DATA\tMODULATOR_COMPLEX\tTARGET_COMPLEX\t"
      "MODIFICATIONA\tMODASEQ\tMODIFICATIONB\tMODBSEQ\tPMID\tDIRECT\tNOTES\tANNOTATOR\tSENTENCE\t"
      "SIGNOR_ID\tSCORE\n";
  const Network net = ReadSignorText(rows, "all.tsv");
  EXPECT_EQ(SigText(ReadSignorText(title + rows, "titled.tsv")), SigText(net));
  // Entity types as words; "down-regulates activity" and "down-regulates" are one sign and
  // both papers are kept.
  const std::string molecules = test::MoleculeFields(net);
  for (const char* m :
       {"\nERK1/2/SIGNOR-PF1/NA/ProteinFamily/NA\n", "\nTSC1/TSC2/SIGNOR-C101/NA/Complex/NA\n",
        "\nProliferation/SIGNOR-PH4/NA/Phenotype/NA\n"}) {
    EXPECT_NE(molecules.find(m), std::string::npos) << m << "in\n" << molecules;
  }
  EXPECT_EQ(Edges(net),
            "AKT Proliferation + NA 24743741\nFGFR1 FRS2 + phosphorylation 9182757\n"
            "ERK1/2 E2F1 + phosphorylation 23616010\n"
            "ERK1/2 SOS1 _ phosphorylation 8816480;20724475\n"
            "TSC1/TSC2 RHEB _ gtpase-activating_protein 15340059\n"
            "CDKN2A Proliferation _ NA 7972006\nMDM2 TP53 _ ubiquitination 23150757;22337874\n"
            "PDPK1 PDPK1 0 phosphorylation 10455013\n");

  const InputError e = ErrorOf([] { ReadSignorText("\n\na\tb\tc\n", "x.tsv"); });
  EXPECT_EQ(e.line(), 3u);
  EXPECT_NE(e.message().find("ENTITYA"), std::string::npos);
}

TEST(TableReader, SignWordsAndUnknownWordsWarnedWithTheirFirstLine) {
  // Each sign with words that give it; unknown words give "0" with a warning.
  const std::vector<std::pair<std::string, std::vector<std::string>>> signs = {
      {"+", {"1", "+", "Activation", "stimulation", "up-regulates activity"}},
      {"_", {"-1", "-", "inhibition", "Repression", "down-regulates quantity by destabilization"}},
      {"0", {"0", "Unknown", "form complex", "", "weird", "odd", "weird"}}};
  std::string text = "source,target,sign\n";
  std::string expected;
  for (const auto& [sign, words] : signs) {
    for (const std::string& word : words) {
      const std::string source = "S" + std::to_string(text.size());
      text += source + ",T," + word + "\n";
      expected += source + " T " + sign + " NA 0\n";
    }
  }
  Warnings warnings;
  EXPECT_EQ(Edges(ReadTableText(text, "w.csv", {}, &warnings)), expected);
  EXPECT_EQ(warnings.size(), 2u);
  EXPECT_EQ(Seen(warnings, "effect \"weird\" is not a known sign word"), "line 16, 2 times");
  EXPECT_EQ(Seen(warnings, "\"odd\""), "line 17, 1 times");
}

TEST(TableReader, ReferencesKeepEveryNumericPubmedIdOnce) {
  Warnings warnings;
  const Network net = ReadTableText(
      "source\ttarget\treferences\n"
      "A\tB\tSIGNOR:12345;PMID:678|9\n"
      "C\tD\tHPRD:10438488;SIGNOR:10438488\n"
      "E\tF\tPMC4567;doi:10.1038/nature1\n"
      "G\tH\t\n"
      "C\tD\tPMID:10438488,77\n",
      "refs.tsv", {}, &warnings);
  EXPECT_EQ(Edges(net), "A B 0 NA 12345;678;9\nC D 0 NA 10438488;77\nE F 0 NA 0\nG H 0 NA 0\n");
  EXPECT_EQ(warnings.size(), 1u);  // the empty field is not worth a remark
  EXPECT_EQ(Seen(warnings, ""), "line 4, 1 times");
}

TEST(TableReader, QuotedCsvFields) {
  const Network net = ReadTableText(
      "\"Source\",\"Target\",\"Mechanism\",PMID\n"
      "\"MAPK1, ERK2\",TP53,\"says \"\"hi\"\"\",1\n"
      "\"multi\nline\",\"X\",binding,2\n"
      "A,B,\"a;b\",3\n"
      "14-3-3,B,\"\",4\n"
      "A,,x,5\n",
      "q.csv");
  // Blanks and line breaks in names become "_"; no "P" before a leading digit here.
  EXPECT_EQ(Edges(net),
            "MAPK1,_ERK2 TP53 0 says_\"hi\" 1\nmulti_line X 0 binding 2\nA B 0 a;b 3\n"
            "14-3-3 B 0 NA 4\n");

  const InputError e =
      ErrorOf([] { ReadTableText("source,target\nA,B\nC,\"D\nE,F\n", "open.csv"); });
  EXPECT_EQ(e.file(), "open.csv");
  EXPECT_EQ(e.line(), 3u);
}

TEST(TableReader, HeaderSpellingsAndSeparators) {
  const std::vector<std::pair<std::string, char>> headers = {
      {"source\ttarget", '\t'},
      {"From,To", ','},
      {"regulator;regulated", ';'},
      {"Node1\tNode2", '\t'},
      {"TF\tTarget", '\t'},
      {"SOURCE TARGET", ' '},
      {"source_genesymbol,target_genesymbol", ','},
      {"Source Gene Symbol\tTarget Gene Symbol", '\t'}};
  for (const auto& [header, sep] : headers) {
    const std::string text = header + "\nA" + sep + "B\n";
    EXPECT_EQ(Edges(ReadTableText(text, "h.txt")), "A B 0 NA 0\n") << header;
    EXPECT_EQ(DetectTabularFormat(text), NetworkFormat::Table) << header;
  }
}

TEST(TableReader, ColumnsChosenByTitleOrNumberAndMissingOnesNamed) {
  const std::string text =
      "id\tgene_a\tgene_b\twhat\tpaper\tkind_a\n"
      "1\tEGF\tEGFR\tstimulation\t99\tLigand\n";
  for (const TableColumns& columns :
       {Columns("GENE_A", "gene_b", "what", "paper", "Kind_A"), Columns("2", "3", "4", "5", "6")}) {
    const Network net = ReadTableText(text, "c.tsv", columns);
    EXPECT_EQ(Edges(net), "EGF EGFR + NA 99\n");
    EXPECT_EQ(test::MoleculeFields(net), "EGF/NA/NA/Ligand/NA\nEGFR/NA/NA/NA/NA\n");
  }
  const InputError wrong = ErrorOf([&] { ReadTableText(text, "c.tsv", Columns("gene_c")); });
  EXPECT_NE(wrong.message().find("\"gene_c\""), std::string::npos);
  EXPECT_NE(wrong.message().find("\"gene_b\""), std::string::npos);
  EXPECT_THROW(ReadTableText(text, "c.tsv", Columns("7")), InputError);

  // Without source and target titles the error names the file, the titles and the options.
  const InputError e =
      ErrorOf([] { ReadTableText("gene\tpartner\tscore\nA\tB\t1\n", "genes.tsv"); });
  EXPECT_EQ(e.file(), "genes.tsv");
  EXPECT_EQ(e.line(), 1u);
  for (const char* part :
       {"\"gene\"", "\"partner\"", "\"score\"", "--source-col", "--target-col"}) {
    EXPECT_NE(e.message().find(part), std::string::npos) << part << " in " << e.message();
  }
  const InputError target = ErrorOf([] { ReadTableText("source,partner\nA,B\n", "t.csv"); });
  EXPECT_NE(target.message().find("no target column"), std::string::npos) << target.message();
}

TEST(TableReader, FlagPairsPreferConsensusAndWarnWhenUndecided) {
  Warnings warnings;
  const Network net = ReadTableText(
      "source\ttarget\tis_stimulation\tis_inhibition\tconsensus_stimulation\t"
      "consensus_inhibition\n"
      "A\tB\t1\t0\t1\t0\n"
      "C\tD\t1\t1\t0\t1\n"  // consensus decides
      "E\tF\t1\t1\t1\t1\n"
      "G\tH\t0\t0\t0\t0\n"
      "I\tJ\t1\t0\t1\t1\n",
      "flags.tsv", {}, &warnings);
  EXPECT_EQ(Edges(net), "A B + NA 0\nC D _ NA 0\nE F 0 NA 0\nG H 0 NA 0\nI J 0 NA 0\n");
  EXPECT_EQ(Seen(warnings, "both consensus_stimulation"), "line 4, 2 times");
  EXPECT_EQ(Seen(warnings, "neither"), "line 5, 1 times");
  // Without consensus columns the plain flags are used.
  EXPECT_EQ(Edges(ReadTableText("source,target,is_stimulation,is_inhibition\nA,B,0,1\n", "p.csv")),
            "A B _ NA 0\n");
}

TEST(TableReader, SkippedRowsRepeatedTitlesAndBlanksInWords) {
  Warnings warnings;
  const Network net = ReadTableText(
      "source\ttarget\tsource_type\tsource_location\tinteraction_type\n"
      "A\tB\tKinase\tCytosol\tphosphorylation\n"
      "\tB\tKinase\n"
      "source\ttarget\tsource_type\tsource_location\tinteraction_type\n"
      "C\tNA\n"
      "Protein kinase C\tB\tsmall molecule\tplasma membrane\tguanine nucleotide exchange\n",
      "rows.tsv", {}, &warnings);
  EXPECT_EQ(test::MoleculeFields(net),
            "A/NA/NA/Kinase/Cytosol\nB/NA/NA/NA/NA\n"
            "Protein_kinase_C/NA/NA/small_molecule/plasma_membrane\n");
  EXPECT_EQ(Edges(net),
            "A B 0 phosphorylation 0\nProtein_kinase_C B 0 guanine_nucleotide_exchange 0\n");
  EXPECT_EQ(Seen(warnings, "without a source or target"), "line 3, 2 times");
  EXPECT_EQ(Seen(warnings, "repeated title"), "line 4, 1 times");
}

TEST(TableReader, FourColumnRegulationFileWithoutTitleLine) {
  const std::string text =
      "AATF\tBAX\tRepression\t22909821\n"
      "ABL1\tBAX\tActivation\t11753601\n"
      "ABL1\tBCL2\tUnknown\t11753601;15231694\n";
  EXPECT_EQ(DetectTabularFormat(text), NetworkFormat::Table);
  EXPECT_EQ(Edges(ReadTableText(text, "trrust.tsv")),
            "AATF BAX _ NA 22909821\nABL1 BAX + NA 11753601\nABL1 BCL2 0 NA 11753601;15231694\n");
}

TEST(OmniPathReader, SymbolsNameMoleculesAndConsensusFlagsGiveSigns) {
  Warnings warnings;
  const std::string text = Fixture("omnipath_small.tsv");
  EXPECT_EQ(DetectTabularFormat(text), NetworkFormat::OmniPath);
  const Network net = ReadOmniPathText(text, "omnipath.tsv", &warnings);
  EXPECT_EQ(net.interactionCount(), 19u);
  EXPECT_NE(test::MoleculeFields(net).find("\nEGFR/P00533/NA/NA/NA\n"), std::string::npos);
  const std::string edges = Edges(net);
  for (const char* row :
       {"EGF EGFR + post_translational 2817121;10572067\n",
        "MAPK1 RAF1 _ post_translational 15664191;21478863\n",
        "TP53 MDM2 + transcriptional 8319905\n", "PIK3CA AKT1 + post_translational 0\n",
        "EGFR ERBB2 0 post_translational 8702572\n", "ERBB2 EGFR 0 post_translational 8702572\n"}) {
    EXPECT_NE(edges.find(row), std::string::npos) << row << "in\n" << edges;
  }
  EXPECT_EQ(warnings.size(), 2u);
  EXPECT_EQ(Seen(warnings, "both"), "line 19, 1 times");
  EXPECT_EQ(Seen(warnings, "neither"), "line 20, 1 times");
  // Read as a plain table, the same file gives the same network.
  EXPECT_EQ(SigText(ReadTableText(text, "omnipath.tsv")), SigText(net));
}

TEST(SifReader, SeparatorsRelationsAndLoneMolecules) {
  Warnings warnings;
  const Network net = ReadSifText(
      "EGF activates EGFR\n"
      "PTEN  inhibits AKT1 AKT2\n"
      "GRB2 pp SOS1\n"
      "TP53\t-1\tMDM2\n"
      "Protein kinase C\tcontrols-state-change-of\tRAF 1\n"
      "LONE\n"
      "X binds Y\n"
      "HALF pp\n",
      "n.sif", &warnings);
  EXPECT_EQ(Edges(net),
            "EGF EGFR + NA 0\nPTEN AKT1 _ NA 0\nPTEN AKT2 _ NA 0\nGRB2 SOS1 0 pp 0\n"
            "TP53 MDM2 _ NA 0\nProtein_kinase_C RAF_1 0 controls-state-change-of 0\nX Y 0 NA 0\n");
  const MoleculeId lone = net.findId("LONE");
  ASSERT_NE(lone, 0u);
  EXPECT_EQ(net.linkCount(lone), 0u);
  EXPECT_EQ(warnings.size(), 1u);  // the line naming no target
  EXPECT_EQ(Seen(warnings, ""), "line 8, 1 times");
}

TEST(TableFormatDetection, FormatsAndLinesThatAreNone) {
  const std::string mitab = "uniprotkb:P1\tuniprotkb:P2\t-\t-\t-\t-\t-\t-\t-\t-\t-\t-\t-\t-\t-\n";
  const std::vector<std::pair<std::string, std::optional<NetworkFormat>>> cases = {
      {Fixture("signor_lbc.tsv"), NetworkFormat::Signor},
      {Fixture("signor_all_data.tsv"), NetworkFormat::Signor},
      {"# comment\n\nA pp B\nC\nD activates E F\n", NetworkFormat::Sif},
      {"A\tinhibits\tB\n", NetworkFormat::Sif},
      {"\"source\",\"target\",\"sign\"\nA,B,1\n", NetworkFormat::Table},
      // SIG rows, pairs and MITAB rows are left to the other readers.
      {Fixture("networks/signor_lbc.sig"), std::nullopt},
      {"A B\nC D\n", std::nullopt},
      {"A\tB\nC\tD\n", std::nullopt},
      {"A pp B\nC D\n", std::nullopt},
      {"A B C\n", std::nullopt},
      {mitab, std::nullopt},
      {"", std::nullopt}};
  for (const auto& [text, format] : cases) {
    EXPECT_EQ(DetectTabularFormat(text), format) << text.substr(0, 60);
  }
}

TEST(TableFileChecks, EmptyAndBinaryFilesAreRefused) {
  const std::string binary = std::string("source\ttarget\nA\tB\n\0\x01", 20);
  for (const auto& read : {+[](std::string_view t) { ReadTableText(t, "f"); },
                           +[](std::string_view t) { ReadSifText(t, "f"); },
                           +[](std::string_view t) { ReadSignorText(t, "f"); },
                           +[](std::string_view t) { ReadOmniPathText(t, "f"); }}) {
    EXPECT_EQ(ErrorOf([&] { read(""); }).line(), 0u);
    EXPECT_EQ(ErrorOf([&] { read(" \n\n"); }).line(), 0u);
    EXPECT_EQ(ErrorOf([&] { read(binary); }).line(), 3u);
  }
  // A title line and nothing else.
  EXPECT_THROW(ReadTableText("source,target\n", "f"), InputError);
}

TEST(TableReader, NotesSayHowTheFileWasRead) {
  // Which column gave which field, and which were left out: the sign comes from one place
  // only (consensus flags over plain flags over an effect column found by title).
  Warnings warnings;
  ReadNetworkText(Fixture("omnipath_small.tsv"), "o.tsv", {}, &warnings);
  ASSERT_EQ(warnings.notes().size(), 2u);
  EXPECT_EQ(warnings.notes()[0],
            "o.tsv: read as an OmniPath interactions table (--format omnipath)");
  const std::string& columns = warnings.notes()[1];
  for (const char* part : {"source \"source_genesymbol\", source accession \"source\"",
                           "stimulation flag \"consensus_stimulation\"",
                           "not used: \"is_directed\", \"is_stimulation\""}) {
    EXPECT_NE(columns.find(part), std::string::npos) << part << " in " << columns;
  }

  const std::string text = "from,to,effect,is_stimulation,is_inhibition\nA,B,+,0,1\n";
  warnings = {};
  EXPECT_EQ(Edges(ReadTableText(text, "t.csv", {}, &warnings)), "A B _ NA 0\n");
  EXPECT_EQ(warnings.notes().back(),
            "t.csv: columns used: source \"from\", target \"to\", stimulation flag "
            "\"is_stimulation\", inhibition flag \"is_inhibition\"; not used: \"effect\"");
  warnings = {};
  EXPECT_EQ(Edges(ReadTableText(text, "t.csv", Columns("", "", "effect"), &warnings)),
            "A B + NA 0\n");
  EXPECT_EQ(warnings.notes().back(),
            "t.csv: columns used: source \"from\", target \"to\", effect \"effect\"; not used: "
            "\"is_stimulation\", \"is_inhibition\"");
  // A SIG file read by detection needs no note.
  warnings = {};
  ReadNetworkText(Fixture("networks/signor_il1r.sig"), "x.sig", {}, &warnings);
  EXPECT_TRUE(warnings.notes().empty());
}

}  // namespace
}  // namespace tessel
