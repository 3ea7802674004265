// File names made from molecule names.
#pragma once

#include <string>
#include <string_view>

namespace tessel {

// A file name (without extension) for a molecule name: letters, digits, "-" and "." (not
// leading) are kept, "_" becomes "__" and every other byte "_HH" (hex), so the mapping is
// stable and collision-free and the result holds no path separator, no "..", no control
// character. Very long names are cut and end in a hash of the whole name.
std::string SafeFileName(std::string_view name);

// A file name (without extension) for a pair of molecules: SafeFileName(first) + joint +
// SafeFileName(second), e.g. "EGF_TO_ERK1_2F2". When that would be longer than a single
// safe name may be (so that with an extension it would pass the 255-byte limit of file
// names), it is cut and ends in "~" and a hash of the whole pair, which keeps it distinct.
std::string SafePairFileName(std::string_view first, std::string_view joint,
                             std::string_view second);

}  // namespace tessel
