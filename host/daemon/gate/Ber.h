#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace host::gate {

using Octets = std::span<const std::uint8_t>;

/// ASN.1 values in the encoding that SNMP uses (BER, X.690, as RFC 3417 section 8 restricts it): tags of one octet,
/// definite lengths. Reads a list of values one after another. Neither copies nor allocates.
class BerReader {
 public:
  explicit BerReader(Octets values) noexcept : rest_(values) {}

  bool atEnd() const noexcept { return rest_.empty(); }
  Octets rest() const noexcept { return rest_; }
  /// The next value's tag; 0, which is none, at the end.
  std::uint8_t tag() const noexcept { return rest_.empty() ? std::uint8_t{0} : rest_.front(); }

  /// The contents of the next value, which has this tag and lies within the list; else nothing, and the reader stays.
  std::optional<Octets> take(std::uint8_t tag) noexcept;
  /// Likewise of an INTEGER between these bounds. Leading octets that say nothing are accepted, as many managers write
  /// four octets for any number.
  std::optional<std::int64_t> takeInteger(std::int64_t least, std::int64_t most) noexcept;
  /// Likewise of an OCTET STRING of at most so many octets.
  std::optional<Octets> takeOctets(std::size_t most) noexcept;

 private:
  Octets rest_;
};

/// How many octets the message takes that begins here, by its header; 0 where more octets are needed to tell, nothing
/// where no message begins so.
std::optional<std::size_t> berLength(Octets beginning) noexcept;

/// Whether the contents of an INTEGER, signed, fit into so many octets without those that say nothing.
bool isInteger(Octets contents, std::size_t octets) noexcept;

/// Whether these are the contents of an OBJECT IDENTIFIER, which may be empty, of at most 128 sub-identifiers (RFC
/// 2578, 3.5) of 32 bits.
bool isObjectIdentifier(Octets contents) noexcept;

}  // namespace host::gate
