#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "Ptp/DataSets.h"
#include "Ptp/PortDSKey.h"

namespace host {

/// One port, as a source sees it at one moment.
struct PortSnapshot {
  Ptp::PortDSValues values;  ///< all but `intfId`, which the writer fills from `interface`
  std::string interface;     ///< the interface's name, or empty where it is not known
  std::optional<Ptp::PacketCounters> counters;

  friend bool operator==(const PortSnapshot&, const PortSnapshot&) = default;
};

/// The clock's own counters.
struct MibDataSnapshot {
  Ptp::PacketCounters counters;
  std::uint16_t domainClockPortsTotal = 0;

  friend bool operator==(const MibDataSnapshot&, const MibDataSnapshot&) = default;
};

/// The whole PTP status at one moment, as plain values: what every source produces and the writer applies. A
/// data set that the PTP service does not hold is absent; without a default data set there is no service.
struct StatusSnapshot {
  std::optional<Ptp::DefaultDSValues> defaultDS;
  std::optional<Ptp::CurrentDSValues> currentDS;
  std::optional<Ptp::ParentDSValues> parentDS;
  std::optional<Ptp::TimePropertiesDSValues> timePropertiesDS;
  std::optional<MibDataSnapshot> mibData;
  std::map<Ptp::PortDSKey, PortSnapshot> ports;
  std::map<std::string, std::uint32_t> interfaces;  ///< ifIndex by interface name

  friend bool operator==(const StatusSnapshot&, const StatusSnapshot&) = default;
};

}  // namespace host
