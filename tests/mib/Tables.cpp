#include "Tables.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace test {
namespace {

constexpr u_char u = ASN_UNSIGNED;
constexpr u_char i = ASN_INTEGER;

std::vector<Index> clockIndexes(const std::string& prefix) {
  return {{prefix + "DomainIndex", u, "domainIndex"},
          {prefix + "ClockTypeIndex", i, "clockTypeIndex"},
          {prefix + "InstanceIndex", u, "instanceIndex"}};
}

std::vector<Index> portIndexes(const std::string& prefix, const std::string& portNumber) {
  return {{prefix + "DomainIndex", u, "domainIndex"},
          {prefix + "ClockTypeIndex", i, "clockTypeIndex"},
          {prefix + "ClockInstanceIndex", u, "instanceIndex"},
          {portNumber, u, "portNumberIndex"}};
}

std::vector<unsigned> range(unsigned first, unsigned last) {
  std::vector<unsigned> numbers(last - first + 1);
  std::iota(numbers.begin(), numbers.end(), first);
  return numbers;
}

Oid system(oid number) { return {1, 3, 6, 1, 2, 1, 241, 1, 1, number}; }
Oid clock(oid number) { return {1, 3, 6, 1, 2, 1, 241, 1, 2, number}; }

// All functions of a table, spelled out of its name.
#define FUNCTIONS(T)                                                                                        \
  initialize_table_##T, T##_handler, T##_get_first_data_point, T##_get_next_data_point, T##IterationHelper, \
      T##_make_data_context, T##_free_data_context, T##_free_loop_context_at_end

std::vector<Table> systemTables() {
  return {
      {"ptpbaseSystemTable",
       system(1),
       "PtpSnmp::SystemTableKey",
       {{"ptpDomainIndex", u, "ptpDomainIndex"}, {"ptpInstanceIndex", u, "ptpInstanceIndex"}},
       3,
       3,
       {3},
       FUNCTIONS(ptpbaseSystemTable)},
      {"ptpbaseSystemDomainTable",
       system(2),
       "PtpSnmp::ClockType",
       {{"ptpbaseSystemDomainClockTypeIndex", i, "clockTypeIndex"}},
       2,
       2,
       {2},
       FUNCTIONS(ptpbaseSystemDomainTable)},
  };
}

std::vector<Table> clockTables() {
  const std::string key = "PtpSnmp::PtpTableKey";
  return {
      {"ptpbaseClockCurrentDSTable", clock(1), key, clockIndexes("ptpbaseClockCurrentDS"), 4, 6, range(4, 6),
       FUNCTIONS(ptpbaseClockCurrentDSTable)},
      {"ptpbaseClockParentDSTable", clock(2), key, clockIndexes("ptpbaseClockParentDS"), 4, 13, range(4, 13),
       FUNCTIONS(ptpbaseClockParentDSTable)},
      {"ptpbaseClockDefaultDSTable", clock(3), key, clockIndexes("ptpbaseClockDefaultDS"), 4, 11, range(4, 11),
       FUNCTIONS(ptpbaseClockDefaultDSTable)},
      {"ptpbaseClockRunningTable",
       clock(4),
       key,
       clockIndexes("ptpbaseClockRunning"),
       4,
       6,
       {5, 6},
       FUNCTIONS(ptpbaseClockRunningTable)},
      {"ptpbaseClockTimePropertiesDSTable", clock(5), key, clockIndexes("ptpbaseClockTimePropertiesDS"), 4, 11,
       range(4, 11), FUNCTIONS(ptpbaseClockTimePropertiesDSTable)},
      {"ptpbaseClockTransDefaultDSTable",
       clock(6),
       "PtpSnmp::TransDefaultDSTableKey",
       {{"ptpbaseClockTransDefaultDSDomainIndex", u, "domainIndex"},
        {"ptpbaseClockTransDefaultDSInstanceIndex", u, "instanceIndex"}},
       3,
       6,
       range(3, 6),
       FUNCTIONS(ptpbaseClockTransDefaultDSTable)},
  };
}

std::vector<Table> portTables() {
  const std::string key = "PtpSnmp::PortTableKey";
  return {
      {"ptpbaseClockPortTable",
       clock(7),
       key,
       portIndexes("ptpbaseClockPort", "ptpbaseClockPortTablePortNumberIndex"),
       5,
       10,
       {5, 6, 7, 10},
       FUNCTIONS(ptpbaseClockPortTable)},
      {"ptpbaseClockPortDSTable", clock(8), key, portIndexes("ptpbaseClockPortDS", "ptpbaseClockPortDSPortNumberIndex"),
       5, 15, range(5, 15), FUNCTIONS(ptpbaseClockPortDSTable)},
      {"ptpbaseClockPortRunningTable", clock(9), key,
       portIndexes("ptpbaseClockPortRunning", "ptpbaseClockPortRunningPortNumberIndex"), 5, 14, range(5, 14),
       FUNCTIONS(ptpbaseClockPortRunningTable)},
      {"ptpbaseClockPortTransDSTable",
       clock(10),
       "PtpSnmp::PortTransDSTableKey",
       {{"ptpbaseClockPortTransDSDomainIndex", u, "domainIndex"},
        {"ptpbaseClockPortTransDSInstanceIndex", u, "instanceIndex"},
        {"ptpbaseClockPortTransDSPortNumberIndex", u, "portNumberIndex"}},
       4,
       7,
       range(4, 7),
       FUNCTIONS(ptpbaseClockPortTransDSTable)},
  };
}

}  // namespace

void PrintTo(const Table& table, std::ostream* os) { *os << table.name; }

const std::vector<Table>& tables() {
  static const std::vector<Table> all = [] {
    std::vector<Table> list = systemTables();
    for (const auto& more : {clockTables(), portTables()}) list.insert(list.end(), more.begin(), more.end());
    return list;
  }();
  return all;
}

const Table& table(std::string_view name) {
  const auto found = std::find_if(tables().begin(), tables().end(), [&](const Table& t) { return t.name == name; });
  if (found == tables().end()) throw std::runtime_error("no table " + std::string(name));
  return *found;
}

std::string componentText(const Index& index, oid value) {
  static const char* const clockTypes[] = {"ordinaryClock", "boundaryClock", "transparentClock", "boundaryNode"};
  return index.type == ASN_INTEGER ? clockTypes[value - 1] : std::to_string(value);
}

std::string keyText(const Table& table, const Oid& index) {
  if (table.indexes.size() == 1) return componentText(table.indexes[0], index[0]);
  std::string text = table.keyType + "(";
  for (std::size_t k = 0; k < index.size(); ++k) {
    text += (k == 0 ? "" : ",") + table.indexes[k].component + "=" + componentText(table.indexes[k], index[k]);
  }
  return text + ")";
}

}  // namespace test
