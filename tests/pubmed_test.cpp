#include "output/pubmed.h"

#include <gtest/gtest.h>

#include "local_http_server.h"
#include "util/error.h"

namespace tessel {
namespace {

namespace fs = std::filesystem;
using Authors = std::vector<std::pair<std::string, std::string>>;

TEST(PubmedParseTest, SampleAndHandMadeRecords) {
  const auto sample = ParsePubmedXml(
      test::ReadFile(test::DataDir() / "pubmed" / "jds_efetch_pubmed_xml_6records.xml"),
      "sample.xml");
  ASSERT_EQ(sample.size(), 6u);
  EXPECT_EQ(ReferenceText(sample.at(18487186)),
            "K. D. Bromberg, A. Ma'ayan, S. R. Neves, R. Iyengar,  Science.  320 903-9 (2008).");
  EXPECT_EQ(ReferenceText(sample.at(18787170)),
            "J. H. Mao, I. J. Kim, D. Wu, J. Climent,  et al.,  Science.  321 1499-502 (2008).");

  const auto refs = ParsePubmedXml(R"(<PubmedArticleSet>
 <PubmedArticle><MedlineCitation><PMID>1</PMID></MedlineCitation></PubmedArticle>
 <PubmedArticle><MedlineCitation><PMID>2</PMID><Article><Journal><JournalIssue>
   <Volume>&amp;quot;12&amp;quot;</Volume><PubDate><MedlineDate>Win 1998 Dec-1999</MedlineDate>
   </PubDate></JournalIssue><ISOAbbreviation>Proc, Soc. Exp, Biol</ISOAbbreviation></Journal>
   <ArticleTitle>Role of <i>BRCA1</i>
     in repair</ArticleTitle><Pagination><StartPage>e1</StartPage><EndPage>e9</EndPage>
   </Pagination><AuthorList><Author><CollectiveName>Group</CollectiveName></Author>
   <Author><LastName>Doe</LastName><Initials>AB</Initials></Author></AuthorList></Article>
 </MedlineCitation></PubmedArticle>
</PubmedArticleSet>)",
                                   "hand.xml");
  ASSERT_EQ(refs.size(), 2u);
  EXPECT_EQ(ReferenceText(refs.at(1)), "    ().");
  EXPECT_EQ(refs.at(2).title, "Role of BRCA1 in repair");
  EXPECT_EQ(ReferenceText(refs.at(2)), "A. B. Doe,  Proc Soc. Exp Biol.  12 e1-e9 (1998).");

  for (const auto& [text, line] : std::map<std::string, std::size_t>{
           {"<eFetchResult></eFetchResult>", 0},  // no one line to blame
           {"<PubmedArticleSet>\n<PubmedArticle>\n<oops</PubmedArticleSet>", 3}}) {
    try {
      ParsePubmedXml(text, "answer.xml");
      ADD_FAILURE() << "accepted: " << text;
    } catch (const InputError& error) {
      EXPECT_EQ(error.file() + ":" + std::to_string(error.line()),
                "answer.xml:" + std::to_string(line));
    }
  }
}

TEST(PubmedFormatTest, Authors) {
  const std::vector<std::pair<Authors, std::string>> cases = {
      {{}, ""},
      {{{"Smith", "J"}, {"Doe", "AB"}}, "J. Smith, A. B. Doe, "},
      {{{"Roe", "ABC"}, {"Poe", ""}, {"Loe", "ABCD"}}, "A. B. C. Roe, "},
      {{{"A", "A"}, {"B", "B"}, {"C", "C"}, {"D", "D"}}, "A. A, B. B, C. C, D. D, "},
      {{{"A", ""}, {"B", "B"}, {"C", "C"}, {"D", "D"}, {"E", "E"}}, "B. B, C. C, D. D,  et al., "},
      {{{"&quot;Smith&quot;", "J&quot;"}, {"Doe", "A,B"}}, "J. Smith, A. B. Doe, "},
      {{{"\xC3\x96z", "\xC3\x96K"}}, "\xC3\x96. K. \xC3\x96z, "},  // letters, not bytes
  };
  for (const auto& [authors, expected] : cases) EXPECT_EQ(FormatAuthors(authors), expected);
}

// "cached fetched missing requests errors" of a library's run.
std::string Counts(const PubmedLibrary& library) {
  const PubmedStats& s = library.stats();
  std::string out;
  for (std::size_t n : {s.fromCache, s.fetched, s.missing, s.requests, s.errors.size()}) {
    out += std::to_string(n) + " ";
  }
  return out;
}

class PubmedLibraryTest : public ::testing::Test {
 protected:
  PubmedLibrary Library(const std::string& base, bool offline = false, std::string key = "") {
    ServiceSettings services;
    services.eutilsUrl = server_.url(base);
    services.apiKey = key;
    services.cacheDir = cache_;
    return PubmedLibrary(services, offline);
  }
  std::size_t CacheFiles() const {
    using It = fs::directory_iterator;
    return fs::exists(cache_) ? static_cast<std::size_t>(std::distance(It(cache_), It())) : 0;
  }

  test::LocalHttpServer server_;
  test::ScratchDir scratch_;
  fs::path cache_ = scratch_ / "cache" / "pubmed";
  NullProgress progress_;
};

TEST_F(PubmedLibraryTest, CachesRecordsAndMarkers) {
  std::vector<PubmedId> ids = server_.recordIds();
  ids.insert(ids.end(), {999, 0, -5, 18487186});
  PubmedLibrary first = Library("/eutils/", false, "a key");
  first.prefetch(ids, progress_);
  EXPECT_EQ(Counts(first), "0 6 1 1 0 ");
  const httplib::Params params = server_.requests()[0].params;  // requests() is a copy
  EXPECT_EQ(params.find("retmode")->second, "xml");
  EXPECT_EQ(params.find("api_key")->second, "a key");
  EXPECT_EQ(first.find(999), nullptr);
  EXPECT_EQ(CacheFiles(), 7u);  // six records and a marker for 999

  for (bool offline : {false, true}) {  // a second run asks for nothing
    PubmedLibrary again = Library("/eutils/", offline);
    again.prefetch(ids, progress_);
    EXPECT_EQ(Counts(again), "6 0 1 0 0 ");
    for (PubmedId id : server_.recordIds()) {
      ASSERT_NE(again.find(id), nullptr);
      EXPECT_EQ(ReferenceText(*again.find(id)), ReferenceText(*first.find(id)));
    }
  }
  EXPECT_EQ(server_.requests().size(), 1u);

  test::WriteFile(cache_ / "18927361.xml", "<PubmedArticleSet><Pub");  // damaged: fetched again
  Library("/eutils/").prefetch(ids, progress_);
  EXPECT_EQ(server_.requests().back().params.find("id")->second, "18927361");
}

TEST_F(PubmedLibraryTest, OfflineFailuresAndCancel) {
  const std::vector<PubmedId> ids = {18487186, 18927361, 5};
  for (const char* base : {"/eutils/", "/garbage/", "/missing/"}) {
    const bool offline = base == std::string("/eutils/");
    PubmedLibrary library = Library(base, offline);
    library.prefetch(ids, progress_);
    EXPECT_EQ(Counts(library), offline ? "0 0 3 0 0 " : "0 0 3 1 1 ");
    EXPECT_EQ(library.find(18487186), nullptr);
  }
  EXPECT_TRUE(server_.requests().empty());
  EXPECT_EQ(CacheFiles(), 0u);  // a failure is not remembered as "no such record"

  struct : Progress {
    void report(std::size_t, std::size_t, std::string_view) override {}
    bool cancelled() const override { return true; }
  } cancelled;
  EXPECT_THROW(Library("/eutils/").prefetch(ids, cancelled), Cancelled);
}

TEST_F(PubmedLibraryTest, BatchesAndSpacesRequests) {
  std::vector<PubmedId> ids = server_.recordIds();
  for (PubmedId id = 1; id <= 244; ++id) ids.push_back(id);
  PubmedLibrary library = Library("/eutils/");
  library.prefetch(ids, progress_);
  EXPECT_EQ(Counts(library), "0 6 244 2 0 ");
  const auto requests = server_.requests();
  const std::string& second = requests[1].params.find("id")->second;
  EXPECT_EQ(std::count(second.begin(), second.end(), ','), 49);
  EXPECT_GE(requests[1].time - requests[0].time, std::chrono::milliseconds(300));
}

}  // namespace
}  // namespace tessel
