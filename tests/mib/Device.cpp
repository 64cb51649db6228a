#include "Device.h"

#include <fmt/format.h>

#include <limits>

#include "Zarn/StateDatabase.h"
#include "ptpbaseMIB/ptpbaseMIB.h"

namespace test {
namespace {

constexpr char ptpMibPath[] = "snmp/ptp/ptpmib";

Pelor::NetU16 net16(std::uint16_t value) { return Pelor::NetU16(value); }

Ptp::DefaultDSValues defaultDS(Ptp::PtpMode mode, std::uint8_t domain) {
  Ptp::DefaultDSValues ds;
  ds.clockIdentity = Ptp::ClockIdentity("020000.fffe.00b001");
  ds.clockMode = mode;
  ds.domainNumber = domain;
  ds.twoStepFlag = true;
  ds.slaveOnly = true;
  ds.numberPorts = net16(258);
  ds.clockQuality = {248, 254, net16(65535)};
  ds.priority1 = 255;
  ds.priority2 = 129;
  return ds;
}

Ptp::ParentDSValues parentDS() {
  Ptp::ParentDSValues ds;
  ds.parentPortIdentity = Ptp::PortIdentity("020000.fffe.00a001-258");
  ds.parentStats = true;
  ds.observedParentOffsetScaledLogVariance = net16(65535);
  ds.observedParentClockPhaseChangeRate = std::numeric_limits<std::int32_t>::min();
  ds.grandmasterIdentity = Ptp::ClockIdentity("010203.fffe.040506");
  ds.grandmasterClockQuality = {6, 33, net16(20061)};
  ds.grandmasterPriority1 = 127;
  ds.grandmasterPriority2 = 128;
  return ds;
}

Ptp::TimePropertiesDSValues timePropertiesDS() {
  Ptp::TimePropertiesDSValues ds;
  ds.currentUtcOffset = net16(static_cast<std::uint16_t>(-37));
  ds.currentUtcOffsetValid = true;
  ds.leap59 = true;
  ds.timeTraceable = true;
  ds.ptpTimescale = true;
  ds.timeSource = 160;
  return ds;
}

Ptp::PortDSValues firstPort() {
  Ptp::PortDSValues ds;
  ds.portIdentity = Ptp::PortIdentity("020000.fffe.00b001-1");
  ds.name = "Ethernet1";
  ds.intfId = {1};
  ds.portState = Ptp::PortState::slave;
  ds.role = PtpMib::ClockRoleType::slave;
  ds.logMinDelayReqInterval = -2;
  ds.logAnnounceInterval = 1;
  ds.announceReceiptTimeout = 3;
  ds.logSyncInterval = -3;
  ds.delayMechanism = Ptp::DelayMechanism::e2e;
  ds.logMinPdelayReqInterval = -1;
  ds.syncTwoStep = true;
  ds.numberOfAssociatedPorts = 1;
  ds.transport = Ptp::TransportMode::ipv4;
  ds.encapsulation = Ptp::TransportMode::ethernet;
  ds.txMode = PtpMib::RxTxMode::multicast;
  ds.rxMode = PtpMib::RxTxMode::multicastMix;
  return ds;
}

Ptp::PortDSValues secondPort() {
  Ptp::PortDSValues ds;
  ds.portIdentity = Ptp::PortIdentity("020000.fffe.00b001-300");
  ds.name = Kestor::String(64, 'x');
  ds.intfId = {2};
  ds.portState = Ptp::PortState::slaveLocked;
  ds.role = PtpMib::ClockRoleType::master;
  ds.logMinDelayReqInterval = -128;
  ds.peerMeanPathDelay = 27033600;  // 412.5 ns
  ds.logAnnounceInterval = -4;
  ds.announceReceiptTimeout = 255;
  ds.logSyncInterval = 127;
  ds.delayMechanism = Ptp::DelayMechanism::p2p;
  ds.logMinPdelayReqInterval = 4;
  ds.faultyFlag = true;
  ds.numberOfAssociatedPorts = std::numeric_limits<std::uint32_t>::max();
  ds.transport = Ptp::TransportMode::ipv6;
  ds.encapsulation = Ptp::TransportMode::ipv4;
  ds.txMode = PtpMib::RxTxMode::unicast;
  ds.rxMode = PtpMib::RxTxMode::unicast;
  return ds;
}

}  // namespace

Device::Device()
    : status(Kestor::make<Ptp::Status>("ptpStatus")),
      ifMib(Kestor::make<IntfSnmp::IfMib>("ifMib")),
      ptpMib(PtpSnmp::ptpMibFactory("ptpmib")),
      root_(PtpSnmp::Agent::rootFactory("ptpSnmp")) {
  Zarn::StateDatabase::instance().entityIs(ptpMibPath, ptpMib);
}

Device::~Device() { Zarn::StateDatabase::instance().entityDel(ptpMibPath); }

void Device::track() { root_->agentIs(status, ptpMib, ifMib); }

ServedDevice::ServedDevice() {
  track();
  init_ptpbaseMIB("");
}
ServedDevice::~ServedDevice() { unregister_ptpbaseMIB(""); }

void populate(Device& device, Ptp::PtpMode mode, std::uint8_t domain) {
  const auto data = Kestor::make<Ptp::PtpMibData>();
  data->counters = {4294967301, std::numeric_limits<std::uint64_t>::max()};
  data->domainClockPortsTotal = 258;
  const Ptp::PortDSValues ports[] = {firstPort(), secondPort()};
  const Ptp::PacketCounters counters[] = {{4, 52}, {0, 4294967295}};
  for (unsigned i = 0; i < 2; ++i) {
    data->ptpMibPortData.insertOrAssign(Ptp::PortDSKey(ports[i].portIdentity),
                                        Kestor::make<Ptp::PtpMibPortData>(counters[i]));
  }
  Ptp::Status& status = *device.status;
  status.ptpMibDataIs(data);
  device.ifMib->ifIndexByIntfIdIs({1}, 101);
  device.ifMib->ifIndexByIntfIdIs({2}, 2147483647);
  status.currentDSIs(Kestor::make<Ptp::CurrentDS>(Ptp::CurrentDSValues{net16(258), -1, 84058112}));  // 1282.625 ns
  status.parentDSIs(Kestor::make<Ptp::ParentDS>(parentDS()));
  status.timePropertiesDSIs(Kestor::make<Ptp::TimePropertiesDS>(timePropertiesDS()));
  status.defaultDSIs(Kestor::make<Ptp::DefaultDS>(defaultDS(mode, domain)));
  for (const Ptp::PortDSValues& port : ports) {
    status.portDSIs(Ptp::PortDSKey(port.portIdentity), Kestor::make<Ptp::PortDS>(port));
  }
}

void populateBoundaryClock(Device& device) { populate(device, Ptp::PtpMode::boundary, 5); }
void populateTransparentClock(Device& device) { populate(device, Ptp::PtpMode::endToEndTransparentSyntonized, 7); }

void addPort(Device& device, std::uint16_t number) {
  Ptp::PortDSValues ds;
  ds.portIdentity = {Ptp::ClockIdentity("020000.fffe.00b001"), net16(number)};
  ds.name = fmt::format("p{}", number);
  device.status->portDSIs(Ptp::PortDSKey(ds.portIdentity), Kestor::make<Ptp::PortDS>(ds));
}

}  // namespace test
