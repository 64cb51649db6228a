#pragma once

#include <cstddef>
#include <istream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Pacer.h"

namespace host {

/// A text cannot be read further. That is said once: after it the text has ended.
class LineError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads a text line by line, with bounded memory.
class LineReader {
 public:
  static constexpr std::size_t maxLineBytes = std::size_t{16} << 20;

  explicit LineReader(std::unique_ptr<std::istream> input) : input_(std::move(input)) {}

  /// The next line that is not blank, without its end; the last one may lack one. False after the last line. Throws
  /// LineError where a line is too long or the text cannot be read.
  bool next(std::string& line, Pacer& pacer);
  /// The number of the line that next() read, from 1; blank ones count.
  std::size_t number() const noexcept { return number_; }
  /// Goes back to the first line. False where the text cannot be read twice.
  bool rewind();

 private:
  bool readBlock(Pacer& pacer);
  void skipBlankLines();
  [[noreturn]] void giveUp(const std::string& reason);

  std::unique_ptr<std::istream> input_;
  std::vector<char> block_;
  std::string_view rest_;  ///< of the block, to be looked at
  std::size_t ends_ = 0;   ///< of lines, before the rest
  std::size_t number_ = 0;
};

}  // namespace host
