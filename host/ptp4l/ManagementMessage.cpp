#include "ManagementMessage.h"

namespace host::ptp4l {

namespace {

// IEEE 1588-2008, 13.3.2 (header), table 37 (body) and table 39 (TLV).
constexpr std::uint8_t managementMessage = 0xd;
constexpr std::uint8_t ptpVersion = 2;
constexpr std::uint8_t managementControl = 4;
constexpr std::uint8_t logMessageIntervalUnused = 0x7f;
constexpr std::uint8_t actionGet = 0;
constexpr std::uint8_t actionSet = 1;
constexpr std::uint8_t actionResponse = 2;
constexpr std::uint16_t managementTlv = 0x0001;
constexpr std::uint16_t errorStatusTlv = 0x0002;
constexpr std::uint16_t messageLengthEnd = 4;  // offset of the byte behind messageLength
constexpr std::size_t correctionAndReserved = 12;
constexpr std::size_t clockIdentitySize = 8;

template <std::size_t Size>
class ByteWriter {
 public:
  void u8(std::uint8_t value) { bytes_[size_++] = value; }
  void u16(std::uint16_t value) {
    u8(static_cast<std::uint8_t>(value >> 8));
    u8(static_cast<std::uint8_t>(value));
  }
  void u64(std::uint64_t value) {
    for (int shift = 56; shift >= 0; shift -= 8) u8(static_cast<std::uint8_t>(value >> shift));
  }
  void fill(std::size_t count, std::uint8_t value) {
    while (count-- > 0) u8(value);
  }
  const std::array<std::uint8_t, Size>& bytes() const { return bytes_; }

 private:
  std::array<std::uint8_t, Size> bytes_{};
  std::size_t size_ = 0;
};

struct Head {
  Domain domain;
  Ptp::PortIdentity sender;
  std::uint16_t sequenceId;
  std::uint16_t port;
  std::uint8_t action;
  ManagementId id;
};

// All of a message of the given size but the TLV's data.
template <std::size_t Size>
ByteWriter<Size> begin(const Head& head) {
  ByteWriter<Size> out;
  out.u8(static_cast<std::uint8_t>((head.domain.transportSpecific & 0xf) << 4 | managementMessage));
  out.u8(ptpVersion);
  out.u16(Size);
  out.u8(head.domain.domainNumber);
  out.u8(0);   // reserved
  out.u16(0);  // flags
  out.fill(correctionAndReserved, 0);
  out.u64(head.sender.clockIdentity.id.value());
  out.u16(head.sender.portNumber.value());
  out.u16(head.sequenceId);
  out.u8(managementControl);
  out.u8(logMessageIntervalUnused);
  out.fill(clockIdentitySize, 0xff);  // targetPortIdentity: any clock
  out.u16(head.port);
  out.u8(0);  // startingBoundaryHops
  out.u8(0);  // boundaryHops: the message must not travel on to the network
  out.u8(head.action);
  out.u8(0);  // reserved
  out.u16(managementTlv);
  out.u16(Size - getRequestSize + sizeof(head.id));
  out.u16(static_cast<std::uint16_t>(head.id));
  return out;
}

// The TLV names either the data that it carries or, with an error, the data that it lacks.
bool readTlv(ByteReader& message, Response& response) {
  const std::uint16_t type = message.u16();
  const std::uint16_t length = message.u16();
  ByteReader value(message.bytes(length));
  if (!message.ok()) return false;
  if (type == errorStatusTlv) {
    response.error = ManagementError{value.u16()};
    response.id = ManagementId{value.u16()};
    return value.ok();
  }
  response.id = ManagementId{value.u16()};
  if (!value.ok()) return false;
  response.data = value.bytes(length - sizeof(std::uint16_t));
  return type == managementTlv;
}

}  // namespace

std::string_view name(ManagementId id) {
  switch (id) {
    case ManagementId::clockDescription: return "CLOCK_DESCRIPTION";
    case ManagementId::defaultDataSet: return "DEFAULT_DATA_SET";
    case ManagementId::currentDataSet: return "CURRENT_DATA_SET";
    case ManagementId::parentDataSet: return "PARENT_DATA_SET";
    case ManagementId::timePropertiesDataSet: return "TIME_PROPERTIES_DATA_SET";
    case ManagementId::portDataSet: return "PORT_DATA_SET";
    case ManagementId::timeStatusNp: return "TIME_STATUS_NP";
    case ManagementId::subscribeEventsNp: return "SUBSCRIBE_EVENTS_NP";
    case ManagementId::portPropertiesNp: return "PORT_PROPERTIES_NP";
    case ManagementId::portStatsNp: return "PORT_STATS_NP";
  }
  return "?";
}

// The data field stays empty: a GET asks for data and has none, and clocks read it so.
std::array<std::uint8_t, getRequestSize> encode(const GetRequest& request) {
  return begin<getRequestSize>({.domain = request.domain,
                                .sender = request.sender,
                                .sequenceId = request.sequenceId,
                                .port = request.port,
                                .action = actionGet,
                                .id = request.id})
      .bytes();
}

// The only SET: it makes an entry in ptp4l's list of clients. Of the 512 bits of its mask the first 8 are enough.
std::array<std::uint8_t, subscriptionSize> encode(const Subscription& subscription) {
  auto out = begin<subscriptionSize>({.domain = subscription.domain,
                                      .sender = subscription.sender,
                                      .sequenceId = subscription.sequenceId,
                                      .port = allPorts,
                                      .action = actionSet,
                                      .id = ManagementId::subscribeEventsNp});
  out.u16(subscription.seconds);
  out.u8(subscription.events);
  return out.bytes();
}

Ptp::PortIdentity readPortIdentity(ByteReader& reader) {
  const Ptp::ClockIdentity clock{Pelor::NetU64(reader.bigEndian<std::uint64_t>())};
  return {clock, Pelor::NetU16(reader.u16())};
}

std::optional<Response> parseResponse(std::span<const std::uint8_t> datagram) {
  ByteReader start(datagram);
  const std::uint8_t messageType = start.u8();
  const std::uint8_t version = start.u8();
  const std::uint16_t length = start.u16();
  if (!start.ok() || length < messageLengthEnd || length > datagram.size()) return {};
  if ((messageType & 0xf) != managementMessage || (version & 0xf) != ptpVersion) return {};

  ByteReader message(datagram.subspan(messageLengthEnd, length - messageLengthEnd));
  Response response;
  response.domain.transportSpecific = messageType >> 4;
  response.domain.domainNumber = message.u8();
  message.skip(1 + 2 + correctionAndReserved);  // reserved, flags
  response.source = readPortIdentity(message);
  response.sequenceId = message.u16();
  message.skip(1 + 1);  // control, logMessageInterval
  response.target = readPortIdentity(message);
  message.skip(1 + 1);  // both boundary hops
  const std::uint8_t action = message.u8() & 0xf;
  message.skip(1);
  if (!message.ok() || action != actionResponse || !readTlv(message, response)) return {};
  return response;
}

}  // namespace host::ptp4l
