// Progress shown on a terminal: one line on stderr, redrawn at most ten times a second.
#pragma once

#include <chrono>
#include <string>

#include "util/progress.h"

namespace tessel::cli {

class TerminalProgress final : public Progress {
 public:
  // Shows nothing when `enabled` is false or stderr is not a terminal.
  explicit TerminalProgress(bool enabled);
  ~TerminalProgress() override;

  void report(std::size_t done, std::size_t total, std::string_view text) override;
  // Clears the progress line, if one is shown.
  void finish();

 private:
  bool active_;
  bool shown_ = false;
  std::chrono::steady_clock::time_point last_{};
};

}  // namespace tessel::cli
