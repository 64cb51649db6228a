#pragma once

#include <cstdint>

#include "Zarn/EnumData.h"

/// The enumerations of the PTP status. Any code may be held: a peer or a newer service may report one without
/// a name, and readers cope with it.
namespace Ptp {

/// What kind of clock the device is, or 0 where PTP does not run.
enum class PtpMode : std::uint8_t {
  disabled = 0,
  boundary = 1,
  ordinary = 2,
  endToEndTransparent = 3,
  endToEndTransparentSyntonized = 4,
  peerToPeerTransparent = 5,
};

/// IEEE 1588-2008, 8.2.5.3.1, table 8; and 0x90, a slave whose servo has locked.
enum class PortState : std::uint8_t {
  initializing = 1,
  faulty = 2,
  disabled = 3,
  listening = 4,
  preMaster = 5,
  master = 6,
  passive = 7,
  uncalibrated = 8,
  slave = 9,
  slaveLocked = 0x90,
};

/// IEEE 1588-2008, 8.2.5.4.4, table 9, where "disabled" is 0xFE.
enum class DelayMechanism : std::uint8_t { none = 0, e2e = 1, p2p = 2, disabled = 0xfe };

enum class TransportMode : std::uint8_t { ethernet = 0, ipv4 = 1, ipv6 = 2 };

const Zarn::EnumData& enumData(PtpMode);
const Zarn::EnumData& enumData(PortState);
const Zarn::EnumData& enumData(DelayMechanism);
const Zarn::EnumData& enumData(TransportMode);

}  // namespace Ptp

/// The enumerations of the data that the status holds for management alone.
namespace PtpMib {

enum class ClockRoleType : std::uint8_t { master = 0, slave = 1 };
enum class RxTxMode : std::uint8_t { unicast = 0, multicast = 1, multicastMix = 2 };

const Zarn::EnumData& enumData(ClockRoleType);
const Zarn::EnumData& enumData(RxTxMode);

}  // namespace PtpMib
