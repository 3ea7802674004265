// Helpers the network readers share for walking their input text and naming places in it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace pugi {
class xml_document;
class xml_node;
}  // namespace pugi

namespace tessel {

// Walks the lines of a text, numbering them from 1.
class LineCursor {
 public:
  enum class Mode {
    kRaw,           // lines keep every byte: a leading byte order mark, a '\r' before the '\n'
    kStripped,      // a UTF-8 byte order mark is skipped and a '\r' before each '\n' dropped
    kStrippedPart,  // a later part of a text cut after a line break: only the '\r' dropped
  };

  LineCursor(std::string_view text, Mode mode);

  // The next line (without its line break), or false at the end.
  bool next(std::string_view& line);
  // The next line holding something other than blanks and not starting with "#".
  bool nextContent(std::string_view& line);
  // Extends `line` (which must be the last line returned) by the following line, for a
  // quoted field that holds a line break. False at the end of the text.
  bool extend(std::string_view& line);
  std::size_t number() const { return number_; }
  // Where the next line starts in the text.
  std::size_t offset() const { return std::min(pos_, text_.size()); }
  std::size_t size() const { return text_.size(); }

 private:
  // The end of the line starting at pos_, and moves past it.
  std::size_t advance();

  std::string_view text_;
  Mode mode_;
  std::size_t pos_ = 0;
  std::size_t number_ = 0;
};

// Which texts CheckIsText refuses as empty.
enum class EmptyText {
  kNoBytes,     // only a text of no bytes at all
  kOnlyBlanks,  // also a text of nothing but white space
};

// Refuses empty texts and texts holding NUL bytes (binary files), naming the line of the
// first NUL.
void CheckIsText(std::string_view text, const std::string& file, EmptyText empty);

// Maps byte offsets of a text to 1-based line numbers.
class LineIndex {
 public:
  explicit LineIndex(std::string_view text);
  // The line holding the byte at `offset` (a '\n' belongs to the line it ends); 0 for a
  // negative offset.
  std::size_t lineOf(std::ptrdiff_t offset) const;

 private:
  std::vector<std::size_t> breaks_;
};

// Parses `text` as UTF-8 XML into `doc` with the default options: no DOCTYPE processing, so
// no entity declared in the file is expanded. Malformed XML is an InputError at its line.
void ParseXml(pugi::xml_document& doc, std::string_view text, const std::string& file,
              const LineIndex& lines);

// An XML element name without its namespace prefix.
std::string_view LocalName(const pugi::xml_node& node);

}  // namespace tessel
