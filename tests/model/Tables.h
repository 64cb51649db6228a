#pragma once

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "Inputs.h"
#include "PtpSnmp/PtpMib.h"

/// The six tables under one shape, for suites that hold for all of them. Each names its key, row and attribute,
/// makes the key of a number, tells the fields of a key in the order that its table must follow, and calls its
/// own operations of the container.
namespace test {

using PtpSnmp::PtpMib;
using Fields = std::array<std::uint32_t, 4>;

/// The clock types that numbers stand for in keys; every code there is.
inline PtpSnmp::ClockType clockType(std::uint32_t number) { return static_cast<PtpSnmp::ClockType>(number % 5); }
inline std::uint32_t code(PtpSnmp::ClockType type) { return static_cast<std::uint32_t>(type); }

// The operations of one table. What follows the key in a call of Is differs from table to table.
#define TEST_TABLE_OPERATIONS(TABLE, ...)                                                            \
  static constexpr const char* name = #TABLE;                                                        \
  static constexpr Kestor::AttributeId attribute = PtpMib::TABLE##Attribute;                         \
  static const auto& map(const PtpMib& mib) { return mib.TABLE(); }                                  \
  static Kestor::Ptr<const Row> lookup(const PtpMib& mib, const Key& key) { return mib.TABLE(key); } \
  static Kestor::Ptr<Row> is(PtpMib& mib, const Key& key, [[maybe_unused]] const Inputs& in) {       \
    return mib.TABLE##Is(key, __VA_ARGS__);                                                          \
  }                                                                                                  \
  static Kestor::Ptr<Row> del(PtpMib& mib, const Key& key) { return mib.TABLE##Del(key); }           \
  template <class Position>                                                                          \
  static Kestor::Ptr<Row> delAt(PtpMib& mib, const Position& position) {                             \
    return mib.TABLE##Del(position);                                                                 \
  }                                                                                                  \
  static void delAll(PtpMib& mib) { mib.TABLE##DelAll(); }

struct PtpTable {
  using Key = PtpSnmp::PtpTableKey;
  using Row = PtpSnmp::PtpTableEntry;
  TEST_TABLE_OPERATIONS(ptpTable, in.status)
  static constexpr std::array arguments{"ptpStatus"};
  static Key key(std::uint32_t n) { return {n / 20, clockType(n / 4), n % 4}; }
  static Fields fields(const Key& key) { return {key.domainIndex, code(key.clockTypeIndex), key.instanceIndex}; }
};

struct TransDefaultDSTable {
  using Key = PtpSnmp::TransDefaultDSTableKey;
  using Row = PtpSnmp::TransDefaultDSTableEntry;
  TEST_TABLE_OPERATIONS(transDefaultDSTable, in.status)
  static constexpr std::array arguments{"ptpStatus"};
  static Key key(std::uint32_t n) { return {n / 8, n % 8}; }
  static Fields fields(const Key& key) { return {key.domainIndex, key.instanceIndex}; }
};

struct PortTable {
  using Key = PtpSnmp::PortTableKey;
  using Row = PtpSnmp::PortTableEntry;
  TEST_TABLE_OPERATIONS(portTable, in.status, in.portDSKey, in.ifMib)
  static constexpr std::array arguments{"ptpStatus", "portDSKey", "ifMib"};
  static Key key(std::uint32_t n) { return {n / 45, clockType(n / 9), (n / 3) % 3, n % 3}; }
  static Fields fields(const Key& key) {
    return {key.domainIndex, code(key.clockTypeIndex), key.instanceIndex, key.portNumberIndex};
  }
};

struct PortTransDSTable {
  using Key = PtpSnmp::PortTransDSTableKey;
  using Row = PtpSnmp::PortTransDSTableEntry;
  TEST_TABLE_OPERATIONS(portTransDSTable, in.status, in.portDSKey)
  static constexpr std::array arguments{"ptpStatus", "portDSKey"};
  static Key key(std::uint32_t n) { return {n / 16, (n / 4) % 4, n % 4}; }
  static Fields fields(const Key& key) { return {key.domainIndex, key.instanceIndex, key.portNumberIndex}; }
};

struct SystemTable {
  using Key = PtpSnmp::SystemTableKey;
  using Row = PtpSnmp::SystemTableEntry;
  TEST_TABLE_OPERATIONS(systemTable, in.status)
  static constexpr std::array arguments{"ptpStatus"};
  static Key key(std::uint32_t n) { return {n / 8, n % 8}; }
  static Fields fields(const Key& key) { return {key.ptpDomainIndex, key.ptpInstanceIndex}; }
};

struct SystemDomainTable {
  using Key = PtpSnmp::ClockType;
  using Row = PtpSnmp::SystemDomainTableEntry;
  TEST_TABLE_OPERATIONS(systemDomainTable, in.status)
  static constexpr std::array arguments{"ptpStatus"};
  /// Any byte will do: the table orders by the code and asks nothing of it.
  static Key key(std::uint32_t n) { return static_cast<Key>(n); }
  static Fields fields(const Key& key) { return {code(key)}; }
};

#undef TEST_TABLE_OPERATIONS

using AllTables =
    testing::Types<PtpTable, TransDefaultDSTable, PortTable, PortTransDSTable, SystemTable, SystemDomainTable>;

/// Names the instances of a typed suite after the table.
struct TableName {
  template <class Table>
  static std::string GetName(int) {
    return Table::name;
  }
};

/// The fields of all keys of a table, as iteration meets them.
template <class Table>
std::vector<Fields> contents(const PtpMib& mib) {
  std::vector<Fields> found;
  for (auto position = Table::map(mib).begin(); !position.atEnd(); position.advance()) {
    found.push_back(Table::fields(position->key()));
  }
  return found;
}

}  // namespace test
