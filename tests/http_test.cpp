#include "net/http.h"

#include <gtest/gtest.h>

#include "local_http_server.h"
#include "net/services.h"

namespace tessel {
namespace {

using std::chrono::milliseconds;
const HttpSettings kShort{.connectTimeout = milliseconds(1000), .totalTimeout = milliseconds(300)};

// The status of the HttpError thrown by getting `url`, whose message must name the url
// and `reason`.
int ErrorStatus(const std::string& url, const std::string& reason, HttpSettings settings = kShort) {
  try {
    HttpGet(url, settings);
  } catch (const HttpError& error) {
    const std::string what = error.what();
    EXPECT_TRUE(what.find(url) != what.npos && what.find(reason) != what.npos) << what;
    return error.status();
  }
  ADD_FAILURE() << "no HttpError for " << url;
  return -1;
}

TEST(HttpTest, AnswersAndFailures) {
  test::LocalHttpServer server;
  EXPECT_EQ(HttpGet(server.url("/plain"), kShort), "hello");
  EXPECT_EQ(HttpGet(server.url("/redirect"), kShort), "hello");
  HttpGet(server.url("/eutils/efetch.fcgi"), kShort);
  EXPECT_EQ(server.requests().at(0).agent, "TESSEL/" TESSEL_VERSION);

  EXPECT_EQ(ErrorStatus(server.url("/missing"), "HTTP 404"), 404);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(ErrorStatus(server.url("/slow"), "timed out"), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  ErrorStatus("file:///etc/hostname", "");

  HttpSettings settings = kShort;
  settings.maxBytes = 1000;
  ErrorStatus(server.url("/large"), "larger than the limit of 1000", settings);
  settings.maxBytes = 100'000;
  EXPECT_EQ(HttpGet(server.url("/large"), settings).size(), 100'000u);
  settings.maxRedirects = 0;
  EXPECT_EQ(ErrorStatus(server.url("/redirect"), "", settings), 302);
}

TEST(HttpTest, GetToFileReplacesOnlyOnSuccess) {
  test::LocalHttpServer server;
  test::ScratchDir dir;
  const auto target = dir / "answer.txt";
  test::WriteFile(target, "earlier");
  EXPECT_THROW(HttpGetToFile(server.url("/missing"), target, kShort), HttpError);
  EXPECT_THROW(HttpGetToFile(server.url("/slow"), target, kShort), HttpError);
  EXPECT_EQ(test::ReadFile(target), "earlier");
  HttpGetToFile(server.url("/plain"), target, kShort);
  EXPECT_EQ(test::ReadFile(target), "hello");
  using It = std::filesystem::directory_iterator;
  EXPECT_EQ(std::distance(It(dir.path()), It()), 1);  // no temporary left behind
}

TEST(HttpTest, Addresses) {
  EXPECT_EQ(UrlEncode("a b&c=d/\xC3\xA9~"), "a%20b%26c%3Dd%2F%C3%A9~");
  EXPECT_EQ(JoinUrl("http://h/e/", "f"), "http://h/e/f");
  EXPECT_EQ(JoinUrl("http://h/e", "//f"), "http://h/e/f");
}

}  // namespace
}  // namespace tessel
