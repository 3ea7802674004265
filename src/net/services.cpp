#include "net/services.h"

#include <cstdlib>

namespace tessel {
namespace fs = std::filesystem;
namespace {

// The value of an environment variable; an empty variable counts as unset.
std::string Environment(const char* name, std::string fallback = {}) {
  const char* value = std::getenv(name);
  if (value == nullptr || *value == '\0') return fallback;
  return value;
}

fs::path DefaultCacheDir() {
  // XDG base directories must be absolute; a relative value is ignored.
  const fs::path xdg = Environment("XDG_CACHE_HOME");
  if (xdg.is_absolute()) return xdg / "tessel" / "pubmed";
  const std::string home = Environment("HOME");
  if (!home.empty()) return fs::path(home) / ".cache" / "tessel" / "pubmed";
  std::error_code ec;
  const fs::path temp = fs::temp_directory_path(ec);
  return (ec ? fs::path(".") : temp) / "tessel-cache" / "pubmed";
}

}  // namespace

ServiceSettings ServiceSettings::FromEnvironment() {
  ServiceSettings settings;
  settings.eutilsUrl =
      Environment("TESSEL_EUTILS_URL", "https://eutils.ncbi.nlm.nih.gov/entrez/eutils/");
  settings.apiKey = Environment("TESSEL_NCBI_API_KEY");
  settings.pubmedUrl = Environment("TESSEL_PUBMED_URL", "https://pubmed.ncbi.nlm.nih.gov/");
  settings.uniprotUrl = Environment("TESSEL_UNIPROT_URL", "https://www.uniprot.org/uniprotkb/");
  settings.referenceUrl = Environment("TESSEL_REFERENCE_URL");
  const std::string cacheDir = Environment("TESSEL_CACHE_DIR");
  settings.cacheDir = cacheDir.empty() ? DefaultCacheDir() : fs::path(cacheDir);
  return settings;
}

std::string JoinUrl(std::string_view base, std::string_view path) {
  while (!base.empty() && base.back() == '/') base.remove_suffix(1);
  while (!path.empty() && path.front() == '/') path.remove_prefix(1);
  std::string url(base);
  url += '/';
  url += path;
  return url;
}

}  // namespace tessel
