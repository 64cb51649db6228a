#pragma once

#include <gtest/gtest.h>

#include <random>

#include "PtpSnmp/Keys.h"
#include "Tables.h"

namespace test {

/// The five tables that have a key type of their own.
using KeyedTables = testing::Types<PtpTable, TransDefaultDSTable, PortTable, PortTransDSTable, SystemTable>;

inline PtpSnmp::PtpTableKey keyOf(PtpTable, const Fields& f) { return {f[0], clockType(f[1]), f[2]}; }
inline PtpSnmp::TransDefaultDSTableKey keyOf(TransDefaultDSTable, const Fields& f) { return {f[0], f[1]}; }
inline PtpSnmp::PortTableKey keyOf(PortTable, const Fields& f) { return {f[0], clockType(f[1]), f[2], f[3]}; }
inline PtpSnmp::PortTransDSTableKey keyOf(PortTransDSTable, const Fields& f) { return {f[0], f[1], f[2]}; }
inline PtpSnmp::SystemTableKey keyOf(SystemTable, const Fields& f) { return {f[0], f[1]}; }

/// A key of a table whose fields are often small, so that keys of one draw agree in some of them, and sometimes
/// at the limits of 32 bits.
template <class Table>
typename Table::Key randomKey(std::mt19937& random) {
  static constexpr std::uint32_t values[] = {0, 1, 2, 9, 10, 255, 65536, 0x7fffffff, 0x80000000, 4294967295};
  Fields fields{};
  for (std::uint32_t& field : fields) field = random() % 8 == 0 ? random() : values[random() % std::size(values)];
  return keyOf(Table{}, fields);
}

}  // namespace test
