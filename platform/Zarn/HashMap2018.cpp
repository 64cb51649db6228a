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

// The finalizer of MurmurHash3 (public domain), over the seeded value.
std::uint64_t singleAttributeHash(std::uint64_t value, std::uint64_t seed) noexcept {
  std::uint64_t h = value ^ seed;
  h ^= h >> 33;
  h *= 0xff51afd7ed558ccdULL;
  h ^= h >> 33;
  h *= 0xc4ceb9fe1a85ec53ULL;
  h ^= h >> 33;
  return h;
}

}  // namespace Zarn
