// Every cell of two fully populated clocks, held against lists written by hand, by each way of asking for it.
#include <gmock/gmock.h>

#include <algorithm>

#include "Device.h"
#include "SnmpAgent.h"

namespace {

using namespace test;
using testing::ElementsAreArray;

struct Clock {
  const char* golden;
  void (*populate)(Device&);
};
void PrintTo(const Clock& clock, std::ostream* os) { *os << clock.golden; }

class GoldenTest : public testing::TestWithParam<Clock> {
 protected:
  GoldenTest() { GetParam().populate(device_); }

  ServedDevice device_;
  SnmpAgent& agent_ = SnmpAgent::instance();
  const std::vector<Varbind> golden_ = goldenList(GetParam().golden);
};

std::vector<Oid> names(const std::vector<Varbind>& varbinds) {
  std::vector<Oid> list;
  for (const Varbind& varbind : varbinds) list.push_back(varbind.name);
  return list;
}

TEST_P(GoldenTest, TheListIsInWalkOrderWithoutDuplicates) {
  EXPECT_TRUE(std::is_sorted(golden_.begin(), golden_.end(),
                             [](const Varbind& left, const Varbind& right) { return left.name <= right.name; }));
}

TEST_P(GoldenTest, GetAnswersEachCell) {
  for (const Varbind& cell : golden_) {
    const Response response = agent_.get({cell.name});
    EXPECT_EQ(response.errorStatus, SNMP_ERR_NOERROR);
    EXPECT_THAT(response.varbinds, ElementsAreArray({cell}));
  }
}

TEST_P(GoldenTest, GetNextFromEachCellAnswersTheFollowingOne) {
  for (std::size_t i = 0; i + 1 < golden_.size(); ++i) {
    EXPECT_THAT(agent_.getNext({golden_[i].name}).varbinds, ElementsAreArray({golden_[i + 1]}));
  }
}

TEST_P(GoldenTest, NothingFollowsTheLastCell) {
  const Varbind next = agent_.getNext({golden_.back().name}).varbinds.at(0);
  EXPECT_TRUE(next.type == "endOfMibView" || !startsWith(next.name, ptpbaseMIB())) << next;
}

TEST_P(GoldenTest, AWalkVisitsEachCellOnceInOrder) {
  EXPECT_THAT(agent_.walk(ptpbaseMIB()), ElementsAreArray(golden_));
}

TEST_P(GoldenTest, ABulkWalkVisitsTheSameCellsWhateverItsRepetitions) {
  for (const long repetitions : {1, 2, 10, 50}) {
    EXPECT_THAT(agent_.bulkWalk(ptpbaseMIB(), repetitions), ElementsAreArray(golden_)) << repetitions;
  }
}

TEST_P(GoldenTest, OneGetOfAllCellsAnswersAll) {
  // In groups, so that the response fits a datagram of the library's; each group spans rows and tables.
  const std::vector<Oid> all = names(golden_);
  for (std::size_t stride = 1; stride <= 7; ++stride) {
    std::vector<Oid> wanted;
    std::vector<Varbind> expected;
    for (std::size_t i = 0; i < 40; ++i) {
      const std::size_t at = i * stride * 11 % all.size();
      wanted.push_back(all[at]);
      expected.push_back(golden_[at]);
    }
    const Response response = agent_.get(wanted);
    EXPECT_EQ(response.errorStatus, SNMP_ERR_NOERROR);
    EXPECT_THAT(response.varbinds, ElementsAreArray(expected)) << stride;
  }
}

TEST_P(GoldenTest, RowsOfOneTableInOneGetAnswerInTheOrderAsked) {
  // Descending order: the agent must not stop at what the first varbind found.
  std::vector<Varbind> wanted;
  for (const Varbind& cell : golden_) {
    if (startsWith(cell.name, parseOid("1.3.6.1.2.1.241.1.2.9"))) wanted.insert(wanted.begin(), cell);
  }
  ASSERT_EQ(wanted.size(), 20U);
  EXPECT_THAT(agent_.get(names(wanted)).varbinds, ElementsAreArray(wanted));
}

TEST_P(GoldenTest, AbsentCellsAmongPresentOnesDisturbNoneOfThem) {
  const Oid absent = parseOid("1.3.6.1.2.1.241.1.2.9.1.6.99.2.1.1");
  for (const Varbind& cell : golden_) {
    const Response response = agent_.get({absent, cell.name, absent});
    ASSERT_EQ(response.varbinds.size(), 3U);
    EXPECT_EQ(response.varbinds[0].type, "noSuchInstance");
    EXPECT_EQ(response.varbinds[1], cell);
    EXPECT_EQ(response.varbinds[2].type, "noSuchInstance");
  }
}

TEST_P(GoldenTest, GetNextOfManyColumnsStepsEach) {
  std::vector<Oid> heads;
  std::vector<Varbind> expected;
  for (std::size_t i = 0; i + 1 < golden_.size(); i += 4) {
    heads.push_back(golden_[i].name);
    expected.push_back(golden_[i + 1]);
  }
  EXPECT_THAT(agent_.getNext(heads).varbinds, ElementsAreArray(expected));
}

TEST_P(GoldenTest, AVersion1WalkPassesOverTheCounter64Columns) {
  std::vector<Varbind> expected;
  std::copy_if(golden_.begin(), golden_.end(), std::back_inserter(expected),
               [](const Varbind& cell) { return cell.type != "Counter64"; });
  EXPECT_LT(expected.size(), golden_.size());
  EXPECT_THAT(agent_.walk(ptpbaseMIB(), SNMP_VERSION_1), ElementsAreArray(expected));
}

// What a walk from a name finds first: the first cell that is greater.
Varbind firstAfter(const std::vector<Varbind>& golden, const Oid& start) {
  for (const Varbind& cell : golden) {
    if (cell.name > start) return cell;
  }
  return {};
}

TEST_P(GoldenTest, AWalkMayStartAnywhere) {
  std::vector<Oid> starts{ptpbaseMIB(), parseOid("1.3.6.1.2.1.241.1"), parseOid("1.3.6.1.2.1.241.1.2")};
  for (const Varbind& cell : golden_) {
    const Oid table(cell.name.begin(), cell.name.begin() + 10);
    const Oid entry = table + Oid{1};
    const Oid column(cell.name.begin(), cell.name.begin() + 12);
    starts.insert(starts.end(), {table, entry, column, column + Oid{0}, table + Oid{0}});
    for (oid index = 0; index < 5; ++index) starts.push_back(entry + Oid{index});  // columns that cannot be read
    for (std::size_t length = 13; length < cell.name.size(); ++length) {           // indexes cut short
      starts.emplace_back(cell.name.begin(), cell.name.begin() + static_cast<std::ptrdiff_t>(length));
    }
    for (std::size_t at = 12; at < cell.name.size(); ++at) {  // indexes of no row, below and above
      Oid below = cell.name;
      --below[at];
      Oid above = cell.name;
      ++above[at];
      Oid highest = cell.name;
      highest[at] = 4294967295;
      starts.insert(starts.end(), {below, above, highest});
    }
    starts.push_back(cell.name + Oid{0});  // an index too long
    starts.push_back(cell.name + Oid{7, 7});
  }
  std::sort(starts.begin(), starts.end());
  starts.erase(std::unique(starts.begin(), starts.end()), starts.end());
  for (const Oid& start : starts) {
    const Varbind expected = firstAfter(golden_, start);
    const Varbind found = agent_.getNext({start}).varbinds.at(0);
    if (expected.name.empty()) {
      EXPECT_FALSE(startsWith(found.name, ptpbaseMIB()) && found.type != "endOfMibView") << found;
    } else {
      EXPECT_EQ(found, expected) << "from " << oidText(start);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Clocks, GoldenTest,
                         testing::Values(Clock{"boundary.txt", populateBoundaryClock},
                                         Clock{"transparent.txt", populateTransparentClock}),
                         [](const auto& clock) {
                           return clock.index == 0 ? std::string("Boundary") : std::string("Transparent");
                         });

}  // namespace
