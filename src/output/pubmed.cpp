#include "output/pubmed.h"

#include <pugixml.hpp>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <functional>
#include <mutex>
#include <sstream>
#include <system_error>
#include <thread>

#include "util/error.h"
#include "util/files.h"

namespace tessel {
namespace fs = std::filesystem;
namespace {

constexpr std::size_t kIdsPerRequest = 200;
// The E-utilities allow 3 requests a second without an API key and 10 with one.
constexpr std::chrono::microseconds kRequestSpacing{333'334};
constexpr std::chrono::microseconds kRequestSpacingWithKey{100'000};

void RemoveAll(std::string& text, std::string_view what) {
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at)) {
    text.erase(at, what.size());
  }
}

bool IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

// Trims and turns every run of white space into one blank: the XML is indented and titles
// may break across lines.
std::string CollapseSpace(std::string_view text) {
  std::string result;
  bool pendingBlank = false;
  for (char c : text) {
    if (IsSpace(c)) {
      pendingBlank = !result.empty();
    } else {
      if (pendingBlank) result += ' ';
      pendingBlank = false;
      result += c;
    }
  }
  return result;
}

// A value as shown: the "&quot;" the service leaves in some fields is dropped.
std::string CleanValue(std::string text) {
  RemoveAll(text, "&quot;");
  return CollapseSpace(text);
}

// All text inside an element, markup removed: titles carry inline markup such as
// <i>, <sup> and <sub>.
std::string NodeText(pugi::xml_node node) {
  struct Collector : pugi::xml_tree_walker {
    std::string text;
    bool for_each(pugi::xml_node& n) override {
      if (n.type() == pugi::node_pcdata || n.type() == pugi::node_cdata) text += n.value();
      return true;
    }
  } collector;
  node.traverse(collector);
  return CleanValue(std::move(collector.text));
}

std::string ChildText(pugi::xml_node node, const char* path) {
  pugi::xml_node found = node;
  std::string_view rest = path;
  while (found && !rest.empty()) {
    const auto slash = rest.find('/');
    const std::string name(rest.substr(0, slash));
    found = found.child(name.c_str());
    rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash + 1);
  }
  return found ? NodeText(found) : std::string();
}

// The first run of exactly four digits, as in "1998 Dec-1999 Jan".
std::string FirstYear(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size()) {
    if (text[i] < '0' || text[i] > '9') {
      ++i;
      continue;
    }
    std::size_t end = i;
    while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
    if (end - i == 4) return std::string(text.substr(i, 4));
    i = end;
  }
  return {};
}

// Byte length of the UTF-8 character that starts with `lead` (1 for a stray byte).
std::size_t Utf8Length(unsigned char lead) {
  if ((lead & 0xE0) == 0xC0) return 2;
  if ((lead & 0xF0) == 0xE0) return 3;
  if ((lead & 0xF8) == 0xF0) return 4;
  return 1;
}

std::vector<std::string_view> Utf8Characters(std::string_view text) {
  std::vector<std::string_view> characters;
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t n =
        std::min(Utf8Length(static_cast<unsigned char>(text[i])), text.size() - i);
    characters.push_back(text.substr(i, n));
    i += n;
  }
  return characters;
}

Reference ReadArticle(pugi::xml_node citation) {
  const pugi::xml_node article = citation.child("Article");
  const pugi::xml_node journal = article.child("Journal");
  const pugi::xml_node issue = journal.child("JournalIssue");
  Reference reference;
  reference.title = ChildText(article, "ArticleTitle");

  std::vector<std::pair<std::string, std::string>> authors;
  for (pugi::xml_node author : article.child("AuthorList").children("Author")) {
    std::string family = ChildText(author, "LastName");
    std::string initials = ChildText(author, "Initials");
    // A group author has a name and no initials: counted towards "et al." but not shown.
    if (family.empty()) family = ChildText(author, "CollectiveName");
    authors.emplace_back(std::move(family), std::move(initials));
  }
  reference.authors = FormatAuthors(authors);

  std::string journalName = ChildText(citation, "MedlineJournalInfo/MedlineTA");
  if (journalName.empty()) journalName = ChildText(journal, "ISOAbbreviation");
  journalName.erase(std::remove(journalName.begin(), journalName.end(), ','), journalName.end());
  journalName = CollapseSpace(journalName);
  if (!journalName.empty()) reference.journal = journalName + ". ";

  reference.volume = ChildText(issue, "Volume");
  reference.pages = ChildText(article, "Pagination/MedlinePgn");
  if (reference.pages.empty()) {
    reference.pages = ChildText(article, "Pagination/StartPage");
    const std::string end = ChildText(article, "Pagination/EndPage");
    if (!reference.pages.empty() && !end.empty()) reference.pages += "-" + end;
  }
  reference.year = ChildText(issue, "PubDate/Year");
  if (reference.year.empty()) reference.year = FirstYear(ChildText(issue, "PubDate/MedlineDate"));
  return reference;
}

std::size_t LineAt(std::string_view text, std::ptrdiff_t offset) {
  const auto end = static_cast<std::size_t>(
      std::clamp<std::ptrdiff_t>(offset, 0, static_cast<std::ptrdiff_t>(text.size())));
  return 1 + static_cast<std::size_t>(std::count(text.begin(), text.begin() + end, '\n'));
}

// Parses an efetch answer and returns its PubmedArticleSet element.
pugi::xml_node LoadArticleSet(pugi::xml_document& doc, std::string_view xml,
                              const std::string& source) {
  // The default options expand only the predefined XML entities and character references;
  // the DOCTYPE (and any external entity it declares) is skipped.
  const pugi::xml_parse_result result = doc.load_buffer(xml.data(), xml.size());
  if (!result) {
    throw InputError(source, LineAt(xml, result.offset),
                     std::string("not a PubMed XML answer: ") + result.description());
  }
  const pugi::xml_node set = doc.document_element();
  if (std::string_view(set.name()) != "PubmedArticleSet") {
    throw InputError(source, 0,
                     std::string("not a PubMed XML answer: the document is <") + set.name() +
                         ">, not <PubmedArticleSet>");
  }
  return set;
}

// Calls `visit` with the id, the reference and the element of each journal article of the
// set. Book records and articles without a usable PMID are skipped.
void ForEachArticle(pugi::xml_node set,
                    const std::function<void(PubmedId, Reference, pugi::xml_node)>& visit) {
  for (pugi::xml_node article : set.children("PubmedArticle")) {
    const pugi::xml_node citation = article.child("MedlineCitation");
    const std::string pmid = CollapseSpace(citation.child_value("PMID"));
    PubmedId id = 0;
    const auto [end, ec] = std::from_chars(pmid.data(), pmid.data() + pmid.size(), id);
    if (ec != std::errc() || end != pmid.data() + pmid.size() || id <= 0) continue;
    visit(id, ReadArticle(citation), article);
  }
}

// One record as a document of its own, the form kept in the cache.
std::string StandaloneRecord(pugi::xml_node article) {
  pugi::xml_document doc;
  doc.append_child("PubmedArticleSet").append_copy(article);
  std::ostringstream out;
  doc.save(out, "", pugi::format_raw, pugi::encoding_utf8);
  out << '\n';
  return out.str();
}

// Spaces the starts of E-utilities requests across the whole process, since the service
// counts requests per client, not per library object.
void WaitForRequestSlot(std::chrono::steady_clock::duration spacing, const Progress& progress) {
  using Clock = std::chrono::steady_clock;
  static std::mutex mutex;
  static std::optional<Clock::time_point> lastStart;
  Clock::time_point start;
  {
    std::lock_guard lock(mutex);
    const auto now = Clock::now();
    start = lastStart ? std::max(now, *lastStart + spacing) : now;
    lastStart = start;
  }
  for (auto now = Clock::now(); now < start; now = Clock::now()) {
    ThrowIfCancelled(progress);
    std::this_thread::sleep_for(
        std::min<Clock::duration>(start - now, std::chrono::milliseconds(50)));
  }
}

bool FileExists(const fs::path& path) {
  std::error_code ec;
  return fs::is_regular_file(path, ec);
}

// The reason of a failed download without the (long) address in front of it.
std::string ReasonOf(const HttpError& error, const std::string& url) {
  std::string_view text = error.what();
  const std::string prefix = url + ": ";
  if (text.substr(0, prefix.size()) == prefix) text.remove_prefix(prefix.size());
  return std::string(text);
}

}  // namespace

std::string FormatAuthors(std::span<const std::pair<std::string, std::string>> authors) {
  std::string text;
  std::size_t count = 0;
  for (const auto& [familyName, initials] : authors) {
    if (count == 4) {
      text += " et al., ";
      break;
    }
    ++count;
    std::string family = familyName;
    RemoveAll(family, "&quot;");
    std::string letters = initials;
    RemoveAll(letters, "&quot;");
    letters.erase(std::remove(letters.begin(), letters.end(), ','), letters.end());
    const auto characters = Utf8Characters(letters);
    if (characters.empty() || characters.size() > 3) continue;  // shown only with 1-3 initials
    for (std::string_view letter : characters) {
      text += letter;
      text += ". ";
    }
    text += family;
    text += ", ";
  }
  return text;
}

std::string ReferenceText(const Reference& reference) {
  return reference.authors + " " + reference.journal + " " + reference.volume + " " +
         reference.pages + " (" + reference.year + ").";
}

std::map<PubmedId, Reference> ParsePubmedXml(std::string_view xml, const std::string& source) {
  pugi::xml_document doc;
  std::map<PubmedId, Reference> references;
  ForEachArticle(LoadArticleSet(doc, xml, source),
                 [&](PubmedId id, Reference reference, pugi::xml_node) {
                   references.insert_or_assign(id, std::move(reference));
                 });
  return references;
}

PubmedLibrary::PubmedLibrary(ServiceSettings services, bool offline, HttpSettings http)
    : services_(std::move(services)), offline_(offline), http_(http) {}

const Reference* PubmedLibrary::find(PubmedId id) const {
  const auto it = references_.find(id);
  return it == references_.end() ? nullptr : &it->second;
}

void PubmedLibrary::prefetch(std::span<const PubmedId> ids, Progress& progress) {
  ThrowIfCancelled(progress);
  std::vector<PubmedId> wanted;
  for (PubmedId id : ids) {
    if (id > 0 && !references_.contains(id) && !unknown_.contains(id)) wanted.push_back(id);
  }
  std::sort(wanted.begin(), wanted.end());
  wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());

  const auto recordPath = [&](PubmedId id) {
    return services_.cacheDir / (std::to_string(id) + ".xml");
  };
  const auto missingPath = [&](PubmedId id) {
    return services_.cacheDir / (std::to_string(id) + ".missing");
  };
  const auto markUnknown = [&](PubmedId id) {
    unknown_.insert(id);
    ++stats_.missing;
  };

  // The cache first. A record file that cannot be read is fetched again.
  std::vector<PubmedId> toFetch;
  for (PubmedId id : wanted) {
    const fs::path path = recordPath(id);
    if (FileExists(path)) {
      try {
        auto cached = ParsePubmedXml(ReadWholeFile(path), path.string());
        if (auto it = cached.find(id); it != cached.end()) {
          references_.emplace(id, std::move(it->second));
          ++stats_.fromCache;
          continue;
        }
      } catch (const InputError&) {
      }
    }
    if (FileExists(missingPath(id)) || offline_) {
      markUnknown(id);
    } else {
      toFetch.push_back(id);
    }
  }

  const std::size_t requests = (toFetch.size() + kIdsPerRequest - 1) / kIdsPerRequest;
  const auto spacing = services_.apiKey.empty() ? kRequestSpacing : kRequestSpacingWithKey;
  for (std::size_t request = 0; request < requests; ++request) {
    const std::size_t first = request * kIdsPerRequest;
    const std::size_t last = std::min(first + kIdsPerRequest, toFetch.size());
    const std::span<const PubmedId> batch(toFetch.data() + first, last - first);
    progress.report(request, requests,
                    "Fetching PubMed records " + std::to_string(first + 1) + "-" +
                        std::to_string(last) + " of " + std::to_string(toFetch.size()) + "...");
    WaitForRequestSlot(spacing, progress);

    std::string url =
        JoinUrl(services_.eutilsUrl, "efetch.fcgi") + "?db=pubmed&retmode=xml&tool=tessel&id=";
    for (std::size_t i = 0; i < batch.size(); ++i) {
      if (i > 0) url += ',';
      url += std::to_string(batch[i]);
    }
    if (!services_.apiKey.empty()) url += "&api_key=" + UrlEncode(services_.apiKey);
    const std::string what = "PubMed request for " + std::to_string(batch.size()) +
                             " records (ids " + std::to_string(batch.front()) + " to " +
                             std::to_string(batch.back()) + ") failed: ";

    ++stats_.requests;
    std::string body;
    try {
      body = HttpGet(url, http_);
    } catch (const HttpError& error) {
      stats_.errors.push_back(what + ReasonOf(error, url));
      for (PubmedId id : batch) markUnknown(id);
      continue;
    }

    std::map<PubmedId, std::pair<Reference, std::string>> records;
    try {
      pugi::xml_document doc;
      ForEachArticle(LoadArticleSet(doc, body, "the E-utilities answer"),
                     [&](PubmedId id, Reference reference, pugi::xml_node article) {
                       records.insert_or_assign(
                           id, std::pair(std::move(reference), StandaloneRecord(article)));
                     });
    } catch (const InputError& error) {
      stats_.errors.push_back(what + error.message());
      for (PubmedId id : batch) markUnknown(id);
      continue;
    }

    // Every id of the batch is settled now: a record, or a marker saying the service has
    // none, so that later runs do not ask again. A cache that cannot be written costs only
    // the next run's time, so it is reported once per request and the records are kept.
    std::string cacheError;
    for (PubmedId id : batch) {
      const auto it = records.find(id);
      try {
        if (it == records.end()) {
          WriteFileAtomically(missingPath(id), "");
        } else {
          WriteFileAtomically(recordPath(id), it->second.second);
        }
      } catch (const OutputError& error) {
        if (cacheError.empty()) cacheError = error.what();
      }
      if (it == records.end()) {
        markUnknown(id);
      } else {
        references_.insert_or_assign(id, std::move(it->second.first));
        ++stats_.fetched;
      }
    }
    if (!cacheError.empty()) stats_.errors.push_back("PubMed cache not written: " + cacheError);
  }
  if (requests > 0) progress.report(requests, requests, "Fetched PubMed records.");
}

}  // namespace tessel
