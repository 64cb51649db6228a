#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

#include "Pelor/IntfId.h"
#include "Pelor/IpGenAddr.h"
#include "Pelor/NetInt.h"
#include "Zarn/Exception.h"

namespace {

using Pelor::AddressFamily;
using Pelor::IpGenAddr;

template <class Net>
std::string bytesOf(const Net& value) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

TEST(NetworkOrderIntegers, AreHeldMostSignificantByteFirst) {
  EXPECT_EQ(bytesOf(Pelor::NetU16(0x0025)), std::string("\x00\x25", 2));
  EXPECT_EQ(bytesOf(Pelor::NetU64(0x0102030405060708)), "\x01\x02\x03\x04\x05\x06\x07\x08");
}

TEST(NetworkOrderIntegers, AreReadInHostOrder) {
  EXPECT_EQ(Pelor::NetU16(0xfffe).value(), 0xfffe);
  EXPECT_EQ(Pelor::NetU64(0x0102030405060708).value(), 0x0102030405060708U);
  Pelor::NetU16 number;
  EXPECT_EQ(number.value(), 0);
  number.valueIs(37);
  EXPECT_EQ(number, Pelor::NetU16(37));
  EXPECT_NE(number, Pelor::NetU16(0x2500));
}

TEST(IpGenAddr, ADefaultOneIsTheIpv4AnyAddress) {
  EXPECT_EQ(IpGenAddr(), IpGenAddr("0.0.0.0"));
  EXPECT_EQ(IpGenAddr().stringValue(), "0.0.0.0");
  EXPECT_NE(IpGenAddr(), IpGenAddr("::"));
}

TEST(IpGenAddr, HoldsAnIpv4AddressInItsFirstFourBytes) {
  const IpGenAddr address("192.0.2.1");
  EXPECT_EQ(address.family, AddressFamily::ipv4);
  EXPECT_EQ(address.bytes, (std::array<std::uint8_t, 16>{192, 0, 2, 1}));
}

TEST(IpGenAddr, HoldsAnIpv6Address) {
  const IpGenAddr address("2001:DB8::1");
  EXPECT_EQ(address.family, AddressFamily::ipv6);
  EXPECT_EQ(address.bytes, (std::array<std::uint8_t, 16>{0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
}

TEST(IpGenAddr, ItsTextReadsBack) {
  for (const char* text : {"0.0.0.0", "192.0.2.1", "255.255.255.255", "::", "2001:db8::1", "::ffff:192.0.2.1",
                           "fe80:1111:2222:3333:4444:5555:6666:7777"}) {
    const IpGenAddr address{std::string_view(text)};
    EXPECT_EQ(address.stringValue(), text);
    std::ostringstream os;
    os << address;
    EXPECT_EQ(os.str(), text);
    EXPECT_EQ(IpGenAddr(address.stringValue()), address);
  }
}

TEST(IpGenAddr, RefusesWhatIsNoAddress) {
  using namespace std::string_view_literals;
  for (const auto bad : {""sv, "1.2.3"sv, "1.2.3.256"sv, "1.2.3.4 "sv, "1.2.3.4\0x"sv, "2001:db8:::1"sv, "host"sv}) {
    EXPECT_THROW(IpGenAddr{bad}, Zarn::RangeException) << bad;
  }
}

TEST(IntfId, IsOrderedByItsNumberAndZeroByDefault) {
  EXPECT_EQ(Pelor::IntfId{}, Pelor::IntfId{0});
  EXPECT_LT(Pelor::IntfId{1}, Pelor::IntfId{0xffffffffffffffff});
}

}  // namespace
