#include "util/safe_name.h"

#include <cstdint>
#include <cstdio>

namespace tessel {
namespace {

constexpr std::size_t kMaxLength = 200;  // file systems allow 255 bytes; leave room for extensions

std::uint64_t Fnv1a(std::string_view s) {
  std::uint64_t h = 14695981039346656037ull;
  for (unsigned char c : s) {
    h ^= c;
    h *= 1099511628211ull;
  }
  return h;
}

}  // namespace

std::string SafeFileName(std::string_view name) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(name.size());
  for (std::size_t i = 0; i < name.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(name[i]);
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       c == '-' || (c == '.' && i > 0);
    if (plain) {
      out += static_cast<char>(c);
    } else if (c == '_') {
      out += "__";
    } else {
      out += '_';
      out += kHex[c >> 4];
      out += kHex[c & 15];
    }
  }
  if (out.empty()) out.push_back('_');
  if (out.size() > kMaxLength) {
    char hash[20];
    std::snprintf(hash, sizeof hash, "%016llx", static_cast<unsigned long long>(Fnv1a(name)));
    out.resize(kMaxLength - 17);
    // Do not leave a cut escape sequence at the end.
    while (!out.empty() && out.back() == '_') out.pop_back();
    out += "~";
    out += hash;
  }
  return out;
}

}  // namespace tessel
