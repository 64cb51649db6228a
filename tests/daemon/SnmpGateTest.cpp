#include "gate/SnmpGate.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

#include "SnmpMessages.h"

namespace {

using namespace test::snmp;
using host::gate::judgeDeciphered;
using host::gate::judgeSnmpMessage;
using host::gate::largestSnmpMessage;
using host::gate::snmpMessageLength;
using enum host::gate::SnmpVerdict;

const Oid name{1, 3, 6, 1, 2, 1, 1, 3, 0};

Bytes oidOf(std::size_t arcs) {
  Oid oid(arcs, 1);
  oid[1] = 3;
  return tlv(sequence, objectIdentifier(oid) + null());
}

Bytes withValue(std::uint8_t tag, const Bytes& contents) {
  return message(pdu(set, varbind(name, tlv(tag, contents))));
}

Version3 plain() { return {.data = scopedPdu(pdu(get, varbind(name)))}; }

std::vector<Bytes> goodMessages() {
  Version3 encrypted{.flags = octets(Bytes{7}),
                     .authentication = octets(Bytes(24, 1)),
                     .privacy = octets(Bytes(8, 2)),
                     .data = octets(Bytes(64, 3))};
  Version3 discovery{.engineId = octets(""),
                     .boots = integer(0),
                     .time = integer(0),
                     .user = octets(""),
                     .data = scopedPdu(pdu(get, {}), "", {})};
  return {message(pdu(get, varbind(name))),
          message(pdu(getNext, varbind(name) + varbind({1, 3})), 0),
          message(pdu(getBulk, varbind({1, 3, 6}), 0, 50)),
          message(pdu(set, varbind(name, integer(-5)))),
          message(pdu(get, {})),
          plain().message(),
          encrypted.message(),
          discovery.message()};
}

TEST(SnmpGate, WhatManagersSendPasses) {
  for (const Bytes& each : goodMessages()) EXPECT_EQ(judgeSnmpMessage(each), passes) << ::testing::PrintToString(each);
}

TEST(SnmpGate, AMessageThatIsCutOffAnywhereIsNotWellFormed) {
  for (const Bytes& each : goodMessages()) {
    for (std::size_t size = 0; size < each.size(); ++size) {
      EXPECT_EQ(judgeSnmpMessage(std::span(each).first(size)), notWellFormed) << size << " of " << each.size();
    }
  }
}

TEST(SnmpGate, NothingMayFollowAMessage) {
  for (const Bytes& each : goodMessages()) EXPECT_EQ(judgeSnmpMessage(each + Bytes{0}), notWellFormed);
}

// Whatever contains the value must then be longer than what contains that in its turn, or end before it.
TEST(SnmpGate, ALengthThatIsOneTooLongOrTooShortIsNotWellFormed) {
  const Bytes good = message(pdu(get, varbind(name)));
  for (const std::size_t at : {1U, 14U, 25U, 27U, 29U}) {
    for (const int difference : {-1, 1}) {
      Bytes bad = good;
      bad[at] = static_cast<std::uint8_t>(bad[at] + difference);
      EXPECT_EQ(judgeSnmpMessage(bad), notWellFormed) << "octet " << at << ", " << difference;
    }
  }
}

TEST(SnmpGate, LengthsMayBeWrittenInUpToFourOctets) {
  const Bytes inside = integer(1) + octets("public") + pdu(get, varbind(name));
  const auto size = static_cast<std::uint8_t>(inside.size());
  for (const Bytes& form :
       {Bytes{0x81, size}, Bytes{0x82, 0, size}, Bytes{0x83, 0, 0, size}, Bytes{0x84, 0, 0, 0, size}}) {
    EXPECT_EQ(judgeSnmpMessage(Bytes{sequence} + form + inside), passes);
  }
  EXPECT_EQ(judgeSnmpMessage(Bytes{sequence, 0x85, 0, 0, 0, 0, size} + inside), notWellFormed);
  EXPECT_EQ(judgeSnmpMessage(Bytes{sequence, 0x80} + inside + Bytes{0, 0}), notWellFormed) << "indefinite";
  EXPECT_EQ(judgeSnmpMessage(Bytes{sequence, 0x84, 0xff, 0xff, 0xff, 0xff} + inside), notWellFormed);
}

TEST(SnmpGate, NumbersMayHaveLeadingOctetsThatSayNothing) {
  const Bytes list = tlv(sequence, varbind(name));
  EXPECT_EQ(judgeSnmpMessage(message(tlv(get, Bytes{2, 4, 0, 0, 0, 7} + integer(0) + integer(0) + list))), passes);
  EXPECT_EQ(judgeSnmpMessage(message(tlv(get, Bytes{2, 8, 0, 0, 0, 0, 0, 0, 0, 7} + integer(0) + integer(0) + list))),
            passes);
  EXPECT_EQ(
      judgeSnmpMessage(message(tlv(get, Bytes{2, 9, 0, 0, 0, 0, 0, 0, 0, 0, 7} + integer(0) + integer(0) + list))),
      notWellFormed);
  EXPECT_EQ(judgeSnmpMessage(message(tlv(get, Bytes{2, 0} + integer(0) + integer(0) + list))), notWellFormed);
}

TEST(SnmpGate, NumbersHave32Bits) {
  for (const std::int64_t good : {-2147483648LL, 2147483647LL, 4294967295LL}) {
    EXPECT_EQ(judgeSnmpMessage(message(pdu(get, varbind(name), 0, 0, good))), passes) << good;
  }
  for (const std::int64_t bad : {-2147483649LL, 4294967296LL}) {
    EXPECT_EQ(judgeSnmpMessage(message(pdu(get, varbind(name), 0, 0, bad))), notWellFormed) << bad;
  }
  for (const std::int64_t bad : {-2147483649LL, 2147483648LL}) {
    EXPECT_EQ(judgeSnmpMessage(message(pdu(get, varbind(name), bad))), notWellFormed) << bad;
    EXPECT_EQ(judgeSnmpMessage(message(pdu(getBulk, varbind(name), 0, bad))), notWellFormed) << bad;
  }
}

TEST(SnmpGate, AVersionThatIsNoneOfThreeIsAnotherOne) {
  for (const std::int64_t version : {2, 4, -1, 2147483647}) {
    EXPECT_EQ(judgeSnmpMessage(message(pdu(get, varbind(name)), version)), badVersion) << version;
  }
}

TEST(SnmpGate, ACommunityHasAtMost255Octets) {
  EXPECT_EQ(judgeSnmpMessage(message(pdu(get, varbind(name)), 1, std::string(255, 'c'))), passes);
  EXPECT_EQ(judgeSnmpMessage(message(pdu(get, varbind(name)), 1, std::string(256, 'c'))), notWellFormed);
  EXPECT_EQ(judgeSnmpMessage(message(pdu(get, varbind(name)), 1, "")), passes);
}

TEST(SnmpGate, ANameHasAtMost128SubIdentifiers) {
  EXPECT_EQ(judgeSnmpMessage(message(pdu(get, oidOf(128)))), passes);
  EXPECT_EQ(judgeSnmpMessage(message(pdu(get, oidOf(129)))), notWellFormed);
}

TEST(SnmpGate, SubIdentifiersHave32BitsInAsFewOctetsAsTheyNeed) {
  const auto named = [](const Bytes& arcs) { return message(pdu(get, tlv(sequence, tlv(6, arcs) + null()))); };
  EXPECT_EQ(judgeSnmpMessage(named({0x2b, 0x8f, 0xff, 0xff, 0xff, 0x7f})), passes);
  EXPECT_EQ(judgeSnmpMessage(named({0x2b, 0x90, 0x80, 0x80, 0x80, 0x00})), notWellFormed) << "33 bits";
  EXPECT_EQ(judgeSnmpMessage(named({0x2b, 0x80, 0x01})), notWellFormed) << "a leading octet that says nothing";
  EXPECT_EQ(judgeSnmpMessage(named({0x2b, 0x81})), notWellFormed) << "no end";
  EXPECT_EQ(judgeSnmpMessage(named({})), passes) << "of some managers, for 0.0";
}

TEST(SnmpGate, AValueHasATypeOfSmiAndItsSize) {
  for (const auto& [tag, contents] :
       std::vector<std::pair<std::uint8_t, Bytes>>{{0x02, {1}},
                                                   {0x41, {0, 255, 255, 255, 255}},
                                                   {0x42, {1}},
                                                   {0x43, {1}},
                                                   {0x46, {0, 255, 1, 2, 3, 4, 5, 6, 7}},
                                                   {0x04, {}},
                                                   {0x44, {1, 2}},
                                                   {0x44, {0x9f, 0x78, 4, 1, 2, 3, 4}},
                                                   {0x44, {0x9f, 0x79, 8, 1, 2, 3, 4, 5, 6, 7, 8}},
                                                   {0x44, {0x9f, 0x7a, 1, 5}},
                                                   {0x44, {0x9f, 0x10, 9, 5}},
                                                   {0x06, {0x2b}},
                                                   {0x40, {127, 0, 0, 1}},
                                                   {0x05, {}},
                                                   {0x80, {}},
                                                   {0x82, {}}}) {
    EXPECT_EQ(judgeSnmpMessage(withValue(tag, contents)), passes) << int{tag};
  }
  for (const auto& [tag, contents] : std::vector<std::pair<std::uint8_t, Bytes>>{{0x02, {}},
                                                                                 {0x02, Bytes(6, 1)},
                                                                                 {0x41, {1, 2, 3, 4, 5}},
                                                                                 {0x46, Bytes(9, 1)},
                                                                                 {0x46, Bytes(10, 0)},
                                                                                 {0x44, {0x9f, 0x78, 5, 1, 2, 3, 4}},
                                                                                 {0x44, {0x9f, 0x78, 3, 1, 2, 3}},
                                                                                 {0x44, {0x9f, 0x7a, 0}},
                                                                                 {0x44, {0x9f, 0x76, 0x82, 1, 1}},

                                                                                 {0x40, {127, 0, 0}},
                                                                                 {0x05, {0}},
                                                                                 {0x80, {0}},
                                                                                 {0x03, {0, 1}},

                                                                                 {0x24, {}},
                                                                                 {0x30, {}},
                                                                                 {0xff, {}},
                                                                                 {0x00, {}}}) {
    EXPECT_EQ(judgeSnmpMessage(withValue(tag, contents)), notWellFormed) << int{tag} << ", " << contents.size();
  }
}

TEST(SnmpGate, AVarbindIsANameAndAValue) {
  const Bytes id = objectIdentifier(name);
  for (const Bytes& bad : {id, id + null() + null(), null() + id, id + id + null(), Bytes{}}) {
    EXPECT_EQ(judgeSnmpMessage(message(pdu(get, tlv(sequence, bad)))), notWellFormed);
  }
  EXPECT_EQ(judgeSnmpMessage(message(pdu(get, id + null()))), notWellFormed) << "outside of one";
}

TEST(SnmpGate, OnlyRequestsThatAnAgentAnswersPass) {
  EXPECT_EQ(judgeSnmpMessage(message(pdu(getBulk, varbind(name)), 0)), notWellFormed) << "not in version 1";
  for (const std::uint8_t tag : {0xa2, 0xa4, 0xa6, 0xa7, 0xa8}) {
    EXPECT_EQ(judgeSnmpMessage(message(pdu(tag, varbind(name)))), notForAnAgent) << int{tag};
    Version3 sent = plain();
    sent.data = scopedPdu(pdu(tag, varbind(name)));
    EXPECT_EQ(judgeSnmpMessage(sent.message()), notForAnAgent) << int{tag};
  }
  for (const std::uint8_t tag : {0x30, 0xa9, 0xbf, 0x80, 0x20}) {
    EXPECT_EQ(judgeSnmpMessage(message(pdu(tag, varbind(name)))), notWellFormed) << int{tag};
  }
}

TEST(SnmpGate, TheHeaderOfVersion3HasItsBounds) {
  const auto with = [](auto change) {
    Version3 sent = plain();
    change(sent);
    return judgeSnmpMessage(sent.message());
  };
  EXPECT_EQ(with([](Version3& v) { v.messageId = integer(2147483647); }), passes);
  EXPECT_EQ(with([](Version3& v) { v.messageId = integer(-1); }), notWellFormed);
  EXPECT_EQ(with([](Version3& v) { v.maxSize = integer(484); }), passes);
  EXPECT_EQ(with([](Version3& v) { v.maxSize = integer(483); }), notWellFormed);
  EXPECT_EQ(with([](Version3& v) { v.maxSize = integer(2147483648); }), notWellFormed);
  EXPECT_EQ(with([](Version3& v) { v.flags = octets(""); }), notWellFormed);
  EXPECT_EQ(with([](Version3& v) { v.flags = octets(Bytes{4, 4}); }), notWellFormed);
  EXPECT_EQ(with([](Version3& v) { v.model = integer(4); }), unknownSecurityModel);
  EXPECT_EQ(with([](Version3& v) { v.model = integer(0); }), notWellFormed);
  EXPECT_EQ(with([](Version3& v) { v.model = v.model + integer(1); }), notWellFormed) << "a number too many";
}

TEST(SnmpGate, TheSecurityParametersHaveTheirBounds) {
  const auto with = [](auto change) {
    Version3 sent = plain();
    change(sent);
    return judgeSnmpMessage(sent.message());
  };
  EXPECT_EQ(with([](Version3& v) { v.engineId = octets(Bytes(32, 1)); }), passes);
  EXPECT_EQ(with([](Version3& v) { v.engineId = octets(Bytes(33, 1)); }), notWellFormed);
  EXPECT_EQ(with([](Version3& v) { v.boots = integer(2147483647); }), passes);
  EXPECT_EQ(with([](Version3& v) { v.boots = integer(-1); }), notWellFormed);
  EXPECT_EQ(with([](Version3& v) { v.time = integer(2147483648); }), notWellFormed);
  EXPECT_EQ(with([](Version3& v) { v.user = octets(Bytes(32, 'u')); }), passes);
  EXPECT_EQ(with([](Version3& v) { v.user = octets(Bytes(33, 'u')); }), notWellFormed);
  EXPECT_EQ(with([](Version3& v) { v.user = octets(Bytes{'u', 0}); }), notWellFormed);
  EXPECT_EQ(with([](Version3& v) { v.authentication = octets(Bytes(48, 1)); }), passes);
  EXPECT_EQ(with([](Version3& v) { v.authentication = octets(Bytes(49, 1)); }), notWellFormed);
  EXPECT_EQ(with([](Version3& v) { v.privacy = octets(Bytes(9, 1)); }), notWellFormed);
  EXPECT_EQ(with([](Version3& v) { v.privacy = v.privacy + octets(""); }), notWellFormed) << "a field too many";
}

TEST(SnmpGate, AMessageIsEncryptedIfItSaysSo) {
  Version3 sent = plain();
  sent.flags = octets(Bytes{7});
  EXPECT_EQ(judgeSnmpMessage(sent.message()), notWellFormed);
  sent.data = octets(sent.data);
  EXPECT_EQ(judgeSnmpMessage(sent.message()), passes);
  sent.flags = octets(Bytes{5});
  EXPECT_EQ(judgeSnmpMessage(sent.message()), notWellFormed);
}

TEST(SnmpGate, AContextHasBoundsAndIsText) {
  const auto in = [](std::string_view contextName, const Bytes& engineId) {
    Version3 sent{.data = scopedPdu(pdu(get, varbind(name)), contextName, engineId)};
    return judgeSnmpMessage(sent.message());
  };
  EXPECT_EQ(in(std::string(255, 'c'), Bytes(32, 1)), passes);
  EXPECT_EQ(in(std::string(256, 'c'), {}), notWellFormed);
  EXPECT_EQ(in("", Bytes(33, 1)), notWellFormed);
  EXPECT_EQ(in(std::string_view("a\0b", 3), {}), notWellFormed);
}

TEST(SnmpGate, WhatWasDecipheredIsJudgedAndMayBePadded) {
  const Bytes good = scopedPdu(pdu(get, varbind(name)));
  EXPECT_EQ(judgeDeciphered(good), passes);
  EXPECT_EQ(judgeDeciphered(good + Bytes(7, 0)), passes);
  EXPECT_EQ(judgeDeciphered(std::span(good).first(good.size() - 1)), notWellFormed);
  EXPECT_EQ(judgeDeciphered(scopedPdu(pdu(get, oidOf(129)))), notWellFormed);
  EXPECT_EQ(judgeDeciphered({}), notWellFormed);
}

TEST(SnmpGate, TheLengthOfAMessageIsKnownFromItsHeader) {
  const Bytes large = message(pdu(get, oidOf(120) + oidOf(120)));
  ASSERT_GT(large.size(), 256U);
  for (std::size_t size = 0; size < 4; ++size) EXPECT_EQ(snmpMessageLength(std::span(large).first(size)), 0U) << size;
  EXPECT_EQ(snmpMessageLength(std::span(large).first(4)), large.size());
  EXPECT_EQ(snmpMessageLength(large + large), large.size());
  for (const Bytes& never :
       {Bytes{0x31}, Bytes{sequence, 0x80}, Bytes{sequence, 0x85, 0}, Bytes{sequence, 0x83, 1, 0, 0}}) {
    EXPECT_GT(snmpMessageLength(never), largestSnmpMessage);
  }
}

// Octets that are changed by chance find the lengths that lie and the tags that are none; a sanitizer sees what they
// do.
TEST(SnmpGate, AnyOctetsAreJudged) {
  const std::vector<Bytes> good = goodMessages();
  std::mt19937 random(1);
  for (int round = 0; round < 200'000; ++round) {
    Bytes message = good[random() % good.size()];
    for (unsigned changes = 1 + random() % 3; changes > 0; --changes) {
      message[random() % message.size()] = static_cast<std::uint8_t>(random());
    }
    const bool passed = judgeSnmpMessage(message) == passes;
    EXPECT_TRUE(!passed || snmpMessageLength(message) == message.size());
  }
}

}  // namespace
