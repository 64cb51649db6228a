#pragma once

#include <string_view>

namespace Zarn {

/// A cursor over a text that outlives it: readers take what they understand from its front.
class CharRange {
 public:
  explicit CharRange(std::string_view text) noexcept : rest_(text) {}

  std::string_view rest() const noexcept { return rest_; }
  bool empty() const noexcept { return rest_.empty(); }

  /// Takes the text from the front if it stands there, else leaves the cursor as it is.
  bool take(std::string_view text) noexcept {
    if (!rest_.starts_with(text)) return false;
    rest_.remove_prefix(text.size());
    return true;
  }

  /// Takes the longest front of which every character satisfies the predicate.
  template <class Predicate>
  std::string_view takeWhile(Predicate predicate) {
    std::size_t length = 0;
    while (length < rest_.size() && predicate(rest_[length])) ++length;
    const std::string_view taken = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return taken;
  }

 private:
  std::string_view rest_;
};

}  // namespace Zarn
