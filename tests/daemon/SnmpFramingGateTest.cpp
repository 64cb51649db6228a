#include "gate/SnmpFraming.h"

#include <gtest/gtest.h>

#include <random>

#include "SnmpMessages.h"
#include "gate/SnmpGate.h"

namespace {

using namespace test::snmp;
using host::gate::SnmpFraming;

const Bytes small = message(pdu(get, varbind({1, 3})));
const Bytes large = message(pdu(get, varbind({1, 3}, octets(Bytes(300, 'x')))));

TEST(SnmpFraming, NeverMoreThanOneMessageIsTaken) {
  SnmpFraming framing;
  const Bytes both = small + large + small;
  EXPECT_EQ(framing.take(both), small.size());
  EXPECT_EQ(framing.take(large + small), large.size());
  EXPECT_EQ(framing.take(small), small.size());
}

TEST(SnmpFraming, AMessageEndsWhereItDoesInWhateverPartsItComes) {
  std::mt19937 random(1);
  for (int round = 0; round < 1000; ++round) {
    SnmpFraming framing;
    for (const Bytes& each : {small, large, small, large}) {
      const Bytes stream = each + small;
      std::size_t at = 0;
      while (at < each.size()) {
        const std::size_t brought = std::min<std::size_t>(1 + random() % 40, stream.size() - at);
        const std::size_t taken = framing.take(std::span(stream).subspan(at, brought));
        ASSERT_GT(taken, 0U);
        at += taken;
      }
      ASSERT_EQ(at, each.size());
    }
  }
}

TEST(SnmpFraming, WhatBeginsNoMessageIsTakenWhole) {
  SnmpFraming framing;
  EXPECT_EQ(framing.take(bytes("GET / HTTP/1.1\r\n")), 16U);
  EXPECT_EQ(framing.take(Bytes{sequence, 0x84, 0x7f, 0xff, 0xff, 0xff, 1, 2}), 8U);
}

TEST(SnmpFraming, AnEmptyMessageHasTwoOctets) {
  SnmpFraming framing;
  EXPECT_EQ(framing.take(Bytes{sequence, 0, sequence, 0}), 2U);
}

}  // namespace
