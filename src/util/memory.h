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

// Gives the whole pages inside the block back to the system: the block stays allocated, but
// its contents are lost (they read as zeros). For a large buffer read once from start to
// end, such as a file's text whose rows have been taken, so that the memory in use falls
// as the reading goes on. Does nothing where not supported.
void ReleasePages(const void* data, std::size_t bytes);

// Has the kernel supply the block's pages now, as if they had been written, without
// changing what they hold. Safe to call from one thread while another writes the block
// (the kernel does the work, not the program), so that a writer following behind finds
// its pages ready. Does nothing where not supported.
void PrefaultPages(void* data, std::size_t bytes);

}  // namespace tessel
