#include "Zarn/HashMap2018.h"

#include <random>

namespace Zarn {

std::uint64_t hashSeed() noexcept {
  static const std::uint64_t seed = [] {
    std::random_device device;
    return (std::uint64_t{device()} << 32) | device();
  }();
  return seed;
}

}  // namespace Zarn
