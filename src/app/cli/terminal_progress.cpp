#include "app/cli/terminal_progress.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>

namespace tessel::cli {
namespace {

// Set by the signal handler; lock-free, so safe to touch there.
std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void OnInterrupt(int) {
  interrupted.store(true);
}

}  // namespace

void InstallInterruptHandlers() {
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  // The first signal asks for a clean stop; the default action is back for a second one.
  // Interrupted reads and writes are restarted, so a file being written is not failed by
  // the signal: the command stops at its next check instead.
  action.sa_flags = SA_RESETHAND | SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool InterruptRequested() {
  return interrupted.load();
}

TerminalProgress::TerminalProgress(bool enabled) : active_(enabled && isatty(STDERR_FILENO)) {}

TerminalProgress::~TerminalProgress() {
  finish();
}

void TerminalProgress::report(std::size_t done, std::size_t total, std::string_view text) {
  if (!active_) return;
  const auto now = std::chrono::steady_clock::now();
  if (shown_ && done < total && now - last_ < std::chrono::milliseconds(100)) return;
  last_ = now;
  const int percent =
      total == 0 ? 100
                 : static_cast<int>(100.0 * static_cast<double>(done) / static_cast<double>(total));
  std::fprintf(stderr, "\r\033[K%.*s %zu/%zu (%d%%)", static_cast<int>(text.size()), text.data(),
               done, total, percent);
  std::fflush(stderr);
  shown_ = true;
}

void TerminalProgress::finish() {
  if (!shown_) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  shown_ = false;
}

}  // namespace tessel::cli
