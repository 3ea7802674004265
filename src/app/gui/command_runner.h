// Runs one long command at a time on a worker thread. The command reports progress through
// a tessel::Progress whose reports reach the window as queued signals and whose cancelled()
// reads a flag that the window's Cancel button sets. When the command has finished, the
// window takes its outcome: what to do next on the window's thread, or why it failed.
#pragma once

#include <QObject>
#include <QString>
#include <QThread>
#include <atomic>
#include <functional>

#include "util/progress.h"

namespace tessel::gui {

class CommandRunner : public QObject {
  Q_OBJECT

 public:
  // What the window does once the command succeeded; runs on the window's thread.
  using Completion = std::function<void()>;
  // The command itself; runs on the worker thread and may throw.
  using Job = std::function<Completion(Progress&)>;

  struct Outcome {
    enum class Kind { Succeeded, Cancelled, Failed };
    Kind kind = Kind::Succeeded;
    QString error;          // Failed: the exception's message
    Completion completion;  // Succeeded: may be empty
  };

  explicit CommandRunner(QObject* parent = nullptr);
  // Asks a running command to stop and waits for its thread.
  ~CommandRunner() override;

  // Starts `job` on a new thread; false when a command is running already. A job that
  // cannot stop early (`cancellable` false) ignores cancel().
  bool start(Job job, bool cancellable = true,
             QThread::Priority priority = QThread::InheritPriority);

  bool running() const { return thread_ != nullptr; }
  bool cancellable() const { return running() && cancellable_; }
  // Asks the running command to stop at its next check.
  void cancel();
  // Blocks until the running command's thread has ended; its outcome is still delivered
  // through ended() by the event loop.
  void wait();

  // The outcome of the command that ended; call once per ended().
  Outcome takeOutcome();

 signals:
  // `done` of `total` steps (total 0: unknown) of the task named by `text`.
  void progressed(qulonglong done, qulonglong total, const QString& text);
  // The command's thread has ended; takeOutcome() tells how.
  void ended();

 private:
  class ForwardingProgress;

  void threadFinished();

  QThread* thread_ = nullptr;
  bool cancellable_ = true;
  std::atomic<bool> cancelRequested_{false};
  Outcome outcome_;  // written by the worker thread before it ends
};

}  // namespace tessel::gui
