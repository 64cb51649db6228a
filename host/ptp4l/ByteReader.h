#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>

namespace host::ptp4l {

/// Reads numbers from bytes that nobody vouches for. A read beyond the end yields zero and makes ok() false
/// for good, so that a decoder reads all its fields first and asks once, at the end, whether they were there.
class ByteReader {
 public:
  explicit ByteReader(std::span<const std::uint8_t> bytes) noexcept : rest_(bytes) {}

  bool ok() const noexcept { return ok_; }

  std::span<const std::uint8_t> bytes(std::size_t count) noexcept {
    if (count > rest_.size()) {
      ok_ = false;
      rest_ = {};
      return {};
    }
    const auto taken = rest_.first(count);
    rest_ = rest_.subspan(count);
    return taken;
  }
  void skip(std::size_t count) noexcept { bytes(count); }

  template <std::integral Number>
  Number bigEndian() noexcept {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes(sizeof(Number))) value = value << 8 | byte;
    return static_cast<Number>(value);
  }

  template <std::integral Number>
  Number littleEndian() noexcept {
    std::uint64_t value = 0;
    const auto taken = bytes(sizeof(Number));
    for (std::size_t i = taken.size(); i-- > 0;) value = value << 8 | taken[i];
    return static_cast<Number>(value);
  }

  std::uint8_t u8() noexcept { return bigEndian<std::uint8_t>(); }
  std::uint16_t u16() noexcept { return bigEndian<std::uint16_t>(); }

 private:
  std::span<const std::uint8_t> rest_;
  bool ok_ = true;
};

}  // namespace host::ptp4l
