// Progress shown on a terminal: one line on stderr, redrawn at most ten times a second.
// Ctrl-C (SIGINT) and SIGTERM cancel the running command through it.
#pragma once

#include <chrono>
#include <string>

#include "util/progress.h"

namespace tessel::cli {

// Installs handlers for SIGINT and SIGTERM that ask the running command to stop: every
// TerminalProgress reports cancelled() from then on. A second signal ends the program at
// once (the handler puts the default action back after the first).
void InstallInterruptHandlers();

// Whether SIGINT or SIGTERM arrived since the handlers were installed.
bool InterruptRequested();

class TerminalProgress final : public Progress {
 public:
  // Shows nothing when `enabled` is false or stderr is not a terminal.
  explicit TerminalProgress(bool enabled);
  ~TerminalProgress() override;

  void report(std::size_t done, std::size_t total, std::string_view text) override;
  bool cancelled() const override { return InterruptRequested(); }
  // Clears the progress line, if one is shown.
  void finish();

 private:
  bool active_;
  bool shown_ = false;
  std::chrono::steady_clock::time_point last_{};
};

}  // namespace tessel::cli
