#include "MonotonicCounters.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace host {
namespace {

const Ptp::PortDSKey first("001122.fffe.334455-1");
const Ptp::PortDSKey second("001122.fffe.334455-2");

StatusSnapshot clockCounts(std::uint64_t sent, std::uint64_t received) {
  StatusSnapshot snapshot;
  snapshot.mibData.emplace().counters = {sent, received};
  return snapshot;
}

StatusSnapshot portCounts(const Ptp::PortDSKey& key, std::uint64_t sent, std::uint64_t received) {
  StatusSnapshot snapshot;
  snapshot.ports[key].counters = {sent, received};
  return snapshot;
}

class MonotonicCountersTest : public testing::Test {
 protected:
  Ptp::PacketCounters clock(std::uint64_t sent, std::uint64_t received) {
    StatusSnapshot snapshot = clockCounts(sent, received);
    counters.apply(snapshot);
    return snapshot.mibData->counters;
  }

  Ptp::PacketCounters port(const Ptp::PortDSKey& key, std::uint64_t sent, std::uint64_t received) {
    StatusSnapshot snapshot = portCounts(key, sent, received);
    counters.apply(snapshot);
    return *snapshot.ports.at(key).counters;
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

TEST_F(MonotonicCountersTest, WhatIsNotCountedStaysAbsent) {
  StatusSnapshot snapshot;
  snapshot.ports[first];
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
