#include "util/parallel.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <thread>
#include <vector>

namespace tessel {

// The state the workers and the calling thread share. Everything but `stop` and `next` is
// guarded by `mutex`.
class ParallelLoop {
 public:
  std::atomic<bool> stop{false};
  std::atomic<std::size_t> next{0};
  std::mutex mutex;
  std::condition_variable wake;
  std::vector<std::size_t> finished;  // items finished since the caller last looked
  bool published = false;
  unsigned running = 0;
  std::exception_ptr error;  // the first failure other than Cancelled
  bool workerCancelled = false;
  // On the calling thread alone (one thread, or one item): publish() ticks at once and
  // cancelled() asks the caller's progress.
  const std::function<void()>* inlineTick = nullptr;
  const Progress* inlineProgress = nullptr;

  void fail(std::exception_ptr e, bool isCancelled) {
    std::lock_guard lock(mutex);
    if (isCancelled) {
      workerCancelled = true;
    } else if (!error) {
      error = std::move(e);
    }
    stop = true;
  }
};

bool ParallelWorker::cancelled() const {
  if (loop_.inlineProgress != nullptr) return loop_.inlineProgress->cancelled();
  return loop_.stop.load(std::memory_order_relaxed);
}

void ParallelWorker::publish() {
  if (loop_.inlineTick != nullptr) {
    if (*loop_.inlineTick) (*loop_.inlineTick)();
    return;
  }
  {
    std::lock_guard lock(loop_.mutex);
    loop_.published = true;
  }
  loop_.wake.notify_one();
}

unsigned ResolveThreads(unsigned threads) {
  if (threads != 0) return threads;
  return std::max(1u, std::thread::hardware_concurrency());
}

namespace {

// Runs the items one after the other on the calling thread.
void RunInline(std::size_t n, Progress& progress, const ParallelBody& body,
               const ParallelHooks& hooks) {
  ParallelLoop loop;
  loop.inlineTick = &hooks.tick;
  loop.inlineProgress = &progress;
  ParallelWorker worker(loop, 0);
  for (std::size_t index = 0; index < n; ++index) {
    ThrowIfCancelled(progress);
    body(index, worker);
    if (hooks.itemDone) hooks.itemDone(index, index + 1);
    if (hooks.tick) hooks.tick();
  }
}

}  // namespace

void ParallelFor(std::size_t n, unsigned threads, Progress& progress, const ParallelBody& body,
                 const ParallelHooks& hooks) {
  ThrowIfCancelled(progress);
  if (n == 0) return;
  const auto workers = static_cast<unsigned>(std::min<std::size_t>(ResolveThreads(threads), n));
  if (workers <= 1) {
    RunInline(n, progress, body, hooks);
    return;
  }

  ParallelLoop loop;
  const auto work = [&](unsigned id) {
    ParallelWorker worker(loop, id);
    try {
      while (!loop.stop.load(std::memory_order_relaxed)) {
        const std::size_t index = loop.next.fetch_add(1);
        if (index >= n) break;
        body(index, worker);
        {
          std::lock_guard lock(loop.mutex);
          loop.finished.push_back(index);
        }
        loop.wake.notify_one();
      }
    } catch (const Cancelled&) {
      loop.fail(std::current_exception(), true);
    } catch (...) {
      loop.fail(std::current_exception(), false);
    }
    {
      std::lock_guard lock(loop.mutex);
      --loop.running;
    }
    loop.wake.notify_one();
  };

  std::vector<std::thread> pool;
  // Stops and joins the workers however this function is left (a hook may throw).
  struct Joiner {
    ParallelLoop& loop;
    std::vector<std::thread>& pool;
    ~Joiner() {
      loop.stop = true;
      for (std::thread& t : pool) t.join();
    }
  } joiner{loop, pool};
  pool.reserve(workers);
  for (unsigned id = 0; id < workers; ++id) {
    {
      std::lock_guard lock(loop.mutex);
      ++loop.running;
    }
    try {
      pool.emplace_back(work, id);
    } catch (...) {
      std::lock_guard lock(loop.mutex);
      --loop.running;
      if (!loop.error) loop.error = std::current_exception();
      loop.stop = true;
      break;
    }
  }

  bool cancelled = false;
  std::size_t finishedCount = 0;
  std::vector<std::size_t> finished;
  for (;;) {
    bool allStopped = false;
    {
      std::unique_lock lock(loop.mutex);
      loop.wake.wait_for(lock, std::chrono::milliseconds(100), [&] {
        return !loop.finished.empty() || loop.published || loop.running == 0;
      });
      finished.swap(loop.finished);
      loop.published = false;
      allStopped = loop.running == 0;
    }
    for (const std::size_t index : finished) {
      ++finishedCount;
      if (hooks.itemDone) hooks.itemDone(index, finishedCount);
    }
    finished.clear();
    if (hooks.tick) hooks.tick();
    if (!cancelled && progress.cancelled()) {
      cancelled = true;
      loop.stop = true;
    }
    if (allStopped) break;
  }
  for (std::thread& t : pool) t.join();
  pool.clear();
  if (loop.error) std::rethrow_exception(loop.error);
  if (cancelled || loop.workerCancelled) throw Cancelled();
}

}  // namespace tessel
