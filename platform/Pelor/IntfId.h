#pragma once

#include <compare>
#include <cstdint>

namespace Pelor {

/// Identifies an interface within the device. 0 stands for no interface.
struct IntfId {
  std::uint64_t value = 0;

  friend constexpr auto operator<=>(const IntfId&, const IntfId&) noexcept = default;
};

}  // namespace Pelor
