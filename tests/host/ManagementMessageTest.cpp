#include "ptp4l/ManagementMessage.h"

#include <gtest/gtest.h>

#include "PtpMessages.h"
#include "ptp4l/ManagementData.h"

namespace host::ptp4l {
namespace {

using test::Bytes;

const Ptp::PortIdentity self("0a0b0c.0d0e.0f1011-77");

Bytes request(ManagementId id, std::uint16_t port = allPorts) {
  const auto bytes = encode({.id = id, .domain = {}, .port = port, .sequenceId = 0x1234, .sender = self});
  return {bytes.begin(), bytes.end()};
}

const Bytes defaultAnswer = test::answer(request(ManagementId::defaultDataSet), test::defaultDataSet);

TEST(ManagementMessage, ARequestIsAGetToAllClocksThatStaysOnThisHost) {
  const auto bytes = encode({.id = ManagementId::portDataSet,
                             .domain = {.domainNumber = 24, .transportSpecific = 1},
                             .port = 3,
                             .sequenceId = 0x1234,
                             .sender = self});
  EXPECT_EQ(Bytes(bytes.begin(), bytes.end()), test::fromHex("1d020036"
                                                             "18000000"
                                                             "0000000000000000"
                                                             "00000000"
                                                             "0a0b0c0d0e0f1011004d"
                                                             "1234"
                                                             "047f"
                                                             "ffffffffffffffff0003"
                                                             "00000000"
                                                             "000100022004"));
}

TEST(ManagementMessage, AResponseIsReadAsItWasWritten) {
  Bytes asked = request(ManagementId::portDataSet, 1);
  asked[0] = 0x1d;
  asked[test::at::domain] = 24;
  const Bytes message = test::answer(asked, test::portDataSet);
  const auto response = parseResponse(message);
  ASSERT_TRUE(response);
  EXPECT_EQ(response->domain, (Domain{.domainNumber = 24, .transportSpecific = 1}));
  EXPECT_EQ(response->source.stringValue(), "020000.fffe.000b01-1");
  EXPECT_EQ(response->sequenceId, 0x1234);
  EXPECT_EQ(response->target.stringValue(), self.stringValue());
  EXPECT_EQ(response->id, ManagementId::portDataSet);
  EXPECT_FALSE(response->error);
  EXPECT_EQ(Bytes(response->data.begin(), response->data.end()), test::portDataSet);
}

TEST(ManagementMessage, AnErrorStatusNamesTheDataThatIsMissing) {
  const auto message = test::refusal(request(ManagementId::portStatsNp), 2);
  const auto response = parseResponse(message);
  ASSERT_TRUE(response);
  EXPECT_EQ(response->id, ManagementId::portStatsNp);
  EXPECT_EQ(response->error, ManagementError::noSuchId);
  EXPECT_TRUE(response->data.empty());
}

TEST(ManagementMessage, ATruncatedReplyYieldsNothing) {
  for (std::size_t size = 0; size < defaultAnswer.size(); ++size) {
    Bytes cut(defaultAnswer.begin(), defaultAnswer.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_FALSE(parseResponse(cut)) << size;
    if (size < test::at::sequenceId) continue;
    test::putU16(cut, test::at::messageLength, static_cast<std::uint16_t>(size));
    EXPECT_FALSE(parseResponse(cut)) << size << ", with a length to match";
  }
}

TEST(ManagementMessage, LengthsThatLieYieldNothing) {
  for (const std::uint16_t length : {0, 3, 33, 1000, 0xffff}) {
    Bytes message = defaultAnswer;
    test::putU16(message, test::at::messageLength, length);
    EXPECT_FALSE(parseResponse(message)) << "message length " << length;
  }
  for (const std::uint16_t length : {0, 1, 23, 0xffff}) {
    Bytes message = defaultAnswer;
    test::putU16(message, test::at::tlv + 2, length);
    EXPECT_FALSE(parseResponse(message)) << "TLV length " << length;
  }
}

TEST(ManagementMessage, WhatFollowsTheMessageIsIgnored) {
  Bytes message = defaultAnswer;
  message.resize(message.size() + 7, 0xee);
  const auto response = parseResponse(message);
  ASSERT_TRUE(response);
  EXPECT_EQ(response->data.size(), test::defaultDataSet.size());
}

TEST(ManagementMessage, OtherMessagesYieldNothing) {
  EXPECT_FALSE(parseResponse(request(ManagementId::defaultDataSet))) << "a request";
  const auto with = [](std::size_t offset, std::uint8_t value) {
    Bytes message = defaultAnswer;
    message[offset] = value;
    return message;
  };
  EXPECT_FALSE(parseResponse(with(0, 0x0b))) << "an Announce message";
  EXPECT_FALSE(parseResponse(with(1, 0x01))) << "PTP version 1";
  EXPECT_FALSE(parseResponse(with(test::at::tlv + 1, 9))) << "another TLV";
  EXPECT_TRUE(parseResponse(with(1, 0x12))) << "PTP version 2.1";
}

TEST(ManagementData, EachDataSetIsReadAsPtp4lSendsIt) {
  const auto defaultDS = decodeDefaultDataSet(test::defaultDataSet);
  ASSERT_TRUE(defaultDS);
  EXPECT_TRUE(defaultDS->twoStepFlag);
  EXPECT_TRUE(defaultDS->slaveOnly);
  EXPECT_EQ(defaultDS->numberPorts.value(), 1);
  EXPECT_EQ(defaultDS->priority1, 128);
  EXPECT_EQ(defaultDS->clockQuality.clockClass, 255);
  EXPECT_EQ(defaultDS->clockQuality.clockAccuracy, 0xfe);
  EXPECT_EQ(defaultDS->clockQuality.offsetScaledLogVariance.value(), 0xffff);
  EXPECT_EQ(defaultDS->clockIdentity.stringValue(), "020000.fffe.000b01");

  const auto currentDS = decodeCurrentDataSet(test::currentDataSet);
  ASSERT_TRUE(currentDS);
  EXPECT_EQ(currentDS->stepsRemoved.value(), 1);
  EXPECT_EQ(currentDS->offsetFromMaster, 0x178000) << "23.5 ns";
  EXPECT_EQ(currentDS->meanPathDelay, -1728 * 65536) << "negative delays exist";

  const auto parentDS = decodeParentDataSet(test::parentDataSet);
  ASSERT_TRUE(parentDS);
  EXPECT_EQ(parentDS->parentPortIdentity.stringValue(), "020000.fffe.000a01-1");
  EXPECT_FALSE(parentDS->parentStats);
  EXPECT_EQ(parentDS->observedParentOffsetScaledLogVariance.value(), 0xffff);
  EXPECT_EQ(parentDS->observedParentClockPhaseChangeRate, 0x7fffffff);
  EXPECT_EQ(parentDS->grandmasterPriority1, 100);
  EXPECT_EQ(parentDS->grandmasterClockQuality.clockClass, 248);
  EXPECT_EQ(parentDS->grandmasterPriority2, 128);
  EXPECT_EQ(parentDS->grandmasterIdentity.stringValue(), "020000.fffe.000a01");
}

TEST(ManagementData, EachFlagOfTheTimePropertiesIsItsOwn) {
  using Flag = bool Ptp::TimePropertiesDSValues::*;
  using Values = Ptp::TimePropertiesDSValues;
  const Flag flags[] = {&Values::leap61,       &Values::leap59,        &Values::currentUtcOffsetValid,
                        &Values::ptpTimescale, &Values::timeTraceable, &Values::frequencyTraceable};
  for (std::size_t set = 0; set < std::size(flags); ++set) {
    const auto values = decodeTimePropertiesDataSet(Bytes{0, 37, static_cast<std::uint8_t>(1 << set), 0xa0});
    ASSERT_TRUE(values);
    EXPECT_EQ(values->currentUtcOffset.value(), 37);
    EXPECT_EQ(values->timeSource, 0xa0);
    for (std::size_t i = 0; i < std::size(flags); ++i) EXPECT_EQ(*values.*flags[i], i == set) << i;
  }
}

TEST(ManagementData, APortIsReadAsPtp4lSendsIt) {
  const auto port = decodePortDataSet(test::portDataSet);
  ASSERT_TRUE(port);
  EXPECT_EQ(port->portIdentity.stringValue(), "020000.fffe.000b01-1");
  EXPECT_EQ(port->portState, Ptp::PortState::uncalibrated);
  EXPECT_EQ(port->logAnnounceInterval, 1);
  EXPECT_EQ(port->announceReceiptTimeout, 3);
  EXPECT_EQ(port->delayMechanism, Ptp::DelayMechanism::e2e);
  EXPECT_EQ(port->logMinPdelayReqInterval, -3);
  EXPECT_EQ(decodePortProperties(test::portProperties), "hpb0");
  EXPECT_EQ(decodePortStats(test::portStats()), (Ptp::PacketCounters{.packetsSent = 258, .packetsReceived = 14}));
  EXPECT_EQ(
      decodeClockDescription(test::clockDescription),
      (ClockDescription{.clockType = ClockDescription::ordinaryClock, .networkProtocol = ClockDescription::ieee8023}));
}

TEST(ManagementData, TheTimeStatusIsReadAsPtp4lSendsIt) {
  const auto status =
      decodeTimeStatus(test::fromHex("ffffffffffffffa618ea02a34448f3c4"
                                     "00000000000000000000"
                                     "000000000000000000000000"
                                     "00000001020000fffe000a01"));
  ASSERT_TRUE(status);
  EXPECT_EQ(status->masterOffset, -90);
  EXPECT_TRUE(status->gmPresent);
  EXPECT_EQ(status->gmIdentity.stringValue(), "020000.fffe.000a01");
}

// One byte behind the last field that is read is missing; with the whole layout there is a value.
template <class Decode>
void expectAllOrNothing(Decode decode, Bytes data, std::size_t read) {
  EXPECT_TRUE(decode(data));
  for (std::size_t size = 0; size < read; ++size) EXPECT_FALSE(decode(std::span(data).first(size))) << size;
}

TEST(ManagementData, DataThatIsTooShortYieldsNothing) {
  expectAllOrNothing(decodeDefaultDataSet, test::defaultDataSet, 19);
  expectAllOrNothing(decodeCurrentDataSet, test::currentDataSet, 18);
  expectAllOrNothing(decodeParentDataSet, test::parentDataSet, 32);
  expectAllOrNothing(decodeTimePropertiesDataSet, test::timePropertiesDataSet, 4);
  expectAllOrNothing(decodePortDataSet, test::portDataSet, 25);
  expectAllOrNothing(decodePortProperties, test::portProperties, 17);
  expectAllOrNothing(decodePortStats, test::portStats(), 266);
  expectAllOrNothing(decodeClockDescription, test::clockDescription, 23);
}

TEST(ManagementData, AnInterfaceNameThatCannotBeShownIsEmpty) {
  const auto named = [](std::size_t length, std::uint8_t character) {
    Bytes properties = test::portProperties;
    properties.resize(12);
    properties.push_back(static_cast<std::uint8_t>(length));
    properties.resize(13 + length, character);
    return decodePortProperties(properties);
  };
  EXPECT_EQ(named(64, 'x'), std::string(64, 'x'));
  EXPECT_EQ(named(65, 'x'), "");
  EXPECT_EQ(named(255, 'x'), "");
  EXPECT_EQ(named(4, 0), "");
}

TEST(ManagementData, APortStateThatIsNoneYieldsNothing) {
  for (int state = 0; state <= 0xff; ++state) {
    Bytes data = test::portDataSet;
    data[10] = static_cast<std::uint8_t>(state);
    EXPECT_EQ(decodePortDataSet(data).has_value(), state >= 1 && state <= 9) << state;
  }
}

TEST(ManagementData, TextLengthsThatLieYieldNothing) {
  Bytes properties = test::portProperties;
  properties[12] = 255;
  EXPECT_FALSE(decodePortProperties(properties));
  Bytes description = test::clockDescription;
  description[2] = 255;
  EXPECT_FALSE(decodeClockDescription(description));
}

}  // namespace
}  // namespace host::ptp4l
