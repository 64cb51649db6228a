#pragma once

#include <boost/intrusive/set.hpp>
#include <compare>
#include <cstdint>
#include <ostream>
#include <string_view>
#include <utility>

#include "Kestor/Ptr.h"

namespace Zarn {

/// The links by which an RbTreeMap keeps a row. Base class of every row type.
using RbTreeMapHook = boost::intrusive::set_base_hook<boost::intrusive::link_mode<boost::intrusive::safe_link>,
                                                      boost::intrusive::optimize_size<true>>;

/// An ordered map whose rows carry their own key and links.
///
/// Entry is a Kestor::Node with an RbTreeMapHook and a `key()` that never changes. The map holds one
/// reference to each of its rows. Order and equality are the key's `operator<=>`; nobody can order rows in
/// another way.
template <class Key, class Entry>
class RbTreeMap {
  struct KeyOf {
    using type = Key;
    const Key& operator()(const Entry& entry) const noexcept { return entry.key(); }
  };
  struct Less {
    bool operator()(const Key& left, const Key& right) const noexcept { return (left <=> right) < 0; }
  };
  using Tree = boost::intrusive::set<Entry, boost::intrusive::base_hook<RbTreeMapHook>,
                                     boost::intrusive::key_of_value<KeyOf>, boost::intrusive::compare<Less>>;

 public:
  /// A position in the map that survives the deletion of its row, and any other change of the map. It holds
  /// the row, so the row stays readable. It must not outlive the map.
  class BasicIteratorConst {
   public:
    BasicIteratorConst() = default;

    bool atEnd() const noexcept { return !node_; }
    const Entry& operator*() const noexcept { return *node_; }
    const Entry* operator->() const noexcept { return node_.get(); }
    const Kestor::Ptr<const Entry>& node() const noexcept { return node_; }

    /// Moves to the row with the next greater key, whatever has happened to the current row. REQUIRES:
    /// !atEnd().
    void advance() {
      // An unchanged stamp says that the row still stands in the tree, so its links lead on; otherwise they
      // may lead nowhere.
      if (stamp_ != map_->stamp_) [[unlikely]] {
        return advanceByKey();
      }
      auto next = map_->tree_.iterator_to(*node_);
      ++next;
      node_.reset(next == map_->tree_.end() ? nullptr : &*next);
    }

   private:
    friend class RbTreeMap;
    [[gnu::noinline]] void advanceByKey() { *this = map_->after(node_->key()); }
    BasicIteratorConst(const RbTreeMap* map, typename Tree::const_iterator position)
        : map_(map), node_(position == map->tree_.end() ? nullptr : &*position), stamp_(map->stamp_) {}

    const RbTreeMap* map_ = nullptr;
    Kestor::Ptr<const Entry> node_;
    std::uint32_t stamp_ = 0;
  };

  RbTreeMap() = default;
  RbTreeMap(const RbTreeMap&) = delete;
  RbTreeMap& operator=(const RbTreeMap&) = delete;
  ~RbTreeMap() {
    tree_.clear_and_dispose([](Entry* entry) { intrusive_ptr_release(entry); });
  }

  bool empty() const noexcept { return tree_.empty(); }

  /// The row with the key, or null. Creates nothing.
  Kestor::Ptr<Entry> operator[](const Key& key) noexcept {
    const auto position = tree_.find(key);
    return position == tree_.end() ? nullptr : &*position;
  }
  Kestor::Ptr<const Entry> operator[](const Key& key) const noexcept {
    const auto position = tree_.find(key);
    return position == tree_.end() ? nullptr : &*position;
  }

  BasicIteratorConst begin() const noexcept { return {this, tree_.begin()}; }
  BasicIteratorConst end() const noexcept { return {this, tree_.end()}; }
  /// At the row with exactly this key, or at the end.
  BasicIteratorConst find(const Key& key) const noexcept { return {this, tree_.find(key)}; }
  /// At the first row whose key is not less than the given one.
  BasicIteratorConst notLess(const Key& key) const noexcept { return {this, tree_.lower_bound(key)}; }
  /// At the first row whose key is greater than the given one.
  BasicIteratorConst after(const Key& key) const noexcept { return {this, tree_.upper_bound(key)}; }

  /// The row with the key, and false; or, where there is none, the row that make() returns, taken in, and true.
  /// One search serves both. REQUIRES: make() returns a row with this key and leaves the map as it is.
  template <class Make>
  std::pair<Kestor::Ptr<Entry>, bool> findOrInsert(const Key& key, Make make) {
    typename Tree::insert_commit_data place;
    const auto [position, absent] = tree_.insert_check(key, Less{}, place);
    if (!absent) return {&*position, false};
    Kestor::Ptr<Entry> entry = make();
    tree_.insert_commit(*entry, place);
    intrusive_ptr_add_ref(entry.get());
    ++stamp_;
    return {std::move(entry), true};
  }

  /// Takes a row out and hands over the map's reference; null where no row has the key.
  Kestor::Ptr<Entry> remove(const Key& key) noexcept {
    const auto position = tree_.find(key);
    if (position == tree_.end()) return nullptr;
    Kestor::Ptr<Entry> entry(&*position, false);
    ++stamp_;
    tree_.erase(position);
    return entry;
  }

  /// Writes the keys in ascending order, as "{key,key}".
  friend std::ostream& operator<<(std::ostream& os, const RbTreeMap& map) {
    os << '{';
    std::string_view separator;
    for (const Entry& entry : map.tree_) {
      os << separator << entry.key();
      separator = ",";
    }
    return os << '}';
  }

 private:
  Tree tree_;
  std::uint32_t stamp_ = 0;
};

}  // namespace Zarn
