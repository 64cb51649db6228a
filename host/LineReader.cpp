#include "LineReader.h"

#include <fmt/format.h>

namespace host {

bool LineReader::next(std::string& line) {
  line.clear();
  if (!input_->good() || input_->peek() == std::istream::traits_type::eof()) {
    if (input_->bad()) giveUp("cannot be read");
    return false;
  }
  ++number_;
  for (char c = 0; input_->get(c) && c != '\n';) {
    if (line.size() == maxLineBytes) giveUp(fmt::format("longer than {} bytes", maxLineBytes));
    line += c;
  }
  return true;
}

bool LineReader::rewind() {
  number_ = 0;
  input_->clear();
  return static_cast<bool>(input_->seekg(0));
}

void LineReader::giveUp(const std::string& reason) {
  input_->clear(std::ios::failbit);
  throw LineError(reason + "; nothing after it is read");
}

}  // namespace host
