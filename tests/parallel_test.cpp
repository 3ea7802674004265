// The shared parallel loop: results by index, cancellation, which error wins, and that only
// the calling thread touches the progress.
#include "util/parallel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

#include "util/error.h"

namespace tessel {
namespace {

// Cancels after `cancelAfter` reports; fails the test if touched from another thread.
class CallerOnlyProgress final : public Progress {
 public:
  explicit CallerOnlyProgress(std::size_t cancelAfter = SIZE_MAX) : cancelAfter_(cancelAfter) {}
  void report(std::size_t done, std::size_t, std::string_view) override {
    EXPECT_EQ(std::this_thread::get_id(), owner_);
    reports.push_back(done);
  }
  bool cancelled() const override {
    EXPECT_EQ(std::this_thread::get_id(), owner_);
    return reports.size() >= cancelAfter_;
  }
  std::vector<std::size_t> reports;

 private:
  std::size_t cancelAfter_;
  std::thread::id owner_ = std::this_thread::get_id();
};

TEST(ParallelFor, ResultsByIndexWhateverTheThreadCount) {
  EXPECT_GE(ResolveThreads(0), 1u);
  EXPECT_EQ(ResolveThreads(3), 3u);
  constexpr std::size_t n = 500;
  std::vector<std::uint64_t> first;
  for (const unsigned threads : {1u, 2u, 3u, 4u, 0u}) {
    SCOPED_TRACE(threads);
    CallerOnlyProgress progress;
    std::vector<std::uint64_t> out(n);
    std::atomic<std::size_t> published{0};
    std::size_t ticked = 0;
    std::vector<bool> seen(n);
    ParallelFor(n, threads, progress,
                [&](std::size_t k, ParallelWorker& worker) {
                  EXPECT_LT(worker.index(), std::max(ResolveThreads(threads), 1u));
                  std::uint64_t x = k + 1;
                  for (int r = 0; r < 1000; ++r)
                    x = x * 6364136223846793005u + 1442695040888963407u;
                  out[k] = x;
                  ++published;
                  worker.publish();
                },
                {.itemDone =
                     [&](std::size_t k, std::size_t finished) {
                       EXPECT_FALSE(seen[k]);
                       seen[k] = true;
                       progress.report(finished, n, "items");
                     },
                 .tick = [&] { ticked = published.load(); }});
    EXPECT_EQ(ticked, n);  // the last tick sees every published count
    ASSERT_EQ(progress.reports.size(), n);
    for (std::size_t k = 0; k < n; ++k) EXPECT_EQ(progress.reports[k], k + 1);
    if (first.empty()) first = out;
    EXPECT_EQ(out, first);
  }
}

TEST(ParallelFor, CancelStopsPartWayAndAFailureWinsOverCancel) {
  constexpr std::size_t n = 10000;
  for (const unsigned threads : {1u, 4u}) {
    SCOPED_TRACE(threads);
    // Cancelled after 20 items: the loop stops long before the end.
    CallerOnlyProgress cancelling(20);
    std::atomic<std::size_t> ran{0};
    const auto slow = [&](std::size_t, ParallelWorker& worker) {
      ++ran;
      // A long inner step that gives up when the loop stops.
      for (int i = 0; i < 200 && !worker.cancelled(); ++i) {
        std::this_thread::sleep_for(std::chrono::microseconds(50));
      }
      ThrowIfCancelled(worker);
    };
    EXPECT_THROW(
        ParallelFor(
            n, threads, cancelling, slow,
            {.itemDone = [&](std::size_t, std::size_t done) { cancelling.report(done, n, "x"); },
             .tick = {}}),
        Cancelled);
    EXPECT_LT(ran.load(), n / 10);

    // Item 0 fails once the user has cancelled (or after a while, on one thread): the
    // failure is what the caller sees, not Cancelled.
    CallerOnlyProgress alsoCancelling(1);
    try {
      ParallelFor(
          n, threads, alsoCancelling,
          [&](std::size_t k, ParallelWorker& worker) {
            if (k != 0) return slow(k, worker);
            for (int i = 0; i < 500 && !worker.cancelled(); ++i) {
              std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            throw OutputError("disk full");
          },
          {.itemDone = [&](std::size_t, std::size_t done) { alsoCancelling.report(done, n, "x"); },
           .tick = {}});
      ADD_FAILURE() << "no exception";
    } catch (const OutputError& e) {
      EXPECT_STREQ(e.what(), "disk full");
    }
    if (threads > 1) {
      EXPECT_GE(alsoCancelling.reports.size(), 1u);
    }  // cancelled first
  }
  // Cancelled before the first item: nothing runs.
  CallerOnlyProgress already(0);
  bool ran = false;
  EXPECT_THROW(ParallelFor(5, 2, already, [&](std::size_t, ParallelWorker&) { ran = true; }),
               Cancelled);
  EXPECT_FALSE(ran);
}

TEST(Errors, CategoriesAndExitStatuses) {
  const auto statusOf = [](const std::exception& e) { return ExitStatusOf(CategoryOf(e)); };
  EXPECT_EQ(statusOf(UsageError("x")), 2);
  EXPECT_EQ(statusOf(std::invalid_argument("x")), 2);
  EXPECT_EQ(statusOf(Cancelled()), 130);
  EXPECT_EQ(statusOf(InputError("a.sig", 3, "bad")), 1);
  EXPECT_EQ(statusOf(OutputError("x")), 1);
  EXPECT_EQ(statusOf(RenderError("x")), 1);
  EXPECT_EQ(statusOf(std::runtime_error("x")), 1);
  EXPECT_EQ(CategoryOf(RenderError("x")), ErrorCategory::Render);
  EXPECT_EQ(ErrorCategoryName(CategoryOf(InputError("a.sig", 3, "bad"))), "input");
  EXPECT_STREQ(InputError("a.sig", 3, "bad").what(), "a.sig:3: bad");
}

}  // namespace
}  // namespace tessel
