// File helpers: whole-file reads and writes that never leave a half-written file behind.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace tessel {

// Reads a whole file. Throws InputError for a missing file, a directory or a read error.
std::string ReadWholeFile(const std::filesystem::path& path);

// A whole file's bytes, for readers of large files. A regular file of some size is mapped
// into memory, which spares copying it and clearing fresh memory for it; other files are
// read with ReadWholeFile, whose errors apply. (A mapped file that another program cuts
// short while it is being read ends the program; networks are read once, right away.)
class FileText {
 public:
  explicit FileText(const std::filesystem::path& path);
  ~FileText();
  FileText(const FileText&) = delete;
  FileText& operator=(const FileText&) = delete;

  std::string_view view() const { return view_; }
  // Gives back the memory of a part of view() that will not be read again.
  void releasePart(std::string_view part);
  // Gives back all of it; view() is empty afterwards.
  void release();

 private:
  std::string read_;
  void* mapped_ = nullptr;
  std::size_t mappedSize_ = 0;
  std::string_view view_;
};

// Creates a folder and its missing parents (an existing folder is fine); throws OutputError
// naming the folder when it cannot.
void CreateFolder(const std::filesystem::path& folder);

// Writes `content` to a new temporary file beside `path` and renames it over `path`, so an
// existing file is replaced only by a complete new one. Creates missing parent folders.
//
// The temporary file is created exclusively (O_EXCL, O_NOFOLLOW) under a random name that
// starts with kTemporaryPrefix, so a file or link planted in a shared folder is never
// followed or overwritten; it gets the mode of the file it replaces, else 0666 less the
// umask. A replaced file's new content is flushed to disk before the rename. The target
// must be a regular file when it exists: a device, a folder, a FIFO or a socket is refused
// ("PATH is not a regular file"). A symbolic link to a regular file is written through:
// the file it points to is replaced and the link stays; a link to nothing is refused.
// Throws OutputError on failure, after removing its temporary file.
void WriteFileAtomically(const std::filesystem::path& path, std::string_view content);

// Temporary files of WriteFileAtomically are named kTemporaryPrefix + 12 random letters and
// digits + "-" + the target's name (cut so that the whole stays within 255 bytes), so those
// left behind by a killed run are recognisable.
inline constexpr std::string_view kTemporaryPrefix = ".tessel-tmp-";

// Why `path` cannot be an output file named by the user, or "" when it can: it must be an
// existing regular file (or a link to one), or a new name in an existing folder; with
// `folderMayBeCreated` the folder may also be missing (it is created when writing).
std::string OutputPathProblem(const std::filesystem::path& path, bool folderMayBeCreated = false);

}  // namespace tessel
