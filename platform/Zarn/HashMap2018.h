#pragma once

#include <tsl/ordered_map.h>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace Zarn {

/// The seed of every hash map of this process, drawn at random when first asked for: keys come from the
/// network, and nobody out there shall be able to make them collide.
std::uint64_t hashSeed() noexcept;

/// The framework's hash of a single attribute: the finalizer of MurmurHash3 (public domain), over the seeded value.
constexpr std::uint64_t singleAttributeHash(std::uint64_t value, std::uint64_t seed) noexcept {
  std::uint64_t h = value ^ seed;
  h ^= h >> 33;
  h *= 0xff51afd7ed558ccdULL;
  h ^= h >> 33;
  h *= 0xc4ceb9fe1a85ec53ULL;
  h ^= h >> 33;
  return h;
}

/// A hash map over the per-process seed. Node names the key and value types and the hash:
///
///     struct HN_IfIndexByIntfId {
///       using Key = Pelor::IntfId;
///       using Value = std::uint32_t;
///       static std::uint64_t hash(const Key&, std::uint64_t seed);
///     };
///
/// Its elements lie side by side, in the order in which they came as long as none is removed: what is filed
/// port by port is read port by port, and whoever follows finds the next one in the cache.
template <class Node>
class HashMap2018 {
  // False for an unhashable key: its exception goes through to whoever hashed it.
  static constexpr bool hashes = noexcept(Node::hash(std::declval<const typename Node::Key&>(), 0));

  struct Hash {
    std::size_t operator()(const typename Node::Key& key) const noexcept(hashes) { return Node::hash(key, seed); }
    std::uint64_t seed = hashSeed();
  };
  using Element = std::pair<typename Node::Key, typename Node::Value>;
  using Map = tsl::ordered_map<typename Node::Key, typename Node::Value, Hash, std::equal_to<typename Node::Key>,
                               std::allocator<Element>, std::vector<Element>>;

 public:
  using Key = typename Node::Key;
  using Value = typename Node::Value;

  bool empty() const noexcept { return map_.empty(); }
  std::size_t size() const noexcept { return map_.size(); }
  /// In no particular order; elements are pairs of key and value. Any change of the map ends an iteration.
  auto begin() const noexcept { return map_.begin(); }
  auto end() const noexcept { return map_.end(); }

  /// The value, or null where the key is absent. Valid until the map changes.
  const Value* find(const Key& key) const noexcept(hashes) {
    const auto it = map_.find(key);
    return it == map_.end() ? nullptr : &it->second;
  }

  void insertOrAssign(const Key& key, Value value) { map_.insert_or_assign(key, std::move(value)); }
  /// Whether the key was there. The last element takes the place of the removed one.
  bool remove(const Key& key) noexcept(hashes) { return map_.unordered_erase(key) != 0; }
  void clear() noexcept { map_.clear(); }

 private:
  Map map_;
};

}  // namespace Zarn
