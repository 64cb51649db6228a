#pragma once

#include <boost/container/static_vector.hpp>
#include <cstddef>
#include <string_view>

namespace Snmp {

/// An object identifier of at most 128 sub-identifiers (RFC 2578, 3.5), in the agent library's
/// representation.
class ObjectIdentifier {
 public:
  using SubIdentifier = unsigned long;
  static constexpr std::size_t maxLength = 128;

  /// From ".1.3.6.1" or "1.3.6.1"; the empty text gives the empty identifier. Throws Zarn::RangeException.
  explicit ObjectIdentifier(std::string_view text);

  const SubIdentifier* data() const noexcept { return subIdentifiers_.data(); }
  std::size_t size() const noexcept { return subIdentifiers_.size(); }

 private:
  boost::container::static_vector<SubIdentifier, maxLength> subIdentifiers_;
};

}  // namespace Snmp
