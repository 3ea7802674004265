// Texts that many interactions repeat (types, locations, accessions, effects), each kept
// once in a pool and referred to by one pointer.
//
// A network of a million interactions holds ten such fields per interaction; as separate
// strings they took about 320 bytes an interaction, as pooled texts 80.
#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>

#include <absl/container/node_hash_set.h>

namespace tessel {

// A text held by a TextPool, read as a std::string_view or a const std::string&. The pool
// must outlive it (a Network keeps its pool for as long as any copy of it lives). A default
// PooledText is empty.
class PooledText {
 public:
  PooledText() = default;

  const std::string& str() const { return text_ != nullptr ? *text_ : Empty(); }
  operator const std::string&() const { return str(); }  // NOLINT: reads as a string
  operator std::string_view() const { return str(); }    // NOLINT

  bool empty() const { return str().empty(); }
  std::size_t size() const { return str().size(); }
  const char* data() const { return str().data(); }
  const char* c_str() const { return str().c_str(); }
  std::string::const_iterator begin() const { return str().begin(); }
  std::string::const_iterator end() const { return str().end(); }
  char operator[](std::size_t k) const { return str()[k]; }

  friend bool operator==(const PooledText& a, const PooledText& b) {
    return a.text_ == b.text_ || a.str() == b.str();
  }
  friend bool operator==(const PooledText& a, std::string_view b) { return a.str() == b; }
  friend bool operator==(const PooledText& a, const char* b) { return a.str() == b; }
  friend std::strong_ordering operator<=>(const PooledText& a, std::string_view b) {
    return std::string_view(a.str()) <=> b;
  }
  friend std::strong_ordering operator<=>(const PooledText& a, const PooledText& b) {
    return std::string_view(a.str()) <=> std::string_view(b.str());
  }
  friend std::string operator+(std::string a, const PooledText& b) { return a += b.str(); }
  friend std::string operator+(const PooledText& a, std::string_view b) {
    return a.str() + std::string(b);
  }
  friend std::ostream& operator<<(std::ostream& out, const PooledText& t) { return out << t.str(); }

 private:
  friend class TextPool;
  explicit PooledText(const std::string* text) : text_(text) {}
  static const std::string& Empty() {
    static const std::string empty;
    return empty;
  }

  const std::string* text_ = nullptr;
};

// Hash and equality for tables keyed by strings that are searched with string views,
// without building a string for each look-up.
struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view s) const noexcept {
    return absl::Hash<std::string_view>{}(s);
  }
};
struct TextEq {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const noexcept { return a == b; }
};

// Distinct texts, each stored once at a fixed address.
class TextPool {
 public:
  PooledText intern(std::string_view text) {
    auto it = texts_.find(text);
    if (it == texts_.end()) it = texts_.emplace(text).first;
    return PooledText(&*it);
  }
  std::size_t size() const { return texts_.size(); }

 private:
  absl::node_hash_set<std::string, TextHash, TextEq> texts_;
};

}  // namespace tessel
