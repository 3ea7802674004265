#include "util/safe_name.h"

#include <cstdint>

namespace tessel {
namespace {

constexpr std::size_t kMaxLength = 200;  // file systems allow 255 bytes; leave room for extensions

constexpr std::uint64_t kFnvOffset = 14695981039346656037ull;

std::uint64_t Fnv1a(std::string_view s, std::uint64_t h = kFnvOffset) {
  for (unsigned char c : s) {
    h ^= c;
    h *= 1099511628211ull;
  }
  return h;
}

// Cuts a safe name to kMaxLength bytes, ending in "~" and the hash as 16 hex digits.
void CutWithHash(std::string& out, std::uint64_t hash) {
  static constexpr char kHex[] = "0123456789abcdef";
  out.resize(kMaxLength - 17);
  // Do not leave a cut escape sequence at the end.
  while (!out.empty() && out.back() == '_') out.pop_back();
  out += '~';
  for (int shift = 60; shift >= 0; shift -= 4) out += kHex[(hash >> shift) & 15];
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
  if (out.size() > kMaxLength) CutWithHash(out, Fnv1a(name));
  return out;
}

std::string SafePairFileName(std::string_view first, std::string_view joint,
                             std::string_view second) {
  std::string out = SafeFileName(first);
  out += joint;
  out += SafeFileName(second);
  if (out.size() > kMaxLength) {
    // The hash covers both whole names and where one ends, not just what is left of them.
    std::uint64_t hash = Fnv1a(first, kFnvOffset);
    hash = Fnv1a(std::string_view("\0", 1), hash);
    hash = Fnv1a(joint, hash);
    hash = Fnv1a(std::string_view("\0", 1), hash);
    CutWithHash(out, Fnv1a(second, hash));
  }
  return out;
}

}  // namespace tessel
