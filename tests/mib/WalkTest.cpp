// Walks over clocks of every size, with data sets missing, and while ports come and go.
#include <gmock/gmock.h>

#include <random>
#include <set>

#include "Device.h"
#include "SnmpAgent.h"
#include "ptpbaseMIB/ptpbaseMIB.h"

namespace {

using namespace test;

class WalkTest : public testing::Test {
 protected:
  SnmpAgent& agent_ = SnmpAgent::instance();
};

std::vector<Oid> names(const std::vector<Varbind>& cells) {
  std::vector<Oid> list;
  for (const Varbind& cell : cells) list.push_back(cell.name);
  return list;
}

// Takes a part of the status away: the n-th bit stands for one of its data sets.
void remove(Ptp::Status& status, unsigned parts) {
  if ((parts & 1) != 0) status.currentDSIs(nullptr);
  if ((parts & 2) != 0) status.parentDSIs(nullptr);
  if ((parts & 4) != 0) status.timePropertiesDSIs(nullptr);
  if ((parts & 8) != 0) status.ptpMibDataIs(nullptr);
  if ((parts & 16) != 0) status.defaultDSIs(nullptr);
}

TEST_F(WalkTest, WhateverDataSetsAreMissingEveryCellIsVisitedOnceInOrder) {
  using Clock = std::pair<void (*)(Device&), const char*>;
  for (const auto& [populateClock, golden] :
       {Clock{populateBoundaryClock, "boundary.txt"}, Clock{populateTransparentClock, "transparent.txt"}}) {
    const std::vector<Oid> all = names(goldenList(golden));
    for (unsigned parts = 0; parts < 32; ++parts) {
      ServedDevice device;
      populateClock(device);
      remove(*device.status, parts);
      EXPECT_EQ(names(agent_.walk(ptpbaseMIB())), all) << parts;
      EXPECT_EQ(names(agent_.bulkWalk(ptpbaseMIB(), 10)), all) << parts;
    }
  }
}

TEST_F(WalkTest, DataSetsMissingFromTheStartLeaveTheSameCells) {
  std::mt19937 random(1);
  for (int round = 0; round < 20; ++round) {
    Device device;
    populateTransparentClock(device);
    remove(*device.status, random() % 16);
    device.track();
    init_ptpbaseMIB("");
    EXPECT_EQ(names(agent_.walk(ptpbaseMIB())), names(goldenList("transparent.txt")));
    unregister_ptpbaseMIB("");
  }
}

// The served columns of the four port tables.
const std::vector<std::pair<Oid, std::vector<oid>>>& portColumns() {
  static const std::vector<std::pair<Oid, std::vector<oid>>> columns{
      {parseOid("1.3.6.1.2.1.241.1.2.7.1"), {5, 6, 7, 10}},
      {parseOid("1.3.6.1.2.1.241.1.2.8.1"), {5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
      {parseOid("1.3.6.1.2.1.241.1.2.9.1"), {5, 6, 7, 8, 9, 10, 11, 12, 13, 14}},
      {parseOid("1.3.6.1.2.1.241.1.2.10.1"), {4, 5, 6, 7}}};
  return columns;
}

// The cells of the port tables of a transparent clock with ports 1 to count, as the MIB orders them.
std::vector<Oid> portCells(unsigned count) {
  std::vector<Oid> cells;
  for (const auto& [entry, numbers] : portColumns()) {
    for (const oid column : numbers) {
      for (oid port = 1; port <= count; ++port) {
        cells.push_back(entry + Oid{column} + (entry[9] == 10 ? Oid{0, 1, port} : Oid{0, 3, 1, port}));
      }
    }
  }
  return cells;
}

TEST_F(WalkTest, TablesOfAnySizeAreCompleteAndInOrder) {
  const Oid ports = parseOid("1.3.6.1.2.1.241.1.2.6.2");
  for (const unsigned count : {0U, 1U, 2U, 1000U}) {
    ServedDevice device;
    Ptp::DefaultDSValues clock;
    clock.clockMode = Ptp::PtpMode::peerToPeerTransparent;
    device.status->defaultDSIs(Kestor::make<Ptp::DefaultDS>(clock));
    for (unsigned port = count; port > 0; --port) addPort(device, static_cast<std::uint16_t>(port));
    EXPECT_EQ(names(agent_.bulkWalk(ports, 50)), portCells(count)) << count;
  }
}

// Every cell of the four port tables in an optimised build; elsewhere that takes minutes, and one column stands for
// all.
TEST_F(WalkTest, TablesOf65535PortsAreCompleteAndInOrder) {
#ifdef NDEBUG
  constexpr bool everyColumn = true;
#else
  constexpr bool everyColumn = false;
#endif
  ServedDevice device;
  Ptp::DefaultDSValues clock;
  clock.clockMode = Ptp::PtpMode::peerToPeerTransparent;
  device.status->defaultDSIs(Kestor::make<Ptp::DefaultDS>(clock));
  for (unsigned port = 1; port <= 65535; ++port) addPort(device, static_cast<std::uint16_t>(port));
  for (const auto& [entry, numbers] : portColumns()) {
    for (const oid number : numbers) {
      if (!everyColumn && !(entry[9] == 8 && number == 15)) continue;
      const Oid column = entry + Oid{number};
      Oid last = column;
      oid expected = 1;
      while (expected <= 65535) {
        for (const Varbind& cell : agent_.getBulk({last}, 50).varbinds) {
          last = cell.name;
          if (expected > 65535) break;
          ASSERT_EQ(last, column + (entry[9] == 10 ? Oid{0, 1, expected} : Oid{0, 3, 1, expected}));
          ++expected;
        }
      }
    }
  }
}

// Ports come and go between any two steps of a walk; those that stay are all visited.
TEST_F(WalkTest, AWalkSurvivesAnyChangeBetweenItsSteps) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    std::mt19937 random(seed);
    ServedDevice device;
    populate(device, seed % 2 == 0 ? Ptp::PtpMode::boundary : Ptp::PtpMode::endToEndTransparent, 0);
    for (std::uint16_t port = 2; port <= 40; port += 2) addPort(device, port);  // the even ones stay
    const auto change = [&] {
      const auto port = static_cast<std::uint16_t>(1 + 2 * (random() % 20));
      if (random() % 2 == 0) {
        addPort(device, port);
      } else {
        device.status->portDSDel(
            Ptp::PortDSKey(Ptp::PortIdentity(Ptp::ClockIdentity("020000.fffe.00b001"), Pelor::NetU16(port))));
      }
    };
    const Oid column = parseOid("1.3.6.1.2.1.241.1.2.9.1.6");
    std::set<oid> even;
    Oid last = ptpbaseMIB();
    for (;;) {
      const bool bulk = random() % 2 == 0;
      const Response response =
          bulk ? agent_.getBulk({last}, 1 + static_cast<long>(random() % 7)) : agent_.getNext({last});
      ASSERT_EQ(response.errorStatus, SNMP_ERR_NOERROR);
      bool ended = false;
      for (const Varbind& cell : response.varbinds) {
        ended = cell.type == "endOfMibView" || !startsWith(cell.name, ptpbaseMIB());
        if (ended) break;
        ASSERT_GT(cell.name, last);
        last = cell.name;
        if (startsWith(last, column) && last.back() % 2 == 0 && last.back() <= 40) even.insert(last.back());
      }
      if (ended) break;
      for (unsigned changes = random() % 4; changes > 0; --changes) change();
    }
    EXPECT_EQ(even.size(), 20U);
  }
}

TEST_F(WalkTest, AWalkSurvivesARebuildOfEveryTableBetweenItsSteps) {
  ServedDevice device;
  populateBoundaryClock(device);
  std::mt19937 random(7);
  Oid last = ptpbaseMIB();
  for (int step = 0; step < 5000; ++step) {
    device.status->defaultDS()->clockModeIs(static_cast<Ptp::PtpMode>(random() % 7));
    device.status->defaultDS()->domainNumberIs(static_cast<std::uint8_t>(random() % 3));
    const Varbind cell = agent_.getNext({last}).varbinds.at(0);
    if (cell.type == "endOfMibView" || !startsWith(cell.name, ptpbaseMIB())) {
      last = ptpbaseMIB();
      continue;
    }
    ASSERT_GT(cell.name, last);
    last = cell.name;
  }
}

}  // namespace
