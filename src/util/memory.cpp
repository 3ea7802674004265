#include "util/memory.h"

#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace tessel {

void PreferHugePages([[maybe_unused]] void* data, [[maybe_unused]] std::size_t bytes) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  constexpr std::uintptr_t kHuge = std::uintptr_t{2} << 20;
  if (data == nullptr || bytes < 2 * kHuge) return;
  const auto begin = reinterpret_cast<std::uintptr_t>(data);
  const std::uintptr_t first = (begin + kHuge - 1) & ~(kHuge - 1);
  const std::uintptr_t last = (begin + bytes) & ~(kHuge - 1);
  if (last > first) {
    // A refused hint only costs speed.
    madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
  }
#endif
}

void ReleasePages([[maybe_unused]] const void* data, [[maybe_unused]] std::size_t bytes) {
#if defined(__linux__) && defined(MADV_DONTNEED)
  const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  if (data == nullptr || page == 0 || bytes < 2 * page) return;
  const auto begin = reinterpret_cast<std::uintptr_t>(data);
  const std::uintptr_t first = (begin + page - 1) & ~(page - 1);
  const std::uintptr_t last = (begin + bytes) & ~(page - 1);
  if (last > first) madvise(reinterpret_cast<void*>(first), last - first, MADV_DONTNEED);
#endif
}

void PrefaultPages([[maybe_unused]] void* data, [[maybe_unused]] std::size_t bytes) {
#if defined(__linux__) && defined(MADV_POPULATE_WRITE)
  const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  if (data == nullptr || page == 0 || bytes < page) return;
  const auto begin = reinterpret_cast<std::uintptr_t>(data) & ~(page - 1);
  const auto end = reinterpret_cast<std::uintptr_t>(data) + bytes;
  // Older kernels refuse the request; the pages then come as they are written.
  madvise(reinterpret_cast<void*>(begin), end - begin, MADV_POPULATE_WRITE);
#endif
}

}  // namespace tessel
