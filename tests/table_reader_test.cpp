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

const Interaction& Between(const Network& net, std::string_view source, std::string_view target) {
  const Interaction* i = net.findInteraction(net.findId(source), net.findId(target));
  if (i == nullptr) {
    ADD_FAILURE() << "no interaction " << source << " -> " << target;
    static const Interaction none;
    return none;
  }
  return *i;
}

const Molecule& Named(const Network& net, std::string_view name) {
  const MoleculeId id = net.findId(name);
  if (id == 0) {
    ADD_FAILURE() << "no molecule " << name;
    static const Molecule none;
    return none;
  }
  return net.molecule(id);
}

const Warnings::Entry* FindWarning(const Warnings& w, std::string_view text) {
  for (const Warnings::Entry& e : w.entries()) {
    if (e.message.find(text) != std::string::npos) return &e;
  }
  return nullptr;
}

// The first line of the warning whose message holds `text`; 0 (and a failure) when none does.
std::size_t WarningLine(const Warnings& w, std::string_view text) {
  const Warnings::Entry* e = FindWarning(w, text);
  if (e == nullptr) ADD_FAILURE() << "no warning with " << text;
  return e == nullptr ? 0 : e->line;
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
  ASSERT_EQ(fromTsv.moleculeCount(), fromSig.moleculeCount());
  EXPECT_EQ(fromTsv.interactionCount(), fromSig.interactionCount());
  for (std::size_t k = 0; k < fromSig.moleculeCount(); ++k) {
    const Molecule& a = fromTsv.molecules()[k];
    const Molecule& b = fromSig.molecules()[k];
    EXPECT_EQ(std::tie(a.name, a.accession, a.extraId, a.moleculeType, a.location),
              std::tie(b.name, b.accession, b.extraId, b.moleculeType, b.location));
  }
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
  EXPECT_EQ(net.interactionCount(), 8u);
  const Molecule& erk = Named(net, "ERK1/2");
  EXPECT_EQ(erk.moleculeType, "ProteinFamily");
  EXPECT_EQ(erk.location, "NA");
  EXPECT_EQ(erk.accession, "SIGNOR-PF1");
  EXPECT_EQ(Named(net, "TSC1/TSC2").moleculeType, "Complex");
  EXPECT_EQ(Named(net, "Proliferation").moleculeType, "Phenotype");
  // "down-regulates activity" and "down-regulates" are one sign; both papers are kept.
  const Interaction& erkSos = Between(net, "ERK1/2", "SOS1");
  EXPECT_EQ(erkSos.effect, "_");
  EXPECT_EQ(erkSos.pubmedIds, (std::vector<PubmedId>{8816480, 20724475}));
  EXPECT_EQ(Between(net, "TSC1/TSC2", "RHEB").interactionType, "gtpase-activating_protein");
  EXPECT_EQ(Between(net, "PDPK1", "PDPK1").effect, "0");
  EXPECT_EQ(Between(net, "AKT", "Proliferation").interactionType, "NA");
  EXPECT_EQ(Between(net, "MDM2", "TP53").effect, "_");

  const InputError e = ErrorOf([] { ReadSignorText("\n\na\tb\tc\n", "x.tsv"); });
  EXPECT_EQ(e.line(), 3u);
  EXPECT_NE(e.message().find("ENTITYA"), std::string::npos);
}

TEST(TableReader, SignVocabularies) {
  const std::vector<std::pair<std::string, std::string>> words = {
      {"1", "+"},
      {"-1", "_"},
      {"0", "0"},
      {"+", "+"},
      {"-", "_"},
      {"Activation", "+"},
      {"inhibition", "_"},
      {"Repression", "_"},
      {"stimulation", "+"},
      {"Unknown", "0"},
      {"up-regulates activity", "+"},
      {"down-regulates quantity by destabilization", "_"},
      {"form complex", "0"},
      {"", "0"}};
  std::string text = "source\ttarget\teffect\n";
  for (std::size_t k = 0; k < words.size(); ++k) {
    text += "S" + std::to_string(k) + "\tT\t" + words[k].first + "\n";
  }
  Warnings warnings;
  const Network net = ReadTableText(text, "signs.tsv", {}, &warnings);
  EXPECT_TRUE(warnings.empty());
  for (std::size_t k = 0; k < words.size(); ++k) {
    EXPECT_EQ(Between(net, "S" + std::to_string(k), "T").effect, words[k].second) << words[k].first;
  }
}

TEST(TableReader, UnknownEffectWordsAreNeutralAndWarnedWithTheirFirstLine) {
  Warnings warnings;
  const Network net = ReadTableText("source,target,sign\nA,B,weird\nC,D,+\nE,F,weird\nG,H,odd\n",
                                    "w.csv", {}, &warnings);
  EXPECT_EQ(Between(net, "A", "B").effect, "0");
  EXPECT_EQ(Between(net, "E", "F").effect, "0");
  ASSERT_EQ(warnings.size(), 2u);
  const Warnings::Entry* weird = FindWarning(warnings, "\"weird\"");
  ASSERT_NE(weird, nullptr);
  EXPECT_EQ(weird->line, 2u);
  EXPECT_EQ(weird->count, 2u);
  EXPECT_EQ(weird->file, "w.csv");
  EXPECT_EQ(weird->message, "effect \"weird\" is not a known sign word; read as \"0\"");
  EXPECT_EQ(WarningLine(warnings, "\"odd\""), 5u);
}

TEST(TableReader, ReferencesKeepEveryNumericPubmedIdOnce) {
  Warnings warnings;
  const Network net = ReadTableText(
      "source\ttarget\treferences\n"
      "A\tB\tSIGNOR:12345;PMID:678|9\n"
      "C\tD\tHPRD:10438488;SIGNOR:10438488\n"
      "E\tF\tPMC4567;doi:10.1038/nature1\n"
      "G\tH\t\n",
      "refs.tsv", {}, &warnings);
  EXPECT_EQ(Between(net, "A", "B").pubmedIds, (std::vector<PubmedId>{12345, 678, 9}));
  EXPECT_EQ(Between(net, "C", "D").pubmedIds, (std::vector<PubmedId>{10438488}));
  EXPECT_EQ(Between(net, "E", "F").pubmedIds, (std::vector<PubmedId>{0}));
  EXPECT_EQ(Between(net, "G", "H").pubmedIds, (std::vector<PubmedId>{0}));
  ASSERT_EQ(warnings.size(), 1u);  // the empty field is not worth a remark
  EXPECT_EQ(warnings.entries()[0].line, 4u);
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
  EXPECT_EQ(Between(net, "MAPK1,_ERK2", "TP53").interactionType, "says_\"hi\"");
  EXPECT_EQ(Between(net, "multi_line", "X").interactionType, "binding");
  EXPECT_EQ(Between(net, "A", "B").interactionType, "a;b");
  EXPECT_EQ(Between(net, "14-3-3", "B").interactionType, "NA");  // no "P" prefix here
  EXPECT_EQ(net.interactionCount(), 4u);

  const InputError e =
      ErrorOf([] { ReadTableText("source,target\nA,B\nC,\"D\nE,F\n", "open.csv"); });
  EXPECT_EQ(e.file(), "open.csv");
  EXPECT_EQ(e.line(), 3u);
}

TEST(TableReader, HeaderSpellingsAndSeparators) {
  const std::vector<std::string> headers = {"source\ttarget",
                                            "From,To",
                                            "regulator;regulated",
                                            "Node1\tNode2",
                                            "TF\tTarget",
                                            "SOURCE TARGET",
                                            "source_genesymbol,target_genesymbol",
                                            "Source Gene Symbol\tTarget Gene Symbol"};
  for (const std::string& header : headers) {
    const char sep = header.find('\t') != std::string::npos  ? '\t'
                     : header.find(',') != std::string::npos ? ','
                     : header.find(';') != std::string::npos ? ';'
                                                             : ' ';
    const std::string text = header + "\nA" + sep + "B\n";
    const Network net = ReadTableText(text, "h.txt");
    EXPECT_NE(net.findInteraction(net.findId("A"), net.findId("B")), nullptr) << header;
    EXPECT_EQ(DetectTabularFormat(text), NetworkFormat::Table) << header;
  }
}

TEST(TableReader, ColumnsChosenByTitleOrNumber) {
  const std::string text =
      "id\tgene_a\tgene_b\twhat\tpaper\tkind_a\n"
      "1\tEGF\tEGFR\tstimulation\t99\tLigand\n";
  const auto choose = [](std::string source, std::string target, std::string effect,
                         std::string pubmed, std::string sourceType) {
    TableColumns c;
    c.source = std::move(source);
    c.target = std::move(target);
    c.effect = std::move(effect);
    c.pubmed = std::move(pubmed);
    c.sourceType = std::move(sourceType);
    return c;
  };
  const TableColumns byTitle = choose("GENE_A", "gene_b", "what", "paper", "Kind_A");
  const TableColumns byNumber = choose("2", "3", "4", "5", "6");
  for (const TableColumns& columns : {byTitle, byNumber}) {
    const Network net = ReadTableText(text, "c.tsv", columns);
    const Interaction& i = Between(net, "EGF", "EGFR");
    EXPECT_EQ(i.effect, "+");
    EXPECT_EQ(i.pubmedIds, std::vector<PubmedId>{99});
    EXPECT_EQ(i.sourceType, "Ligand");
    EXPECT_EQ(i.targetType, "NA");
  }
  TableColumns wrong;
  wrong.source = "gene_c";
  const InputError e = ErrorOf([&] { ReadTableText(text, "c.tsv", wrong); });
  EXPECT_NE(e.message().find("\"gene_c\""), std::string::npos);
  EXPECT_NE(e.message().find("\"gene_b\""), std::string::npos);
  wrong.source = "7";
  EXPECT_THROW(ReadTableText(text, "c.tsv", wrong), InputError);
}

TEST(TableReader, FileWithoutSourceAndTargetColumnsNamesTitlesAndOptions) {
  const InputError e =
      ErrorOf([] { ReadTableText("gene\tpartner\tscore\nA\tB\t1\n", "genes.tsv"); });
  EXPECT_EQ(e.file(), "genes.tsv");
  EXPECT_EQ(e.line(), 1u);
  for (const char* part :
       {"\"gene\"", "\"partner\"", "\"score\"", "--source-col", "--target-col"}) {
    EXPECT_NE(e.message().find(part), std::string::npos) << part << " in " << e.message();
  }
  // Only the target missing: the message says so.
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
  EXPECT_EQ(Between(net, "A", "B").effect, "+");
  EXPECT_EQ(Between(net, "C", "D").effect, "_");
  EXPECT_EQ(Between(net, "E", "F").effect, "0");
  EXPECT_EQ(Between(net, "G", "H").effect, "0");
  const Warnings::Entry* both = FindWarning(warnings, "both consensus_stimulation");
  const Warnings::Entry* neither = FindWarning(warnings, "neither");
  ASSERT_NE(both, nullptr);
  ASSERT_NE(neither, nullptr);
  EXPECT_EQ(both->count, 2u);
  EXPECT_EQ(both->line, 4u);
  EXPECT_EQ(neither->count, 1u);
  EXPECT_EQ(neither->line, 5u);

  // Without consensus columns the plain flags are used.
  const Network plain =
      ReadTableText("source,target,is_stimulation,is_inhibition\nA,B,0,1\n", "p.csv");
  EXPECT_EQ(Between(plain, "A", "B").effect, "_");
}

TEST(TableReader, SkippedRowsRepeatedTitlesAndDefaults) {
  Warnings warnings;
  const Network net = ReadTableText(
      "source\ttarget\tsource_type\tsource_location\tinteraction_type\n"
      "A\tB\tKinase\tCytosol\tphosphorylation\n"
      "\tB\tKinase\n"
      "source\ttarget\tsource_type\tsource_location\tinteraction_type\n"
      "C\tNA\n"
      "Protein kinase C\tB\tsmall molecule\tplasma membrane\tguanine nucleotide exchange\n",
      "rows.tsv", {}, &warnings);
  EXPECT_EQ(net.interactionCount(), 2u);
  const Interaction& ab = Between(net, "A", "B");
  EXPECT_EQ(ab.effect, "0");
  EXPECT_EQ(ab.pubmedIds, std::vector<PubmedId>{0});
  EXPECT_EQ(ab.targetType, "NA");
  const Molecule& pkc = Named(net, "Protein_kinase_C");
  EXPECT_EQ(pkc.moleculeType, "small_molecule");
  EXPECT_EQ(pkc.location, "plasma_membrane");
  EXPECT_EQ(Between(net, "Protein_kinase_C", "B").interactionType, "guanine_nucleotide_exchange");
  const Warnings::Entry* skipped = FindWarning(warnings, "without a source or target");
  ASSERT_NE(skipped, nullptr);
  EXPECT_EQ(skipped->count, 2u);
  EXPECT_EQ(skipped->line, 3u);
  EXPECT_EQ(WarningLine(warnings, "repeated title"), 4u);
}

TEST(TableReader, FourColumnRegulationFileWithoutTitleLine) {
  const std::string text =
      "AATF\tBAX\tRepression\t22909821\n"
      "ABL1\tBAX\tActivation\t11753601\n"
      "ABL1\tBCL2\tUnknown\t11753601;15231694\n";
  EXPECT_EQ(DetectTabularFormat(text), NetworkFormat::Table);
  const Network net = ReadTableText(text, "trrust.tsv");
  EXPECT_EQ(net.interactionCount(), 3u);
  EXPECT_EQ(Between(net, "AATF", "BAX").effect, "_");
  EXPECT_EQ(Between(net, "ABL1", "BAX").effect, "+");
  const Interaction& unknown = Between(net, "ABL1", "BCL2");
  EXPECT_EQ(unknown.effect, "0");
  EXPECT_EQ(unknown.pubmedIds, (std::vector<PubmedId>{11753601, 15231694}));
  EXPECT_EQ(Named(net, "ABL1").moleculeType, "NA");
}

TEST(OmniPathReader, SymbolsNameMoleculesAndConsensusFlagsGiveSigns) {
  Warnings warnings;
  const std::string text = Fixture("omnipath_small.tsv");
  EXPECT_EQ(DetectTabularFormat(text), NetworkFormat::OmniPath);
  const Network net = ReadOmniPathText(text, "omnipath.tsv", &warnings);
  EXPECT_EQ(net.interactionCount(), 19u);
  EXPECT_EQ(net.findId("P00533"), 0u);
  const Molecule& egfr = Named(net, "EGFR");
  EXPECT_EQ(egfr.accession, "P00533");
  EXPECT_EQ(egfr.moleculeType, "NA");
  const Interaction& egf = Between(net, "EGF", "EGFR");
  EXPECT_EQ(egf.effect, "+");
  EXPECT_EQ(egf.interactionType, "post_translational");
  EXPECT_EQ(egf.pubmedIds, (std::vector<PubmedId>{2817121, 10572067}));
  EXPECT_EQ(Between(net, "MAPK1", "RAF1").effect, "_");
  EXPECT_EQ(Between(net, "TP53", "MDM2").interactionType, "transcriptional");
  EXPECT_EQ(Between(net, "PIK3CA", "AKT1").pubmedIds, std::vector<PubmedId>{0});
  EXPECT_EQ(Between(net, "EGFR", "ERBB2").effect, "0");
  EXPECT_EQ(Between(net, "ERBB2", "EGFR").effect, "0");
  EXPECT_EQ(warnings.size(), 2u);
  EXPECT_EQ(WarningLine(warnings, "both"), 19u);
  EXPECT_EQ(WarningLine(warnings, "neither"), 20u);
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
  EXPECT_EQ(net.interactionCount(), 7u);
  EXPECT_EQ(Between(net, "EGF", "EGFR").effect, "+");
  EXPECT_EQ(Between(net, "EGF", "EGFR").interactionType, "NA");
  EXPECT_EQ(Between(net, "PTEN", "AKT2").effect, "_");
  EXPECT_EQ(Between(net, "TP53", "MDM2").effect, "_");
  const Interaction& pp = Between(net, "GRB2", "SOS1");
  EXPECT_EQ(pp.effect, "0");
  EXPECT_EQ(pp.interactionType, "pp");
  EXPECT_EQ(pp.pubmedIds, std::vector<PubmedId>{0});
  EXPECT_EQ(Between(net, "Protein_kinase_C", "RAF_1").interactionType, "controls-state-change-of");
  EXPECT_EQ(Between(net, "X", "Y").effect, "0");
  const MoleculeId lone = net.findId("LONE");
  ASSERT_NE(lone, 0u);
  EXPECT_EQ(net.linkCount(lone), 0u);
  ASSERT_EQ(warnings.size(), 1u);  // the line naming no target
  EXPECT_EQ(warnings.entries()[0].line, 8u);
}

TEST(TableFormatDetection, FormatsAndLinesThatAreNone) {
  EXPECT_EQ(DetectTabularFormat(Fixture("signor_lbc.tsv")), NetworkFormat::Signor);
  EXPECT_EQ(DetectTabularFormat(Fixture("signor_all_data.tsv")), NetworkFormat::Signor);
  EXPECT_EQ(DetectTabularFormat("# comment\n\nA pp B\nC\nD activates E F\n"), NetworkFormat::Sif);
  EXPECT_EQ(DetectTabularFormat("A\tinhibits\tB\n"), NetworkFormat::Sif);
  EXPECT_EQ(DetectTabularFormat("\"source\",\"target\",\"sign\"\nA,B,1\n"), NetworkFormat::Table);
  // SIG rows, pairs and MITAB rows are left to the other readers.
  EXPECT_EQ(DetectTabularFormat(Fixture("networks/signor_lbc.sig")), std::nullopt);
  EXPECT_EQ(DetectTabularFormat("A B\nC D\n"), std::nullopt);
  EXPECT_EQ(DetectTabularFormat("A\tB\nC\tD\n"), std::nullopt);
  EXPECT_EQ(DetectTabularFormat("A pp B\nC D\n"), std::nullopt);
  EXPECT_EQ(DetectTabularFormat("A B C\n"), std::nullopt);
  EXPECT_EQ(
      DetectTabularFormat("uniprotkb:P1\tuniprotkb:P2\t-\t-\t-\t-\t-\t-\t-\t-\t-\t-\t-\t-\t-\n"),
      std::nullopt);
  EXPECT_EQ(DetectTabularFormat(""), std::nullopt);
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
  EXPECT_NE(columns.find("source \"source_genesymbol\", source accession \"source\""),
            std::string::npos)
      << columns;
  EXPECT_NE(columns.find("stimulation flag \"consensus_stimulation\""), std::string::npos);
  EXPECT_NE(columns.find("not used: \"is_directed\", \"is_stimulation\""), std::string::npos)
      << columns;

  const std::string text = "from,to,effect,is_stimulation,is_inhibition\nA,B,+,0,1\n";
  warnings = {};
  EXPECT_EQ(ReadTableText(text, "t.csv", {}, &warnings).interactions()[0].effect, "_");
  EXPECT_EQ(warnings.notes().back(),
            "t.csv: columns used: source \"from\", target \"to\", stimulation flag "
            "\"is_stimulation\", inhibition flag \"is_inhibition\"; not used: \"effect\"");
  TableColumns chosen;
  chosen.effect = "effect";
  warnings = {};
  EXPECT_EQ(ReadTableText(text, "t.csv", chosen, &warnings).interactions()[0].effect, "+");
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
