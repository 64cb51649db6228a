#include "ManagementData.h"

#include "ByteReader.h"
#include "ManagementMessage.h"

namespace host::ptp4l {

namespace {

using Data = std::span<const std::uint8_t>;

constexpr std::size_t longestName = 64;  // RFC 8173, ptpbaseClockPortName

template <class Values>
std::optional<Values> wholeOrNothing(const ByteReader& reader, Values values) {
  if (!reader.ok()) return {};
  return values;
}

bool bit(std::uint8_t flags, unsigned number) { return (flags >> number & 1) != 0; }

Ptp::ClockIdentity readClockIdentity(ByteReader& reader) {
  return Ptp::ClockIdentity(Pelor::NetU64(reader.bigEndian<std::uint64_t>()));
}

Ptp::ClockQuality readClockQuality(ByteReader& reader) {
  Ptp::ClockQuality quality;
  quality.clockClass = reader.u8();
  quality.clockAccuracy = reader.u8();
  quality.offsetScaledLogVariance.valueIs(reader.u16());
  return quality;
}

Ptp::TimeInterval readTimeInterval(ByteReader& reader) { return reader.bigEndian<Ptp::TimeInterval>(); }
std::int8_t readLogInterval(ByteReader& reader) { return reader.bigEndian<std::int8_t>(); }

}  // namespace

std::optional<Ptp::DefaultDSValues> decodeDefaultDataSet(Data data) {
  ByteReader reader(data);
  Ptp::DefaultDSValues values;
  const std::uint8_t flags = reader.u8();
  values.twoStepFlag = bit(flags, 0);
  values.slaveOnly = bit(flags, 1);
  reader.skip(1);
  values.numberPorts.valueIs(reader.u16());
  values.priority1 = reader.u8();
  values.clockQuality = readClockQuality(reader);
  values.priority2 = reader.u8();
  values.clockIdentity = readClockIdentity(reader);
  values.domainNumber = reader.u8();
  return wholeOrNothing(reader, values);
}

std::optional<Ptp::CurrentDSValues> decodeCurrentDataSet(Data data) {
  ByteReader reader(data);
  Ptp::CurrentDSValues values;
  values.stepsRemoved.valueIs(reader.u16());
  values.offsetFromMaster = readTimeInterval(reader);
  values.meanPathDelay = readTimeInterval(reader);
  return wholeOrNothing(reader, values);
}

std::optional<Ptp::ParentDSValues> decodeParentDataSet(Data data) {
  ByteReader reader(data);
  Ptp::ParentDSValues values;
  values.parentPortIdentity = readPortIdentity(reader);
  values.parentStats = bit(reader.u8(), 0);
  reader.skip(1);
  values.observedParentOffsetScaledLogVariance.valueIs(reader.u16());
  values.observedParentClockPhaseChangeRate = reader.bigEndian<std::int32_t>();
  values.grandmasterPriority1 = reader.u8();
  values.grandmasterClockQuality = readClockQuality(reader);
  values.grandmasterPriority2 = reader.u8();
  values.grandmasterIdentity = readClockIdentity(reader);
  return wholeOrNothing(reader, values);
}

std::optional<Ptp::TimePropertiesDSValues> decodeTimePropertiesDataSet(Data data) {
  ByteReader reader(data);
  Ptp::TimePropertiesDSValues values;
  values.currentUtcOffset.valueIs(reader.u16());
  const std::uint8_t flags = reader.u8();
  values.leap61 = bit(flags, 0);
  values.leap59 = bit(flags, 1);
  values.currentUtcOffsetValid = bit(flags, 2);
  values.ptpTimescale = bit(flags, 3);
  values.timeTraceable = bit(flags, 4);
  values.frequencyTraceable = bit(flags, 5);
  values.timeSource = reader.u8();
  return wholeOrNothing(reader, values);
}

std::optional<Ptp::PortDSValues> decodePortDataSet(Data data) {
  ByteReader reader(data);
  Ptp::PortDSValues values;
  values.portIdentity = readPortIdentity(reader);
  values.portState = Ptp::PortState{reader.u8()};
  values.logMinDelayReqInterval = readLogInterval(reader);
  values.peerMeanPathDelay = readTimeInterval(reader);
  values.logAnnounceInterval = readLogInterval(reader);
  values.announceReceiptTimeout = reader.u8();
  values.logSyncInterval = readLogInterval(reader);
  values.delayMechanism = Ptp::DelayMechanism{reader.u8()};
  values.logMinPdelayReqInterval = readLogInterval(reader);
  if (values.portState < Ptp::PortState::initializing || values.portState > Ptp::PortState::slave) return {};
  return wholeOrNothing(reader, values);
}

std::optional<ClockDescription> decodeClockDescription(Data data) {
  ByteReader reader(data);
  ClockDescription description;
  description.clockType = reader.u16();
  reader.skip(reader.u8());   // physicalLayerProtocol, a PTPText
  reader.skip(reader.u16());  // physicalAddress
  description.networkProtocol = reader.u16();
  return wholeOrNothing(reader, description);
}

std::optional<TimeStatus> decodeTimeStatus(Data data) {
  ByteReader reader(data);
  TimeStatus status;
  status.masterOffset = reader.bigEndian<std::int64_t>();
  reader.skip(8 + 4 + 4 + 2 + 12);  // ingress time, rate offset, phase change, time base, last phase change
  status.gmPresent = reader.bigEndian<std::int32_t>() != 0;
  status.gmIdentity = readClockIdentity(reader);
  return wholeOrNothing(reader, status);
}

std::optional<std::string> decodePortProperties(Data data) {
  ByteReader reader(data);
  readPortIdentity(reader);
  reader.skip(1 + 1);  // port state, time stamping
  const auto bytes = reader.bytes(reader.u8());
  const std::string name(bytes.begin(), bytes.end());
  const bool shown = name.size() <= longestName && name.find('\0') == std::string::npos;
  return wholeOrNothing(reader, shown ? name : std::string());
}

// Two arrays of one counter per message type, which the header's four bits number.
std::optional<Ptp::PacketCounters> decodePortStats(Data data) {
  constexpr int messageTypes = 16;
  ByteReader reader(data);
  Ptp::PacketCounters counters;
  readPortIdentity(reader);
  for (int i = 0; i < messageTypes; ++i) counters.packetsReceived += reader.littleEndian<std::uint64_t>();
  for (int i = 0; i < messageTypes; ++i) counters.packetsSent += reader.littleEndian<std::uint64_t>();
  return wholeOrNothing(reader, counters);
}

}  // namespace host::ptp4l
