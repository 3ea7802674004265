// One loop over independent items on several threads, with the rules every parallel
// command follows (see the contract in util/progress.h).
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

#include "util/progress.h"

namespace tessel {

// The number of threads to use for a setting: 0 means one per hardware thread (at least 1).
unsigned ResolveThreads(unsigned threads);

class ParallelLoop;

// What a body running on a worker sees. As a Progress it shows nothing and reports
// cancelled() once the loop is stopping (the user cancelled, or another item failed), so
// long inner steps can give up early. `publish()` tells the calling thread that counts the
// body keeps have changed: the caller then runs the loop's `tick` to report them.
class ParallelWorker final : public Progress {
 public:
  ParallelWorker(ParallelLoop& loop, unsigned index) : loop_(loop), index_(index) {}
  // 0 .. threads-1: for per-worker scratch space.
  unsigned index() const { return index_; }
  void report(std::size_t, std::size_t, std::string_view) override {}
  bool cancelled() const override;
  void publish();

 private:
  ParallelLoop& loop_;
  unsigned index_;
};

struct ParallelHooks {
  // Called on the calling thread once per finished item, in the order they finish, with
  // the number of items finished so far.
  std::function<void(std::size_t index, std::size_t finished)> itemDone;
  // Called on the calling thread after a worker published, and about every 100 ms while
  // the loop runs: reports the counts the workers keep.
  std::function<void()> tick;
};

using ParallelBody = std::function<void(std::size_t index, ParallelWorker& worker)>;

// Runs body(index, worker) for every index in [0, n) on up to `threads` threads (0: all
// cores); with one thread or one item, on the calling thread. Only the calling thread
// touches `progress` and the hooks. Cancellation is checked before every item; the first
// exception other than Cancelled thrown by a body (or a hook) is rethrown once every worker
// has stopped, otherwise Cancelled is thrown if the loop was cancelled. Bodies store their
// results by index, so the results do not depend on the thread count.
void ParallelFor(std::size_t n, unsigned threads, Progress& progress, const ParallelBody& body,
                 const ParallelHooks& hooks = {});

// Runs fn(t) for t in [0, threads), t = 0 on the calling thread and the others on threads
// of their own, and rethrows the first exception once all are done.
template <typename Fn>
void OnThreads(unsigned threads, const Fn& fn) {
  if (threads <= 1) {
    fn(0u);
    return;
  }
  std::vector<std::exception_ptr> errors(threads);
  {
    std::vector<std::jthread> pool;  // joined when left
    pool.reserve(threads - 1);
    for (unsigned t = 1; t < threads; ++t) {
      pool.emplace_back([&, t] {
        try {
          fn(t);
        } catch (...) {
          errors[t] = std::current_exception();
        }
      });
    }
    try {
      fn(0u);
    } catch (...) {
      errors[0] = std::current_exception();
    }
  }
  for (const auto& e : errors) {
    if (e) std::rethrow_exception(e);
  }
}

}  // namespace tessel
