// File helpers: whole-file reads and writes that never leave a half-written file behind.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace tessel {

// Reads a whole file. Throws InputError for a missing file, a directory or a read error.
std::string ReadWholeFile(const std::filesystem::path& path);

// Creates a folder and its missing parents (an existing folder is fine); throws OutputError
// naming the folder when it cannot.
void CreateFolder(const std::filesystem::path& folder);

// Writes `content` to a temporary file beside `path` and renames it over `path`, so an
// existing file is replaced only by a complete new one. Creates missing parent folders.
// Throws OutputError on failure.
void WriteFileAtomically(const std::filesystem::path& path, std::string_view content);

}  // namespace tessel
