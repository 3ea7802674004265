// HTTP(S) downloads on libcurl: timeouts, status codes checked, a size limit, redirects
// followed, and the user agent "TESSEL/<version>".
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "util/error.h"

namespace tessel {

struct HttpSettings {
  std::chrono::milliseconds connectTimeout{10'000};
  std::chrono::milliseconds totalTimeout{60'000};
  std::size_t maxBytes = 512u << 20;  // a larger body is refused
  long maxRedirects = 5;
};

// A download that failed: no connection, a timeout, a status other than 2xx, a body over
// the size limit. The message names the URL and the reason ("HTTP 404", "timed out", ...).
class HttpError : public Error {
 public:
  HttpError(const std::string& url, const std::string& reason, long status = 0);
  long status() const { return status_; }  // the HTTP status, 0 when none was received

 private:
  long status_;
};

// GET `url` and return the body. Throws HttpError.
std::string HttpGet(const std::string& url, const HttpSettings& settings = {});

// GET `url` into `path`, written atomically: an earlier file is replaced only by a
// complete download. Throws HttpError or OutputError.
void HttpGetToFile(const std::string& url, const std::filesystem::path& path,
                   const HttpSettings& settings = {});

// The user agent sent with every request: "TESSEL/<version>".
std::string UserAgent();

// Percent-encodes a query value.
std::string UrlEncode(std::string_view text);

}  // namespace tessel
