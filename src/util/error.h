// Errors reported to the user: a file, an optional line and a one-line message.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace tessel {

class InputError : public std::runtime_error {
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
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace tessel
