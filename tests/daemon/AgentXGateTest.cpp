#include "gate/AgentXGate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string_view>
#include <vector>

#include "AgentXMessages.h"

namespace {

using namespace host::gate;
using test::agentx::Bytes;
using test::agentx::Order;
using test::agentx::Writer;

constexpr std::uint8_t get = 5;
constexpr std::uint8_t getNext = 6;
constexpr std::uint8_t getBulk = 7;
constexpr std::uint8_t withContext = 0x08;

std::vector<Bytes> goodMessages(Order order) {
  const Writer to(order);
  const Bytes range = Writer::joined({to.name(8), to.name(0, 0)});
  return {to.message(get, range),
          to.message(getNext, Writer::joined({range, range})),
          to.message(getBulk, Writer::joined({{0, 0, 0, 0}, range})),
          to.message(get, Writer::joined({to.string("red"), range}), withContext),
          to.message(agentXTestSetType, to.varbind(2, to.number(5))),
          to.message(agentXCommitSetType, {}),
          to.message(agentXUndoSetType, {}),
          to.message(agentXCleanupSetType, {}),
          to.message(agentXResponseType, Bytes(8, 0)),
          to.message(agentXResponseType, Writer::joined({Bytes(8, 0), to.varbind(4, to.string("abc"))}))};
}

TEST(AgentXGate, WhatAMasterSendsPasses) {
  for (const Order order : {Order::network, Order::little}) {
    for (const Bytes& each : goodMessages(order)) EXPECT_TRUE(isAgentXMessage(each)) << ::testing::PrintToString(each);
  }
}

TEST(AgentXGate, AMessageThatIsCutOffOrFollowedDoesNotPass) {
  for (const Bytes& each : goodMessages(Order::little)) {
    for (std::size_t size = 0; size < each.size(); ++size) EXPECT_FALSE(isAgentXMessage(std::span(each).first(size)));
    Bytes longer = each;
    longer.push_back(0);
    EXPECT_FALSE(isAgentXMessage(longer));
  }
}

TEST(AgentXGate, APayloadIsFilledToTheOctet) {
  const Writer to(Order::network);
  const Bytes range = Writer::joined({to.name(8), to.name(0, 0)});
  EXPECT_FALSE(isAgentXMessage(to.message(get, to.name(8)))) << "half a range";
  EXPECT_FALSE(isAgentXMessage(to.message(get, Writer::joined({range, {0, 0}}))));
  EXPECT_FALSE(isAgentXMessage(to.message(getBulk, {0, 0})));
  EXPECT_FALSE(isAgentXMessage(to.message(agentXCleanupSetType, {0, 0, 0, 0})));
  EXPECT_FALSE(isAgentXMessage(to.message(agentXResponseType, Bytes(4, 0))));
}

TEST(AgentXGate, ANameHasAtMost128SubIdentifiersWithThoseOfItsPrefix) {
  const Writer to(Order::network);
  const auto named = [&](int arcs, std::uint8_t prefix) {
    return isAgentXMessage(to.message(get, Writer::joined({to.name(arcs, prefix), to.name(0, 0)})));
  };
  EXPECT_TRUE(named(128, 0));
  EXPECT_FALSE(named(129, 0));
  EXPECT_TRUE(named(123, 2));
  EXPECT_FALSE(named(124, 2));
  EXPECT_FALSE(named(255, 0));
  EXPECT_FALSE(isAgentXMessage(to.message(get, Writer::joined({to.name(3), to.name(129, 0)})))) << "the bound, too";
}

TEST(AgentXGate, AContextHasAtMost255OctetsAndNoNul) {
  const Writer to(Order::little);
  const auto in = [&](std::string_view context) {
    return isAgentXMessage(
        to.message(get, Writer::joined({to.string(context), to.name(3), to.name(0, 0)}), withContext));
  };
  EXPECT_TRUE(in(std::string(255, 'c')));
  EXPECT_FALSE(in(std::string(256, 'c')));
  EXPECT_FALSE(in(std::string(12, '\0')));
  EXPECT_TRUE(in(""));
  Bytes lies = to.message(get, Writer::joined({to.number(0xfffffffd), Bytes(12, 'c')}), withContext);
  EXPECT_FALSE(isAgentXMessage(lies)) << "a length that wraps round";
}

TEST(AgentXGate, AValueHasATypeOfAgentX) {
  const Writer to(Order::network);
  const auto holds = [&](std::uint32_t type, const Bytes& value) {
    return isAgentXMessage(to.message(agentXTestSetType, to.varbind(type, value)));
  };
  for (const std::uint32_t type : {2U, 65U, 66U, 67U}) EXPECT_TRUE(holds(type, to.number(1))) << type;
  EXPECT_TRUE(holds(70, Bytes(8, 1)));
  EXPECT_FALSE(holds(70, Bytes(4, 1)));
  for (const std::uint32_t type : {4U, 68U}) EXPECT_TRUE(holds(type, to.string("abcde"))) << type;
  EXPECT_TRUE(holds(64, to.string("abcd")));
  EXPECT_FALSE(holds(64, to.string("abcde")));
  EXPECT_TRUE(holds(6, to.name(9)));
  EXPECT_FALSE(holds(6, to.name(129)));
  for (const std::uint32_t type : {5U, 128U, 129U, 130U}) EXPECT_TRUE(holds(type, {})) << type;
  for (const std::uint32_t type : {0U, 3U, 48U, 71U, 192U, 200U, 65535U}) EXPECT_FALSE(holds(type, {})) << type;
}

TEST(AgentXGate, OnlyTheKindsOfAMasterPass) {
  const Writer to(Order::network);
  for (const std::uint8_t kind : {0, 1, 2, 3, 4, 12, 13, 14, 15, 16, 17, 19, 255}) {
    EXPECT_FALSE(isAgentXMessage(to.message(kind, Bytes(8, 0)))) << int{kind};
    EXPECT_FALSE(isAgentXMessage(to.message(kind, {}))) << int{kind};
  }
}

TEST(AgentXGate, TheHeaderIsOfVersion1AndHasNoOtherFlags) {
  const Bytes good = goodMessages(Order::network).front();
  for (const std::uint8_t flag : {0x20, 0x40, 0x80}) {
    Bytes bad = good;
    bad[2] |= flag;
    EXPECT_FALSE(isAgentXMessage(bad)) << int{flag};
  }
  Bytes bad = good;
  bad[0] = 2;
  EXPECT_FALSE(isAgentXMessage(bad));
}

TEST(AgentXGate, ARefusalIsAResponseToTheMessageInItsOrderOfOctets) {
  for (const Order order : {Order::network, Order::little}) {
    const Writer to(order);
    const Bytes asked = goodMessages(order).front();
    AgentXHeader header;
    std::copy_n(asked.begin(), header.size(), header.begin());
    EXPECT_EQ(agentXLength(header), asked.size());
    EXPECT_EQ(agentXPacketId(header), 9U);
    const AgentXResponse refusal = agentXRefusal(header, AgentXError::parseError, 3);
    EXPECT_EQ(Bytes(refusal.begin(), refusal.end()),
              to.message(agentXResponseType, Writer::joined({to.number(0), to.number(266, 2), to.number(3, 2)})));
    EXPECT_TRUE(isAgentXMessage(refusal));
  }
}

TEST(AgentXGate, AnyOctetsAreJudged) {
  std::vector<Bytes> good = goodMessages(Order::network);
  for (Bytes& each : goodMessages(Order::little)) good.push_back(std::move(each));
  std::mt19937 random(1);
  for (int round = 0; round < 200'000; ++round) {
    Bytes message = good[random() % good.size()];
    for (unsigned changes = 1 + random() % 3; changes > 0; --changes) {
      message[random() % message.size()] = static_cast<std::uint8_t>(random());
    }
    isAgentXMessage(message);
  }
}

}  // namespace
