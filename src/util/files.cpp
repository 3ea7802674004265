#include "util/files.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>

#include "util/error.h"
#include "util/memory.h"

namespace tessel {
namespace fs = std::filesystem;

std::string ReadWholeFile(const fs::path& path) {
  std::error_code ec;
  const auto status = fs::status(path, ec);
  if (ec || !fs::exists(status)) throw InputError(path.string(), 0, "no such file");
  if (fs::is_directory(status)) throw InputError(path.string(), 0, "is a directory, not a file");
  std::ifstream in(path, std::ios::binary);
  if (!in) throw InputError(path.string(), 0, std::string("cannot open: ") + std::strerror(errno));
  // One sized read: networks of a million rows are about 100 MB.
  std::string content;
  const auto size = fs::file_size(path, ec);
  if (!ec && size > 0) {
    content.reserve(static_cast<std::size_t>(size));
    PreferHugePages(content.data(), content.capacity());
    content.resize(static_cast<std::size_t>(size));
    in.read(content.data(), static_cast<std::streamsize>(size));
    content.resize(static_cast<std::size_t>(in.gcount()));
  }
  // Whatever is there beyond the size first seen (a growing file, a pipe) is read too.
  char buffer[65536];
  while (in.read(buffer, sizeof buffer) || in.gcount() > 0) {
    content.append(buffer, static_cast<std::size_t>(in.gcount()));
  }
  if (in.bad()) throw InputError(path.string(), 0, "read error");
  return content;
}

FileText::FileText(const fs::path& path) {
  // Small files are read: mapping only pays for itself on large ones.
  constexpr std::size_t kMapFrom = std::size_t{1} << 22;
  std::error_code ec;
  const auto status = fs::status(path, ec);
  if (!ec && fs::is_regular_file(status)) {
    const auto size = fs::file_size(path, ec);
    const int fd = ec || size < kMapFrom ? -1 : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
      struct stat info {};
      if (fstat(fd, &info) == 0 && S_ISREG(info.st_mode) &&
          static_cast<std::size_t>(info.st_size) >= kMapFrom) {
        const auto bytes = static_cast<std::size_t>(info.st_size);
        void* data = mmap(nullptr, bytes, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
        if (data != MAP_FAILED) {
          mapped_ = data;
          mappedSize_ = bytes;
          view_ = {static_cast<const char*>(data), bytes};
        }
      }
      close(fd);
    }
  }
  if (mapped_ == nullptr) {
    read_ = ReadWholeFile(path);
    view_ = read_;
  }
}

FileText::~FileText() {
  release();
}

void FileText::releasePart(std::string_view part) {
  ReleasePages(part.data(), part.size());
}

void FileText::release() {
  if (mapped_ != nullptr) munmap(mapped_, mappedSize_);
  mapped_ = nullptr;
  mappedSize_ = 0;
  std::string().swap(read_);
  view_ = {};
}

void CreateFolder(const fs::path& folder) {
  std::error_code ec;
  fs::create_directories(folder, ec);
  if (ec) throw OutputError(folder.string() + ": cannot create folder: " + ec.message());
}

namespace {

constexpr std::size_t kMaxFileName = 255;  // bytes in one file name on common file systems

std::string SystemMessage(int error) {
  return std::strerror(error);
}

// A name for a temporary file beside `target`: the prefix, random letters and digits, and
// as much of the target's name as fits.
std::string TemporaryName(const std::string& target) {
  static constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
  thread_local std::mt19937_64 generator{std::random_device{}()};
  std::string name(kTemporaryPrefix);
  for (int k = 0; k < 12; ++k) name += kLetters[generator() % (sizeof kLetters - 1)];
  name += '-';
  name += target.substr(0, std::min(target.size(), kMaxFileName - name.size()));
  return name;
}

// Writes all of `content` to `fd`, resuming after interruptions and partial writes.
bool WriteAll(int fd, std::string_view content) {
  while (!content.empty()) {
    const ssize_t n = ::write(fd, content.data(), content.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    content.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

// The file to replace for `path`: the path itself, or for a symbolic link the regular file
// it points to. Throws OutputError when that is something else or the link leads nowhere.
// `existing` tells whether there is a file to replace, `mode` its permission bits.
fs::path ResolveTarget(const fs::path& path, bool& existing, mode_t& mode) {
  existing = false;
  struct stat link {};
  if (::lstat(path.c_str(), &link) != 0) {
    if (errno == ENOENT) return path;
    throw OutputError(path.string() + ": cannot write: " + SystemMessage(errno));
  }
  struct stat info = link;
  if (S_ISLNK(link.st_mode) && ::stat(path.c_str(), &info) != 0) {
    throw OutputError(path.string() + " is a symbolic link to a missing file");
  }
  if (!S_ISREG(info.st_mode)) throw OutputError(path.string() + " is not a regular file");
  existing = true;
  mode = info.st_mode & 07777;
  if (!S_ISLNK(link.st_mode)) return path;
  std::error_code ec;
  fs::path resolved = fs::canonical(path, ec);
  if (ec) throw OutputError(path.string() + ": cannot follow the link: " + ec.message());
  return resolved;
}

}  // namespace

void WriteFileAtomically(const fs::path& path, std::string_view content) {
  if (!path.has_filename()) throw OutputError(path.string() + " is not a regular file");
  const fs::path parent = path.has_parent_path() ? path.parent_path() : fs::path(".");
  CreateFolder(parent);

  bool existing = false;
  mode_t mode = 0;
  const fs::path target = ResolveTarget(path, existing, mode);
  const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");

  // A new, exclusively created file: never an existing file or a link someone planted.
  fs::path temp;
  int fd = -1;
  for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
    temp = folder / TemporaryName(target.filename().string());
    fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (fd < 0 && errno != EEXIST) {
      throw OutputError(path.string() + ": cannot write: " + SystemMessage(errno));
    }
  }
  if (fd < 0) throw OutputError(path.string() + ": cannot create a temporary file");

  const auto fail = [&](const std::string& what, int error) {
    if (fd >= 0) ::close(fd);
    ::unlink(temp.c_str());
    throw OutputError(path.string() + ": " + what + ": " + SystemMessage(error));
  };
  // A replaced file keeps its permissions (where the file system has any).
  if (existing) (void)::fchmod(fd, mode);
  if (!WriteAll(fd, content)) fail("write failed", errno);
  // Flushed before the rename, so that a crash cannot leave an empty file in place of the
  // old one. A new file has nothing to lose, and many pages are written in a row.
  if (existing && ::fsync(fd) != 0) fail("write failed", errno);
  const int closed = ::close(fd);
  fd = -1;
  if (closed != 0) fail("write failed", errno);
  if (::rename(temp.c_str(), target.c_str()) != 0) fail("cannot replace", errno);
}

std::string OutputPathProblem(const fs::path& path, bool folderMayBeCreated) {
  if (path.empty()) return "no output file given";
  if (!path.has_filename()) return path.string() + " is not a regular file";
  std::error_code ec;
  const fs::file_status link = fs::symlink_status(path, ec);
  if (fs::exists(link)) {
    const fs::file_status status = fs::status(path, ec);
    if (fs::is_symlink(link) && !fs::exists(status)) {
      return path.string() + " is a symbolic link to a missing file";
    }
    return fs::is_regular_file(status) ? "" : path.string() + " is not a regular file";
  }
  const fs::path parent = path.has_parent_path() ? path.parent_path() : fs::path(".");
  const fs::file_status folder = fs::status(parent, ec);
  if (fs::is_directory(folder)) return "";
  if (fs::exists(folder)) return parent.string() + " is not a folder";
  if (folderMayBeCreated) return "";
  return "the folder " + parent.string() + " does not exist";
}

}  // namespace tessel
