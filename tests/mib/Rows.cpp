#include "Rows.h"

namespace test {
namespace {

using PtpSnmp::ClockType;

constexpr std::uint32_t highest = 4294967295;

}  // namespace

void addRows(Device& device) {
  PtpSnmp::PtpMib& mib = *device.ptpMib;
  const auto& status = device.status;
  // Not in their order, which is the container's doing.
  mib.systemTableIs({2, 1}, status);
  mib.systemTableIs({0, highest}, status);
  mib.systemTableIs({0, 1}, status);
  mib.systemDomainTableIs(ClockType::boundaryNode, status);
  mib.systemDomainTableIs(ClockType::ordinaryClock, status);
  mib.ptpTableIs({2, ClockType::ordinaryClock, 0}, status);
  mib.ptpTableIs({1, ClockType::transparentClock, 0}, status);
  mib.ptpTableIs({1, ClockType::boundaryClock, 5}, status);
  mib.ptpTableIs({highest, ClockType::boundaryClock, 1}, status);
  mib.transDefaultDSTableIs({10, 1}, status);
  mib.transDefaultDSTableIs({9, 2}, status);
  const Ptp::PortDSKey port("020000.fffe.00b001-1");
  mib.portTableIs({0, ClockType::boundaryClock, 2, 1}, status, port, device.ifMib);
  mib.portTableIs({0, ClockType::boundaryClock, 1, 65535}, status, port, device.ifMib);
  mib.portTableIs({0, ClockType::boundaryClock, 1, 9}, status, port, device.ifMib);
  mib.portTransDSTableIs({0, 1, 10}, status, port);
  mib.portTransDSTableIs({0, 1, 9}, status, port);
}

const std::vector<Oid>& rowIndexes(const Table& table) {
  static const std::vector<Oid> system{{0, 1}, {0, highest}, {2, 1}};
  static const std::vector<Oid> systemDomain{{1}, {4}};
  static const std::vector<Oid> ptp{{1, 2, 5}, {1, 3, 0}, {2, 1, 0}, {highest, 2, 1}};
  static const std::vector<Oid> transDefaultDS{{9, 2}, {10, 1}};
  static const std::vector<Oid> port{{0, 2, 1, 9}, {0, 2, 1, 65535}, {0, 2, 2, 1}};
  static const std::vector<Oid> portTransDS{{0, 1, 9}, {0, 1, 10}};
  if (table.keyType == "PtpSnmp::SystemTableKey") return system;
  if (table.keyType == "PtpSnmp::ClockType") return systemDomain;
  if (table.keyType == "PtpSnmp::PtpTableKey") return ptp;
  if (table.keyType == "PtpSnmp::TransDefaultDSTableKey") return transDefaultDS;
  if (table.keyType == "PtpSnmp::PortTableKey") return port;
  return portTransDS;
}

}  // namespace test
