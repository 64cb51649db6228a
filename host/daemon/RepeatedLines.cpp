#include "RepeatedLines.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace host {
namespace {

constexpr std::string_view furtherKinds = " ";  // which no kind is, since words stand side by side

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isWord(char c) { return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c & 0x80) != 0; }

// Words such as "bad" go as well, which makes no difference: it is not them that tell two kinds apart.
bool isNumber(std::string_view word) {
  return std::ranges::any_of(word, isDigit) || word.find_first_not_of("abcdefABCDEF") == std::string_view::npos;
}

std::size_t endOfWord(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::find_if_not(text, isWord) - text.begin());
}

// The end of what is quoted, which begins here: the rest where the quote is not closed.
std::size_t endOfQuoted(std::string_view text) {
  const std::size_t end = text.find(text.front(), 1);
  return end == std::string_view::npos ? text.size() : end + 1;
}

}  // namespace

std::string RepeatedLines::kindOf(std::string_view line) {
  std::string kind;
  line = line.substr(0, longestLine);
  while (!line.empty()) {
    const std::size_t word = endOfWord(line);
    if (!isNumber(line.substr(0, word))) kind.append(kind.empty() ? "" : " ").append(line.substr(0, word));
    line.remove_prefix(word);
    if (line.empty()) break;
    // An apostrophe within a word quotes nothing.
    const bool quoted = line.front() == '"' || (line.front() == '\'' && word == 0);
    line.remove_prefix(quoted ? endOfQuoted(line) : 1);
  }
  return kind;
}

bool RepeatedLines::isFirst(int level, std::string_view kind, std::string_view line, Time now) {
  kind = kind.substr(0, longestLine);
  auto known = kinds_.find(kind);
  if (known == kinds_.end() && kinds_.size() >= mostKinds) known = kinds_.find(kind = furtherKinds);
  if (known != kinds_.end()) {
    ++known->second.more;
    return false;
  }
  kinds_.emplace(kind, Kind{.level = level, .first = std::string(line.substr(0, longestLine)), .since = now});
  return true;
}

std::vector<RepeatedLines::Count> RepeatedLines::due(Time now) {
  std::vector<Count> counts;
  for (auto each = kinds_.begin(); each != kinds_.end();) {
    Kind& kind = each->second;
    const auto current = each++;
    if (now - kind.since < period) continue;
    if (kind.more == 0) {
      kinds_.erase(current);
      continue;
    }
    const char* const which = current->first == furtherKinds ? "of other kinds, the first of which was" : "like this";
    counts.push_back({kind.level, fmt::format("{} more in the last hour {}: {}", kind.more, which, kind.first)});
    kind.since = now;
    kind.more = 0;
  }
  return counts;
}

}  // namespace host
