#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <set>
#include <string>

#include "PtpSnmp/PtpMib.h"
#include "StatusSnapshot.h"

namespace host::test {

using Number = unsigned;
using Rows = std::set<std::string>;

// Whether a port's row is told with its packets sent.
enum class Counters { shown, hidden };

inline std::string portRow(Number domain, Number type, Number instance, Number number, const Ptp::PortDSKey& key) {
  return fmt::format("port {}.{}.{}.{} of {}", domain, type, instance, number, key.stringValue());
}
inline std::string counted(const std::string& row, std::uint64_t sent) { return fmt::format("{} sent {}", row, sent); }

template <class Table, class Text>
void append(Rows& rows, const Table& table, Text text) {
  for (auto row = table.begin(); !row.atEnd(); row.advance()) rows.insert(text(*row));
}

/// The rows that the tables hold.
inline Rows rowsOf(const PtpSnmp::PtpMib& mib, Counters counters) {
  Rows rows;
  const auto code = [](PtpSnmp::ClockType type) { return static_cast<Number>(type); };
  append(rows, mib.ptpTable(), [&](const auto& row) {
    return fmt::format("ptp {}.{}.{}", row.domainIndex(), code(row.clockTypeIndex()), row.instanceIndex());
  });
  append(rows, mib.transDefaultDSTable(),
         [&](const auto& row) { return fmt::format("transDefault {}.{}", row.domainIndex(), row.instanceIndex()); });
  append(rows, mib.portTable(), [&](const auto& row) {
    const std::string text = portRow(row.domainIndex(), code(row.clockTypeIndex()), row.instanceIndex(),
                                     row.portNumberIndex(), row.portDSKey());
    return counters == Counters::shown ? counted(text, row.packetsSent()) : text;
  });
  append(rows, mib.portTransDSTable(), [&](const auto& row) {
    return fmt::format("portTrans {}.{}.{} of {}", row.domainIndex(), row.instanceIndex(), row.portNumberIndex(),
                       row.portDSKey().stringValue());
  });
  append(rows, mib.systemTable(),
         [&](const auto& row) { return fmt::format("system {}.{}", row.ptpDomainIndex(), row.ptpInstanceIndex()); });
  append(rows, mib.systemDomainTable(),
         [&](const auto& row) { return fmt::format("systemDomain {}", code(row.key())); });
  return rows;
}

/// The rows that a device in this state shows. Worked out apart from the agent.
inline Rows expectedRows(const StatusSnapshot& snapshot, Counters counters) {
  const Number mode = snapshot.defaultDS ? static_cast<Number>(snapshot.defaultDS->clockMode) : 0;
  if (mode < 1 || mode > 5) return {};
  const Number domain = snapshot.defaultDS->domainNumber;
  const Number type = mode <= 2 ? 1 : 2;
  Rows rows = {fmt::format("ptp {}.{}.1", domain, type), fmt::format("system {}.1", domain),
               fmt::format("systemDomain {}", type)};
  if (type == 2) rows.insert(fmt::format("transDefault {}.1", domain));
  for (const auto& [key, port] : snapshot.ports) {
    const Number number = port.values.portIdentity.portNumber.value();
    const std::string row = portRow(domain, type, 1, number, key);
    const bool hasCounters = snapshot.mibData && port.counters;
    rows.insert(counters == Counters::hidden ? row : counted(row, hasCounters ? port.counters->packetsSent : 0));
    if (type == 2) rows.insert(fmt::format("portTrans {}.1.{} of {}", domain, number, key.stringValue()));
  }
  return rows;
}

}  // namespace host::test
