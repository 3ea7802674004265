// Hints to the kernel about large blocks of memory.
#pragma once

#include <cstddef>

namespace tessel {

// Asks for the block to be backed by 2 MiB pages where the kernel allows it (transparent
// huge pages in "madvise" mode, Debian's default). Loading a network of a million rows
// touches a few hundred MiB of fresh memory; with 4 KiB pages a third of the load time was
// the kernel handling page faults. Call before the block is first written. Does nothing for
// blocks under 4 MiB or where the hint is not supported.
void PreferHugePages(void* data, std::size_t bytes);

}  // namespace tessel
