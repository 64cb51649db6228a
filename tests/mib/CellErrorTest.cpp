// What becomes of a cell whose value cannot be sent, and of one that its data set does not supply.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include "Requests.h"
#include "TraceCapture.h"

namespace {

using namespace test;

struct NameColumn {
  const char* table;
  unsigned other;  ///< a column of the table that is fine
};

class PortNameTest : public testing::TestWithParam<NameColumn> {
 protected:
  void named(const Kestor::String& name) {
    Ptp::PortDSValues ds;
    ds.portIdentity = Ptp::PortIdentity("020000.fffe.00b001-1");
    ds.name = name;
    const Ptp::PortDSKey key(ds.portIdentity);
    device_.status->portDSIs(key, Kestor::make<Ptp::PortDS>(ds));
    device_.ptpMib->portTableIs({0, PtpSnmp::ClockType::boundaryClock, 1, 1}, device_.status, key, device_.ifMib);
  }

  // GETs a good cell, the name, and the good cell again; the error stands on the head of the list.
  void expectFailure(const std::string& trace) {
    Walk walk(table_, device_);
    walk.first();
    Requests requests(table_, MODE_GET);
    for (const unsigned column : {GetParam().other, 5U, GetParam().other}) requests.add(column, &walk);
    TraceCapture traces("Snmp/2");
    EXPECT_EQ(requests.handle(), SNMP_ERR_GENERR);
    EXPECT_EQ(requests[0].status, SNMP_ERR_GENERR);
    EXPECT_NE(requests.value(0).type, "NULL") << "answered before the failure";
    EXPECT_TRUE(requests.untouched(1));
    EXPECT_TRUE(requests.untouched(2));
    EXPECT_EQ(traces.take().back(), trace);
  }

  // GETs the name and then a good cell.
  void expectSecondUnanswered() {
    Walk walk(table_, device_);
    walk.first();
    Requests requests(table_, MODE_GET);
    requests.add(5, &walk);
    requests.add(GetParam().other, &walk);
    EXPECT_EQ(requests.handle(), SNMP_ERR_GENERR);
    EXPECT_EQ(requests[0].status, SNMP_ERR_GENERR);
    EXPECT_EQ(requests.value(0).type, "NULL");
    EXPECT_TRUE(requests.untouched(1));
  }

  const Table& table_ = table(GetParam().table);
  Device device_;
};

TEST_P(PortNameTest, ANameOf65BytesFailsItsConversionAndThePacket) {
  named(Kestor::String(65, 'n'));
  expectFailure(fmt::format("Snmp/2 handle_{} - StringToAsnOctetString failed for: name", GetParam().table));
}

TEST_P(PortNameTest, AnEmptyNameIsOutOfRangeAndFailsThePacket) {
  named("");
  expectFailure(fmt::format("Snmp/2 handle_{} - entity /<sysname>/snmp/ptp/ptpmib length out of range: name (0)",
                            GetParam().table));
}

TEST_P(PortNameTest, NamesOf1And64BytesAreServed) {
  for (const std::size_t length : {1U, 64U}) {
    Device device;
    Ptp::PortDSValues ds;
    ds.portIdentity = Ptp::PortIdentity("020000.fffe.00b001-1");
    ds.name = Kestor::String(length, 'n');
    const Ptp::PortDSKey key(ds.portIdentity);
    device.status->portDSIs(key, Kestor::make<Ptp::PortDS>(ds));
    device.ptpMib->portTableIs({0, PtpSnmp::ClockType::boundaryClock, 1, 1}, device.status, key, device.ifMib);
    Walk walk(table_, device);
    walk.first();
    Requests requests(table_, MODE_GET);
    requests.add(5, &walk);
    EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
    EXPECT_EQ(requests.value(0).value.size(), 2 * length);
  }
}

TEST_P(PortNameTest, ANameOutOfRangeInTheFirstCellLeavesTheSecondUnanswered) {
  named("");
  expectSecondUnanswered();
}

TEST_P(PortNameTest, AFailedConversionOfTheFirstCellLeavesTheSecondUnanswered) {
  named(Kestor::String(65, 'n'));
  expectSecondUnanswered();
}

TEST_P(PortNameTest, TheErrorGoesOnTheHeadEvenIfThatWasProcessedByAnother) {
  named("");
  Walk walk(table_, device_);
  walk.first();
  Requests requests(table_, MODE_GET);
  requests.add(GetParam().other, &walk).processed = 1;
  requests.add(5, &walk);
  EXPECT_EQ(requests.handle(), SNMP_ERR_GENERR);
  EXPECT_EQ(requests[0].status, SNMP_ERR_GENERR);
  EXPECT_TRUE(requests.untouched(1));
}

TEST_P(PortNameTest, ARowWithoutItsDataSetHasNoNameToSend) {
  addRows(device_);
  Walk walk(table_, device_);
  walk.first();
  Requests requests(table_, MODE_GET);
  requests.add(5, &walk);
  EXPECT_EQ(requests.handle(), SNMP_ERR_GENERR);
}

INSTANTIATE_TEST_SUITE_P(Tables, PortNameTest,
                         testing::Values(NameColumn{"ptpbaseClockPortTable", 6},
                                         NameColumn{"ptpbaseClockPortDSTable", 8},
                                         NameColumn{"ptpbaseClockPortRunningTable", 6}),
                         [](const auto& each) { return std::string(each.param.table); });

// A row whose status holds nothing: what each column answers.
class AbsentDataTest : public testing::Test {
 protected:
  std::string value(const std::string& name, unsigned column, const Device& device) {
    const Table& t = table(name);
    Walk walk(t, device);
    walk.first();
    Requests requests(t, MODE_GET);
    requests.add(column, &walk);
    EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR) << name << ' ' << column;
    const Varbind varbind = requests.value(0);
    return varbind.type + ' ' + varbind.value;
  }

  Device device_;
};

constexpr char zeroBytes[] = "STRING 0000000000000000";

TEST_F(AbsentDataTest, AMissingDataSetReadsAsZeroes) {
  addRows(device_);
  EXPECT_EQ(value("ptpbaseClockCurrentDSTable", 4, device_), "Gauge32 0");
  EXPECT_EQ(value("ptpbaseClockCurrentDSTable", 5, device_), zeroBytes);
  EXPECT_EQ(value("ptpbaseClockCurrentDSTable", 6, device_), zeroBytes);
  EXPECT_EQ(value("ptpbaseClockParentDSTable", 8, device_), zeroBytes);
  EXPECT_EQ(value("ptpbaseClockDefaultDSTable", 5, device_), zeroBytes);
  EXPECT_EQ(value("ptpbaseClockTransDefaultDSTable", 3, device_), zeroBytes);
  EXPECT_EQ(value("ptpbaseClockPortDSTable", 13, device_), zeroBytes);
  EXPECT_EQ(value("ptpbaseClockPortTransDSTable", 4, device_), zeroBytes);
  EXPECT_EQ(value("ptpbaseClockPortTransDSTable", 7, device_), zeroBytes);
  EXPECT_EQ(value("ptpbaseClockRunningTable", 5, device_), "Counter64 0");
  EXPECT_EQ(value("ptpbaseSystemTable", 3, device_), "Gauge32 0");
  EXPECT_EQ(value("ptpbaseSystemDomainTable", 2, device_), "Gauge32 0");
}

TEST_F(AbsentDataTest, AMissingIdentityReadsAsTheTextOfTheZeroIdentity) {
  addRows(device_);
  const std::string text = "3030303030302e303030302e3030303030302d30";  // 000000.0000.000000-0
  EXPECT_EQ(value("ptpbaseClockParentDSTable", 4, device_), "STRING " + text);
  EXPECT_EQ(value("ptpbaseClockPortDSTable", 6, device_), "STRING " + text);
}

TEST_F(AbsentDataTest, WithoutItsDataSetAnEnumerationReadsAsItsCode0) {
  addRows(device_);
  const std::string ethernet = "OID 1.3.6.1.2.1.241.1.2.12.3";
  EXPECT_EQ(value("ptpbaseClockTransDefaultDSTable", 5, device_), "INTEGER 254");
  EXPECT_EQ(value("ptpbaseClockPortTable", 6, device_), "INTEGER 1");
  EXPECT_EQ(value("ptpbaseClockPortDSTable", 12, device_), "INTEGER 254");
  EXPECT_EQ(value("ptpbaseClockPortRunningTable", 6, device_), "INTEGER 0");
  EXPECT_EQ(value("ptpbaseClockPortRunningTable", 7, device_), "INTEGER 1");
  EXPECT_EQ(value("ptpbaseClockPortRunningTable", 9, device_), ethernet);
  EXPECT_EQ(value("ptpbaseClockPortRunningTable", 10, device_), ethernet);
  EXPECT_EQ(value("ptpbaseClockPortRunningTable", 11, device_), "INTEGER 1");
  EXPECT_EQ(value("ptpbaseClockPortRunningTable", 12, device_), "INTEGER 1");
}

TEST_F(AbsentDataTest, ARowWithoutAStatusReadsTheSame) {
  device_.ptpMib->ptpTableIs({0, PtpSnmp::ClockType::boundaryClock, 1}, nullptr);
  EXPECT_EQ(value("ptpbaseClockDefaultDSTable", 5, device_), zeroBytes);
  EXPECT_EQ(value("ptpbaseClockCurrentDSTable", 5, device_), zeroBytes);
  EXPECT_EQ(value("ptpbaseClockDefaultDSTable", 4, device_), "INTEGER 2");
}

TEST_F(AbsentDataTest, AnUnknownTransportIsSentAsTheEmptyIdentifier) {
  Ptp::PortDSValues ds;
  ds.transport = static_cast<Ptp::TransportMode>(7);
  ds.encapsulation = static_cast<Ptp::TransportMode>(255);
  device_.status->portDSIs(Ptp::PortDSKey(), Kestor::make<Ptp::PortDS>(ds));
  device_.ptpMib->portTableIs({0, PtpSnmp::ClockType::boundaryClock, 1, 1}, device_.status, Ptp::PortDSKey(),
                              device_.ifMib);
  EXPECT_EQ(value("ptpbaseClockPortRunningTable", 9, device_), "OID ");
  EXPECT_EQ(value("ptpbaseClockPortRunningTable", 10, device_), "OID ");
}

TEST_F(AbsentDataTest, WhatIsNotReportedIsConstant) {
  Ptp::DefaultDSValues ds;
  ds.slaveOnly = true;
  device_.status->defaultDSIs(Kestor::make<Ptp::DefaultDS>(ds));
  addRows(device_);
  for (const auto& [name, column, constant] : {std::tuple{"ptpbaseClockDefaultDSTable", 8U, "INTEGER 2"},
                                               std::tuple{"ptpbaseClockPortDSTable", 14U, "Gauge32 0"},
                                               std::tuple{"ptpbaseClockPortDSTable", 15U, "Gauge32 2"}}) {
    const Table& t = table(name);
    Walk walk(t, device_);
    for (auto row = walk.first(); row; row = walk.next()) {
      Requests requests(t, MODE_GET);
      requests.add(column, &walk);
      EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
      EXPECT_EQ(requests.value(0).type + ' ' + requests.value(0).value, constant);
    }
  }
}

}  // namespace
