// PSI-MI XML and MITAB readers: the extraction rules on hand-made files, bad input, every
// example file, XML files against their MITAB twins, and a randomized three-way cross-check.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>

#include "model/psimi.h"
#include "model/readers.h"
#include "test_support.h"
#include "util/error.h"

namespace tessel {
namespace {

namespace fs = std::filesystem;

// "S>T type" and "S>T #pubmed" for every interaction, plus the types of merged repeats, with
// names and types renamed and, if asked, each pair unordered.
std::set<std::string> Facts(const Network& net,
                            const std::map<std::string, std::string>& rename = {},
                            bool unordered = false) {
  const auto renamed = [&](const std::string& s) {
    const auto it = rename.find(s);
    return it == rename.end() ? s : it->second;
  };
  const auto pair = [&](const Interaction& i) {
    std::string s = renamed(net.sourceName(i)), t = renamed(net.targetName(i));
    if (unordered && t < s) std::swap(s, t);
    return s + ">" + t;
  };
  std::set<std::string> facts;
  for (const Interaction& i : net.interactions()) {
    facts.insert(pair(i) + " " + renamed(i.interactionType));
    for (const PubmedId id : i.pubmedIds) facts.insert(pair(i) + " #" + std::to_string(id));
  }
  for (const RowConflict& c : net.conflicts()) {
    facts.insert(pair(net.interactions()[c.interaction]) + " " + renamed(c.interactionType));
  }
  return facts;
}

void ExpectWarnings(const Warnings& warnings, std::initializer_list<const char*> expected) {
  std::string all;
  for (const std::string& w : warnings.lines()) all += w + "\n";
  for (const char* e : expected) EXPECT_NE(all.find(e), std::string::npos) << e << "\n" << all;
}

std::string Molecules(const Network& net) {
  std::string out;
  for (const Molecule& m : net.molecules()) out += m.name + "/" + m.accession + " ";
  return out;
}

template <typename Read>
std::string ErrorOf(Read read) {
  try {
    read();
  } catch (const InputError& e) {
    return std::to_string(e.line()) + ": " + e.message();
  }
  return "no error";
}

TEST(PsiMiXml, ExtractionRulesAndBothLayouts) {
  for (const std::string layout : {"compact", "expanded"}) {
    SCOPED_TRACE(layout);
    Warnings warnings;
    const Network net = LoadNetwork(test::DataDir() / ("psimi_rules_" + layout + ".xml"),
                                    NetworkFormat::Auto, &warnings);
    // Gene-name alias over short label, organism suffixes cut in any case, an alias with a
    // blank giving way to the short label, interaction and experiment PubMed ids together,
    // blanks of a type as "_", "NA" without a type, ids local to their entry.
    EXPECT_EQ(SigText(net),
              "EGFR P00533 NA NA NA Grb2 Q60631 NA NA NA 0 physical_association 444\n"
              "EGFR P00533 NA NA NA Grb2 Q60631 NA NA NA 0 physical_association 111\n"
              "Grb2 Q60631 NA NA NA sos1 NA NA NA NA 0 NA 222\n"
              "Grb2 Q60631 NA NA NA sos1 NA NA NA NA 0 NA 333\n"
              "EGFR P00533 NA NA NA MAPK1 NA NA NA NA 0 phosphorylation 555\n");
    // RAF1 and MEK1 come from an interaction without PubMed id; "two words" is dropped.
    EXPECT_EQ(Molecules(net), "EGFR/P00533 Grb2/Q60631 sos1/NA RAF1/NA MEK1/NA MAPK1/NA ");
    ExpectWarnings(warnings,
                   {"1 interactor(s) without a usable name", "with them 1 interaction(s)",
                    "1 interaction(s) with a single", "1 interaction(s) with more than two",
                    "1 negative", "1 interaction(s) without a PubMed id"});
  }
}

TEST(PsiMiXml, BadInputAndEncodings) {
  const auto read = [](std::string text) { return [text] { ReadPsiMiXml(text, "x.xml"); }; };
  EXPECT_EQ(ErrorOf(read("<entrySet level=\"2\">\n<entry>\n<interactionList>\n</entry>\n")),
            "4: malformed XML: Start-end tags mismatch");
  EXPECT_EQ(ErrorOf(read("<?xml version=\"1.0\"?>\n<entrySet level=\"1\" version=\"1\"/>")),
            "2: unsupported PSI-MI version 1.0 (only 2.5 is read)");
  EXPECT_EQ(ErrorOf(read("<html/>")).substr(0, 30), "1: not a PSI-MI XML file: the ");
  // A pair of interactor 1, named on line 2, and `ref`, on line 5.
  const auto with = [](std::string name, std::string ref) {
    return "<entrySet level='2'><entry><interactorList>\n<interactor id='1'><names><shortLabel>" +
           name + "</shortLabel></names></interactor>\n</interactorList><interactionList>" +
           "<interaction><xref><primaryRef db='PubMed' id='7'/></xref><participantList>\n" +
           "<participant><interactorRef>1</interactorRef></participant>\n<participant>" +
           "<interactorRef>" + ref + "</interactorRef></participant>\n</participantList>" +
           "</interaction></interactionList></entry></entrySet>";
  };
  EXPECT_EQ(ErrorOf(read(with("A", "9"))),
            "5: interactorRef \"9\" names no interactor of this entry");
  // Latin-1 names arrive as UTF-8; undeclared non-UTF-8 bytes are refused with their line.
  const Network latin = ReadPsiMiXml(
      "<?xml version='1.0' encoding='iso-8859-1'?>\n" + with("caf\xE9", "1"), "latin.xml");
  EXPECT_EQ(SigText(latin), "caf\xC3\xA9 NA NA NA NA caf\xC3\xA9 NA NA NA NA 0 NA 7\n");
  EXPECT_EQ(ErrorOf(read(with("caf\xE9", "1"))).substr(0, 30), "2: the text is not valid UTF-8");
}

// One interactor of a MITAB row: identifier, alternative ids, aliases.
struct Side {
  std::string id, alt = "-", alias = "-";
};

// A MITAB row of 15 columns, followed by `more` (further tab-separated columns).
std::string Row(const Side& a, const Side& b, std::string pubs, std::string type, std::string ids,
                std::string more = "") {
  std::string row = a.id + "\t" + b.id + "\t" + a.alt + "\t" + b.alt + "\t" + a.alias + "\t" +
                    b.alias + "\t-\t-\t" + pubs + "\t-\t-\t" + type + "\t-\t" + ids + "\t-";
  return row + (more.empty() ? "" : "\t" + more) + "\n";
}

TEST(Mitab, ColumnVariantsAndBadLines) {
  const std::string text =
      "ID interactor A\tID interactor B\n#comment\n" +
      Row({"uniprotkb:P1|intact:EBI-0", "uniprotkb:cut3(gene name)"},
          {"uniprotkb:P2", "-", "psi-mi:Grb2_mouse(shortlabel)"}, "pubmed:5|imex:IM-1|pubmed:5",
          "psi-mi:\"MI:0915\"(physical association)", "intact:EBI-1") +
      Row({"uniprotkb:P3", "gene name:ABP140"}, {"chebi:\"CHEBI:1\""}, "pubmed:6", "-",
          "intact:EBI-2|intact:EBI-9") +  // EBI-2 is its own
      Row({"uniprotkb:P3", "-", "gene name:ABP140"},
          {"uniprotkb:P4", "-", "uniprotkb:Son of sevenless(gene name)|hgnc:SOS1(display_short)"},
          "-", "-", "-") +
      Row({"uniprotkb:P5", "-", "psi-mi:\"two words\"(display_short)"}, {"uniprotkb:P6"},
          "pubmed:8", "-", "intact:EBI-3") +
      Row({"uniprotkb:P7"}, {"uniprotkb:P8"}, "pubmed:9", "-", "intact:EBI-9") +
      Row({"uniprotkb:P7"}, {"uniprotkb:P1"}, "pubmed:9", "-", "intact:EBI-9");
  Warnings warnings;
  const Network net = ReadMitabText(text, "x.txt", &warnings);
  EXPECT_EQ(SigText(net),
            "cut3 P1 NA NA NA Grb2 P2 NA NA NA 0 physical_association 5\n"
            "ABP140 P3 NA NA NA CHEBI:1 NA NA NA NA 0 NA 6\n");
  EXPECT_EQ(Molecules(net), "cut3/P1 Grb2/P2 ABP140/P3 CHEBI:1/NA SOS1/P4 ");
  ExpectWarnings(warnings,
                 {"1 interactor(s) without", "2 row(s) expanded", "1 interaction(s) without a"});
  // Each kind names the line of its first case.
  for (const Warnings::Entry& e : warnings.entries()) EXPECT_GT(e.line, 0u) << e.message;
  EXPECT_EQ(ErrorOf([&] { ReadMitabText(text + "a:1\tb:2\n", "x.txt"); }),
            "9: a:1\tb:2: 2 column(s); PSI-MI TAB lines have at least 15");
}

TEST(Mitab, CausalStatementsOfVersion28GiveTheSign) {
  // Children of "up regulates" (MI:2235) and "down regulates" (MI:2240) count like their
  // parents; the causal mechanism (column 45) becomes the interaction type.
  std::string text =
      test::ReadFile(test::SourceDir() / "tests" / "data" / "formats" / "egf_mitab28.txt");
  Warnings warnings;
  Network net = ReadMitabText(text, "egf.txt", &warnings);
  EXPECT_TRUE(warnings.empty()) << warnings.lines().front();
  const auto effect = [&net](const char* s, const char* t) {
    const Interaction* i = net.findInteraction(net.findId(s), net.findId(t));
    return i == nullptr ? std::string("none") : i->effect;
  };
  EXPECT_EQ(effect("EGF", "EGFR"), "+");
  EXPECT_EQ(effect("MAPK1", "SOS1"), "_");
  EXPECT_EQ(effect("PTPN11", "EGFR"), "_");
  EXPECT_EQ(effect("ERBB2", "EGFR"), "0");
  // Statements given by their words only, a mechanism, and a statement without a sign.
  std::vector<std::string> columns(46, "-");
  columns[0] = "uniprotkb:P1";
  columns[1] = "uniprotkb:P2";
  columns[8] = "pubmed:1";
  columns[13] = "x:1";
  columns[44] = "psi-mi:\"MI:2247\"(transcriptional regulation)";
  columns[45] = "psi-mi:\"MI:9999\"(down regulates quantity by repression)";
  std::string row;
  for (const std::string& c : columns) row += c + "\t";
  row.back() = '\n';
  text = row;
  columns[13] = "x:2";
  columns[1] = "uniprotkb:P3";
  columns[45] = "psi-mi:\"MI:2233\"(causal interaction)";
  row.clear();
  for (const std::string& c : columns) row += c + "\t";
  row.back() = '\n';
  text += row + row;
  text.replace(text.rfind("x:2"), 3, "x:3");
  warnings = {};
  net = ReadMitabText(text, "words.txt", &warnings);
  EXPECT_EQ(SigText(net),
            "P1 P1 NA NA NA P2 P2 NA NA NA _ transcriptional_regulation 1\n"
            "P1 P1 NA NA NA P3 P3 NA NA NA 0 transcriptional_regulation 1\n");
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings.entries()[0].line, 2u);
  EXPECT_EQ(warnings.entries()[0].count, 2u);
}

// A file of the "psimi" or "mitab" data folder is detected as such and loads, every
// interaction with a PubMed id; PSI-MI 1.0 is refused by name.
void ExpectLoadsThroughDetection(const fs::path& file, NetworkFormat format) {
  const std::string name = file.filename().string();
  SCOPED_TRACE(name);
  EXPECT_EQ(DetectFormat(test::ReadFile(file), file), format);
  if (name.find("PSI-MI-1.0") != std::string::npos) {
    EXPECT_NE(ErrorOf([&] { LoadNetwork(file); }).find("unsupported PSI-MI version"),
              std::string::npos);
    return;
  }
  ReadOptions options;
  options.allowEmpty = true;
  const Network net = LoadNetwork(file, options);
  for (const Interaction& i : net.interactions()) EXPECT_GT(i.firstPubmedId(), 0);
  // A file that gives no interaction is refused unless asked for.
  if (net.interactionCount() == 0) {
    EXPECT_NE(ErrorOf([&] { LoadNetwork(file); }).find("holds no interaction the reader could use"),
              std::string::npos);
  }
}

TEST(PsiMiFiles, EveryExampleFileLoadsThroughDetection) {
  for (const auto& [folder, format] :
       {std::pair{"psimi", NetworkFormat::PsiMi}, std::pair{"mitab", NetworkFormat::Mitab}}) {
    const auto files = test::DataFiles(folder);
    ASSERT_FALSE(files.empty()) << folder;
    for (const fs::path& file : files) ExpectLoadsThroughDetection(file, format);
  }
  EXPECT_EQ(DetectFormat("uniprotkb:P1\tuniprotkb:P2" + std::string(13, '\t') + "\n", "x.txt"),
            NetworkFormat::Mitab);
  // Without a "db:id" first column many tabs do not make MITAB: two fields are a pair.
  EXPECT_EQ(DetectFormat("A\tB" + std::string(13, '\t') + "\n", "x.txt"), NetworkFormat::Pairs);
}

// The shared data set beside the repository also holds the files too large to copy into it
// (a 6.7 MB PSI-MI file, an interaction with 177 participants).
TEST(PsiMiFiles, EverySharedFileWithoutACopyLoadsThroughDetection) {
  if (!fs::is_directory(test::SharedDataDir())) {
    GTEST_SKIP() << test::SharedDataDir() << " is absent";
  }
  const auto xml = test::ExtraSharedFiles("psimi");
  const auto mitab = test::ExtraSharedFiles("mitab");
  if (xml.empty() && mitab.empty()) GTEST_SKIP() << "every shared PSI-MI file has a copy";
  for (const fs::path& file : xml) ExpectLoadsThroughDetection(file, NetworkFormat::PsiMi);
  for (const fs::path& file : mitab) ExpectLoadsThroughDetection(file, NetworkFormat::Mitab);
}

// Where a twin leaves out what the XML file has, the differences are spelt out: MITAB 2.5
// gives no short label (the identifier names the molecule instead), orders the two
// participants its own way and writes the short name of a type.
TEST(PsiMiFiles, XmlFilesAgreeWithTheirMitabTwins) {
  const auto load = [](const char* folder, const char* name) {
    return LoadNetwork(test::DataDir() / folder / name);
  };
  EXPECT_EQ(Facts(load("psimi", "psimi_19696444_254_expanded.xml"), {{"heparin", "CHEBI:28304"}}),
            Facts(load("mitab", "19696444_mitab27.txt")));

  // The chen twin shows one pair of a three-participant interaction without sign of expansion.
  const std::set<std::string> xml =
      Facts(load("psimi", "psimi_chen_compact.xml"),
            {{"o74469_schpo", "O74469"}, {"o74485_schpo", "O74485"}}, true);
  std::set<std::string> extra = Facts(load("mitab", "chen_mitab.txt"), {}, true);
  for (const std::string& fact : xml) EXPECT_EQ(extra.erase(fact), 1u) << fact;
  EXPECT_EQ(extra,
            (std::set<std::string>{"O74469>cut14 #15148393", "O74469>cut14 physical_interaction"}));
}

// The large n-ary XML file (2.4 MB) is only in the shared data set.
TEST(PsiMiFiles, LargeNaryXmlFileAgreesWithItsMitabTwin) {
  const fs::path xml = test::SharedDataDir() / "psimi" / "psimi_bantscheff_compact_large-nary.xml";
  if (!fs::exists(xml)) GTEST_SKIP() << xml << " is absent";
  EXPECT_EQ(Facts(LoadNetwork(xml),
                  {{"imatinib", "CHEBI:38918"},
                   {"dasatinib", "CHEBI:38943"},
                   {"bosutinib", "CHEBI:39112"},
                   {"phosphorylation_reaction", "phosphorylation"}},
                  true),
            Facts(LoadNetwork(test::DataDir() / "mitab" / "bantscheff_mitab.txt"), {}, true));
}

// "<tag attributes>body</tag>".
std::string El(const std::string& tag, const std::string& body) {
  return "<" + tag + ">" + body + "</" + tag.substr(0, tag.find(' ')) + ">";
}

// Random interactors and interactions written as PSI-MI XML and as MITAB (2.5 or 2.7
// columns) must both read as the network a plain model of the rules predicts.
TEST(PsiMiFiles, RandomCrossCheckOfXmlAndMitab) {
  std::mt19937 rng(7);
  const std::pair<std::string, std::string> types[] = {
      {"", "NA"},
      {"physical association", "physical_association"},
      {"direct  interaction", "direct_interaction"}};
  for (int round = 0; round < 60; ++round) {
    std::string xmlExperiments, xmlInteractors, xmlInteractions, mitab, molecules;
    std::vector<std::vector<unsigned>> experiments(4);  // their PubMed ids; 0 is none
    for (std::size_t e = 1; e < experiments.size(); ++e) {
      std::string refs;
      for (unsigned n = rng() % 3; n > 0; --n) {
        experiments[e].push_back(1 + rng() % 6);
        refs += "<secondaryRef db='pubmed' id='" + std::to_string(experiments[e].back()) + "'/>";
      }
      xmlExperiments += El("experimentDescription id='e" + std::to_string(e) + "'",
                           El("bibref", El("xref", refs)));
    }
    // Interactor m has accession Pm and the name Mm, unless its only label holds a blank.
    std::vector<std::string> names, tabNames;
    for (std::size_t m = 0, k = 3 + rng() % 5; m < k; ++m) {
      const std::string id = std::to_string(m), token = "M" + id;
      const char kind = "GGSSU"[rng() % 5];  // gene name alias, suffixed label, no name
      const std::string label = kind == 'G'   ? "x" + token + "_human"
                                : kind == 'S' ? token + (rng() % 2 ? "_Mouse" : "_RAT")
                                              : "no name " + token;
      names.push_back(kind == 'U' ? "" : token);
      const std::string gene = kind == 'G' ? El("alias type='gene name'", token) : "";
      xmlInteractors += El("interactor id='" + id + "'",
                           El("names", El("shortLabel", label) + gene) +
                               El("xref", "<primaryRef db='uniprotkb' id='P" + id + "'/>"));
      tabNames.push_back((kind == 'G' ? "hgnc:" + token + "(gene name)|" : "") + "psi-mi:\"" +
                         label + "\"(display_short)");
    }
    const bool mitab27 = rng() % 2;
    std::set<std::string> facts, seen;
    for (int i = 0, n = 2 + rng() % 12; i < n; ++i) {
      std::vector<std::size_t> parts(rng() % 6 == 0 ? 1 : rng() % 5 == 0 ? 3 : 2);
      std::string participants;
      for (std::size_t p = 0; p < parts.size(); ++p) {
        do parts[p] = rng() % names.size();
        while (p > 0 && parts[p] == parts[0]);
        participants += El("participant", El("interactorRef", std::to_string(parts[p])));
      }
      const bool negative = rng() % 8 == 0;
      const auto& [type, typeWord] = types[rng() % 3];
      const unsigned own = rng() % 4;  // 0 is no valid PubMed id
      const std::size_t experiment = rng() % 4;
      xmlInteractions +=
          El("interaction",
             El("xref", "<primaryRef db='pubmed' id='" + std::to_string(own) + "'/>") +
                 El("experimentList",
                    experiment == 0 ? "" : El("experimentRef", "e" + std::to_string(experiment))) +
                 El("participantList", participants) +
                 (type.empty() ? "" : El("interactionType", El("names", El("fullName", type)))) +
                 (negative ? "<negative>true</negative>" : ""));

      // MITAB: one row per pair, a spoke of rows sharing an id for more participants, no
      // row for a negative interaction where the columns cannot say so.
      std::vector<unsigned> pubmeds = experiments[experiment];
      if (own > 0) pubmeds.insert(pubmeds.begin(), own);
      std::string pubs;
      for (unsigned id : pubmeds)
        pubs += (pubs.empty() ? "pubmed:" : "|pubmed:") + std::to_string(id);
      for (std::size_t p = 1; p < std::max<std::size_t>(parts.size(), 2) && (mitab27 || !negative);
           ++p) {
        const bool alt = rng() % 2;  // names among the alternative ids, as older files have them
        const auto side = [&](std::size_t m, bool blank) {
          return Side{blank ? "-" : "uniprotkb:P" + std::to_string(m), alt ? tabNames[m] : "-",
                      alt ? "-" : tabNames[m]};
        };
        const bool single = parts.size() == 1;
        mitab +=
            Row(side(parts[0], false), side(parts[single ? 0 : p], single && rng() % 2),
                pubs.empty() ? "-" : pubs, type.empty() ? "-" : "psi-mi:\"MI:0000\"(" + type + ")",
                // 2.7 rows say they come from an expansion, so each gets an id of its own
                "intact:EBI-" + std::to_string(i) + (mitab27 ? "-" + std::to_string(p) : ""),
                !mitab27 ? ""
                         : (parts.size() > 2 ? "spoke" : "-") + std::string(20, '\t') +
                               (negative ? "true" : "false"));
      }

      // The plain model of the rules.
      const std::string &a = names[parts[0]], &b = names[parts.back()];
      if (negative || parts.size() != 2 || a.empty() || b.empty()) continue;
      for (std::size_t m : parts) {
        if (seen.insert(names[m]).second) molecules += names[m] + "/P" + std::to_string(m) + " ";
      }
      if (!pubmeds.empty()) facts.insert(a + ">" + b + " " + typeWord);
      for (unsigned id : pubmeds) facts.insert(a + ">" + b + " #" + std::to_string(id));
    }
    const std::string xml =
        El("entrySet level='2'",
           El("entry", El("experimentList", xmlExperiments) + El("interactorList", xmlInteractors) +
                           El("interactionList", xmlInteractions)));
    SCOPED_TRACE(xml + "\n" + mitab);
    const Network fromXml = ReadPsiMiXml(xml, "c.xml");
    EXPECT_EQ(Facts(fromXml), facts);
    EXPECT_EQ(Molecules(fromXml), molecules);
    const Network fromMitab = ReadMitabText("#ID\n" + mitab, "m.txt");
    EXPECT_EQ(SigText(fromMitab), SigText(fromXml));
    EXPECT_EQ(Molecules(fromMitab), molecules);
  }
}

}  // namespace
}  // namespace tessel
