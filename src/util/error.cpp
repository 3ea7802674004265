#include "util/error.h"

namespace tessel {
namespace {

std::string Describe(const std::string& file, std::size_t line, const std::string& message) {
  std::string text = file;
  if (line > 0) text += ":" + std::to_string(line);
  return text + ": " + message;
}

}  // namespace

InputError::InputError(std::string file, std::size_t line, std::string message)
    : std::runtime_error(Describe(file, line, message)),
      file_(std::move(file)),
      line_(line),
      message_(std::move(message)) {}

}  // namespace tessel
