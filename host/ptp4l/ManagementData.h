#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "Ptp/DataSets.h"

/// The data fields of management responses. Each decoder yields nothing where the data is shorter than its
/// layout, and ignores what a newer service may have appended.
namespace host::ptp4l {

/// The first fields of IEEE 1588-2008, 15.5.3.1.2.
struct ClockDescription {
  /// Bits of clockType.
  static constexpr std::uint16_t ordinaryClock = 0x8000;
  static constexpr std::uint16_t boundaryClock = 0x4000;
  static constexpr std::uint16_t peerToPeerTransparentClock = 0x2000;
  static constexpr std::uint16_t endToEndTransparentClock = 0x1000;
  /// IEEE 1588-2008, 7.4.1, table 3.
  static constexpr std::uint16_t udpIpv4 = 1;
  static constexpr std::uint16_t udpIpv6 = 2;
  static constexpr std::uint16_t ieee8023 = 3;

  std::uint16_t clockType = 0;
  std::uint16_t networkProtocol = 0;

  friend bool operator==(const ClockDescription&, const ClockDescription&) = default;
};

/// What ptp4l sends of its time status when asked or when subscribed to.
struct TimeStatus {
  std::int64_t masterOffset = 0;  ///< nanoseconds
  bool gmPresent = false;
  Ptp::ClockIdentity gmIdentity;

  friend bool operator==(const TimeStatus&, const TimeStatus&) = default;
};

/// IEEE 1588-2008, 15.5.3.3.1; the clock mode is not part of it.
std::optional<Ptp::DefaultDSValues> decodeDefaultDataSet(std::span<const std::uint8_t> data);
/// IEEE 1588-2008, 15.5.3.4.1.
std::optional<Ptp::CurrentDSValues> decodeCurrentDataSet(std::span<const std::uint8_t> data);
/// IEEE 1588-2008, 15.5.3.5.1.
std::optional<Ptp::ParentDSValues> decodeParentDataSet(std::span<const std::uint8_t> data);
/// IEEE 1588-2008, 15.5.3.6.1.
std::optional<Ptp::TimePropertiesDSValues> decodeTimePropertiesDataSet(std::span<const std::uint8_t> data);
/// IEEE 1588-2008, 15.5.3.7.1; the other values are not part of it. Nothing, too, for a state that is none.
std::optional<Ptp::PortDSValues> decodePortDataSet(std::span<const std::uint8_t> data);
std::optional<ClockDescription> decodeClockDescription(std::span<const std::uint8_t> data);
std::optional<TimeStatus> decodeTimeStatus(std::span<const std::uint8_t> data);
/// The port's interface name; empty where it is none that can be shown: more than 64 bytes, or with a NUL.
std::optional<std::string> decodePortProperties(std::span<const std::uint8_t> data);
/// The sums over all message types.
std::optional<Ptp::PacketCounters> decodePortStats(std::span<const std::uint8_t> data);

}  // namespace host::ptp4l
