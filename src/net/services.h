// Where the program's web services live. Each address is a setting: a command-line option
// overrides an environment variable, which overrides the built-in default.
//
//   TESSEL_EUTILS_URL     base of the PubMed E-utilities
//                         (default https://eutils.ncbi.nlm.nih.gov/entrez/eutils/)
//   TESSEL_NCBI_API_KEY   an NCBI API key: allows 10 requests a second instead of 3
//   TESSEL_PUBMED_URL     base of PubMed article links (default https://pubmed.ncbi.nlm.nih.gov/)
//   TESSEL_UNIPROT_URL    base of UniProt entry links (default https://www.uniprot.org/uniprotkb/)
//   TESSEL_REFERENCE_URL  the reference network for gene lists (a URL or a local file; no
//                         default)
//   TESSEL_CACHE_DIR      the PubMed record cache (default $XDG_CACHE_HOME/tessel/pubmed, or
//                         ~/.cache/tessel/pubmed)
#pragma once

#include <filesystem>
#include <string>

namespace tessel {

struct ServiceSettings {
  std::string eutilsUrl;
  std::string apiKey;
  std::string pubmedUrl;
  std::string uniprotUrl;
  std::string referenceUrl;
  std::filesystem::path cacheDir;

  // The defaults, overridden by the environment variables above.
  static ServiceSettings FromEnvironment();
};

// Joins a base address and a path with exactly one "/" between them.
std::string JoinUrl(std::string_view base, std::string_view path);

}  // namespace tessel
