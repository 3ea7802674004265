#include "net/http.h"

#include <gtest/gtest.h>

#include "local_http_server.h"
#include "net/services.h"

namespace tessel {
namespace {

HttpSettings ShortTimeouts() {
  HttpSettings settings;
  settings.connectTimeout = std::chrono::milliseconds(1000);
  settings.totalTimeout = std::chrono::milliseconds(300);
  return settings;
}

// The HttpError thrown by `get`, whose message must name `url`.
template <typename F>
HttpError ErrorOf(const std::string& url, F get) {
  try {
    get();
  } catch (const HttpError& error) {
    EXPECT_NE(std::string(error.what()).find(url), std::string::npos) << error.what();
    return error;
  }
  ADD_FAILURE() << "no HttpError for " << url;
  return HttpError(url, "");
}

TEST(HttpTest, AnswersAndFailures) {
  test::LocalHttpServer server;
  HttpSettings settings = ShortTimeouts();
  EXPECT_EQ(HttpGet(server.url("/plain"), settings), "hello");
  EXPECT_EQ(HttpGet(server.url("/redirect"), settings), "hello");
  HttpGet(server.url("/eutils/efetch.fcgi"), settings);
  EXPECT_EQ(server.requests().at(0).agent, "TESSEL/" TESSEL_VERSION);

  const std::string missing = server.url("/missing");
  const HttpError notFound = ErrorOf(missing, [&] { HttpGet(missing, settings); });
  EXPECT_EQ(notFound.status(), 404);
  EXPECT_NE(std::string(notFound.what()).find("HTTP 404"), std::string::npos);

  const std::string slow = server.url("/slow");
  const auto start = std::chrono::steady_clock::now();
  const HttpError timeout = ErrorOf(slow, [&] { HttpGet(slow, settings); });
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  EXPECT_EQ(timeout.status(), 0);
  EXPECT_NE(std::string(timeout.what()).find("timed out"), std::string::npos);

  ErrorOf("file:///etc/hostname", [&] { HttpGet("file:///etc/hostname", settings); });
  settings.maxBytes = 1000;
  ErrorOf(server.url("/large"), [&] { HttpGet(server.url("/large"), settings); });
  settings.maxBytes = 100'000;
  EXPECT_EQ(HttpGet(server.url("/large"), settings).size(), 100'000u);
  settings.maxRedirects = 0;
  EXPECT_EQ(ErrorOf(server.url("/redirect"), [&] { HttpGet(server.url("/redirect"), settings); })
                .status(),
            302);
}

TEST(HttpTest, GetToFileReplacesOnlyOnSuccess) {
  test::LocalHttpServer server;
  test::ScratchDir dir;
  const auto target = dir / "answer.txt";
  test::WriteFile(target, "earlier");
  EXPECT_THROW(HttpGetToFile(server.url("/missing"), target, ShortTimeouts()), HttpError);
  EXPECT_THROW(HttpGetToFile(server.url("/slow"), target, ShortTimeouts()), HttpError);
  EXPECT_EQ(test::ReadFile(target), "earlier");
  HttpGetToFile(server.url("/plain"), target, ShortTimeouts());
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
