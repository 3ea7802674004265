#include "model/piece_reading.h"

#include <condition_variable>
#include <exception>
#include <optional>

#include "util/memory.h"

namespace tessel::pieces {

NameEntry* SharedNames::find(const Key& key, std::string_view usual) {
  const std::string_view name = key.name;
  Shard& shard = shards_[key.hash >> (64 - kShardBits)];
  std::unique_lock lock(shard.lock, std::defer_lock);
  if (concurrent_) lock.lock();
  const auto it = shard.entries.find(key);
  if (it != shard.entries.end()) return it->entry;
  Slot slot{shard.make(name, usual, key.hash), kLong, {}};
  if (name.size() < kLong) {
    slot.size = static_cast<std::uint8_t>(name.size());
    std::copy(name.begin(), name.end(), slot.head.begin());
  }
  shard.entries.insert(slot);
  return slot.entry;
}

NameEntry* SharedNames::Shard::make(std::string_view name, std::string_view usual,
                                    std::size_t hash) {
  const std::size_t slots =
      1 + (name.size() + usual.size() + sizeof(NameEntry) - 1) / sizeof(NameEntry);
  if (capacity - used < slots) {
    // Blocks grow from small ones, for the many small networks read by shuffles.
    capacity = std::max(slots, std::clamp<std::size_t>(2 * capacity, 16, kBlockEntries));
    blocks.push_back(std::make_unique<NameEntry[]>(capacity));
    used = 0;
  }
  NameEntry* entry = blocks.back().get() + used;
  used += slots;
  entry->hash = hash;
  entry->nameSize = static_cast<std::uint32_t>(name.size());
  entry->usualSize = static_cast<std::uint32_t>(usual.size());
  char* text = reinterpret_cast<char*>(entry + 1);
  std::copy(usual.begin(), usual.end(), text);
  std::copy(name.begin(), name.end(), text + usual.size());
  return entry;
}

std::vector<std::string_view> CutIntoPieces(std::string_view text, std::size_t size) {
  std::vector<std::string_view> pieces;
  while (!text.empty()) {
    std::size_t end = text.size();
    if (text.size() > size) {
      const std::size_t lineEnd = text.find('\n', size);
      end = lineEnd == std::string_view::npos ? text.size() : lineEnd + 1;
    }
    pieces.push_back(text.substr(0, end));
    text.remove_prefix(end);
  }
  return pieces;
}

std::size_t PieceSize(std::size_t textSize, unsigned threads, std::size_t largest) {
  largest = std::clamp<std::size_t>(largest, std::size_t{1} << 16, std::size_t{1} << 22);
  return std::clamp<std::size_t>(textSize / (8 * static_cast<std::size_t>(threads)) + 1,
                                 std::size_t{1} << 16, largest);
}

void PrefaultShare(std::span<std::byte> block, std::string_view text, std::string_view piece) {
  if (text.empty()) return;
  const auto at = [&](const char* p) {  // in floating point: the product may not fit
    return std::min(block.size(), static_cast<std::size_t>(static_cast<double>(block.size()) *
                                                           static_cast<double>(p - text.data()) /
                                                           static_cast<double>(text.size())));
  };
  const std::size_t from = at(piece.data());
  PrefaultPages(block.data() + from, at(piece.data() + piece.size()) - from);
}

void ScanAndAddInOrder(std::size_t pieces, unsigned threads,
                       const std::function<void(std::size_t)>& scan,
                       const std::function<void(std::size_t)>& add) {
  if (threads <= 1 || pieces <= 1) {
    for (std::size_t k = 0; k < pieces; ++k) {
      scan(k);
      add(k);
    }
    return;
  }
  const std::size_t window = 2 * static_cast<std::size_t>(threads);
  std::vector<char> scanned(pieces, 0);
  std::mutex mutex;
  std::condition_variable changed;
  std::size_t next = 0, added = 0;
  bool stop = false;
  std::exception_ptr failure;
  // Scans the next piece if one may be taken; called with `lock` held.
  const auto scanNext = [&](std::unique_lock<std::mutex>& lock) {
    if (stop || next >= pieces || next >= added + window) return false;
    const std::size_t k = next++;
    lock.unlock();
    std::exception_ptr error;
    try {
      scan(k);
    } catch (...) {
      error = std::current_exception();
    }
    lock.lock();
    if (error && !failure) failure = error;
    if (error) stop = true;
    scanned[k] = 1;
    changed.notify_all();
    return true;
  };
  const auto scanner = [&] {
    std::unique_lock lock(mutex);
    while (!stop && next < pieces) {
      if (!scanNext(lock)) changed.wait(lock);
    }
  };
  std::vector<std::jthread> workers;
  const std::size_t scanners = std::min<std::size_t>(threads - 1, pieces);
  for (std::size_t t = 0; t < scanners; ++t) workers.emplace_back(scanner);
  const auto finish = [&] {
    {
      std::lock_guard lock(mutex);
      stop = true;
    }
    changed.notify_all();
    workers.clear();
  };
  try {
    for (std::size_t k = 0; k < pieces; ++k) {
      {
        // While its next piece is being scanned, the adding thread scans a later one.
        std::unique_lock lock(mutex);
        while (!scanned[k] && failure == nullptr) {
          if (!scanNext(lock)) changed.wait(lock);
        }
        if (failure) std::rethrow_exception(failure);
      }
      add(k);
      {
        std::lock_guard lock(mutex);
        added = k + 1;
      }
      changed.notify_all();
    }
  } catch (...) {
    finish();
    throw;
  }
  finish();
}

}  // namespace tessel::pieces
