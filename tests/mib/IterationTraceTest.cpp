#include <fmt/format.h>
#include <gmock/gmock.h>

#include "Iteration.h"
#include "TraceCapture.h"

namespace {

using namespace test;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using Lines = std::vector<std::string>;

std::string address(const void* pointer) { return fmt::format("{}", fmt::ptr(pointer)); }

class IterationTraceTest : public testing::TestWithParam<Table> {
 protected:
  IterationTraceTest() { addRows(device_); }

  std::string line(const std::string& rest) const { return "Snmp/2 " + table_.name + rest; }
  std::string start(const Hint* hint) const {
    return line(fmt::format("_get_first_data_point - *hint = {}, number_indexes = {}",
                            hint == nullptr ? "0" : address(&hint->info),
                            hint == nullptr ? 0 : +hint->info.number_indexes));
  }
  std::string good(std::size_t i, oid value) const {
    return "Snmp/2 hint component " + table_.indexes[i].name + " is '" + componentText(table_.indexes[i], value) + "'";
  }
  std::string outOfRange(std::size_t i, long value) const {
    const std::string why =
        table_.indexes[i].type == ASN_INTEGER
            ? "invalid value for PtpSnmp::ClockType"
            : fmt::format("{} does not fit an unsigned 32-bit integer", static_cast<unsigned long>(value));
    return fmt::format("Snmp/0 hint for index {} of {} is out of range! {}", table_.indexes[i].name, table_.name, why);
  }
  std::string allocated(const Walk& walk, bool matched) const {
    return line(fmt::format("_get_first_data_point - allocated new loop context {}, hintMatched={}",
                            address(walk.loopContext), matched ? 1 : 0));
  }
  std::string found(std::size_t good) const {
    return line(
        fmt::format("_get_first_data_point - needed {} components, found only {}", table_.indexes.size(), good));
  }
  Lines written(const Oid& index) const {
    Lines lines;
    for (std::size_t i = 0; i < index.size(); ++i) {
      lines.push_back(line("IterationHelper - iterator has another value: " + table_.indexes[i].component + "=" +
                           componentText(table_.indexes[i], index[i])));
    }
    return lines;
  }

  const Table& table_ = GetParam();
  Device device_;
  const std::vector<Oid>& rows_ = rowIndexes(GetParam());
};

Lines operator+(Lines lines, const Lines& more) {
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

TEST_P(IterationTraceTest, AMatchingHintIsToldComponentByComponent) {
  Walk walk(table_, device_);
  const Hint hint(table_, rows_.back());
  TraceCapture traces("Snmp/0-31");
  walk.first(&hint);
  Lines expected{start(&hint)};
  for (std::size_t i = 0; i < table_.indexes.size(); ++i) expected.push_back(good(i, rows_.back()[i]));
  expected.push_back(allocated(walk, true));
  EXPECT_THAT(traces.take(), ElementsAreArray(expected + written(rows_.back())));
}

TEST_P(IterationTraceTest, AWalkWithoutAHintSaysSo) {
  Walk walk(table_, device_);
  TraceCapture traces("Snmp/0-31");
  walk.first();
  EXPECT_THAT(traces.take(), ElementsAreArray(Lines{start(nullptr), allocated(walk, false)} + written(rows_.front())));
}

TEST_P(IterationTraceTest, AKeyWithoutARowIsNamedInFull) {
  Device empty;
  Walk walk(table_, empty);
  const Hint hint(table_, rows_.back());
  TraceCapture traces("Snmp/0-31");
  walk.first(&hint);
  const Lines lines = traces.take();
  EXPECT_THAT(lines,
              Contains(line("_get_first_data_point - key '" + keyText(table_, rows_.back()) + "' not found in table")));
  EXPECT_EQ(lines.back(), line("IterationHelper - iterator is at end"));
}

TEST_P(IterationTraceTest, AComponentOfAnotherTypeIsAnErrorAndTheOthersAreExaminedStill) {
  for (std::size_t bad = 0; bad < table_.indexes.size(); ++bad) {
    Walk walk(table_, device_);
    Hint hint(table_, rows_.back());
    const unsigned expected = table_.indexes[bad].type;
    const unsigned got = expected == ASN_INTEGER ? 66 : 2;
    hint.component(bad).type = static_cast<u_char>(got);
    TraceCapture traces("Snmp/0-31");
    EXPECT_EQ(walk.first(&hint), rows_.front());
    Lines lines{start(&hint)};
    for (std::size_t i = 0; i < table_.indexes.size(); ++i) {
      lines.push_back(i != bad ? good(i, rows_.back()[i])
                               : fmt::format("Snmp/0 hint for {} has incorrect type! Expecting {} but got {}",
                                             table_.indexes[i].name, expected, got));
    }
    lines.push_back(found(table_.indexes.size() - 1));
    lines.push_back(allocated(walk, false));
    EXPECT_THAT(traces.take(), ElementsAreArray(lines + written(rows_.front())));
  }
}

TEST_P(IterationTraceTest, AComponentOutOfRangeIsAnErrorAndTheOthersAreExaminedStill) {
  for (std::size_t bad = 0; bad < table_.indexes.size(); ++bad) {
    for (const long value : {4294967296L, -1L, long{1} << 62}) {
      Walk walk(table_, device_);
      Hint hint(table_, rows_.back());
      *hint.component(bad).val.integer = value;
      TraceCapture traces("Snmp/0-31");
      EXPECT_EQ(walk.first(&hint), rows_.front());
      const Lines lines = traces.take();
      ASSERT_EQ(lines.size(), table_.indexes.size() * 2 + 3);
      for (std::size_t i = 0; i < table_.indexes.size(); ++i) {
        EXPECT_EQ(lines[i + 1], i == bad ? outOfRange(i, value) : good(i, rows_.back()[i]));
      }
      EXPECT_EQ(lines[table_.indexes.size() + 1], found(table_.indexes.size() - 1));
    }
  }
}

TEST_P(IterationTraceTest, MissingComponentsCountAsNotGood) {
  for (std::size_t left = 0; left < table_.indexes.size(); ++left) {
    Walk walk(table_, device_);
    Hint hint(table_, rows_.back());
    hint.cut(left);
    TraceCapture traces("Snmp/0-31");
    walk.first(&hint);
    Lines expected{start(&hint)};
    for (std::size_t i = 0; i < left; ++i) expected.push_back(good(i, rows_.back()[i]));
    expected.push_back(found(left));
    expected.push_back(allocated(walk, false));
    EXPECT_THAT(traces.take(), ElementsAreArray(expected + written(rows_.front())));
  }
}

TEST_P(IterationTraceTest, AdvancingAndTheEndAreTold) {
  Walk walk(table_, device_);
  walk.first();
  TraceCapture traces("Snmp/0-31");
  walk.next();
  const std::string loop = address(walk.loopContext);
  EXPECT_THAT(
      traces.take(),
      ElementsAreArray(Lines{line("_get_next_data_point - advancing loop context " + loop + " ; data context 0")} +
                       written(rows_[1])));
  while (walk.next()) {
  }
  EXPECT_EQ(traces.take().back(), line("IterationHelper - iterator is at end"));
  walk.next();
  EXPECT_THAT(traces.take(), ElementsAre(line("_get_next_data_point - at end of loop context " + loop)));
}

TEST_P(IterationTraceTest, ContextsAreToldWhenMadeAndFreed) {
  Walk walk(table_, device_);
  walk.first();
  TraceCapture traces("Snmp/0-31");
  const std::string loop = address(walk.loopContext);
  void* const data = walk.makeDataContext();
  const std::string made = address(data);
  walk.freeDataContext(data);
  walk.freeDataContext(nullptr);
  walk.endLoop();
  EXPECT_THAT(traces.take(),
              ElementsAre(line("_make_data_context - allocated data context " + made + " for loop context " + loop),
                          line("_free_data_context " + made), line("_free_data_context 0"),
                          line("_free_loop_context_at_end " + loop)));
}

INSTANTIATE_TEST_SUITE_P(Tables, IterationTraceTest, testing::ValuesIn(tables()),
                         [](const auto& each) { return each.param.name; });

}  // namespace
