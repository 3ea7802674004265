// The tessel command line, run as a user runs it: exit codes, messages, files written.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "model/readers.h"
#include "output/drawing.h"
#include "test_support.h"
#include "util/text.h"

namespace tessel {
namespace {

namespace fs = std::filesystem;

struct RunResult {
  int exitCode = -1;
  std::string out;
  std::string err;
};

std::string Quote(const std::string& s) {
  std::string q = "'";
  for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

RunResult RunTessel(const test::ScratchDir& dir, const std::vector<std::string>& args) {
  // Run inside the scratch folder: commands write their default files into the current one.
  std::string command = "cd " + Quote(dir.path().string()) + " && " + Quote(TESSEL_CLI_PATH);
  for (const auto& a : args) command += " " + Quote(a);
  command += " >" + Quote((dir / "stdout.txt").string()) + " 2>" +
             Quote((dir / "stderr.txt").string()) + " </dev/null";
  const int status = std::system(command.c_str());
  RunResult r;
  r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  r.out = test::ReadFile(dir / "stdout.txt");
  r.err = test::ReadFile(dir / "stderr.txt");
  return r;
}

std::string Example(const std::string& name) {
  return (test::DataDir() / "networks" / name).string();
}

TEST(Cli, StatsJsonHasEveryKeyAndWritesThePage) {
  test::ScratchDir dir;
  const auto out = (dir / "out").string();
  const RunResult r = RunTessel(dir, {"stats", "--json", "-o", out, Example("signor_lbc.sig")});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const auto j = nlohmann::json::parse(r.out);
  for (const char* key : {"molecules", "interactions", "references", "links_per_node", "clustering",
                          "grid", "cpl", "cpl_largest_island", "islands", "types", "locations",
                          "effects", "interaction_types", "connectivity"}) {
    EXPECT_TRUE(j.contains(key)) << key;
  }
  EXPECT_EQ(j["molecules"], 30);
  EXPECT_TRUE(j["connectivity"].contains("links"));
  EXPECT_TRUE(j["connectivity"].contains("in"));
  EXPECT_TRUE(j["connectivity"].contains("out"));
  // The connectivity histogram accounts for every molecule with at least one link.
  std::size_t counted = 0;
  for (const auto& c : j["connectivity"]["links"]) counted += c.get<std::size_t>();
  EXPECT_EQ(counted, 30u);
  EXPECT_TRUE(fs::exists(fs::path(out) / "stats.htm"));
  EXPECT_TRUE(fs::exists(fs::path(out) / "colors_and_shapes.txt"));
}

TEST(Cli, ValidateAndSaveRoundTrip) {
  test::ScratchDir dir;
  const auto out = (dir / "out").string();
  RunResult r = RunTessel(dir, {"validate", "-q", "-o", out, Example("omnipath_signed.sig")});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_TRUE(fs::exists(fs::path(out) / "validation.htm"));

  const auto copy = (dir / "copy.sig").string();
  r = RunTessel(dir, {"save", "-q", "--to", copy, Example("omnipath_signed.sig")});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const auto again = (dir / "again.sig").string();
  r = RunTessel(dir, {"save", "--json", "--to", again, copy});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(test::ReadFile(copy), test::ReadFile(again));
  // 807 distinct ordered (source, target) name pairs in the file.
  EXPECT_EQ(nlohmann::json::parse(r.out)["interactions"], 807);
}

TEST(Cli, LimitsAndWhatSigCannotHold) {
  test::ScratchDir dir;
  // Only molecules: refused unless --allow-empty; saved, they are reported as dropped.
  test::WriteFile(dir / "lonely.sif", "A\nB pp C\n");
  test::WriteFile(dir / "none.sif", "A\nB\n");
  RunResult r = RunTessel(dir, {"stats", "-q", "none.sif"});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_EQ(r.err,
            "tessel: error: none.sif: the file holds no interaction the reader could use (read "
            "as SIF; it names 2 molecule(s))\n");
  EXPECT_EQ(RunTessel(dir, {"stats", "-q", "--allow-empty", "none.sif"}).exitCode, 0);
  r = RunTessel(dir, {"save", "--json", "--to", "out.sig", "lonely.sif"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(nlohmann::json::parse(r.out)["dropped_molecules"], 1);
  EXPECT_NE(r.err.find("1 molecule(s) without interactions are not in out.sig"), std::string::npos);

  // A motif search over the limit is refused naming the file; --force searches.
  r = RunTessel(
      dir, {"motifs", "-q", "--max-motifs", "0", "--kinds", "fbl3", Example("signor_lbc.sig")});
  EXPECT_EQ(r.exitCode, 2);
  EXPECT_NE(r.err.find("signor_lbc.sig: the motif search could find too many motifs"),
            std::string::npos)
      << r.err;
  r = RunTessel(dir, {"motifs", "-q", "--json", "--no-drawings", "--max-motifs", "0", "--force",
                      "--kinds", "fbl3", Example("signor_lbc.sig")});
  EXPECT_EQ(r.exitCode, 0) << r.err;

  // A name longer than drawings take is refused before Graphviz, even with --force.
  test::WriteFile(dir / "long.sif", std::string(kMaxDrawingNameLength + 1, 'N') + " pp B\n");
  r = RunTessel(dir, {"draw", "--force", "long.sif"});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_NE(r.err.find("long.sif: molecule name"), std::string::npos) << r.err;
  EXPECT_FALSE(fs::exists(dir / "network.jpg"));
}

TEST(Cli, BadInputGivesOneLineNamingFileAndLineAndKeepsExistingOutput) {
  test::ScratchDir dir;
  const auto keep = (dir / "keep.sig").string();
  test::WriteFile(keep, "precious\n");
  const std::string good = "A NA NA Kinase Cytosol B NA NA TF Nucleus + NA 1\n";

  struct Case {
    std::string name;
    std::string content;
    std::string expected;  // part of the message
  };
  const std::vector<Case> cases = {
      {"empty.sig", "", "empty.sig: the file is empty"},
      {"blank.sig", "\n \n\t\n", "blank.sig: the file holds no interactions"},
      {"twelve.sig", good + "A NA NA Kinase Cytosol B NA NA TF Nucleus + 7\n", "twelve.sig:2: "},
      {"fourteen.sig", good + good + "A NA NA Kinase Cytosol B NA NA TF Nucleus + NA 7 8\n",
       "fourteen.sig:3: "},
      {"binary.sig", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16), "binary.sig:3: binary data"},
      {"huge.sig", good + std::string(1 << 20, 'z') + "\n", "huge.sig:2: "},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const auto path = (dir / c.name).string();
    test::WriteFile(path, c.content);
    const RunResult r = RunTessel(dir, {"save", "--to", keep, path});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find(c.expected), std::string::npos) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_LT(r.err.size(), 400u);
    EXPECT_EQ(test::ReadFile(keep), "precious\n");
  }

  RunResult r = RunTessel(dir, {"stats", (dir / "missing.sig").string()});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_NE(r.err.find("missing.sig: no such file"), std::string::npos) << r.err;
  r = RunTessel(dir, {"stats", dir.path().string()});
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_NE(r.err.find("is a directory"), std::string::npos) << r.err;
}

TEST(Cli, UsageErrorsExitWithTwo) {
  test::ScratchDir dir;
  EXPECT_EQ(RunTessel(dir, {}).exitCode, 2);
  EXPECT_EQ(RunTessel(dir, {"frobnicate"}).exitCode, 2);
  EXPECT_EQ(RunTessel(dir, {"save", Example("signor_lbc.sig")}).exitCode, 2);  // no --to
  EXPECT_EQ(RunTessel(dir, {"stats", "--format", "csv", Example("signor_lbc.sig")}).exitCode, 2);
  EXPECT_EQ(RunTessel(dir, {"--help"}).exitCode, 0);
}

TEST(Cli, TwoColumnFilesAndAwkwardNamesLoad) {
  test::ScratchDir dir;
  const auto pairs = (dir / "pairs.txt").string();
  test::WriteFile(pairs, "ERK1/2 ..\n\"q\" <b>\n<b> <b>\n\xc3\xa9t\xc3\xa9 ERK1/2\n");
  RunResult r = RunTessel(dir, {"stats", "--json", "-q", "-o", (dir / "o").string(), pairs});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const auto j = nlohmann::json::parse(r.out);
  EXPECT_EQ(j["molecules"], 5);
  EXPECT_EQ(j["islands"], 2);
  r = RunTessel(dir, {"validate", "-q", "-o", (dir / "o").string(), pairs});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  // The report itself, after the context line that names the network file in bold.
  std::string page = test::ReadFile(dir / "o" / "validation.htm");
  ASSERT_NE(page.find("<title>Validation - pairs.txt</title>"), std::string::npos) << page;
  page = page.substr(page.find("</p>"));
  EXPECT_EQ(page.find("<b>"), std::string::npos);
  EXPECT_NE(page.find("&lt;b&gt;"), std::string::npos);
  // The findings in JSON carry the names as they are, beside the counts.
  r = RunTessel(dir, {"validate", "--json", "-q", "-o", (dir / "o").string(), pairs});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const auto v = nlohmann::json::parse(r.out);
  ASSERT_EQ(v["self_loops"], 1);
  const auto& loop = v["findings"][0];
  EXPECT_EQ(loop["kind"], "self_loop");
  EXPECT_EQ(loop["molecules"], nlohmann::json::array({"<b>"}));
  EXPECT_EQ(loop["interactions"], nlohmann::json::parse(R"([["<b>", "<b>"]])"));
  EXPECT_EQ(loop["message"], "The following interaction has <b> as both the source and target!");
}

}  // namespace
}  // namespace tessel

namespace tessel {
namespace {

TEST(CliDrawingCommands, MotifsDrawExportAndMatrixWriteWhatTheySay) {
  test::ScratchDir dir;
  const auto out = (dir / "out").string();
  const std::string lbc = (test::DataDir() / "networks" / "signor_lbc.sig").string();

  RunResult r = RunTessel(dir, {"motifs", "--json", "-q", "--kinds", "fbl3,bifan", "-o", out, lbc});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const auto j = nlohmann::json::parse(r.out);
  EXPECT_EQ(j.size(), 3u);  // fbl3, bifan, page
  EXPECT_EQ(j["fbl3"]["total"].get<int>(),
            j["fbl3"]["positive"].get<int>() + j["fbl3"]["negative"].get<int>());
  EXPECT_FALSE(j["bifan"].contains("positive"));
  const std::string page = test::ReadFile(fs::path(out) / "TESSEL_motifs" / "bifans.htm");
  EXPECT_NE(page.find("Total found: " + std::to_string(j["bifan"]["total"].get<int>()) + "<br>"),
            std::string::npos);
  if (j["bifan"]["total"].get<int>() > 0) {
    EXPECT_TRUE(fs::exists(fs::path(out) / "TESSEL_motifs" / "bifans_40001.jpg"));
  }
  EXPECT_EQ(RunTessel(dir, {"motifs", "--kinds", "fbl6", lbc}).exitCode, 2);
  // A drawing limit leaves the counts alone and lists the other motifs by name.
  const auto capped = (dir / "capped").string();
  r = RunTessel(dir, {"motifs", "--json", "-q", "--kinds", "bifan", "--max-drawings", "1", "-o",
                      capped, lbc});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(nlohmann::json::parse(r.out)["bifan"], j["bifan"]);
  EXPECT_TRUE(fs::exists(fs::path(capped) / "TESSEL_motifs" / "bifans_40001.jpg"));
  EXPECT_FALSE(fs::exists(fs::path(capped) / "TESSEL_motifs" / "bifans_40002.jpg"));
  EXPECT_NE(test::ReadFile(fs::path(capped) / "TESSEL_motifs" / "bifans.htm")
                .find("Showing drawings of the first 1 of " +
                      std::to_string(j["bifan"]["total"].get<int>()) + " motifs"),
            std::string::npos);
  // Counts only: the same counts, nothing written.
  const auto counted = (dir / "counted").string();
  r = RunTessel(
      dir, {"motifs", "--json", "-q", "--kinds", "fbl3,bifan", "--no-pages", "-o", counted, lbc});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(nlohmann::json::parse(r.out),
            nlohmann::json({{"fbl3", j["fbl3"]}, {"bifan", j["bifan"]}}));
  EXPECT_TRUE(!fs::exists(counted) || fs::is_empty(counted));  // no pages, no colours table

  r = RunTessel(dir, {"draw", "-q", "--base", "whole", "-o", out, lbc});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  for (const char* ext : {".dot", ".jpg", ".svg"}) {
    EXPECT_GT(fs::file_size(fs::path(out) / (std::string("whole") + ext)), 100u) << ext;
  }
  EXPECT_EQ(RunTessel(dir, {"draw", "-q", "--base", "../escape", "-o", out, lbc}).exitCode, 2);
  // Above 100 molecules the drawing wants --force.
  const std::string large = Example("omnipath_signed.sig");
  r = RunTessel(dir, {"draw", "-q", "--base", "large", "-o", out, large});
  EXPECT_EQ(r.exitCode, 2);
  EXPECT_NE(r.err.find("omnipath_signed.sig has 678 molecules; drawings above 100 molecules can "
                       "take long; add --force to draw it"),
            std::string::npos)
      << r.err;
  EXPECT_FALSE(fs::exists(fs::path(out) / "large.dot"));
  r = RunTessel(dir, {"draw", "--force", "--base", "large", "-o", out, large});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_NE(r.err.find("laid out with sfdp"), std::string::npos) << r.err;
  EXPECT_GT(fs::file_size(fs::path(out) / "large.jpg"), 1000u);

  r = RunTessel(dir, {"export", "mfinder", "-q", "--to", (dir / "mf.txt").string(), lbc});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_TRUE(fs::exists(dir / "names.txt"));

  r = RunTessel(dir, {"matrix", "-q", "--size", "64", "-o", out, lbc});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(test::ReadFile(fs::path(out) / "interactions_matrix.png").substr(1, 3), "PNG");
  // 30 molecules in 64 pixels: too small for names, so the page lists the axis order.
  EXPECT_NE(test::ReadFile(fs::path(out) / "interactions_matrix.htm").find("<ol>"),
            std::string::npos);
}

TEST(CliDerivedCommands, WebsiteOfflineAndGeneList) {
  test::ScratchDir dir;
  const std::string lbc = (test::DataDir() / "networks" / "signor_lbc.sig").string();
  RunResult r = RunTessel(
      dir, {"website", "--offline", "--json", "-q", "--cache-dir", "cache", "-o", "site", lbc});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  auto j = nlohmann::json::parse(r.out);
  EXPECT_EQ(j["molecule_pages"], 30);
  EXPECT_EQ(j["references_shown"], 0);  // offline with an empty cache
  for (const char* page : {"index.htm", "list.htm", "stats.htm", "ERK1_2F2.htm", "network.svg"}) {
    EXPECT_TRUE(fs::exists(dir / "site" / "TESSEL_website" / page)) << page;
  }
  EXPECT_NE(test::ReadFile(dir / "site" / "TESSEL_website" / "list.htm")
                .find("<title>Index of molecules - signor_lbc.sig</title>"),
            std::string::npos);

  test::WriteFile(dir / "genes.txt", "kras esr1\nMDM2 nothere\n");
  r = RunTessel(
      dir, {"genelist", "--json", "-q", "--reference", lbc, "--intermediates", "2", "genes.txt"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  j = nlohmann::json::parse(r.out);
  EXPECT_EQ(j["message"], "A subnetwork containing your genes/proteins was successfully created!");
  EXPECT_EQ(j["absent"], nlohmann::json::array({"NOTHERE"}));
  const Network sub = ReadSigText(test::ReadFile(dir / "subnetwork.sig"), "subnetwork.sig");
  EXPECT_EQ(sub.interactionCount(), j["interactions"].get<std::size_t>());
  EXPECT_NE(sub.findId("ESR1"), 0u);
  EXPECT_NE(sub.findId("KRAS"), 0u);

  test::WriteFile(dir / "one.txt", "KRAS\n");
  r = RunTessel(dir, {"genelist", "-q", "--reference", lbc, "--to", "none.sig", "one.txt"});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_NE(r.out.find("No connections were found!"), std::string::npos);
  EXPECT_FALSE(fs::exists(dir / "none.sig"));
  EXPECT_EQ(
      RunTessel(dir, {"genelist", "--intermediates", "4", "--reference", lbc, "one.txt"}).exitCode,
      2);
}

TEST(CliDerivedCommands, ShufflePathwaysReduceAndPropagate) {
  test::ScratchDir dir;
  const std::string lbc = (test::DataDir() / "networks" / "signor_lbc.sig").string();

  // The same seed gives the same files; the comparison has one entry per column.
  std::string first;
  for (const char* out : {"a", "b"}) {
    const RunResult r = RunTessel(dir, {"shuffle", "--json", "-q", "--count", "4", "--seed", "9",
                                        "--analyze", "clustering,motifs34", "-o", out, lbc});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto j = nlohmann::json::parse(r.out);
    EXPECT_EQ(j["seed"], 9);
    EXPECT_EQ(j["files"], 4);
    EXPECT_EQ(j["columns"]["interactions"]["network"], 59);
    EXPECT_EQ(j["columns"]["interactions"]["sd"], 0);  // swaps keep the number of links
    EXPECT_TRUE(j["columns"]["interactions"]["z"].is_null());
    EXPECT_TRUE(j["columns"].contains("NFFL4"));
    EXPECT_EQ(j["columns"]["CPL"]["used"].get<int>() + j["columns"]["CPL"]["left_out"].get<int>(),
              4);
    EXPECT_NE(test::ReadFile(dir / out / "TESSEL_shuffled_nets" / "shuffled_networks_analysis.htm")
                  .find("<tr><td>user network</td><td>59</td>"),
              std::string::npos);
    const std::string text =
        test::ReadFile(dir / out / "TESSEL_shuffled_nets" / "random_milo_4.sig");
    if (first.empty()) {
      first = text;
    } else {
      EXPECT_EQ(text, first);
    }
  }
  // Without --seed a seed is chosen and reported.
  RunResult r = RunTessel(
      dir, {"shuffle", "--kind", "er", "--count", "1", "--analyze", "none", "-o", "c", lbc});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_NE(r.err.find("seed "), std::string::npos);
  EXPECT_TRUE(fs::exists(dir / "c" / "TESSEL_shuffled_nets" / "random_er_1.sig"));
  EXPECT_FALSE(fs::exists(dir / "c" / "TESSEL_shuffled_nets" / "shuffled_networks_analysis.htm"));

  // Pathways: bad conditions are usage errors.
  EXPECT_EQ(RunTessel(dir, {"pathways", "--source", "Colour=red", lbc}).exitCode, 2);
  EXPECT_EQ(RunTessel(dir, {"pathways", "--easy", "EGF", lbc}).exitCode, 2);
  EXPECT_EQ(RunTessel(dir, {"pathways", "-q", "--easy", "NOPE", "TP53", lbc}).exitCode, 2);
  r = RunTessel(dir, {"pathways", "--json", "-q", "--source", "Type=Receptor", "--target",
                      "Type=TF", "--max-size", "5", "-o", "pg", lbc});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const auto maps = nlohmann::json::parse(r.out)["maps"];
  ASSERT_FALSE(maps.empty());
  for (const auto& m : maps) EXPECT_TRUE(fs::exists(dir / m["page"].get<std::string>()));
  EXPECT_TRUE(fs::exists(dir / "pg" / "TESSEL_pg" / "form.htm"));

  r = RunTessel(dir, {"reduce", "--json", "-q", "-o", "red", lbc});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const auto reduced = nlohmann::json::parse(r.out);
  EXPECT_EQ(reduced["files"], 47);
  EXPECT_EQ(reduced["rows"].back()["allowed"], 50);

  r = RunTessel(dir, {"propagate", "--json", "-q", "--condition", "Type=Receptor", "--steps", "3",
                      "-o", "prop", lbc});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const auto propagated = nlohmann::json::parse(r.out);
  EXPECT_FALSE(propagated["sources"].empty());
  EXPECT_TRUE(fs::exists(dir / propagated["dips_page"].get<std::string>()));
  // The pages say which network and command they come from.
  EXPECT_NE(
      test::ReadFile(dir / propagated["stats_page"].get<std::string>()).find("signor_lbc.sig"),
      std::string::npos);
  EXPECT_EQ(RunTessel(dir, {"propagate", "--condition", "Type", lbc}).exitCode, 2);
}

TEST(CliPathways, EgfQueriesFindTheEgfToMycMapAndListRoutes) {
  test::ScratchDir dir;
  const std::string egf = (test::DataDir() / "formats" / "egf.sig").string();
  const auto sigOf = [&](const std::string& out) {
    return test::ReadFile(dir / out / "TESSEL_pg" / "EGF_TO_MYC.sig");
  };
  // The default query: ligands to transcription factors.
  RunResult r = RunTessel(dir, {"pathways", "-q", "-o", "default", egf});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_NE(sigOf("default").find("EGF P01133 NA Ligand Extracellular EGFR "), std::string::npos);

  r = RunTessel(dir, {"pathways", "-q", "--easy", "EGF", "MYC", "-o", "easy", egf});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  EXPECT_NE(sigOf("easy").find("EGF P01133 NA Ligand Extracellular EGFR "), std::string::npos);
  EXPECT_NE(r.out.find("1 route from EGF to MYC in up to 8 steps"), std::string::npos);
  EXPECT_NE(r.out.find("\nEGF -> EGFR -> SOS1 -> HRAS -> RAF1 -> MAP2K1 -> MAPK1 -> MYC  (+, 8 "
                       "steps)\n"),
            std::string::npos);
  r = RunTessel(dir, {"pathways", "-q", "--json", "--easy", "EGF", "MYC", "--max-steps", "9", "-o",
                      "easy", egf});
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const auto j = nlohmann::json::parse(r.out);
  EXPECT_EQ(j["routes_total"], 2);
  EXPECT_EQ(j["routes"][1]["molecules"].size(), 9u);
  EXPECT_EQ(j["routes"][1]["sign"], "+");
  EXPECT_EQ(j["routes"][1]["steps"], 9);
  EXPECT_EQ(j["maps"].size(), 1u);

  // A condition that matches nothing is a usage error naming the closest value, and nothing
  // is written.
  r = RunTessel(dir,
                {"pathways", "--target", "Type=tf", "--source", "Name=EFG", "-o", "typo", egf});
  EXPECT_EQ(r.exitCode, 2);
  EXPECT_NE(r.err.find("no molecule has Name \"EFG\"; did you mean \"EGF\"?"), std::string::npos);
  EXPECT_NE(r.err.find("no molecule has Type \"tf\"; did you mean \"TF\"?"), std::string::npos);
  EXPECT_FALSE(fs::exists(dir / "typo"));
}

TEST(Cli, StatsAgreeWhateverFormatTheNetworkIsWrittenIn) {
  // One small EGF pathway written by hand in each format: the figures must not depend on
  // the reader. SIF carries no types, locations or references, MITAB no types or locations.
  test::ScratchDir dir;
  const fs::path data = test::SourceDir() / "tests" / "data" / "formats";
  const auto stats = [&](const std::string& file) {
    const RunResult r =
        RunTessel(dir, {"stats", "--json", "-o", (dir / "o").string(), (data / file).string()});
    EXPECT_EQ(r.exitCode, 0) << file << ": " << r.err;
    EXPECT_EQ(r.err.find("warning"), std::string::npos) << file << ": " << r.err;
    nlohmann::json j = nlohmann::json::parse(r.out);
    j.erase("page");
    return j;
  };
  const nlohmann::json sig = stats("egf.sig");
  EXPECT_EQ(sig["molecules"], 12);
  EXPECT_EQ(sig["effects"], nlohmann::json::parse(R"({"+": 10, "_": 3, "0": 1})"));
  const auto without = [](nlohmann::json j, std::initializer_list<const char*> keys) {
    for (const char* key : keys) j.erase(key);
    return j;
  };
  EXPECT_EQ(stats("egf.csv"), sig);
  EXPECT_EQ(stats("egf.graphml"), sig);
  EXPECT_EQ(without(stats("egf_mitab28.txt"), {"types", "locations", "interaction_types"}),
            without(sig, {"types", "locations", "interaction_types"}));
  EXPECT_EQ(without(stats("egf.sif"), {"types", "locations", "interaction_types", "references"}),
            without(sig, {"types", "locations", "interaction_types", "references"}));
}

// --to must name a regular file or a new name in an existing folder; anything else is a
// usage error found before the network is read.
TEST(Cli, ToRefusesWhatIsNotAFileBeforeAnyWork) {
  test::ScratchDir dir;
  ASSERT_EQ(::mkfifo((dir / "fifo").c_str(), 0600), 0);
  test::WriteFile(dir / "genes.txt", "EGF\n");
  const std::string missing = (dir / "nothere.sig").string();  // no network: not read
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"save", "--to", "fifo", missing},
        {"save", "--to", "nofolder/x.sig", missing},
        {"export", "pajek", "--to", ".", missing},
        {"matrix", "--to", "fifo", missing},
        {"genelist", "--to", (dir / "fifo").string(), "--reference", missing, "genes.txt"}}) {
    const RunResult r = RunTessel(dir, args);
    EXPECT_EQ(r.exitCode, 2) << args[0] << ": " << r.err;
    EXPECT_NE(r.err.find("tessel: error: --to: "), std::string::npos) << r.err;
  }
  EXPECT_TRUE(fs::is_fifo(dir / "fifo"));
}

// Checks that every page below `folder` is valid UTF-8, says so, and that its local links lead to
// files that exist; returns the number of pages.
std::size_t CheckPages(const fs::path& folder) {
  std::size_t pages = 0;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.path().extension() != ".htm" && entry.path().extension() != ".html") continue;
    ++pages;
    const std::string page = test::ReadFile(entry.path());
    EXPECT_EQ(FirstInvalidUtf8(page), std::string::npos) << entry.path();
    EXPECT_NE(page.find("<meta charset=\"utf-8\">"), std::string::npos) << entry.path();
    for (const std::string attribute : {"href=\"", "src=\"", "SRC=\""}) {
      for (std::size_t at = page.find(attribute); at != std::string::npos;
           at = page.find(attribute, at + 1)) {
        const std::size_t start = at + attribute.size();
        const std::string link = page.substr(start, page.find('"', start) - start);
        if (link.find(':') != std::string::npos || link.empty() || link[0] == '#') continue;
        EXPECT_TRUE(fs::exists(entry.path().parent_path() / link))
            << entry.path() << " links to " << link;
      }
    }
  }
  return pages;
}

TEST(Cli, Latin1NamesGiveValidJsonAndPages) {
  test::ScratchDir dir;
  // "Café", "Naïve" and "ééé" written in Latin-1.
  const std::string rows[][3] = {{"Caf\xE9", "Na\xEFve", "+"},
                                 {"Na\xEFve", "\xE9\xE9\xE9", "+"},
                                 {"\xE9\xE9\xE9", "Caf\xE9", "_"},
                                 {"Caf\xE9", "EGFR", "+"}};
  std::string sig;
  for (const auto& row : rows) {
    sig += row[0] + " P1 NA Ligand Extracellular " + row[1] + " P2 NA Receptor Membrane " + row[2] +
           " binding 123\n";
  }
  test::WriteFile(dir / "latin1.sig", sig);
  test::WriteFile(dir / "genes.txt", "Caf\xE9\nEGFR\n");
  const std::string cafe = "Caf\xEF\xBF\xBD";  // as it reads in UTF-8 output
  const std::string replaced = "\xEF\xBF\xBD";
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"pathways", "--source", "Type=Ligand", "--target",
                                 "Type=Receptor"},
        {"propagate", "--condition", "Type=Ligand", "--steps", "2"},
        {"genelist", "--reference", "latin1.sig", "genes.txt"}}) {
    std::vector<std::string> full = args;
    full.insert(full.end(), {"--json", "-q", "-o", "out"});
    if (args[0] != "genelist") full.push_back("latin1.sig");
    const RunResult r = RunTessel(dir, full);
    ASSERT_EQ(r.exitCode, 0) << args[0] << ": " << r.err;
    nlohmann::json j;
    EXPECT_NO_THROW(j = nlohmann::json::parse(r.out)) << r.out;
    EXPECT_NE(r.out.find(replaced), std::string::npos) << r.out;
  }
  EXPECT_GT(CheckPages(dir / "out"), 3u);
  const std::string map = test::ReadFile(dir / "out" / "TESSEL_pg" / "Caf_E9_TO_EGFR.htm");
  EXPECT_NE(map.find(">" + cafe + "</a>"), std::string::npos);
}

// Names of 10,000 characters: every file name stays within the limit, and the pages link
// to files that exist.
TEST(Cli, LongNamesGiveFilesWithinLimitsAndLinksThatResolve) {
  test::ScratchDir dir;
  const std::string a(10000, 'A'), b(10000, 'B'), c = std::string(9999, 'C') + "_";
  std::string sig;
  for (const auto& [from, to, effect] : {std::tuple{a, b, "+"},
                                         {b, c, "+"},
                                         {c, a, "_"},
                                         {a, c, "+"},
                                         {std::string("EGF"), a, "+"}}) {
    sig += from + " P1 NA Ligand Extracellular " + to + " P2 NA Receptor Membrane " + effect +
           " binding 123\n";
  }
  test::WriteFile(dir / "long.sig", sig);
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"website", "--offline"},
        {"pathways", "--source", "Type=Ligand", "--target", "Type=Receptor"},
        {"motifs"},
        {"propagate", "--condition", "Type=Ligand", "--steps", "3"}}) {
    std::vector<std::string> full = args;
    full.insert(full.end(), {"-q", "-o", "out", "long.sig"});
    const RunResult r = RunTessel(dir, full);
    ASSERT_EQ(r.exitCode, 0) << args[0] << ": " << r.err;
  }
  std::size_t maps = 0;
  for (const auto& entry : fs::recursive_directory_iterator(dir / "out")) {
    EXPECT_LE(entry.path().filename().string().size(), 255u);
    maps += entry.path().string().find("_TO_") != std::string::npos;
  }
  EXPECT_GT(CheckPages(dir / "out"), 10u);
  EXPECT_TRUE(fs::exists(dir / "out" / "TESSEL_from_sources" / "EGF_sub_net_depth3.sig"));
  EXPECT_GE(maps, 5u);
}

}  // namespace
}  // namespace tessel
