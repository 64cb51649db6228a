#include "Snmp/Converters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <vector>

#include "Kestor/String.h"
#include "Zarn/Exception.h"

namespace {

constexpr unsigned char untouched = 0xcd;

/// Converts into a buffer of the length, and sees that what lies beyond the result stays as it was.
template <class Converter, class Value>
std::vector<unsigned char> converted(const Converter& convert, const Value& value, std::size_t length = 1024) {
  std::vector<unsigned char> buffer(length + 1, untouched);
  const std::int32_t written = convert(value, buffer.data(), length);
  const std::size_t size = written < 0 ? 0 : static_cast<std::size_t>(written);
  EXPECT_LE(size, length);
  EXPECT_TRUE(std::all_of(buffer.begin() + static_cast<std::ptrdiff_t>(size), buffer.end(),
                          [](unsigned char byte) { return byte == untouched; }));
  buffer.resize(size);
  return buffer;
}

template <class T>
std::vector<unsigned char> bytesOf(const T& value) {
  std::vector<unsigned char> bytes(sizeof value);
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

template <class Converter, class Value>
void expectTooShortOneByteEarlier(const Converter& convert, const Value& value, std::size_t size) {
  std::vector<unsigned char> buffer(size, untouched);
  EXPECT_EQ(convert(value, buffer.data(), size - 1), -1);
  EXPECT_EQ(buffer, std::vector<unsigned char>(size, untouched));
  EXPECT_EQ(convert(value, buffer.data(), size), static_cast<std::int32_t>(size));
}

TEST(Converters, ASignedIntegerTakesFourBytes) {
  for (const int value : {0, 1, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    EXPECT_EQ(converted(Snmp::S32ToAsnIntegerF{}, value), bytesOf(value));
  }
  expectTooShortOneByteEarlier(Snmp::S32ToAsnIntegerF{}, 1, 4);
}

TEST(Converters, AnUnsignedIntegerTakesFourBytes) {
  for (const unsigned value : {0U, 1U, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(converted(Snmp::U32ToAsnUnsignedF{}, value), bytesOf(value));
  }
  expectTooShortOneByteEarlier(Snmp::U32ToAsnUnsignedF{}, 1U, 4);
}

TEST(Converters, ATruthValueIsOneOrTwo) {
  EXPECT_EQ(converted(Snmp::BoolToAsnIntegerF{}, true), bytesOf(std::int32_t{1}));
  EXPECT_EQ(converted(Snmp::BoolToAsnIntegerF{}, false), bytesOf(std::int32_t{2}));
  expectTooShortOneByteEarlier(Snmp::BoolToAsnIntegerF{}, true, 4);
}

TEST(Converters, AStringIsItsBytesWithoutATerminator) {
  const Kestor::String text("eth\0x", 5);
  EXPECT_EQ(converted(Snmp::StringToAsnOctetStringF{}, text), (std::vector<unsigned char>{'e', 't', 'h', 0, 'x'}));
  EXPECT_TRUE(converted(Snmp::StringToAsnOctetStringF{}, Kestor::String()).empty());
  EXPECT_EQ(Snmp::StringToAsnOctetStringF{}(Kestor::String(), nullptr, 0), 0);
  expectTooShortOneByteEarlier(Snmp::StringToAsnOctetStringF{}, text, 5);
}

TEST(Converters, ACounterIsItsHighAndItsLowHalf) {
  const std::pair<unsigned long, Snmp::Counter64> cases[] = {
      {0, {0, 0}},
      {0xffffffff, {0, 0xffffffff}},
      {0x100000000, {1, 0}},
      {0xffffffffffffffff, {0xffffffff, 0xffffffff}},
  };
  for (const auto& [value, counter] : cases) EXPECT_EQ(converted(Snmp::U64ToCounter64F{}, value), bytesOf(counter));
  expectTooShortOneByteEarlier(Snmp::U64ToCounter64F{}, 1UL, sizeof(Snmp::Counter64));
}

TEST(Converters, AnObjectIdentifierIsItsSubIdentifiers) {
  const Snmp::ObjectIdentifier identifier(".1.3.4294967295");
  const std::array<unsigned long, 3> expected{1, 3, 4294967295};
  EXPECT_EQ(converted(Snmp::SnmpObjectIdentifierToAsnOidF{}, identifier), bytesOf(expected));
  EXPECT_TRUE(converted(Snmp::SnmpObjectIdentifierToAsnOidF{}, Snmp::ObjectIdentifier("")).empty());
  expectTooShortOneByteEarlier(Snmp::SnmpObjectIdentifierToAsnOidF{}, identifier, sizeof expected);
}

TEST(Converters, AnUnsignedVarbindMustFit32Bits) {
  for (const unsigned long value : {0UL, 1UL, 0xffffffffUL}) EXPECT_EQ(Snmp::AsnUnsignedToU32(&value), value);
  for (const unsigned long value : {0x100000000UL, ~0UL}) {
    EXPECT_THROW(Snmp::AsnUnsignedToU32(&value), Zarn::RangeException) << value;
  }
}

TEST(Converters, AnIntegerVarbindMustFit32Bits) {
  for (const long value : {0L, -1L, 2147483647L, -2147483648L}) EXPECT_EQ(Snmp::AsnIntegerToS32(&value), value);
  for (const long value : {2147483648L, -2147483649L}) {
    EXPECT_THROW(Snmp::AsnIntegerToS32(&value), Zarn::RangeException) << value;
  }
}

TEST(ObjectIdentifier, ReadsItsTextWithOrWithoutTheLeadingDot) {
  for (const char* text : {".1.3.6.1", "1.3.6.1"}) {
    const Snmp::ObjectIdentifier identifier(text);
    ASSERT_EQ(identifier.size(), 4U);
    EXPECT_EQ(std::vector(identifier.data(), identifier.data() + 4), (std::vector{1UL, 3UL, 6UL, 1UL}));
  }
  EXPECT_EQ(Snmp::ObjectIdentifier("").size(), 0U);
}

TEST(ObjectIdentifier, HoldsAtMost128SubIdentifiers) {
  std::string text;
  for (int i = 0; i < 128; ++i) text += ".1";
  EXPECT_EQ(Snmp::ObjectIdentifier(text).size(), 128U);
  EXPECT_THROW(Snmp::ObjectIdentifier(text + ".1"), Zarn::RangeException);
}

TEST(ObjectIdentifier, RefusesAnyOtherText) {
  for (const char* bad : {".", "1.", "..1", "1..2", "1.x", "1.4294967296", "1.-1", " 1", "x"}) {
    EXPECT_THROW(Snmp::ObjectIdentifier{bad}, Zarn::RangeException) << bad;
  }
}

}  // namespace
