#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "ManagementData.h"
#include "StatusSnapshot.h"

namespace host::ptp4l {

/// What one port answered. A message that it refused is absent.
struct PortReplies {
  std::optional<Ptp::PortDSValues> dataSet;
  std::optional<std::string> interface;
  std::optional<Ptp::PacketCounters> counters;
  std::optional<ClockDescription> description;
};

/// What one clock answered, its ports by port number.
struct ClockReplies {
  std::optional<Ptp::DefaultDSValues> defaultDS;
  std::optional<Ptp::CurrentDSValues> currentDS;
  std::optional<Ptp::ParentDSValues> parentDS;
  std::optional<Ptp::TimePropertiesDSValues> timePropertiesDS;
  std::map<std::uint16_t, PortReplies> ports;
};

using IfIndexLookup = std::function<std::optional<std::uint32_t>(const std::string& interface)>;

/// The status that the replies amount to. A missing reply costs what is derived from it and nothing else,
/// except that without a default data set there is no clock, and without its port data set no port. The clock's own
/// counters stay at 0: they must outlive the ports that they are the sums of.
StatusSnapshot statusOf(const ClockReplies& replies, const IfIndexLookup& ifIndex);

}  // namespace host::ptp4l
