#include "LineReader.h"

#include <fmt/format.h>

#include <algorithm>

namespace host {
namespace {

constexpr std::size_t blockBytes = std::size_t{32} << 10;
constexpr std::size_t bytesPerUnit = 8;  // of work

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }
bool isBlankOrEnd(char c) { return c == '\n' || isBlank(c); }

}  // namespace

bool LineReader::next(std::string& line, Pacer& pacer) {
  line.clear();
  bool blank = true;
  while (!rest_.empty() || readBlock(pacer)) {
    if (line.empty()) {
      skipBlankLines();
      number_ = ends_ + 1;
    }
    const std::string_view piece = rest_.substr(0, rest_.find('\n'));
    if (piece.size() > maxLineBytes - line.size()) giveUp(fmt::format("longer than {} bytes", maxLineBytes));
    line += piece;
    blank = blank && std::ranges::all_of(piece, isBlank);
    rest_.remove_prefix(piece.size());
    if (rest_.empty()) continue;  // in the next block
    rest_.remove_prefix(1);
    ++ends_;
    if (!blank) return true;
    line.clear();
  }
  return !blank;
}

bool LineReader::rewind() {
  rest_ = {};
  ends_ = number_ = 0;
  input_->clear();
  return static_cast<bool>(input_->seekg(0));
}

bool LineReader::readBlock(Pacer& pacer) {
  if (!input_->good()) return false;
  block_.resize(blockBytes);
  input_->read(block_.data(), static_cast<std::streamsize>(block_.size()));
  if (input_->bad()) giveUp("cannot be read");
  rest_ = {block_.data(), static_cast<std::size_t>(input_->gcount())};
  pacer.spend(blockBytes / bytesPerUnit);
  return !rest_.empty();
}

// Those that the block holds whole, which may be all of it: faster than one by one.
void LineReader::skipBlankLines() {
  const auto text = std::ranges::find_if_not(rest_, isBlankOrEnd) - rest_.begin();
  const std::string_view blanks = rest_.substr(0, static_cast<std::size_t>(text));
  const std::size_t lastEnd = blanks.rfind('\n');
  if (lastEnd == std::string_view::npos) return;
  ends_ += static_cast<std::size_t>(std::ranges::count(blanks, '\n'));
  rest_.remove_prefix(lastEnd + 1);
}

void LineReader::giveUp(const std::string& reason) {
  number_ = ends_ + 1;
  rest_ = {};
  input_->clear(std::ios::failbit);
  throw LineError(reason + "; nothing after it is read");
}

}  // namespace host
