#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// Decides which of many lines are said: the first of a kind, and then once an hour how many more there were. A kind of
/// which there was none for an hour begins anew.
///
/// At most `mostKinds` are told apart; lines of further ones count as of one kind. Of each line no more than
/// `longestLine` bytes are kept. So whoever can cause lines has neither the log nor memory at his disposal.
class RepeatedLines {
 public:
  using Time = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::hours period{1};
  static constexpr std::size_t mostKinds = 64;
  static constexpr std::size_t longestLine = 256;

  struct Count {
    int level;
    std::string text;
  };

  /// Whether the line is to be said, now. If not, it is counted. `level` is the caller's, and comes back with the
  /// count.
  bool isFirst(int level, std::string_view kind, std::string_view line, Time now);

  /// The counts of the hours that have passed by now, in plain words.
  std::vector<Count> due(Time now);

  /// The words of a line: without numbers, addresses, octets in hex, and what stands in quotes.
  static std::string kindOf(std::string_view line);

 private:
  struct Kind {
    int level;
    std::string first;
    Time since;  ///< when the first line was said, or the latest count
    std::uint64_t more = 0;
  };

  std::map<std::string, Kind, std::less<>> kinds_;
};

}  // namespace host
