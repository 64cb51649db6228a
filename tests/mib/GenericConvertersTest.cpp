// The generic converters write what the agent library takes: each value goes into a variable and is read back there.
#include <gtest/gtest.h>

#include <limits>

#include "Kestor/String.h"
#include "Snmp/Converters.h"
#include "Varbind.h"

namespace {

using namespace test;

template <class Converter, class Value>
std::string throughVariable(const Value& value, u_char type) {
  unsigned char buffer[1024];
  const std::int32_t length = Converter{}(value, buffer, sizeof buffer);
  EXPECT_GE(length, 0);
  netsnmp_variable_list variable{};
  EXPECT_EQ(snmp_set_var_typed_value(&variable, type, buffer, static_cast<std::size_t>(length)), 0);
  const Varbind varbind = fromLibrary(variable);
  snmp_free_var_internals(&variable);
  return varbind.type + " " + varbind.value;
}

TEST(GenericConvertersTest, SignedIntegersKeepTheirSign) {
  EXPECT_EQ(throughVariable<Snmp::S32ToAsnIntegerF>(std::numeric_limits<int>::min(), ASN_INTEGER),
            "INTEGER -2147483648");
  EXPECT_EQ(throughVariable<Snmp::S32ToAsnIntegerF>(-1, ASN_INTEGER), "INTEGER -1");
  EXPECT_EQ(throughVariable<Snmp::S32ToAsnIntegerF>(0, ASN_INTEGER), "INTEGER 0");
  EXPECT_EQ(throughVariable<Snmp::S32ToAsnIntegerF>(std::numeric_limits<int>::max(), ASN_INTEGER),
            "INTEGER 2147483647");
}

TEST(GenericConvertersTest, UnsignedIntegersStayUnsigned) {
  EXPECT_EQ(throughVariable<Snmp::U32ToAsnUnsignedF>(0U, ASN_GAUGE), "Gauge32 0");
  EXPECT_EQ(throughVariable<Snmp::U32ToAsnUnsignedF>(2147483648U, ASN_GAUGE), "Gauge32 2147483648");
  EXPECT_EQ(throughVariable<Snmp::U32ToAsnUnsignedF>(4294967295U, ASN_GAUGE), "Gauge32 4294967295");
  EXPECT_EQ(throughVariable<Snmp::U32ToAsnUnsignedF>(4294967295U, ASN_COUNTER), "Counter32 4294967295");
}

TEST(GenericConvertersTest, ATruthValueIs1Or2) {
  EXPECT_EQ(throughVariable<Snmp::BoolToAsnIntegerF>(true, ASN_INTEGER), "INTEGER 1");
  EXPECT_EQ(throughVariable<Snmp::BoolToAsnIntegerF>(false, ASN_INTEGER), "INTEGER 2");
}

TEST(GenericConvertersTest, ACounter64KeepsBothHalves) {
  for (const unsigned long value : {0UL, 1UL, 4294967295UL, 4294967296UL, std::numeric_limits<unsigned long>::max()}) {
    EXPECT_EQ(throughVariable<Snmp::U64ToCounter64F>(value, ASN_COUNTER64), "Counter64 " + std::to_string(value));
  }
}

TEST(GenericConvertersTest, AStringHasNoTerminator) {
  EXPECT_EQ(throughVariable<Snmp::StringToAsnOctetStringF>(Kestor::String("Az"), ASN_OCTET_STR), "STRING 417a");
  EXPECT_EQ(throughVariable<Snmp::StringToAsnOctetStringF>(Kestor::String(), ASN_OCTET_STR), "STRING ");
  EXPECT_EQ(throughVariable<Snmp::StringToAsnOctetStringF>(Kestor::String("a\0b", 3), ASN_OCTET_STR), "STRING 610062");
}

TEST(GenericConvertersTest, AnIdentifierIsItsSubIdentifiers) {
  EXPECT_EQ(
      throughVariable<Snmp::SnmpObjectIdentifierToAsnOidF>(Snmp::ObjectIdentifier(".1.3.6.4294967295"), ASN_OBJECT_ID),
      "OID 1.3.6.4294967295");
  EXPECT_EQ(throughVariable<Snmp::SnmpObjectIdentifierToAsnOidF>(Snmp::ObjectIdentifier(""), ASN_OBJECT_ID), "OID ");
}

TEST(GenericConvertersTest, AValueThatDoesNotFitFailsAndWritesNothing) {
  unsigned char buffer[16] = {};
  EXPECT_LT(Snmp::S32ToAsnIntegerF{}(-1, buffer, 3), 0);
  EXPECT_LT(Snmp::U32ToAsnUnsignedF{}(4294967295U, buffer, 3), 0);
  EXPECT_LT(Snmp::BoolToAsnIntegerF{}(true, buffer, 3), 0);
  EXPECT_LT(Snmp::U64ToCounter64F{}(~0UL, buffer, 15), 0);
  EXPECT_LT(Snmp::StringToAsnOctetStringF{}("abc", buffer, 2), 0);
  for (const unsigned char byte : buffer) EXPECT_EQ(byte, 0);
}

}  // namespace
