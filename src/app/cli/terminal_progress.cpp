#include "app/cli/terminal_progress.h"

#include <unistd.h>

#include <cstdio>

namespace tessel::cli {

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
