// Remarks made while reading a network file: what a reader could not use or had to guess.
//
// Each kind of remark is counted and shown once, with the file and line where it first
// occurred, so that a file with 10,000 rows of the same problem gives one clear line.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tessel {

class Warnings {
 public:
  struct Entry {
    std::string key;      // what makes two remarks the same kind
    std::string file;     // the file read
    std::size_t line;     // first line where it occurred; 0 when it concerns the whole file
    std::string message;  // the first occurrence's text
    std::size_t count;    // how many times it occurred
  };

  // Records one occurrence. Remarks with the same key are counted together; the message and
  // line of the first one are kept.
  void add(std::string_view key, const std::string& file, std::size_t line, std::string message);
  // Adds `count` occurrences at once (a summary made at the end of a read).
  void addCount(std::string_view key, const std::string& file, std::size_t line,
                std::string message, std::size_t count);

  const std::vector<Entry>& entries() const { return entries_; }
  bool empty() const { return entries_.empty(); }
  std::size_t size() const { return entries_.size(); }
  // Occurrences of every kind added up.
  std::size_t total() const;

  // How a file was read, for the person to check (the format recognised, the table columns
  // used). Not a warning: shown apart and not counted.
  void note(std::string text) { notes_.push_back(std::move(text)); }
  const std::vector<std::string>& notes() const { return notes_; }

  // One line per kind: "file:line: message", and for repeated remarks
  // " (N rows like this; the first is shown)".
  std::vector<std::string> lines() const;

 private:
  std::vector<Entry> entries_;
  std::vector<std::string> notes_;
  std::unordered_map<std::string, std::size_t> index_;  // file + '\0' + key -> entry
};

// "file:line: message (N ...)" for one entry.
std::string FormatWarning(const Warnings::Entry& entry);

}  // namespace tessel
