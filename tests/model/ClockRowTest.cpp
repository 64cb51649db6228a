#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "Inputs.h"
#include "PtpSnmp/ClockRows.h"
#include "Zarn/TypeData.h"

namespace {

using PtpSnmp::ClockType;
using PtpSnmp::PtpTableEntry;
using Status = Kestor::Ptr<const Ptp::Status>;

/// An attribute of the row: its text with a full status and without the data set it comes from, and the call
/// that takes that data set away.
struct Expectation {
  const char* name;
  const char* value;
  const char* fallback;
  void (*takeAway)(Ptp::Status&);
};

void withoutCurrentDS(Ptp::Status& status) { status.currentDSIs(nullptr); }
void withoutParentDS(Ptp::Status& status) { status.parentDSIs(nullptr); }
void withoutDefaultDS(Ptp::Status& status) { status.defaultDSIs(nullptr); }
void withoutTimePropertiesDS(Ptp::Status& status) { status.timePropertiesDSIs(nullptr); }
void withoutMibData(Ptp::Status& status) { status.ptpMibDataIs(nullptr); }

const Expectation ptpTableAttributes[] = {
    {"stepsRemoved", "258", "0", withoutCurrentDS},
    {"offsetFromMaster", "-1", "0", withoutCurrentDS},
    {"meanPathDelay", "4294967296", "0", withoutCurrentDS},
    {"parentPortIdentity", "aabbcc.fffe.ddeeff-258", "000000.0000.000000-0", withoutParentDS},
    {"parentSourceAddrs", "aabbcc.fffe.ddeeff-258 192.0.2.1 3735928559 4660", "000000.0000.000000-0 0.0.0.0 0 0",
     withoutParentDS},
    {"parentStats", "true", "false", withoutParentDS},
    {"offset", "65520", "0", withoutParentDS},
    {"clockPhChRate", "-5", "0", withoutParentDS},
    {"gmClockIdentity", "112233.fffe.445566", "000000.0000.000000", withoutParentDS},
    {"gmClockPriority1", "1", "0", withoutParentDS},
    {"gmClockPriority2", "2", "0", withoutParentDS},
    {"gmClockQualityClass", "6", "0", withoutParentDS},
    {"gmClockQualityAccuracy", "33", "0", withoutParentDS},
    {"gmClockQualityOffset", "20061", "0", withoutParentDS},
    {"twoStepFlag", "true", "false", withoutDefaultDS},
    {"clockIdentity", "0102ff.fffe.0a0b0c", "000000.0000.000000", withoutDefaultDS},
    {"priority1", "127", "0", withoutDefaultDS},
    {"priority2", "128", "0", withoutDefaultDS},
    {"slaveOnly", "false", "false", withoutDefaultDS},
    {"qualityClass", "248", "0", withoutDefaultDS},
    {"qualityAccuracy", "254", "0", withoutDefaultDS},
    {"qualityOffset", "65534", "0", withoutDefaultDS},
    {"currentUTCOffsetValid", "true", "false", withoutTimePropertiesDS},
    {"currentUTCOffset", "37", "0", withoutTimePropertiesDS},
    {"leap59", "true", "false", withoutTimePropertiesDS},
    {"leap61", "true", "false", withoutTimePropertiesDS},
    {"timeTraceable", "true", "false", withoutTimePropertiesDS},
    {"freqTraceable", "true", "false", withoutTimePropertiesDS},
    {"ptpTimescale", "true", "false", withoutTimePropertiesDS},
    {"source", "32", "0", withoutTimePropertiesDS},
    {"packetsSent", "18446744073709551615", "0", withoutMibData},
    {"packetsReceived", "4294967297", "0", withoutMibData},
};

const Expectation transDefaultDSAttributes[] = {
    {"clockIdentity", "0102ff.fffe.0a0b0c", "000000.0000.000000", withoutDefaultDS},
    {"numOfPorts", "259", "0", withoutDefaultDS},
    {"modeAsDelay", "endToEndTransparent", "disabled", withoutDefaultDS},
    {"primaryDomain", "24", "0", withoutDefaultDS},
};

const Expectation systemAttributes[] = {{"ptpDomainClockPortsTotal", "258", "0", withoutMibData}};
const Expectation systemDomainAttributes[] = {{"totals", "1", "0", withoutMibData}};

/// Reads each attribute from a full status, without its data set, from an empty status and without a status.
template <class Row, class Key>
void expectAttributes(const Key& key, std::span<const Expectation> expectations) {
  for (const Expectation& expected : expectations) {
    const auto status = Kestor::make<Ptp::Status>("ptpStatus");
    test::fillStatus(*status);
    const auto row = Kestor::make<Row>(key, status);
    EXPECT_EQ(Zarn::attributeText(*row, expected.name), expected.value) << expected.name;
    expected.takeAway(*status);
    EXPECT_EQ(Zarn::attributeText(*row, expected.name), expected.fallback) << expected.name << " without its data set";
    const auto ofEmpty = Kestor::make<Row>(key, Kestor::make<Ptp::Status>("empty"));
    EXPECT_EQ(Zarn::attributeText(*ofEmpty, expected.name), expected.fallback) << expected.name << " of nothing";
    const auto ofNull = Kestor::make<Row>(key, Status());
    EXPECT_EQ(Zarn::attributeText(*ofNull, expected.name), expected.fallback) << expected.name << " without a status";
  }
}

const PtpSnmp::PtpTableKey key(1, ClockType::boundaryClock, 2);

TEST(PtpTableRow, EachAttributeComesFromItsDataSetAndFallsBackWithoutIt) {
  expectAttributes<PtpTableEntry>(key, ptpTableAttributes);
}
TEST(TransDefaultDSTableRow, EachAttributeComesFromTheDefaultDataSetAndFallsBackWithoutIt) {
  expectAttributes<PtpSnmp::TransDefaultDSTableEntry>(PtpSnmp::TransDefaultDSTableKey(1, 2), transDefaultDSAttributes);
}
TEST(SystemTableRow, ItsPortCountComesFromTheMibDataAndFallsBackWithoutIt) {
  expectAttributes<PtpSnmp::SystemTableEntry>(PtpSnmp::SystemTableKey(1, 2), systemAttributes);
}
TEST(SystemDomainTableRow, ItsTotalIsOneWithMibDataAndZeroWithoutIt) {
  expectAttributes<PtpSnmp::SystemDomainTableEntry>(ClockType::boundaryClock, systemDomainAttributes);
}

std::string texts(const Kestor::Node& row, std::initializer_list<const char*> names) {
  std::string all;
  for (const char* name : names) all += Zarn::attributeText(row, name) + ' ';
  return all;
}

TEST(ClockRows, TheirKeysFieldsAreAttributes) {
  EXPECT_EQ(texts(*Kestor::make<PtpTableEntry>(key, Status()),
                  {"key", "domainIndex", "clockTypeIndex", "instanceIndex", "ptpStatus"}),
            "PtpSnmp::PtpTableKey(domainIndex=1,clockTypeIndex=boundaryClock,instanceIndex=2) 1 boundaryClock 2 null ");
  EXPECT_EQ(texts(*Kestor::make<PtpSnmp::TransDefaultDSTableEntry>(PtpSnmp::TransDefaultDSTableKey(3, 4), Status()),
                  {"key", "domainIndex", "instanceIndex", "ptpStatus"}),
            "PtpSnmp::TransDefaultDSTableKey(domainIndex=3,instanceIndex=4) 3 4 null ");
  EXPECT_EQ(texts(*Kestor::make<PtpSnmp::SystemTableEntry>(PtpSnmp::SystemTableKey(5, 6), Status()),
                  {"key", "ptpDomainIndex", "ptpInstanceIndex", "ptpStatus"}),
            "PtpSnmp::SystemTableKey(ptpDomainIndex=5,ptpInstanceIndex=6) 5 6 null ");
  EXPECT_EQ(texts(*Kestor::make<PtpSnmp::SystemDomainTableEntry>(ClockType::boundaryNode, Status()),
                  {"key", "clockTypeIndex", "ptpStatus"}),
            "boundaryNode boundaryNode null ");
}

TEST(PtpTableRow, WithoutAParentDataSetReportsTheAnyAddressAndZeroIdentities) {
  const auto status = Kestor::make<Ptp::Status>("ptpStatus");
  test::fillStatus(*status);
  status->parentDSIs(nullptr);
  const auto row = Kestor::make<PtpTableEntry>(key, status);
  const PtpSnmp::ParentSourceAddrs addrs = row->parentSourceAddrs();
  EXPECT_EQ(addrs.portIdentity, Ptp::PortIdentity());
  EXPECT_EQ(addrs.source.address, Pelor::IpGenAddr("0.0.0.0"));
  EXPECT_EQ(addrs.source.address.family, Pelor::AddressFamily::ipv4);
  EXPECT_EQ(addrs.source.word, 0U);
  EXPECT_EQ(addrs.source.halfWord, 0U);
  const Ptp::ClockIdentity identity = row->gmClockIdentity();
  const unsigned char zero[8] = {};
  EXPECT_EQ(std::memcmp(&identity, zero, sizeof zero), 0);
}

TEST(PtpTableRow, TheParentSourceRecordIsCopiedAsItStands) {
  const auto status = Kestor::make<Ptp::Status>("ptpStatus");
  test::fillStatus(*status);
  const auto addrs = Kestor::make<PtpTableEntry>(key, status)->parentSourceAddrs();
  EXPECT_EQ(addrs.portIdentity, status->parentDS()->parentPortIdentity);
  EXPECT_EQ(addrs.source, status->parentDS()->parentSource);
}

TEST(PtpTableRow, WithANullStatusReportsZeroForEach16BitField) {
  const auto row = Kestor::make<PtpTableEntry>(key, Status());
  EXPECT_EQ(row->stepsRemoved(), 0);
  EXPECT_EQ(row->qualityOffset(), 0);
  EXPECT_EQ(row->gmClockQualityOffset(), 0);
  EXPECT_EQ(row->currentUTCOffset(), 0);
}

/// The 16-bit field that stands in the status as these two bytes.
Pelor::NetU16 standingAs(unsigned char first, unsigned char second) {
  const unsigned char bytes[] = {first, second};
  Pelor::NetU16 field;
  std::memcpy(&field, bytes, sizeof field);
  return field;
}

TEST(PtpTableRow, ACurrentUtcOffsetOfBytes00And25Is37) {
  const auto status = Kestor::make<Ptp::Status>("ptpStatus");
  Ptp::TimePropertiesDSValues values;
  values.currentUtcOffset = standingAs(0x00, 0x25);
  status->timePropertiesDSIs(Kestor::make<Ptp::TimePropertiesDS>(values));
  const auto row = Kestor::make<PtpTableEntry>(key, status);
  EXPECT_EQ(row->currentUTCOffset(), 37);
  values.currentUtcOffset = standingAs(0xff, 0xfe);
  status->timePropertiesDS()->valuesIs(values);
  EXPECT_EQ(row->currentUTCOffset(), -2);
}

TEST(PtpTableRow, SixteenBitFieldsAreInNetworkOrderInsideAndInHostOrderOutside) {
  const auto status = Kestor::make<Ptp::Status>("ptpStatus");
  status->currentDSIs(Kestor::make<Ptp::CurrentDS>(Ptp::CurrentDSValues{standingAs(0x01, 0x02), 0, 0}));
  Ptp::DefaultDSValues defaultDS;
  defaultDS.clockQuality.offsetScaledLogVariance = standingAs(0xff, 0xfe);
  defaultDS.numberPorts = standingAs(0x03, 0x04);
  status->defaultDSIs(Kestor::make<Ptp::DefaultDS>(defaultDS));
  Ptp::ParentDSValues parentDS;
  parentDS.grandmasterClockQuality.offsetScaledLogVariance = standingAs(0x05, 0x06);
  status->parentDSIs(Kestor::make<Ptp::ParentDS>(parentDS));
  const auto row = Kestor::make<PtpTableEntry>(key, status);
  EXPECT_EQ(row->stepsRemoved(), 0x0102);
  EXPECT_EQ(row->qualityOffset(), 0xfffe);
  EXPECT_EQ(row->gmClockQualityOffset(), 0x0506);
  const auto trans =
      Kestor::make<PtpSnmp::TransDefaultDSTableEntry>(PtpSnmp::TransDefaultDSTableKey(0, 0), Status(status));
  EXPECT_EQ(trans->numOfPorts(), 0x0304);
}

TEST(PtpTableRow, IdentitiesArePassedOnAsStored) {
  const unsigned char bytes[8] = {1, 2, 3, 0xff, 0xfe, 4, 5, 6};
  Ptp::DefaultDSValues values;
  std::memcpy(&values.clockIdentity, bytes, sizeof bytes);
  const auto status = Kestor::make<Ptp::Status>("ptpStatus");
  status->defaultDSIs(Kestor::make<Ptp::DefaultDS>(values));
  const Ptp::ClockIdentity identity = Kestor::make<PtpTableEntry>(key, status)->clockIdentity();
  EXPECT_EQ(std::memcmp(&identity, bytes, sizeof bytes), 0);
}

TEST(PtpTableRow, AReplacedDataSetIsSeenByTheNextReadOfTheSameRow) {
  const auto status = Kestor::make<Ptp::Status>("ptpStatus");
  test::fillStatus(*status);
  const auto row = Kestor::make<PtpTableEntry>(key, status);
  EXPECT_EQ(row->stepsRemoved(), 258);
  status->currentDSIs(Kestor::make<Ptp::CurrentDS>(Ptp::CurrentDSValues{Pelor::NetU16(7), 0, 0}));
  EXPECT_EQ(row->stepsRemoved(), 7);
  status->currentDS()->valuesIs({Pelor::NetU16(8), 0, 0});
  EXPECT_EQ(row->stepsRemoved(), 8) << "written in place";
}

TEST(PtpTableRow, SlaveOnlyIsFalseWhateverTheStatusHolds) {
  const auto status = Kestor::make<Ptp::Status>("ptpStatus");
  test::fillStatus(*status);
  ASSERT_TRUE(status->defaultDS()->values().slaveOnly);
  EXPECT_FALSE(Kestor::make<PtpTableEntry>(key, status)->slaveOnly());
}

}  // namespace
