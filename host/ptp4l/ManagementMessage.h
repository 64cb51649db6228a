#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "ByteReader.h"
#include "Ptp/Identity.h"

/// Management messages of IEEE 1588-2008, 13.3 and clause 15. Requests are GETs and ptp4l's event subscription:
/// nothing here can encode an action that changes a clock.
namespace host::ptp4l {

/// IEEE 1588-2008, table 40; those of 0xC000 and above are ptp4l's own.
enum class ManagementId : std::uint16_t {
  clockDescription = 0x0001,
  defaultDataSet = 0x2000,
  currentDataSet = 0x2001,
  parentDataSet = 0x2002,
  timePropertiesDataSet = 0x2003,
  portDataSet = 0x2004,
  timeStatusNp = 0xc000,
  subscribeEventsNp = 0xc003,
  portPropertiesNp = 0xc004,
  portStatsNp = 0xc005,
};

/// As the tables of IEEE 1588 write it, "DEFAULT_DATA_SET".
std::string_view name(ManagementId id);

/// IEEE 1588-2008, table 72. Any code may arrive.
enum class ManagementError : std::uint16_t { noSuchId = 0x0002, wrongValue = 0x0004, notSupported = 0x0006 };

/// What a clock compares with its own before it reads a message any further.
struct Domain {
  std::uint8_t domainNumber = 0;
  std::uint8_t transportSpecific = 0;  ///< 4 bits; 1 in IEEE 802.1AS networks

  friend bool operator==(const Domain&, const Domain&) = default;
};

inline constexpr std::uint16_t allPorts = 0xffff;

struct GetRequest {
  ManagementId id = ManagementId::defaultDataSet;
  Domain domain;
  std::uint16_t port = allPorts;  ///< of whichever clock reads the message
  std::uint16_t sequenceId = 0;   ///< comes back in the response
  Ptp::PortIdentity sender;       ///< comes back as the target
};

inline constexpr std::size_t getRequestSize = 54;
std::array<std::uint8_t, getRequestSize> encode(const GetRequest& request);

/// What ptp4l reports unasked, as bits of its mask: a port's state with PORT_DATA_SET, each new offset with
/// TIME_STATUS_NP, and, in newer versions, the parent with PARENT_DATA_SET.
namespace Events {
inline constexpr std::uint8_t portState = 1 << 0;
inline constexpr std::uint8_t timeSync = 1 << 1;
inline constexpr std::uint8_t parentDataSet = 1 << 2;
}  // namespace Events

/// Asks ptp4l to report events to this client for some time. It replaces the subscription before of the same sender,
/// at whichever socket that one is: ptp4l knows its clients by this identity alone.
struct Subscription {
  std::uint8_t events = 0;
  std::uint16_t seconds = 0;
  Domain domain;
  std::uint16_t sequenceId = 0;
  Ptp::PortIdentity sender;
};

inline constexpr std::size_t subscriptionSize = getRequestSize + 2 + 64;
std::array<std::uint8_t, subscriptionSize> encode(const Subscription& subscription);

struct Response {
  Domain domain;
  Ptp::PortIdentity source;
  std::uint16_t sequenceId = 0;
  Ptp::PortIdentity target;
  ManagementId id = ManagementId::defaultDataSet;
  std::optional<ManagementError> error;
  std::span<const std::uint8_t> data;  ///< within the datagram; empty where there is an error
};

/// Nothing, where the datagram is anything but one whole response.
std::optional<Response> parseResponse(std::span<const std::uint8_t> datagram);

/// IEEE 1588-2008, 5.3.5.
Ptp::PortIdentity readPortIdentity(ByteReader& reader);

}  // namespace host::ptp4l
