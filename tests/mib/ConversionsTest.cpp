#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <limits>

#include "Snmp/Converters.h"
#include "SnmpConversions/Conversions.h"
#include "Zarn/Exception.h"

namespace {

using namespace SnmpConversions;
using testing::ElementsAre;
using testing::ElementsAreArray;

using Bytes = std::vector<unsigned>;
constexpr unsigned untouched = 0xa5;

struct Result {
  std::int32_t length;
  Bytes buffer;  ///< as much of it as the converter was given
};

template <class Convert, class Value>
Result convert(Convert converter, const Value& value, std::int32_t length) {
  std::array<unsigned char, 1024> buffer;
  buffer.fill(untouched);
  const std::int32_t written = converter(value, buffer.data(), length);
  return {written, Bytes(buffer.begin(), buffer.begin() + length)};
}

template <class Convert, class Value>
int asInteger(Convert converter, const Value& value) {
  std::array<unsigned char, 1024> buffer;
  EXPECT_EQ(converter(value, buffer.data(), 1024), 4);
  int number = 0;
  std::memcpy(&number, buffer.data(), sizeof number);
  return number;
}

template <class E>
std::vector<int> allCodes(std::int32_t (*converter)(const E&, unsigned char*, std::int32_t)) {
  std::vector<int> results;
  for (unsigned code = 0; code < 256; ++code) results.push_back(asInteger(converter, static_cast<E>(code)));
  return results;
}

// 256 results of which these come first.
std::vector<int> tableOf(std::initializer_list<int> first, int others) {
  std::vector<int> results(256, others);
  std::copy(first.begin(), first.end(), results.begin());
  return results;
}

TEST(ConversionsTest, AClockTypeBecomesItsMibIntegerAndTheFifthCodeZero) {
  EXPECT_THAT(allCodes(PtpClockTypeToAsnInteger), ElementsAreArray(tableOf({1, 2, 3, 4, 0}, 0)));
  EXPECT_EQ(asInteger(PtpClockTypeToAsnInteger, PtpSnmp::ClockType::unspecifiedClock), 0);
}

TEST(ConversionsTest, AMibIntegerFrom1To4ReadsBackAsItsClockType) {
  for (long value = 1; value <= 4; ++value) {
    EXPECT_EQ(static_cast<long>(AsnIntegerToPtpClockType(&value)), value - 1);
  }
  const long one = 1;
  EXPECT_EQ(AsnIntegerToPtpClockType(&one), PtpSnmp::ClockType::ordinaryClock);
}

void expectNoClockType(long value) {
  try {
    AsnIntegerToPtpClockType(&value);
    ADD_FAILURE() << value;
  } catch (const Zarn::RangeException& why) {
    EXPECT_STREQ(why.what(), "invalid value for PtpSnmp::ClockType") << value;
  }
}

TEST(ConversionsTest, AnyOtherMibIntegerIsNoClockType) {
  for (const long value :
       {0L, 5L, -1L, 255L, 256L, 257L, long{std::numeric_limits<int>::max()}, long{std::numeric_limits<int>::min()}}) {
    expectNoClockType(value);
  }
}

TEST(ConversionsTest, AMibIntegerBeyond32BitsIsNoClockType) {
  for (const long value :
       {4294967297L, -4294967295L, std::numeric_limits<long>::max(), std::numeric_limits<long>::min()}) {
    expectNoClockType(value);
  }
}

TEST(ConversionsTest, ATimeIntervalIsEightBytesMostSignificantFirst) {
  const auto bytes = [](std::int64_t value) {
    const Result result = convert(PtpTimeIntervalToAsnOctetString, value, 255);
    EXPECT_EQ(result.length, 8);
    EXPECT_EQ(result.buffer[8], untouched);
    return Bytes(result.buffer.begin(), result.buffer.begin() + 8);
  };
  EXPECT_THAT(bytes(-1), ElementsAreArray(Bytes(8, 0xff)));
  EXPECT_THAT(bytes(1), ElementsAre(0, 0, 0, 0, 0, 0, 0, 1));
  EXPECT_THAT(bytes(0), ElementsAreArray(Bytes(8, 0)));
  EXPECT_THAT(bytes(0x0102030405060708), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
  EXPECT_THAT(bytes(std::numeric_limits<std::int64_t>::min()), ElementsAre(0x80, 0, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(bytes(std::numeric_limits<std::int64_t>::max()),
              ElementsAre(0x7f, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff));
}

TEST(ConversionsTest, ABufferOfLessThanEightBytesGetsNoTimeIntervalAndStaysAsItIs) {
  for (const std::int32_t length : {0, 1, 7}) {
    const Result result = convert(PtpTimeIntervalToAsnOctetString, Ptp::TimeInterval{-1}, length);
    EXPECT_EQ(result.length, 0);
    EXPECT_THAT(result.buffer, testing::Each(untouched));
  }
  unsigned char none = untouched;
  EXPECT_EQ(PtpTimeIntervalToAsnOctetString(1, &none, -1), 0);
  EXPECT_EQ(none, untouched);
}

TEST(ConversionsTest, AClockIdentityKeepsTheOrderOfItsBytes) {
  const Ptp::ClockIdentity identity("010203.fffe.040506");
  EXPECT_EQ(std::memcmp(&identity, "\x01\x02\x03\xff\xfe\x04\x05\x06", 8), 0);
  const Result result = convert(ClockIdentityToAsnOctetString, identity, 8);
  EXPECT_EQ(result.length, 8);
  EXPECT_THAT(result.buffer, ElementsAre(1, 2, 3, 0xff, 0xfe, 4, 5, 6));
}

TEST(ConversionsTest, ABufferOfSevenBytesGetsNoClockIdentity) {
  const Result result = convert(ClockIdentityToAsnOctetString, Ptp::ClockIdentity("010203.fffe.040506"), 7);
  EXPECT_EQ(result.length, 0);
  EXPECT_THAT(result.buffer, testing::Each(untouched));
}

TEST(ConversionsTest, APortIdentityIsItsText) {
  const std::string text = "010203.fffe.040506-65535";
  const Ptp::PortIdentity identity(text);
  const Result result = convert(PortIdentityToAsnOctetString, identity, 256);
  EXPECT_EQ(result.length, static_cast<std::int32_t>(text.size()));
  EXPECT_EQ(std::string(result.buffer.begin(), result.buffer.begin() + result.length), text);
  EXPECT_EQ(result.buffer[text.size()], untouched) << "no terminator";
}

TEST(ConversionsTest, APortIdentityThatDoesNotFitFails) {
  const Ptp::PortIdentity identity("010203.fffe.040506-1");
  EXPECT_EQ(convert(PortIdentityToAsnOctetString, identity, 20).length, 20);
  EXPECT_LT(convert(PortIdentityToAsnOctetString, identity, 19).length, 0);
}

TEST(ConversionsTest, TheModeOfATransparentClockTellsItsDelayMechanism) {
  EXPECT_THAT(allCodes(PtpModeAsDelayToAsnInteger), ElementsAreArray(tableOf({254, 254, 254, 1, 1, 2}, 254)));
  EXPECT_EQ(asInteger(PtpModeAsDelayToAsnInteger, static_cast<Ptp::PtpMode>(2)), 254);
  EXPECT_EQ(asInteger(PtpModeAsDelayToAsnInteger, static_cast<Ptp::PtpMode>(4)), 1);
}

TEST(ConversionsTest, EveryRoleButSlaveIsMaster) {
  EXPECT_THAT(allCodes(PtpRoleToAsnInteger), ElementsAreArray(tableOf({1, 2}, 1)));
}

TEST(ConversionsTest, ADelayMechanismThatIsNeitherE2eNorP2pIsDisabled) {
  EXPECT_THAT(allCodes(DelayMechToAsnInteger), ElementsAreArray(tableOf({254, 1, 2}, 254)));
  EXPECT_EQ(asInteger(DelayMechToAsnInteger, Ptp::DelayMechanism::none), 254);
}

TEST(ConversionsTest, APortStateIsItselfALockedSlaveASlaveAndAnyOtherZero) {
  std::vector<int> expected = tableOf({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 0);
  expected[144] = 9;
  EXPECT_THAT(allCodes(PortStateToAsnInteger), ElementsAreArray(expected));
  EXPECT_EQ(asInteger(PortStateToAsnInteger, static_cast<Ptp::PortState>(10)), 0);
}

TEST(ConversionsTest, ARxTxModeIsItsCodePlusOneAndAnUnknownOneZero) {
  EXPECT_THAT(allCodes(RxTxModeToAsnInteger), ElementsAreArray(tableOf({1, 2, 3}, 0)));
  EXPECT_EQ(asInteger(RxTxModeToAsnInteger, static_cast<PtpMib::RxTxMode>(3)), 0);
}

TEST(ConversionsTest, AnIntegerThatDoesNotFitFails) {
  EXPECT_LT(convert(PortStateToAsnInteger, Ptp::PortState::slave, 3).length, 0);
  EXPECT_EQ(convert(PortStateToAsnInteger, Ptp::PortState::slave, 4).length, 4);
  EXPECT_LT(convert(PtpClockTypeToAsnInteger, PtpSnmp::ClockType::boundaryClock, 0).length, 0);
}

std::vector<unsigned long> transportOid(unsigned mode) {
  std::array<unsigned char, 1024> buffer;
  const std::int32_t length = AddressTypeToAsnOid(static_cast<Ptp::TransportMode>(mode), buffer.data(), 1024);
  EXPECT_GE(length, 0);
  std::vector<unsigned long> id(static_cast<std::size_t>(length) / sizeof(unsigned long));
  if (!id.empty()) std::memcpy(id.data(), buffer.data(), static_cast<std::size_t>(length));
  return id;
}

TEST(ConversionsTest, ATransportIsItsWellKnownIdentifier) {
  EXPECT_THAT(transportOid(0), ElementsAre(1, 3, 6, 1, 2, 1, 241, 1, 2, 12, 3));
  EXPECT_THAT(transportOid(1), ElementsAre(1, 3, 6, 1, 2, 1, 241, 1, 2, 12, 1));
  EXPECT_THAT(transportOid(2), ElementsAre(1, 3, 6, 1, 2, 1, 241, 1, 2, 12, 2));
}

TEST(ConversionsTest, AnUnknownTransportIsTheEmptyIdentifier) {
  for (const unsigned mode : {3U, 7U, 255U}) EXPECT_THAT(transportOid(mode), ElementsAre()) << mode;
}

TEST(ConversionsTest, AnIdentifierThatDoesNotFitFails) {
  EXPECT_LT(convert(AddressTypeToAsnOid, Ptp::TransportMode::ipv4, 87).length, 0);
  EXPECT_EQ(convert(AddressTypeToAsnOid, Ptp::TransportMode::ipv4, 88).length, 88);
}

}  // namespace
