#include "util/files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>

#include "util/error.h"

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

void CreateFolder(const fs::path& folder) {
  std::error_code ec;
  fs::create_directories(folder, ec);
  if (ec) throw OutputError(folder.string() + ": cannot create folder: " + ec.message());
}

void WriteFileAtomically(const fs::path& path, std::string_view content) {
  const fs::path parent = path.has_parent_path() ? path.parent_path() : fs::path(".");
  CreateFolder(parent);
  std::error_code ec;

  std::random_device rd;
  const fs::path temp =
      parent / ("." + path.filename().string() + ".tmp" + std::to_string(rd() % 1000000));
  {
    std::ofstream out(temp, std::ios::binary | std::ios::trunc);
    if (!out) {
      throw OutputError(path.string() + ": cannot write: " + std::strerror(errno));
    }
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.flush();
    if (!out) {
      out.close();
      fs::remove(temp, ec);
      throw OutputError(path.string() + ": write failed (disk full?)");
    }
  }
  fs::rename(temp, path, ec);
  if (ec) {
    std::error_code ignored;
    fs::remove(temp, ignored);
    throw OutputError(path.string() + ": cannot replace: " + ec.message());
  }
}

}  // namespace tessel
