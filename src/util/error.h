// Errors reported to the user. Every failure the program reports is an Error of one
// category, so that each face (command line, window) can decide what to do with it: the
// command line turns the category into its exit status, the window into its message box.
#pragma once

#include <cstddef>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tessel {

enum class ErrorCategory {
  Usage,      // settings or options that cannot work, found before anything is written
  Input,      // a file read is not what it should be (names the file and line)
  Output,     // a file could not be written; nothing at the destination was replaced
  Network,    // a download failed
  Render,     // a drawing could not be laid out or rendered
  Cancelled,  // the user stopped the command
};

// "usage", "input", "output", "network", "render" or "cancelled".
std::string_view ErrorCategoryName(ErrorCategory category);

class Error : public std::runtime_error {
 public:
  Error(ErrorCategory category, const std::string& message)
      : std::runtime_error(message), category_(category) {}
  ErrorCategory category() const { return category_; }

 private:
  ErrorCategory category_;
};

// Settings that cannot work; found before anything is written.
class UsageError : public Error {
 public:
  explicit UsageError(const std::string& message) : Error(ErrorCategory::Usage, message) {}
};

class InputError : public Error {
 public:
  InputError(std::string file, std::size_t line, std::string message);

  const std::string& file() const { return file_; }
  std::size_t line() const { return line_; }  // 0 when the problem is not on one line
  const std::string& message() const { return message_; }

 private:
  std::string file_;
  std::size_t line_;
  std::string message_;
};

// A failure to write an output file; nothing at the destination was replaced.
class OutputError : public Error {
 public:
  explicit OutputError(const std::string& message) : Error(ErrorCategory::Output, message) {}
};

// A drawing that Graphviz could not lay out or render; the message carries its words.
class RenderError : public Error {
 public:
  explicit RenderError(const std::string& message) : Error(ErrorCategory::Render, message) {}
};

// Thrown by long computations when their Progress reports cancellation.
class Cancelled : public Error {
 public:
  Cancelled() : Error(ErrorCategory::Cancelled, "cancelled") {}
};

// The category of any exception: an Error's own; std::invalid_argument (a setting out of
// range or a name that means nothing) is a usage error; anything else counts as input.
ErrorCategory CategoryOf(const std::exception& error);

// The category of the exception being handled; call inside a catch block.
ErrorCategory CategoryOfCurrent();

// Exit status for a category: 2 for usage, 130 for cancelled (as after Ctrl-C), else 1.
int ExitStatusOf(ErrorCategory category);

}  // namespace tessel
