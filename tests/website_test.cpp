// The web site: golden pages of a small network with cached PubMed records, compartment
// rules, plain and navigable drawings whose links open whole pages, hostile names, balanced
// markup and offline runs.
#include <gtest/gtest.h>

#include <pugixml.hpp>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "model/readers.h"
#include "output/website.h"
#include "test_support.h"
#include "util/safe_name.h"

namespace tessel {
namespace {

namespace fs = std::filesystem;
using test::ReadFile;

// A tree around EGFR and GRB2 plus the triangle GRB2-JUN-CASP3. EGF and EGFR cite two
// records of the cache, TNF -> EGFR an id the cache does not hold; EGFR also acts on itself.
// TNF is a Ligand at the Membrane and CHX a Channel in Vesicles.
constexpr const char* kSmallSig =
    "EGF P0113 NA Ligand Extracellular EGFR P00533 Q01279 Receptor Membrane + Binding 19008416\n"
    "EGF P0113 NA Ligand Extracellular EGFR P00533 Q01279 Receptor Membrane + Binding 18927361\n"
    "EGFR P00533 Q01279 Receptor Membrane GRB2 P62993 NA Adapter Cytosol + Binding 18787170\n"
    "TNF NA NA Ligand Membrane EGFR P00533 Q01279 Receptor Membrane _ Inhibition 424242\n"
    "GRB2 P62993 NA Adapter Cytosol JUN P05412 A0A0B4J2F0 TF Nucleus + Transcription 18487186\n"
    "GRB2 P62993 NA Adapter Cytosol CHX NA NA Channel Vesicles 0 Binding 18239126\n"
    "CASP3 P42574 NA Protease Cytosol GRB2 P62993 NA Adapter Cytosol _ Cleavage 18239125\n"
    "EGFR P00533 Q01279 Receptor Membrane EGFR P00533 Q01279 Receptor Membrane + Auto 19008416\n"
    "CASP3 P42574 NA Protease Cytosol JUN P05412 NA TF Nucleus _ Cleavage 18239125\n";

WebsiteSettings Settings(const fs::path& cacheDir, unsigned threads = 2) {
  WebsiteSettings s;
  s.offline = true;
  s.threads = threads;
  s.services.pubmedUrl = "https://pubmed.ncbi.nlm.nih.gov/";
  s.services.uniprotUrl = "https://www.uniprot.org/uniprotkb/";
  s.services.cacheDir = cacheDir;
  return s;
}

// Every file of a folder by name.
std::map<std::string, std::string> Files(const fs::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::directory_iterator(folder)) {
    files[entry.path().filename().string()] = ReadFile(entry.path());
  }
  return files;
}

// "" when the tags of `page` balance (void elements aside), quotes in each tag pair up and
// every "&" starts an entity; otherwise what is wrong.
std::string MarkupProblem(const std::string& page) {
  static const std::set<std::string> kVoid = {"br", "embed", "img", "hr", "input", "meta"};
  std::vector<std::string> open;
  int htmlEnds = 0;
  for (std::size_t i = page.find_first_of("<&"); i != std::string::npos;
       i = page.find_first_of("<&", i + 1)) {
    const bool entity = page[i] == '&';
    const std::size_t end = page.find(entity ? ';' : '>', i);
    if (end == std::string::npos || (entity && end - i > 8)) return "bad " + page.substr(i, 20);
    if (entity) continue;
    const std::string tag = page.substr(i + 1, end - i - 1);
    const bool closing = tag.starts_with('/');
    std::string name;
    for (std::size_t k = closing; k < tag.size() && std::isalnum(tag[k] & 0xFF); ++k) {
      name += static_cast<char>(std::tolower(tag[k]));
    }
    if (name.empty() || std::count(tag.begin(), tag.end(), '"') % 2) return "bad <" + tag + ">";
    if (kVoid.contains(name)) continue;
    if (!closing && tag.back() != '/') open.push_back(name);
    if (!closing) continue;
    if (open.empty() || open.back() != name) return "unexpected </" + name + ">";
    open.pop_back();
    htmlEnds += name == "html";
  }
  if (!open.empty()) return "unclosed <" + open.back() + ">";
  return htmlEnds == 1 ? "" : "not one </html>";
}

// Safe file names, SVG that parses, balanced markup and local links that resolve.
void ExpectSoundSite(const std::map<std::string, std::string>& files) {
  for (const auto& [name, text] : files) {
    EXPECT_EQ(name.find_first_of("/<>&\"'\\"), std::string::npos) << name;
    EXPECT_TRUE(!name.ends_with(".svg") || pugi::xml_document().load_string(text.c_str())) << name;
    // Links in the embedded drawings open as whole pages.
    for (std::size_t at = text.find("<a xlink:href="); at != std::string::npos;
         at = text.find("<a xlink:href=", at + 1)) {
      const std::string tag = text.substr(at, text.find('>', at) - at);
      EXPECT_NE(tag.find(" target=\"_top\""), std::string::npos) << name << ": " << tag;
    }
    if (!name.ends_with(".htm") && !name.ends_with(".html")) continue;
    EXPECT_EQ(MarkupProblem(text), "") << name;
    for (std::size_t at = text.find("HREF=\""); at != std::string::npos;
         at = text.find("HREF=\"", at + 1)) {
      const std::string target = text.substr(at + 6, text.find('"', at + 6) - at - 6);
      EXPECT_TRUE(target.starts_with("https://") || files.contains(target)) << target;
    }
  }
}

// One run over the small network: golden pages with their context, a sound site,
// compartments and the overview's counts.
TEST(WebsiteSmall, GoldenPagesCompartmentsAndOverview) {
  test::ScratchDir dir;
  fs::create_directories(dir / "cache");
  const std::string records =
      ReadFile(test::DataDir() / "pubmed" / "jds_efetch_pubmed_xml_6records.xml");
  for (const char* id : {"19008416", "18927361", "18787170", "18487186", "18239126", "18239125"}) {
    test::WriteFile(dir / "cache" / (std::string(id) + ".xml"), records);
  }
  NullProgress quiet;
  const Network network = ReadSigText(kSmallSig, "small.sig");
  WebsiteSettings settings = Settings(dir / "cache");
  settings.context = {.network = "small.sig",
                      .command = "tessel website --offline small.sig",
                      .date = "2026-11-23 19:40",
                      .version = "1.0",
                      .startPage = ""};
  const WebsiteResult result =
      RunWebsiteCommand(network, ColorShapeTable::Defaults(), settings, dir.path(), quiet);
  auto files = Files(result.folder);
  EXPECT_EQ(result.index, result.folder / "index.htm");
  EXPECT_EQ(result.moleculePages, 7u);
  EXPECT_EQ(result.references, 7u);
  EXPECT_EQ(result.referencesShown, 6u);
  EXPECT_TRUE(result.warnings.empty());
  for (const char* page : {"index.htm", "list.htm", "central.htm", "EGFR.htm"}) {
    test::ExpectGolden(files[page], std::string("website_") + page);
  }
  ExpectSoundSite(files);
  // Every page says where it comes from; all but the start page link to it.
  for (const char* page : {"EGF.htm", "ligands.htm", "colors_and_shapes.htm", "stats.htm"}) {
    EXPECT_NE(files[page].find("small.sig</title>"), std::string::npos) << page;
    EXPECT_NE(files[page].find("<a href=\"index.htm\">Start page</a>"), std::string::npos) << page;
  }
  EXPECT_EQ(files["EGF.htm"].find("Accession"), std::string::npos);  // "P0113" is too short
  EXPECT_NE(files["JUN.htm"].find("uniprotkb/A0A0B4J2F0\">A0A0B4J2F0</A></CENTER>"),
            std::string::npos);

  const auto listed = [&](const char* page, const char* name) {
    return files[page].find(std::string(">") + name + "</A>") != std::string::npos;
  };
  EXPECT_TRUE(listed("ligands.htm", "TNF") && !listed("membrane.htm", "TNF"));
  EXPECT_TRUE(listed("vesicles.htm", "CHX") && !listed("channels.htm", "CHX"));
  EXPECT_TRUE(listed("apoptosis.htm", "CASP3") && listed("transcription.htm", "JUN"));
  for (const char* label :
       {">Extracellular Ligands (2)<", ">Membrane (1)<", ">Central Signaling Network (1)<",
        ">Secretion (1)<", ">Apoptosis (1)<", ">Translation (0)<", ">Transcription (1)<",
        ">Cytoskeleton (0)<", ">Electrical response (0)<"}) {
    EXPECT_NE(files["network.svg"].find(label), std::string::npos) << label;
  }
  EXPECT_EQ(files["network.svg"].find("navbox"), std::string::npos);
  EXPECT_TRUE(files.contains("network.jpg") && files.contains("stats.htm") &&
              files.contains("network.html"));
  EXPECT_NE(files["colors_and_shapes.svg"].find(">Bcl2Family<"), std::string::npos);
}

// Hostile names, ids missing from an empty cache, stars of 12 and 13 interactions, and one
// and three threads: the same files, safe names, balanced markup, links that resolve.
TEST(WebsiteNames, HostileNamesNavigationAndThreadCount) {
  std::string edges =
      "../x a/b<c>&\"d' + 77\na/b<c>&\"d' .. _ 78\n.. index + 77\nindex ../x 0 79\n";
  for (int k = 0; k < 13; ++k) {
    edges +=
        (k < 12 ? "A A" + std::to_string(k) + " +\n" : "") + "B" + std::to_string(k) + " B _\n";
  }
  const Network network = test::NetworkFromEdges(edges);
  test::ScratchDir one;
  test::ScratchDir three;
  NullProgress quiet;
  const auto colors = ColorShapeTable::Defaults();
  const auto result =
      RunWebsiteCommand(network, colors, Settings(one / "cache", 1), one.path(), quiet);
  RunWebsiteCommand(network, colors, Settings(three / "cache", 3), three.path(), quiet);
  const auto files = Files(result.folder);
  EXPECT_EQ(files, Files(three / kWebsiteFolder));
  EXPECT_EQ(result.references, 4u);
  EXPECT_EQ(result.referencesShown, 0u);
  ExpectSoundSite(files);

  const std::string page = files.at(SafeFileName("a/b<c>&\"d'") + ".htm");
  EXPECT_NE(page.find("<H3>a/b&lt;c&gt;&amp;&quot;d&#39;</H3>"), std::string::npos);
  EXPECT_NE(page.find("<tr><td>1. </td><td> PubMed ID: \n<A HREF=\""
                      "https://pubmed.ncbi.nlm.nih.gov/77/\">77</A></td></tr>"),
            std::string::npos);
  // A molecule named like a page of the site gets a file of its own.
  EXPECT_NE(files.at("index.htm").find("network.svg"), std::string::npos);
  EXPECT_NE(files.at("index_.htm").find("<H3>index</H3>"), std::string::npos);
  // Several islands: the specified figure is 0, the one within the molecule's island beside it.
  EXPECT_NE(files.at("A.htm").find("components: </B>0 (within its island: 1)<BR>"),
            std::string::npos);
  EXPECT_NE(files.at("A0.htm").find("(within its island: 1.91667)"), std::string::npos);
  // Twelve interactions still draw plainly, thirteen get navigation.
  EXPECT_EQ(files.at("A.svg").find("navbox"), std::string::npos);
  EXPECT_NE(files.at("B.svg").find("navbox"), std::string::npos);
}

TEST(WebsiteNames, UnknownEndFieldsShowTheMoleculesOwn) {
  // MYC is first named as a target without type or location; the row that names it as a
  // source gives them, and its page shows them for both interactions.
  const Network network = ReadSigText(
      "MAPK1 P28482 NA Kinase Cytosol MYC P01106 NA NA NA + phosphorylation 1\n"
      "MYC P01106 NA TF Nucleus CDK4 P11802 NA Kinase Nucleus + transcription 2\n",
      "myc.sig");
  test::ScratchDir dir;
  NullProgress quiet;
  const auto result = RunWebsiteCommand(network, ColorShapeTable::Defaults(),
                                        Settings(dir / "cache", 1), dir.path(), quiet);
  const std::string page = Files(result.folder).at("MYC.htm");
  const std::string myc = "MYC</A>   <B>Type of molecule:</B>TF  <B>Location:</B>Nucleus";
  const std::size_t first = page.find(myc);
  ASSERT_NE(first, std::string::npos) << page;
  EXPECT_NE(page.find("MYC</A>  <B>Type of molecule:</B>TF  <B>Location:</B>Nucleus"),
            std::string::npos);
  EXPECT_EQ(page.find("<B>Type of molecule:</B>NA"), std::string::npos);
  EXPECT_EQ(page.find("within its island"), std::string::npos);  // one island: one figure
}

}  // namespace
}  // namespace tessel
