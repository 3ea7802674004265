#include "model/text_input.h"

#include <algorithm>

#include <pugixml.hpp>

#include "util/error.h"
#include "util/text.h"

namespace tessel {

LineCursor::LineCursor(std::string_view text, Mode mode) : text_(text), mode_(mode) {
  if (mode_ == Mode::kStripped && text_.substr(0, 3) == "\xEF\xBB\xBF") pos_ = 3;
}

std::size_t LineCursor::advance() {
  const std::size_t end = text_.find('\n', pos_);
  const std::size_t stop = end == std::string_view::npos ? text_.size() : end;
  pos_ = stop + 1;
  ++number_;
  return stop;
}

bool LineCursor::next(std::string_view& line) {
  if (pos_ >= text_.size()) return false;
  const std::size_t start = pos_;
  const std::size_t stop = advance();
  line = text_.substr(start, stop - start);
  if (mode_ != Mode::kRaw && !line.empty() && line.back() == '\r') line.remove_suffix(1);
  return true;
}

bool LineCursor::nextContent(std::string_view& line) {
  while (next(line)) {
    const std::string_view t = TrimBlanks(line);
    if (!t.empty() && t.front() != '#') return true;
  }
  return false;
}

bool LineCursor::extend(std::string_view& line) {
  if (pos_ >= text_.size()) return false;
  const std::size_t stop = advance();
  line = std::string_view(line.data(), static_cast<std::size_t>(text_.data() + stop - line.data()));
  if (mode_ != Mode::kRaw && !line.empty() && line.back() == '\r') line.remove_suffix(1);
  return true;
}

void CheckIsText(std::string_view text, const std::string& file, EmptyText empty) {
  const bool isEmpty = empty == EmptyText::kOnlyBlanks
                           ? text.find_first_not_of(" \t\r\n\v\f") == std::string_view::npos
                           : text.empty();
  if (isEmpty) throw InputError(file, 0, "the file is empty");
  const std::size_t nul = text.find('\0');
  if (nul != std::string_view::npos) {
    const std::size_t line =
        1 + static_cast<std::size_t>(std::count(text.begin(), text.begin() + nul, '\n'));
    throw InputError(file, line, "binary data: this is not a text network file");
  }
}

LineIndex::LineIndex(std::string_view text) {
  for (std::size_t i = text.find('\n'); i != std::string_view::npos; i = text.find('\n', i + 1)) {
    breaks_.push_back(i);
  }
}

std::size_t LineIndex::lineOf(std::ptrdiff_t offset) const {
  if (offset < 0) return 0;
  return 1 + static_cast<std::size_t>(std::lower_bound(breaks_.begin(), breaks_.end(),
                                                       static_cast<std::size_t>(offset)) -
                                      breaks_.begin());
}

void ParseXml(pugi::xml_document& doc, std::string_view text, const std::string& file,
              const LineIndex& lines) {
  const pugi::xml_parse_result parsed =
      doc.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
  if (!parsed) {
    throw InputError(file, lines.lineOf(parsed.offset),
                     std::string("malformed XML: ") + parsed.description());
  }
}

std::string_view LocalName(const pugi::xml_node& node) {
  const std::string_view name = node.name();
  const std::size_t colon = name.rfind(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

}  // namespace tessel
