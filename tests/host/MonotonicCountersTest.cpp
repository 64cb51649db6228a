#include "MonotonicCounters.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace host {
namespace {

const Ptp::PortIdentity first("001122.fffe.334455-1");
const Ptp::PortIdentity second("001122.fffe.334455-2");

StatusSnapshot clockCounts(std::uint64_t sent, std::uint64_t received) {
  StatusSnapshot snapshot;
  snapshot.mibData.emplace().counters = {sent, received};
  return snapshot;
}

void addPort(StatusSnapshot& snapshot, const Ptp::PortIdentity& identity, std::uint64_t sent, std::uint64_t received) {
  PortSnapshot& port = snapshot.ports[Ptp::PortDSKey(identity)];
  port.values.portIdentity = identity;
  port.counters = {sent, received};
}

class MonotonicCountersTest : public testing::Test {
 protected:
  Ptp::PacketCounters clock(std::uint64_t sent, std::uint64_t received) {
    StatusSnapshot snapshot = clockCounts(sent, received);
    counters.apply(snapshot);
    return snapshot.mibData->counters;
  }

  Ptp::PacketCounters port(const Ptp::PortIdentity& identity, std::uint64_t sent, std::uint64_t received) {
    StatusSnapshot snapshot;
    addPort(snapshot, identity, sent, received);
    counters.apply(snapshot);
    return *snapshot.ports.at(Ptp::PortDSKey(identity)).counters;
  }

  MonotonicCounters counters;
};

using Counts = Ptp::PacketCounters;

TEST_F(MonotonicCountersTest, TheFirstRunIsShownAsItIs) {
  EXPECT_EQ(clock(7, 9), (Counts{7, 9}));
  EXPECT_EQ(clock(8, 9), (Counts{8, 9}));
  EXPECT_EQ(port(first, 3, 4), (Counts{3, 4}));
}

TEST_F(MonotonicCountersTest, AnotherRunIsAddedToWhatWasShown) {
  clock(100, 200);
  port(first, 10, 20);
  counters.newRun();
  EXPECT_EQ(clock(1, 2), (Counts{101, 202}));
  EXPECT_EQ(port(first, 3, 4), (Counts{13, 24}));
  counters.newRun();
  EXPECT_EQ(clock(5, 6), (Counts{106, 208}));
}

TEST_F(MonotonicCountersTest, AnotherRunMayCountHigherThanTheOneBefore) {
  clock(100, 100);
  counters.newRun();
  EXPECT_EQ(clock(1000, 1000), (Counts{1100, 1100}));
}

TEST_F(MonotonicCountersTest, AnEmptyRunAddsNothing) {
  clock(100, 200);
  counters.newRun();
  counters.newRun();
  EXPECT_EQ(clock(0, 0), (Counts{100, 200}));
}

TEST_F(MonotonicCountersTest, ACountThatFallsBeginsAnotherRunOfItsOwn) {
  clock(100, 200);
  EXPECT_EQ(clock(5, 201), (Counts{105, 201}));
  EXPECT_EQ(clock(6, 0), (Counts{106, 201}));
}

TEST_F(MonotonicCountersTest, PortsAreKeptApart) {
  port(first, 100, 100);
  port(second, 7, 7);
  counters.newRun();
  EXPECT_EQ(port(second, 1, 1), (Counts{8, 8}));
  EXPECT_EQ(port(first, 1, 1), (Counts{101, 101}));
}

TEST_F(MonotonicCountersTest, APortThatComesBackGoesOn) {
  port(first, 100, 100);
  StatusSnapshot without;
  counters.apply(without);
  counters.newRun();
  EXPECT_EQ(port(first, 1, 2), (Counts{101, 102}));
}

TEST_F(MonotonicCountersTest, APortOfAnotherClockGoesOnInTheRowOfItsNumber) {
  port(first, 100, 100);
  counters.newRun();
  EXPECT_EQ(port(Ptp::PortIdentity("0a0b0c.fffe.0d0e0f-1"), 1, 2), (Counts{101, 102}));
}

TEST_F(MonotonicCountersTest, TheSumOfPortsKeepsThoseThatAreGone) {
  port(first, 1600, 1);
  port(second, 1600, 1);
  EXPECT_EQ(counters.sumOfPorts(), (Counts{3200, 2}));
  StatusSnapshot without;
  counters.apply(without);
  EXPECT_EQ(counters.sumOfPorts(), (Counts{3200, 2}));
  port(second, 1600, 1);
  EXPECT_EQ(counters.sumOfPorts(), (Counts{3200, 2}));
}

// Any sequence of counts, restarts and absences, against the sum of what the ports have shown.
TEST_F(MonotonicCountersTest, TheSumOfPortsIsThatOfTheirIncrementsWhicheverComeAndGo) {
  std::uint64_t random = 1;
  std::uint64_t counts[2] = {};
  std::uint64_t shown[2] = {};
  for (int step = 0; step < 10'000; ++step) {
    random = random * 6364136223846793005U + 1442695040888963407U;
    if ((random >> 40) % 64 == 0) {
      counters.newRun();
      counts[0] = counts[1] = 0;
    }
    StatusSnapshot snapshot;
    for (unsigned i : {0u, 1u}) {
      if ((random >> (50 + i) & 1) == 0) continue;
      counts[i] += random >> 60;
      addPort(snapshot, i == 0 ? first : second, counts[i], 0);
    }
    counters.apply(snapshot);
    for (const auto& [key, port] : snapshot.ports) {
      std::uint64_t& before = shown[port.values.portIdentity.portNumber.value() - 1];
      ASSERT_GE(port.counters->packetsSent, before) << "step " << step;
      before = port.counters->packetsSent;
    }
    ASSERT_EQ(counters.sumOfPorts().packetsSent, shown[0] + shown[1]) << "step " << step;
  }
}

TEST_F(MonotonicCountersTest, WhatIsNotCountedStaysAbsent) {
  StatusSnapshot snapshot;
  snapshot.ports[Ptp::PortDSKey(first)];
  const StatusSnapshot before = snapshot;
  counters.apply(snapshot);
  EXPECT_EQ(snapshot, before);
}

TEST_F(MonotonicCountersTest, ASumBeyondSixtyFourBitsWraps) {
  clock(std::numeric_limits<std::uint64_t>::max(), 0);
  counters.newRun();
  EXPECT_EQ(clock(3, 0), (Counts{2, 0}));
}

// Any sequence of counts and restarts, against the sum of the increments.
TEST_F(MonotonicCountersTest, NoSequenceMakesACounterGoBack) {
  std::uint64_t random = 1;
  std::uint64_t count = 0;
  std::uint64_t total = 0;
  for (int step = 0; step < 10'000; ++step) {
    random = random * 6364136223846793005U + 1442695040888963407U;
    if ((random >> 40) % 16 == 0) {
      counters.newRun();
      count = 0;
    }
    const std::uint64_t packets = (random >> 50) % 100;
    count += packets;
    total += packets;
    ASSERT_EQ(clock(count, 0).packetsSent, total) << "step " << step;
  }
}

}  // namespace
}  // namespace host
