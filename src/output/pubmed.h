// PubMed references: records fetched from the E-utilities in XML, many ids per request and
// rate-limited, cached on disk (one file per id) so that a second run makes no request, and
// formatted as "J. Smith, A. B. Doe, Nature. 412 345-9 (2001)."
#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/network.h"
#include "net/http.h"
#include "net/services.h"
#include "util/progress.h"

namespace tessel {

struct Reference {
  std::string title;
  std::string authors;  // FormatAuthors
  std::string journal;  // MEDLINE abbreviation without commas, then ". "
  std::string volume;
  std::string pages;
  std::string year;
};

// "J. Smith, A. B. Doe, " from (family name, initials) pairs: initials of one to three
// letters are written as "J. " / "A. B. " / "A. B. C. " before the family name; an author
// whose initials have another length is left out. After four authors (counted whether shown
// or not) the text ends with " et al., ".
std::string FormatAuthors(std::span<const std::pair<std::string, std::string>> authors);

// The text shown for a reference: authors, " ", journal, " ", volume, " ", pages, " (",
// year, ")."
std::string ReferenceText(const Reference& reference);

// Reads an efetch XML answer (a PubmedArticleSet) into references by PubMed id. A group
// author (a CollectiveName without initials) counts towards " et al., " but is not shown.
// Throws InputError naming `source` when the text is not such a document.
std::map<PubmedId, Reference> ParsePubmedXml(std::string_view xml, const std::string& source);

struct PubmedStats {
  std::size_t fromCache = 0;
  std::size_t fetched = 0;
  std::size_t requests = 0;
  std::size_t missing = 0;          // ids the service does not know, or that could not be fetched
  std::vector<std::string> errors;  // one line per failed request
};

// The references of a run: the disk cache, then (unless offline) the E-utilities.
class PubmedLibrary {
 public:
  PubmedLibrary(ServiceSettings services, bool offline, HttpSettings http = {});

  // Makes the records of `ids` available: reads the cached ones, fetches the others in
  // batches of up to 200 ids per request, at most 3 requests a second (10 with an API key),
  // and stores each record in the cache. Ids of 0 or less are skipped. A failed request is
  // recorded in stats().errors and its ids stay unknown; it does not throw. Throws Cancelled.
  void prefetch(std::span<const PubmedId> ids, Progress& progress);

  // The reference of an id prefetched before; nullptr when unknown.
  const Reference* find(PubmedId id) const;

  const PubmedStats& stats() const { return stats_; }

 private:
  ServiceSettings services_;
  bool offline_;
  HttpSettings http_;
  std::map<PubmedId, Reference> references_;
  std::set<PubmedId> unknown_;  // counted as missing once, never asked for again
  PubmedStats stats_;
};

}  // namespace tessel
