#include "util/error.h"

namespace tessel {
namespace {

std::string Describe(const std::string& file, std::size_t line, const std::string& message) {
  std::string text = file;
  if (line > 0) text += ":" + std::to_string(line);
  return text + ": " + message;
}

}  // namespace

std::string_view ErrorCategoryName(ErrorCategory category) {
  switch (category) {
    case ErrorCategory::Usage:
      return "usage";
    case ErrorCategory::Input:
      return "input";
    case ErrorCategory::Output:
      return "output";
    case ErrorCategory::Network:
      return "network";
    case ErrorCategory::Render:
      return "render";
    case ErrorCategory::Cancelled:
      return "cancelled";
  }
  return "input";
}

InputError::InputError(std::string file, std::size_t line, std::string message)
    : Error(ErrorCategory::Input, Describe(file, line, message)),
      file_(std::move(file)),
      line_(line),
      message_(std::move(message)) {}

ErrorCategory CategoryOf(const std::exception& error) {
  if (const auto* e = dynamic_cast<const Error*>(&error)) return e->category();
  if (dynamic_cast<const std::invalid_argument*>(&error) != nullptr) return ErrorCategory::Usage;
  return ErrorCategory::Input;
}

ErrorCategory CategoryOfCurrent() {
  try {
    throw;
  } catch (const std::exception& e) {
    return CategoryOf(e);
  } catch (...) {
    return ErrorCategory::Input;
  }
}

int ExitStatusOf(ErrorCategory category) {
  switch (category) {
    case ErrorCategory::Usage:
      return 2;
    case ErrorCategory::Cancelled:
      return 130;
    default:
      return 1;
  }
}

}  // namespace tessel
