// The web site of a network, in "TESSEL_website": index.htm with the overview drawing of
// the cell, one table page per compartment, list.htm, one page and one neighbourhood
// drawing per molecule with the literature behind each interaction, stats.htm and the
// colours legend.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "model/color_table.h"
#include "model/network.h"
#include "net/http.h"
#include "net/services.h"
#include "output/page_context.h"
#include "util/progress.h"

namespace tessel {

inline constexpr const char* kWebsiteFolder = "TESSEL_website";

// The file name stem of a molecule's page in the site: SafeFileName(name), with a trailing
// "_" when that would be the stem of one of the site's own pages ("index", "list", ...).
std::string MoleculeStem(std::string_view name);

struct WebsiteSettings {
  bool offline = false;  // PubMed references from the cache only
  ServiceSettings services = ServiceSettings::FromEnvironment();
  HttpSettings http;
  unsigned threads = 0;  // page writing; drawings are rendered one at a time
  PageContext context;   // said on every page; the pages link to index.htm as their start
};

struct WebsiteResult {
  std::filesystem::path folder;
  std::filesystem::path index;  // index.htm
  std::size_t moleculePages = 0;
  std::size_t references = 0;         // distinct PubMed ids cited
  std::size_t referencesShown = 0;    // of which a record was available
  std::vector<std::string> warnings;  // failed PubMed requests and the like
};

WebsiteResult RunWebsiteCommand(const Network& network, const ColorShapeTable& colors,
                                const WebsiteSettings& settings,
                                const std::filesystem::path& outputDir, Progress& progress);

}  // namespace tessel
