#include "util/rank_group.h"

#include <cstring>
#include <exception>

#include "util/error.h"

namespace tessel {

void BlobWriter::u64(std::uint64_t value) {
  blob_.append(reinterpret_cast<const char*>(&value), sizeof value);
}

void BlobWriter::f64(double value) {
  blob_.append(reinterpret_cast<const char*>(&value), sizeof value);
}

void BlobWriter::text(std::string_view value) {
  u64(value.size());
  blob_.append(value);
}

void BlobReader::need(std::size_t bytes) const {
  if (blob_.size() - pos_ < bytes) {
    throw std::runtime_error("a result sent between ranks is truncated");
  }
}

std::uint64_t BlobReader::u64() {
  need(sizeof(std::uint64_t));
  std::uint64_t value = 0;
  std::memcpy(&value, blob_.data() + pos_, sizeof value);
  pos_ += sizeof value;
  return value;
}

double BlobReader::f64() {
  need(sizeof(double));
  double value = 0;
  std::memcpy(&value, blob_.data() + pos_, sizeof value);
  pos_ += sizeof value;
  return value;
}

std::string BlobReader::text() {
  const std::uint64_t size = u64();
  need(size);
  std::string value(blob_.substr(pos_, size));
  pos_ += size;
  return value;
}

namespace {

// A rank's outcome: empty when it succeeded, else its error's category and message.
std::string StatusOfCurrentException() {
  BlobWriter out;
  out.u64(static_cast<std::uint64_t>(CategoryOfCurrent()));
  try {
    throw;
  } catch (const std::exception& e) {
    out.text(e.what());
  } catch (...) {
    out.text("unknown error");
  }
  return std::move(out.blob());
}

// Every rank learns the first failure in rank order and throws it.
void Agree(RankGroup& group, std::string status) {
  std::string first;
  for (std::string& s : group.gather(std::move(status))) {
    if (!s.empty()) {
      first = std::move(s);
      break;
    }
  }
  group.broadcast(first);
  if (first.empty()) return;
  BlobReader in(first);
  const auto category = static_cast<ErrorCategory>(in.u64());
  const std::string message = in.text();
  switch (category) {
    case ErrorCategory::Cancelled:
      throw Cancelled();
    case ErrorCategory::Usage:
      throw UsageError(message);
    default:
      throw Error(category, message);
  }
}

}  // namespace

void RunAgreed(RankGroup& group, const std::function<void()>& work) {
  if (group.size() == 1) {
    work();
    return;
  }
  std::string status;
  try {
    work();
  } catch (...) {
    status = StatusOfCurrentException();
  }
  Agree(group, std::move(status));
}

ItemRange RankBlock(std::size_t n, int rank, int size) {
  const auto r = static_cast<std::size_t>(rank);
  const auto s = static_cast<std::size_t>(size);
  return {n * r / s, n * (r + 1) / s};
}

std::vector<std::string> DistributedFor(RankGroup& group, std::size_t first, std::size_t last,
                                        unsigned threads, Progress& progress, const RankBody& body,
                                        const ParallelHooks& hooks) {
  const ItemRange block = RankBlock(last - first, group.rank(), group.size());
  std::vector<std::string> blobs(block.last - block.first);
  RunAgreed(group, [&] {
    ParallelFor(
        blobs.size(), threads, progress,
        [&](std::size_t k, ParallelWorker& worker) {
          blobs[k] = body(first + block.first + k, worker);
        },
        hooks);
  });
  if (group.size() == 1) return blobs;

  BlobWriter packed;
  for (const std::string& b : blobs) packed.text(b);
  std::vector<std::string>().swap(blobs);
  std::vector<std::string> all;
  // Blocks arrive in rank order, which is item order.
  for (const std::string& rankBlob : group.gather(std::move(packed.blob()))) {
    BlobReader in(rankBlob);
    while (!in.atEnd()) all.push_back(in.text());
  }
  if (group.lead() && all.size() != last - first) {
    throw std::runtime_error("the ranks returned " + std::to_string(all.size()) + " results for " +
                             std::to_string(last - first) + " items");
  }
  return all;
}

}  // namespace tessel
