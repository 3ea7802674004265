#include "app/cli/cli_options.h"

#include "model/molecule_condition.h"
#include "model/readers.h"

namespace tessel::cli {

std::string ListText(const std::vector<std::string>& words, std::string_view separator,
                     std::string_view last) {
  std::string text;
  for (std::size_t k = 0; k < words.size(); ++k) {
    if (k > 0) text += k + 1 == words.size() ? last : separator;
    text += words[k];
  }
  return text;
}

void AddCommonOptions(CLI::App& command, CommonOptions& options) {
  std::vector<std::string> readable;
  for (const NetworkFormatInfo& format : NetworkFormats()) {
    if (!format.label.empty()) readable.emplace_back(format.label);
  }
  command.add_option("NETWORK", options.network, "network file: " + ListText(readable))->required();
  command.add_option("-o,--output", options.output,
                     "folder for the results (default: the current folder)");
  command.add_option("--format", options.format, "input format (default: from name and content)")
      ->check(CLI::IsMember(FormatNames()));
  // Columns of a table file, when its titles are not ones the reader knows.
  const std::string group = "Table columns (title or 1-based number; imply --format table)";
  TableColumns& c = options.columns;
  command.add_option("--source-col", c.source, "source molecule names")->group(group);
  command.add_option("--target-col", c.target, "target molecule names")->group(group);
  command.add_option("--effect-col", c.effect, "effect or sign")->group(group);
  command.add_option("--type-col", c.interactionType, "interaction type")->group(group);
  command.add_option("--pmid-col", c.pubmed, "PubMed ids or references")->group(group);
  command.add_option("--source-type-col", c.sourceType, "source molecule type")->group(group);
  command.add_option("--target-type-col", c.targetType, "target molecule type")->group(group);
  command.add_option("--source-location-col", c.sourceLocation, "source location")->group(group);
  command.add_option("--target-location-col", c.targetLocation, "target location")->group(group);
  command.add_option("--source-accession-col", c.sourceAccession, "source accession")->group(group);
  command.add_option("--target-accession-col", c.targetAccession, "target accession")->group(group);
  command.add_flag("--json", options.json, "print a machine-readable result on stdout");
  command.add_flag("--allow-empty", options.allowEmpty,
                   "load a file from which no interaction could be read (only molecules)");
  command.add_flag("-q,--quiet", options.quiet, "no progress or notes on stderr");
}

void AddServiceOptions(CLI::App& command, ServiceOptions& options, bool pubmed) {
  if (pubmed) {
    command.add_option("--eutils-url", options.eutilsUrl,
                       "PubMed E-utilities base address (TESSEL_EUTILS_URL)");
    command.add_option("--api-key", options.apiKey,
                       "NCBI API key: 10 requests a second instead of 3 (TESSEL_NCBI_API_KEY)");
    command.add_option("--cache-dir", options.cacheDir, "PubMed record cache (TESSEL_CACHE_DIR)");
    command.add_option("--pubmed-url", options.pubmedUrl,
                       "base of PubMed article links (TESSEL_PUBMED_URL)");
    command.add_option("--uniprot-url", options.uniprotUrl,
                       "base of UniProt entry links (TESSEL_UNIPROT_URL)");
  }
  command.add_option("--timeout", options.timeout, "seconds per download (default: 60)")
      ->check(CLI::Range(0.1, 86400.0));
}

const CLI::Validator kConditionCheck(
    [](std::string& text) -> std::string {
      try {
        ParseCondition(text);
      } catch (const std::exception& e) {
        return e.what();
      }
      return {};
    },
    "KIND=VALUE", "condition");

}  // namespace tessel::cli
