#include <gtest/gtest.h>

#include "Inputs.h"
#include "PtpSnmp/PortRows.h"
#include "Zarn/TypeData.h"

namespace {

using PtpSnmp::PortTableEntry;
using PtpSnmp::PortTransDSTableEntry;
using Status = Kestor::Ptr<const Ptp::Status>;

struct Expectation {
  const char* name;
  const char* value;
  const char* fallback;
};

const Expectation portAttributes[] = {
    {"name", "et1", ""},
    {"role", "slave", "master"},
    {"syncTwoStep", "true", "false"},
    {"numOfAssociatedPorts", "70000", "0"},
    {"portIdentity", "001122.fffe.334455-1", "000000.0000.000000-0"},
    {"logAnnouncementInterval", "-2", "0"},
    {"announceRctTimeout", "250", "0"},
    {"logSyncInterval", "-4", "0"},
    {"minDelayReqInterval", "-1", "0"},
    {"peerDelayReqInterval", "-5", "0"},
    {"delayMech", "p2p", "none"},
    {"peerMeanPathDelay", "78187493530", "0"},
    {"ptpVersion", "2", "2"},
    {"state", "slave", "0"},
    {"interfaceIndex", "1007", "0"},
    {"transport", "ipv6", "ethernet"},
    {"encapsulationType", "ipv4", "ethernet"},
    {"txMode", "multicast", "unicast"},
    {"rxMode", "multicastMix", "unicast"},
    {"packetsReceived", "8589934592", "0"},
    {"packetsSent", "3", "0"},
};

const Expectation transAttributes[] = {
    {"portIdentity", "001122.fffe.334455", "000000.0000.000000"},
    {"faultyFlag", "true", "false"},
    {"logMinPdelayReqInt", "-5", "0"},
    {"peerMeanPathDelay", "78187493530", "0"},
};

struct PortRows : testing::Test {
  PortRows() {
    test::fillStatus(*in.status);
    in.ifMib->ifIndexByIntfIdIs(test::interfaceOfPort1, 1007);
  }
  Kestor::Ptr<PortTableEntry> port(const Status& status, const Ptp::PortDSKey& portDSKey = test::port1) {
    return Kestor::make<PortTableEntry>(key, status, portDSKey, in.ifMib);
  }
  Kestor::Ptr<PortTransDSTableEntry> trans(const Status& status, const Ptp::PortDSKey& portDSKey = test::port1) {
    return Kestor::make<PortTransDSTableEntry>(PtpSnmp::PortTransDSTableKey(1, 2, 3), status, portDSKey);
  }

  const PtpSnmp::PortTableKey key{1, PtpSnmp::ClockType::boundaryClock, 2, 3};
  test::Inputs in;
};

TEST_F(PortRows, EachAttributeComesFromThePortAndFallsBackWithoutIt) {
  for (const Expectation& expected : portAttributes) {
    EXPECT_EQ(Zarn::attributeText(*port(in.status), expected.name), expected.value) << expected.name;
    for (const auto& row : {port(in.status, test::port2), port(Kestor::make<Ptp::Status>("empty")), port(nullptr)}) {
      EXPECT_EQ(Zarn::attributeText(*row, expected.name), expected.fallback) << expected.name;
    }
  }
}

TEST_F(PortRows, EachTransparentClocksAttributeComesFromThePortAndFallsBackWithoutIt) {
  for (const Expectation& expected : transAttributes) {
    EXPECT_EQ(Zarn::attributeText(*trans(in.status), expected.name), expected.value) << expected.name;
    for (const auto& row : {trans(in.status, test::port2), trans(Kestor::make<Ptp::Status>("empty")), trans(nullptr)}) {
      EXPECT_EQ(Zarn::attributeText(*row, expected.name), expected.fallback) << expected.name;
    }
  }
}

TEST_F(PortRows, TheStoredAttributesAreReadableByName) {
  const auto row = port(nullptr);
  std::string all;
  for (const char* name : {"key", "domainIndex", "clockTypeIndex", "instanceIndex", "portNumberIndex", "ptpStatus",
                           "portDSKey", "portDS", "ptpMibPortData"}) {
    all += Zarn::attributeText(*row, name) + ' ';
  }
  EXPECT_EQ(all,
            "PtpSnmp::PortTableKey(domainIndex=1,clockTypeIndex=boundaryClock,instanceIndex=2,portNumberIndex=3) "
            "1 boundaryClock 2 3 null 001122.fffe.334455-1 null null ");
  EXPECT_EQ(Zarn::attributeText(*row, "ifMib").find("IntfSnmp::IfMib@"), 0U);
  all.clear();
  for (const char* name :
       {"key", "domainIndex", "instanceIndex", "portNumberIndex", "ptpStatus", "portDSKey", "portDS"}) {
    all += Zarn::attributeText(*trans(nullptr), name) + ' ';
  }
  EXPECT_EQ(all,
            "PtpSnmp::PortTransDSTableKey(domainIndex=1,instanceIndex=2,portNumberIndex=3) 1 2 3 null "
            "001122.fffe.334455-1 null ");
}

TEST_F(PortRows, TheVersionOfARowWhoseStatusIsNullIs2) { EXPECT_EQ(port(nullptr)->ptpVersion(), 2U); }

TEST_F(PortRows, TheGrantDurationIsAlways0) { EXPECT_EQ(port(in.status)->grantDuration(), 0U); }

TEST_F(PortRows, AnInterfaceMissingFromTheInterfaceMibHasIfIndex0) {
  const auto row = port(in.status);
  EXPECT_EQ(row->interfaceIndex(), 1007U);
  in.ifMib->ifIndexByIntfIdDel(test::interfaceOfPort1);
  EXPECT_EQ(row->interfaceIndex(), 0U);
  in.ifMib->ifIndexByIntfIdIs(test::interfaceOfPort1, 9);
  EXPECT_EQ(row->interfaceIndex(), 9U) << "looked up at each read";
}

TEST_F(PortRows, TheIfIndexIs0WithoutInterfaceMibOrPort) {
  const Kestor::Ptr<const IntfSnmp::IfMib> none;
  EXPECT_EQ(Kestor::make<PortTableEntry>(key, Status(in.status), test::port1, none)->interfaceIndex(), 0U);
  EXPECT_EQ(port(in.status, test::port2)->interfaceIndex(), 0U);
}

TEST_F(PortRows, WithoutAMibDataRecordARowHasItsPortAndNoCounters) {
  in.status->ptpMibDataIs(nullptr);
  const auto row = port(in.status);
  EXPECT_EQ(row->portDS(), in.status->portDS(test::port1));
  EXPECT_NE(row->portDS(), nullptr);
  EXPECT_EQ(row->ptpMibPortData(), nullptr);
}

TEST_F(PortRows, WithoutThePortInTheMibDataARowHasNoCounters) {
  in.status->ptpMibData()->ptpMibPortData.insertOrAssign(test::port1, nullptr);
  EXPECT_EQ(port(in.status)->ptpMibPortData(), nullptr);
  in.status->ptpMibData()->ptpMibPortData.remove(test::port1);
  EXPECT_EQ(port(in.status)->ptpMibPortData(), nullptr);
}

TEST_F(PortRows, ANullEntryInTheStatusIsNoPort) {
  in.status->portDSIs(test::port2, nullptr);
  EXPECT_EQ(port(in.status, test::port2)->portDS(), nullptr);
  EXPECT_EQ(trans(in.status, test::port2)->portDS(), nullptr);
}

TEST_F(PortRows, TwoRowsOfOnePortShareItsDataSetAndEachHoldsOneReference) {
  const auto portDS = in.status->portDS(test::port1);
  const auto before = portDS->refCount();
  const auto first = port(in.status);
  EXPECT_EQ(portDS->refCount(), before + 1);
  auto second = port(in.status);
  EXPECT_EQ(portDS->refCount(), before + 2);
  EXPECT_EQ(first->portDS(), second->portDS());
  const auto third = trans(in.status);
  EXPECT_EQ(portDS->refCount(), before + 3);
  second.reset();
  EXPECT_EQ(portDS->refCount(), before + 2);
}

TEST_F(PortRows, AreResolvedWhenMadeAndNeverAgain) {
  const auto row = port(in.status);
  const auto transRow = trans(in.status);
  const auto early = port(in.status, test::port2);
  in.status->portDSIs(test::port1, Kestor::make<Ptp::PortDS>(Ptp::PortDSValues{}));
  in.status->portDSIs(test::port2, Kestor::make<Ptp::PortDS>(Ptp::PortDSValues{}));
  in.status->ptpMibDataIs(nullptr);
  EXPECT_EQ(row->name(), "et1");
  EXPECT_EQ(row->packetsSent(), 3U);
  EXPECT_TRUE(transRow->faultyFlag());
  EXPECT_EQ(early->portDS(), nullptr);
  in.status->portDSDel(test::port1);
  EXPECT_EQ(row->interfaceIndex(), 1007U);
}

TEST_F(PortRows, WhatIsWrittenIntoThePortInPlaceIsSeen) {
  const auto row = port(in.status);
  Ptp::PortDSValues values = in.status->portDS(test::port1)->values();
  values.portState = Ptp::PortState::master;
  in.status->portDS(test::port1)->valuesIs(values);
  in.status->ptpMibData()->ptpMibPortData.find(test::port1)->get()->valuesIs({10, 20});
  EXPECT_EQ(row->state(), Ptp::PortState::master);
  EXPECT_EQ(row->packetsSent(), 10U);
  EXPECT_EQ(row->packetsReceived(), 20U);
}

}  // namespace
