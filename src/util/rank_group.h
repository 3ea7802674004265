// A group of cooperating processes ("ranks") that share one command: each computes its part
// of a loop, rank 0 collects the results and writes every file. The core sees only this
// interface; the one-process group below is the default, and the cluster build of the
// command line provides an MPI implementation. Collective calls (gather, broadcast) must be
// made by every rank in the same order, so a rank that fails must not skip them: work that
// can fail runs through RunAgreed or DistributedFor, which let all ranks stop together with
// the same error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "util/parallel.h"
#include "util/progress.h"

namespace tessel {

class RankGroup {
 public:
  virtual ~RankGroup() = default;
  virtual int rank() const = 0;  // 0 .. size()-1
  virtual int size() const = 0;
  bool lead() const { return rank() == 0; }
  // Every rank passes its blob; rank 0 receives all blobs in rank order, the others an
  // empty list.
  virtual std::vector<std::string> gather(std::string blob) = 0;
  // Rank 0's blob replaces `blob` on every other rank.
  virtual void broadcast(std::string& blob) = 0;
};

// The group of one process: gather returns the own blob, broadcast changes nothing.
class SingleRank final : public RankGroup {
 public:
  int rank() const override { return 0; }
  int size() const override { return 1; }
  std::vector<std::string> gather(std::string blob) override { return {std::move(blob)}; }
  void broadcast(std::string&) override {}
};

// Appends numbers and strings to a byte blob, read back in the same order by BlobReader.
// Numbers are copied as they lie in memory: the ranks of one run share one architecture.
class BlobWriter {
 public:
  void u64(std::uint64_t value);
  void f64(double value);
  void text(std::string_view value);
  std::string& blob() { return blob_; }

 private:
  std::string blob_;
};

class BlobReader {
 public:
  explicit BlobReader(std::string_view blob) : blob_(blob) {}
  std::uint64_t u64();
  double f64();
  std::string text();
  bool atEnd() const { return pos_ == blob_.size(); }

 private:
  void need(std::size_t bytes) const;
  std::string_view blob_;
  std::size_t pos_ = 0;
};

// Runs `work` on every rank. When it throws on any rank, every rank throws an Error with
// the category and message of the lowest failing rank (Cancelled stays Cancelled). With one
// rank, `work` runs as it is and its exception passes unchanged.
void RunAgreed(RankGroup& group, const std::function<void()>& work);

// Items [0, n) in contiguous blocks, one block per rank: the block of `rank`.
struct ItemRange {
  std::size_t first = 0;
  std::size_t last = 0;
};
ItemRange RankBlock(std::size_t n, int rank, int size);

// Runs body(item, worker) for the items [first, last), spread over the ranks in contiguous
// blocks and, within a rank, over `threads` threads (ParallelFor). On rank 0 returns the
// bodies' blobs in item order; other ranks get an empty list. Failures end every rank as
// RunAgreed says. `progress` is the calling rank's own.
using RankBody = std::function<std::string(std::size_t item, ParallelWorker& worker)>;
std::vector<std::string> DistributedFor(RankGroup& group, std::size_t first, std::size_t last,
                                        unsigned threads, Progress& progress, const RankBody& body,
                                        const ParallelHooks& hooks = {});

}  // namespace tessel
