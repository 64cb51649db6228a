#pragma once

#include <bit>
#include <cstdint>

namespace Pelor {

namespace detail {
constexpr std::uint16_t swapToNet(std::uint16_t v) noexcept {
  return std::endian::native == std::endian::big ? v : __builtin_bswap16(v);
}
constexpr std::uint64_t swapToNet(std::uint64_t v) noexcept {
  return std::endian::native == std::endian::big ? v : __builtin_bswap64(v);
}
}  // namespace detail

/// An unsigned integer held in network byte order, as PTP messages and data sets hold it.
template <class Host>
class NetInt {
 public:
  constexpr NetInt() noexcept = default;
  /// From host byte order.
  constexpr explicit NetInt(Host host) noexcept : net_(detail::swapToNet(host)) {}

  /// In host byte order.
  constexpr Host value() const noexcept { return detail::swapToNet(net_); }
  constexpr void valueIs(Host host) noexcept { net_ = detail::swapToNet(host); }

  friend constexpr bool operator==(NetInt, NetInt) noexcept = default;

 private:
  Host net_ = 0;
};

using NetU16 = NetInt<std::uint16_t>;
using NetU64 = NetInt<std::uint64_t>;

static_assert(sizeof(NetU16) == 2 && sizeof(NetU64) == 8);

}  // namespace Pelor
