#include "model/warnings.h"

namespace tessel {

void Warnings::add(std::string_view key, const std::string& file, std::size_t line,
                   std::string message) {
  addCount(key, file, line, std::move(message), 1);
}

void Warnings::addCount(std::string_view key, const std::string& file, std::size_t line,
                        std::string message, std::size_t count) {
  if (count == 0) return;
  std::string id = file;
  id.push_back('\0');
  id.append(key);
  const auto [it, inserted] = index_.try_emplace(std::move(id), entries_.size());
  if (!inserted) {
    entries_[it->second].count += count;
    return;
  }
  entries_.push_back({std::string(key), file, line, std::move(message), count});
}

std::size_t Warnings::total() const {
  std::size_t n = 0;
  for (const Entry& e : entries_) n += e.count;
  return n;
}

std::string FormatWarning(const Warnings::Entry& e) {
  std::string text = e.file;
  if (e.line > 0) text += ":" + std::to_string(e.line);
  text += ": " + e.message;
  if (e.count > 1) {
    text += " (on " + std::to_string(e.count) + " rows; the first is shown)";
  }
  return text;
}

std::vector<std::string> Warnings::lines() const {
  std::vector<std::string> out;
  out.reserve(entries_.size());
  for (const Entry& e : entries_) out.push_back(FormatWarning(e));
  return out;
}

}  // namespace tessel
