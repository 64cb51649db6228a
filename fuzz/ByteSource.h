#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>

namespace fuzz {

/// Takes an input apart into the values that a fuzzer needs. When the input has ended each value is zero, so that a
/// short input is a short run and no error.
class ByteSource {
 public:
  ByteSource(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

  bool empty() const { return rest_.empty(); }

  template <std::integral Number>
  Number number() {
    Number value{};
    const auto taken = bytes(sizeof value);
    if (!taken.empty()) std::memcpy(&value, taken.data(), taken.size());
    return value;
  }
  std::uint8_t byte() { return number<std::uint8_t>(); }

  /// 0 to limit - 1, where the limit is 1 to 256.
  unsigned below(unsigned limit) { return byte() % limit; }
  bool oneIn(unsigned limit) { return below(limit) == limit - 1; }

  /// The next bytes, or as many as there are.
  std::span<const std::uint8_t> bytes(std::size_t count) {
    const auto taken = rest_.first(std::min(count, rest_.size()));
    rest_ = rest_.subspan(taken.size());
    return taken;
  }
  std::span<const std::uint8_t> rest() { return bytes(rest_.size()); }
  std::string restAsText() {
    const auto text = rest();
    return {text.begin(), text.end()};
  }

 private:
  std::span<const std::uint8_t> rest_;
};

}  // namespace fuzz
