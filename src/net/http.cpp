#include "net/http.h"

#include <curl/curl.h>

#include <climits>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>

#include "util/files.h"

namespace tessel {
namespace {

// libcurl's global state is set up once per process, before the first handle, and never
// torn down: handles may still be in use on worker threads when the program ends.
void InitCurlOnce() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

struct CurlDeleter {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
using CurlHandle = std::unique_ptr<CURL, CurlDeleter>;

CurlHandle NewHandle(const std::string& url) {
  InitCurlOnce();
  CurlHandle handle(curl_easy_init());
  if (!handle) throw HttpError(url, "cannot start the HTTP client");
  return handle;
}

// Collects the body and refuses it once it grows past the limit (counted after
// decompression, so a small compressed answer cannot expand without bound).
struct BodySink {
  std::string body;
  std::size_t maxBytes = 0;
  bool tooLarge = false;
};

std::size_t WriteBody(char* data, std::size_t size, std::size_t count, void* user) {
  auto* sink = static_cast<BodySink*>(user);
  const std::size_t bytes = size * count;
  if (bytes > sink->maxBytes - sink->body.size()) {
    sink->tooLarge = true;
    return 0;  // anything other than `bytes` makes libcurl abort the transfer
  }
  sink->body.append(data, bytes);
  return bytes;
}

std::string TooLargeReason(std::size_t maxBytes) {
  return "the answer is larger than the limit of " + std::to_string(maxBytes) + " bytes";
}

// A short reason for the common failures, then libcurl's own detail when it has one.
std::string TransportReason(CURLcode code, const char* detail) {
  std::string reason;
  switch (code) {
    case CURLE_OPERATION_TIMEDOUT:
      reason = "timed out";
      break;
    case CURLE_COULDNT_CONNECT:
      reason = "could not connect";
      break;
    case CURLE_COULDNT_RESOLVE_HOST:
      reason = "could not resolve the host name";
      break;
    case CURLE_TOO_MANY_REDIRECTS:
      reason = "too many redirects";
      break;
    case CURLE_UNSUPPORTED_PROTOCOL:
      reason = "only http and https addresses are supported";
      break;
    default:
      reason = curl_easy_strerror(code);
      break;
  }
  if (detail != nullptr && *detail != '\0') {
    std::string text(detail);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
    if (!text.empty() && text != reason) reason += " (" + text + ")";
  }
  return reason;
}

long ToCurlMillis(std::chrono::milliseconds ms) {
  if (ms.count() <= 0) return 0;  // libcurl reads 0 as "no limit" / its default
  return ms.count() > LONG_MAX ? LONG_MAX : static_cast<long>(ms.count());
}

std::string Fetch(const std::string& url, const HttpSettings& settings) {
  CurlHandle handle = NewHandle(url);
  CURL* curl = handle.get();
  BodySink sink;
  sink.maxBytes = settings.maxBytes;
  // libcurl's error buffer must be CURL_ERROR_SIZE bytes; it holds libcurl's message only.
  char errorText[CURL_ERROR_SIZE] = {};
  const std::string agent = UserAgent();

  curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, errorText);
  // Called from worker threads: no signals for DNS timeouts.
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, settings.maxRedirects > 0 ? 1L : 0L);
  curl_easy_setopt(curl, CURLOPT_MAXREDIRS, settings.maxRedirects > 0 ? settings.maxRedirects : 0L);
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, ToCurlMillis(settings.connectTimeout));
  curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, ToCurlMillis(settings.totalTimeout));
  curl_easy_setopt(curl, CURLOPT_USERAGENT, agent.c_str());
  curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, "");
  // Refuses a body announced as too large before any of it arrives.
  constexpr curl_off_t kLargest = std::numeric_limits<curl_off_t>::max();
  const curl_off_t maxFileSize = settings.maxBytes > static_cast<unsigned long long>(kLargest)
                                     ? kLargest
                                     : static_cast<curl_off_t>(settings.maxBytes);
  curl_easy_setopt(curl, CURLOPT_MAXFILESIZE_LARGE, maxFileSize);
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &WriteBody);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, &sink);

  const CURLcode code = curl_easy_perform(curl);
  if (sink.tooLarge || code == CURLE_FILESIZE_EXCEEDED) {
    throw HttpError(url, TooLargeReason(settings.maxBytes));
  }
  long status = 0;
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
  if (code != CURLE_OK) {
    throw HttpError(url, TransportReason(code, errorText), status);
  }
  if (status < 200 || status > 299) {
    throw HttpError(url, "HTTP " + std::to_string(status), status);
  }
  return std::move(sink.body);
}

}  // namespace

HttpError::HttpError(const std::string& url, const std::string& reason, long status)
    : Error(ErrorCategory::Network, url + ": " + reason), status_(status) {}

std::string HttpGet(const std::string& url, const HttpSettings& settings) {
  return Fetch(url, settings);
}

void HttpGetToFile(const std::string& url, const std::filesystem::path& path,
                   const HttpSettings& settings) {
  // The whole body is received before the file is touched, so a failed download leaves any
  // earlier file as it was.
  const std::string body = Fetch(url, settings);
  WriteFileAtomically(path, body);
}

std::string UserAgent() {
  return std::string("TESSEL/") + TESSEL_VERSION;
}

std::string UrlEncode(std::string_view text) {
  InitCurlOnce();
  std::string result;
  // curl_easy_escape takes an int length; very long texts are encoded in pieces.
  constexpr std::size_t kPiece = 1u << 20;
  for (std::size_t start = 0; start < text.size(); start += kPiece) {
    const std::string_view piece = text.substr(start, kPiece);
    char* escaped = curl_easy_escape(nullptr, piece.data(), static_cast<int>(piece.size()));
    if (escaped == nullptr) throw std::bad_alloc();
    result += escaped;
    curl_free(escaped);
  }
  return result;
}

}  // namespace tessel
