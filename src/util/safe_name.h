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

}  // namespace tessel
