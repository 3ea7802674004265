#include "app/gui/command_runner.h"

#include <chrono>
#include <exception>
#include <mutex>
#include <utility>

namespace tessel::gui {

// Forwards reports to the window. The core may report from several threads and very often
// (once per searched pair of molecules), so reports are serialised and thinned out: the
// first, one every 40 ms, and every report of a finished task get through.
class CommandRunner::ForwardingProgress final : public Progress {
 public:
  explicit ForwardingProgress(CommandRunner& runner) : runner_(runner) {}

  void report(std::size_t done, std::size_t total, std::string_view text) override {
    const auto now = std::chrono::steady_clock::now();
    std::lock_guard lock(mutex_);
    if (!first_ && done != total && now - last_ < std::chrono::milliseconds(40)) return;
    first_ = false;
    last_ = now;
    emit runner_.progressed(done, total,
                            QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
  }

  bool cancelled() const override {
    return runner_.cancellable_ && runner_.cancelRequested_.load(std::memory_order_relaxed);
  }

 private:
  CommandRunner& runner_;
  std::mutex mutex_;
  bool first_ = true;
  std::chrono::steady_clock::time_point last_{};
};

CommandRunner::CommandRunner(QObject* parent) : QObject(parent) {}

CommandRunner::~CommandRunner() {
  if (thread_ != nullptr) {
    cancelRequested_ = true;
    thread_->wait();
    delete thread_;
  }
}

bool CommandRunner::start(Job job, bool cancellable, QThread::Priority priority) {
  if (thread_ != nullptr) return false;
  cancellable_ = cancellable;
  cancelRequested_ = false;
  outcome_ = Outcome{};
  thread_ = QThread::create([this, job = std::move(job)] {
    ForwardingProgress progress(*this);
    Outcome outcome;
    try {
      outcome.completion = job(progress);
    } catch (const Cancelled&) {
      outcome.kind = Outcome::Kind::Cancelled;
    } catch (const std::exception& e) {
      outcome.kind = Outcome::Kind::Failed;
      outcome.error = QString::fromStdString(e.what());
    } catch (...) {
      outcome.kind = Outcome::Kind::Failed;
      outcome.error = QStringLiteral("unknown error");
    }
    outcome_ = std::move(outcome);
  });
  // Emitted by the worker thread as it ends; the connection queues it to this object's
  // thread, after the outcome was written.
  connect(thread_, &QThread::finished, this, &CommandRunner::threadFinished);
  thread_->start(priority);
  return true;
}

void CommandRunner::cancel() {
  if (running()) cancelRequested_ = true;
}

void CommandRunner::wait() {
  if (thread_ != nullptr) thread_->wait();
}

CommandRunner::Outcome CommandRunner::takeOutcome() {
  return std::exchange(outcome_, Outcome{});
}

void CommandRunner::threadFinished() {
  if (thread_ == nullptr) return;
  thread_->wait();
  thread_->deleteLater();
  thread_ = nullptr;
  emit ended();
}

}  // namespace tessel::gui
