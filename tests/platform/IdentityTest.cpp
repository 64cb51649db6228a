#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <vector>

#include "Ptp/Identity.h"
#include "Ptp/PortDSKey.h"
#include "Zarn/Exception.h"
#include "Zarn/HashMap2018.h"

namespace {

using Ptp::ClockIdentity;
using Ptp::PortDSKey;
using Ptp::PortIdentity;

template <class T>
std::string streamed(const T& value) {
  std::ostringstream os;
  os << value;
  return os.str();
}

TEST(ClockIdentity, HoldsTheBytesInTheOrderOfTransmission) {
  const ClockIdentity identity("0102ff.fffe.0a0b0c");
  unsigned char bytes[8];
  std::memcpy(bytes, &identity, sizeof bytes);
  const unsigned char expected[] = {0x01, 0x02, 0xff, 0xff, 0xfe, 0x0a, 0x0b, 0x0c};
  EXPECT_EQ(std::memcmp(bytes, expected, sizeof bytes), 0);
}

TEST(ClockIdentity, ItsTextReadsBackInEitherCase) {
  const ClockIdentity identity("00aaBB.FFfe.00ccDD");
  EXPECT_EQ(identity.stringValue(), "00aabb.fffe.00ccdd");
  EXPECT_EQ(streamed(identity), "00aabb.fffe.00ccdd");
  EXPECT_EQ(ClockIdentity(identity.stringValue()), identity);
  EXPECT_EQ(ClockIdentity().stringValue(), "000000.0000.000000");
  EXPECT_EQ(ClockIdentity(Pelor::NetU64(0xffffffffffffffff)).stringValue(), "ffffff.ffff.ffffff");
}

TEST(ClockIdentity, RefusesAnyOtherText) {
  for (const char* bad : {"", "001122.fffe.33445", "001122.fffe.3344555", "001122-fffe.334455", "001122.fffe-334455",
                          "00112g.fffe.334455", "001122.ff-e.334455", "0x1122.fffe.334455", "001122.fffe.+34455"}) {
    EXPECT_THROW(ClockIdentity{std::string_view(bad)}, Zarn::RangeException) << bad;
  }
}

TEST(PortIdentity, ItsTextReadsBack) {
  for (const char* text : {"001122.fffe.334455-0", "001122.fffe.334455-1", "ffffff.ffff.ffffff-65535"}) {
    const PortIdentity identity{std::string_view(text)};
    EXPECT_EQ(identity.stringValue(), text);
    EXPECT_EQ(streamed(identity), text);
    EXPECT_EQ(PortIdentity(identity.stringValue()), identity);
  }
  EXPECT_EQ(PortIdentity().stringValue(), "000000.0000.000000-0");
}

TEST(PortIdentity, RefusesAnyOtherText) {
  for (const char* bad : {"", "001122.fffe.334455", "001122.fffe.334455-", "001122.fffe.334455-65536",
                          "001122.fffe.334455-1x", "001122.fffe.334455--1", "001122.fffe.33445-1", "-1"}) {
    EXPECT_THROW(PortIdentity{std::string_view(bad)}, Zarn::RangeException) << bad;
  }
}

TEST(PortDSKey, IsAPortIdentityIn16Bytes) {
  const PortIdentity identity("001122.fffe.334455-65535");
  const PortDSKey key(identity);
  EXPECT_EQ(sizeof key, 16U);
  EXPECT_EQ(key.identity(), identity);
  EXPECT_EQ(key.stringValue(), identity.stringValue());
  EXPECT_EQ(streamed(key), identity.stringValue());
  EXPECT_EQ(PortDSKey(std::string_view("001122.fffe.334455-65535")), key);
  EXPECT_THROW(PortDSKey(std::string_view("1")), Zarn::RangeException);
}

TEST(PortDSKey, IsOrderedByClockAndThenByPortAsNumbers) {
  const std::vector<PortDSKey> ascending = {
      PortDSKey(std::string_view("000000.0000.000001-2")), PortDSKey(std::string_view("000000.0000.000001-256")),
      PortDSKey(std::string_view("000000.0000.000100-1")), PortDSKey(std::string_view("800000.0000.000000-0"))};
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    for (std::size_t j = 0; j < ascending.size(); ++j) {
      EXPECT_EQ(ascending[i] <=> ascending[j], i <=> j);
      EXPECT_EQ(ascending[i] == ascending[j], i == j);
    }
  }
}

TEST(PortDSKey, ItsHashDependsOnClockPortAndSeed) {
  const PortDSKey key(std::string_view("001122.fffe.334455-1"));
  EXPECT_EQ(key.hash(1), PortDSKey(key).hash(1));
  EXPECT_NE(key.hash(1), key.hash(2));
  EXPECT_NE(key.hash(1), PortDSKey(std::string_view("001122.fffe.334455-2")).hash(1));
  EXPECT_NE(key.hash(1), PortDSKey(std::string_view("001122.fffe.334456-1")).hash(1));
  EXPECT_EQ(Ptp::PortDSKeyed::hash(key, Zarn::hashSeed()), key.hash(Zarn::hashSeed()));
}

TEST(PortDSKey, EightNeighbouringPortsHaveNeighbouringHashes) {
  const auto hash = [](std::uint16_t port) {
    return PortDSKey(PortIdentity{ClockIdentity("001122.fffe.334455"), Pelor::NetU16(port)}).hash(7);
  };
  for (std::uint16_t port = 8; port < 16; ++port) EXPECT_EQ(hash(port), hash(8) + port - 8);
  EXPECT_NE(hash(16), hash(8) + 8);
}

}  // namespace
