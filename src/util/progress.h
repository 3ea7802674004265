// Progress reporting and cancellation for long computations.
//
// Rules for work spread over threads (ParallelFor in util/parallel.h keeps them):
// - Only the thread that called the command touches its Progress: report() and
//   cancelled() are never called from a worker. Workers publish what they count in
//   atomics or under their own lock; the calling thread reports it.
// - Cancellation is checked between items; a worker's long inner steps ask the loop
//   (which stops when the user cancels or another item fails), not the user's Progress.
// - The first real error wins over the Cancelled that other workers throw after it.
// - Results are stored by item index, so what is written does not depend on the thread
//   count or on which item finishes first.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "util/error.h"

namespace tessel {

class Progress {
 public:
  virtual ~Progress() = default;
  // `done` of `total` steps of the named task are finished.
  virtual void report(std::size_t done, std::size_t total, std::string_view text) = 0;
  virtual bool cancelled() const { return false; }
};

// Progress that shows nothing and is never cancelled.
class NullProgress final : public Progress {
 public:
  void report(std::size_t, std::size_t, std::string_view) override {}
};

// Passes cancellation through but shows nothing: for inner steps of a task that reports
// its own progress (for example one network among many analysed at once).
class SilentProgress final : public Progress {
 public:
  explicit SilentProgress(const Progress& outer) : outer_(outer) {}
  void report(std::size_t, std::size_t, std::string_view) override {}
  bool cancelled() const override { return outer_.cancelled(); }

 private:
  const Progress& outer_;
};

// Forwards to another progress under a fixed task name, whatever text the task reports.
class NamedProgress final : public Progress {
 public:
  NamedProgress(Progress& inner, std::string text) : inner_(inner), text_(std::move(text)) {}
  void report(std::size_t done, std::size_t total, std::string_view) override {
    inner_.report(done, total, text_);
  }
  bool cancelled() const override { return inner_.cancelled(); }

 private:
  Progress& inner_;
  std::string text_;
};

inline void ThrowIfCancelled(const Progress& progress) {
  if (progress.cancelled()) throw Cancelled();
}

}  // namespace tessel
