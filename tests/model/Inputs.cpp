#include "Inputs.h"

namespace test {
namespace {

Ptp::DefaultDSValues defaultDSValues() {
  return {
      .clockIdentity = Ptp::ClockIdentity(std::string_view("0102ff.fffe.0a0b0c")),
      .clockMode = Ptp::PtpMode::endToEndTransparent,
      .domainNumber = 24,
      .twoStepFlag = true,
      .slaveOnly = true,
      .numberPorts = Pelor::NetU16(0x0103),
      .clockQuality = {248, 0xfe, Pelor::NetU16(0xfffe)},
      .priority1 = 127,
      .priority2 = 128,
  };
}

Ptp::ParentDSValues parentDSValues() {
  return {
      .grandmasterClockQuality = {6, 0x21, Pelor::NetU16(0x4e5d)},
      .parentPortIdentity = Ptp::PortIdentity(std::string_view("aabbcc.fffe.ddeeff-258")),
      .parentSource = {Pelor::IpGenAddr("192.0.2.1"), 0xdeadbeef, 0x1234},
      .grandmasterIdentity = Ptp::ClockIdentity(std::string_view("112233.fffe.445566")),
      .parentStats = true,
      .observedParentOffsetScaledLogVariance = Pelor::NetU16(0xfff0),
      .observedParentClockPhaseChangeRate = -5,
      .grandmasterPriority1 = 1,
      .grandmasterPriority2 = 2,
  };
}

Ptp::TimePropertiesDSValues timePropertiesDSValues() {
  return {
      .currentUtcOffset = Pelor::NetU16(37),
      .currentUtcOffsetValid = true,
      .leap59 = true,
      .leap61 = true,
      .timeTraceable = true,
      .frequencyTraceable = true,
      .ptpTimescale = true,
      .timeSource = 0x20,
  };
}

Ptp::PortDSValues portDSValues() {
  return {
      .portIdentity = Ptp::PortIdentity(std::string_view("001122.fffe.334455-1")),
      .name = "et1",
      .intfId = interfaceOfPort1,
      .portState = Ptp::PortState::slave,
      .role = PtpMib::ClockRoleType::slave,
      .logMinDelayReqInterval = -1,
      .peerMeanPathDelay = 0x123456789a,
      .logAnnounceInterval = -2,
      .announceReceiptTimeout = 250,
      .logSyncInterval = -4,
      .delayMechanism = Ptp::DelayMechanism::p2p,
      .logMinPdelayReqInterval = -5,
      .syncTwoStep = true,
      .faultyFlag = true,
      .numberOfAssociatedPorts = 70'000,
      .transport = Ptp::TransportMode::ipv6,
      .encapsulation = Ptp::TransportMode::ipv4,
      .txMode = PtpMib::RxTxMode::multicast,
      .rxMode = PtpMib::RxTxMode::multicastMix,
  };
}

}  // namespace

void fillStatus(Ptp::Status& status) {
  status.defaultDSIs(Kestor::make<Ptp::DefaultDS>(defaultDSValues()));
  status.currentDSIs(Kestor::make<Ptp::CurrentDS>(Ptp::CurrentDSValues{Pelor::NetU16(0x0102), -1, 0x100000000}));
  status.parentDSIs(Kestor::make<Ptp::ParentDS>(parentDSValues()));
  status.timePropertiesDSIs(Kestor::make<Ptp::TimePropertiesDS>(timePropertiesDSValues()));
  const auto mibData = Kestor::make<Ptp::PtpMibData>();
  mibData->counters = {0xffffffffffffffff, 0x100000001};
  mibData->domainClockPortsTotal = 0x0102;
  mibData->ptpMibPortData.insertOrAssign(port1, Kestor::make<Ptp::PtpMibPortData>(Ptp::PacketCounters{3, 0x200000000}));
  status.ptpMibDataIs(mibData);
  status.portDSIs(port1, Kestor::make<Ptp::PortDS>(portDSValues()));
}

}  // namespace test
