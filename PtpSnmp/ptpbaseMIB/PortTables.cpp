// The tables of the ports of one clock (RFC 8173, ptpbaseMIBClockInfo). The first three share the rows of one
// container table.
#include "PtpSnmp/PtpMib.h"
#include "ptpbaseMIB/Stamp.h"

namespace {

using namespace PtpSnmp::Mib;

struct ptpbaseClockPortTable {
  using Key = PtpSnmp::PortTableKey;
  using Row = PtpSnmp::PortTableEntry;
  static const auto& rows(const PtpSnmp::PtpMib& mib) { return mib.portTable(); }

  static constexpr char name[] = "ptpbaseClockPortTable";
  static constexpr oid rootOid[] = {1, 3, 6, 1, 2, 1, 241, 1, 2, 7};
  static constexpr const char* indexNames[] = {
      "ptpbaseClockPortDomainIndex",
      "ptpbaseClockPortClockTypeIndex",
      "ptpbaseClockPortClockInstanceIndex",
      "ptpbaseClockPortTablePortNumberIndex",
  };
  static constexpr unsigned firstColumn = 5;
  static constexpr unsigned lastColumn = 10;
  static constexpr Column<Row> columns[] = {
      {5, "ptpbaseClockPortName", "name", Name<&Row::name>},
      {6, "ptpbaseClockPortRole", "role", Role<&Row::role>},
      {7, "ptpbaseClockPortSyncTwoStep", "syncTwoStep", Bool<&Row::syncTwoStep>},
      // Columns 8 and 9, the port's current peer address, are not known and not served.
      {10, "ptpbaseClockPortNumOfAssociatedPorts", "numOfAssociatedPorts", U32<&Row::numOfAssociatedPorts>},
  };
};

struct ptpbaseClockPortDSTable {
  using Key = PtpSnmp::PortTableKey;
  using Row = PtpSnmp::PortTableEntry;
  static const auto& rows(const PtpSnmp::PtpMib& mib) { return mib.portTable(); }

  static constexpr char name[] = "ptpbaseClockPortDSTable";
  static constexpr oid rootOid[] = {1, 3, 6, 1, 2, 1, 241, 1, 2, 8};
  static constexpr const char* indexNames[] = {
      "ptpbaseClockPortDSDomainIndex",
      "ptpbaseClockPortDSClockTypeIndex",
      "ptpbaseClockPortDSClockInstanceIndex",
      "ptpbaseClockPortDSPortNumberIndex",
  };
  static constexpr unsigned firstColumn = 5;
  static constexpr unsigned lastColumn = 15;
  static constexpr Column<Row> columns[] = {
      {5, "ptpbaseClockPortDSName", "name", Name<&Row::name>},
      {6, "ptpbaseClockPortDSPortIdentity", "portIdentity", PortIdentity<&Row::portIdentity>},
      {7, "ptpbaseClockPortDSlogAnnouncementInterval", "logAnnouncementInterval", S32<&Row::logAnnouncementInterval>},
      {8, "ptpbaseClockPortDSAnnounceRctTimeout", "announceRctTimeout", S32<&Row::announceRctTimeout>},
      {9, "ptpbaseClockPortDSlogSyncInterval", "logSyncInterval", S32<&Row::logSyncInterval>},
      {10, "ptpbaseClockPortDSMinDelayReqInterval", "minDelayReqInterval", S32<&Row::minDelayReqInterval>},
      {11, "ptpbaseClockPortDSPeerDelayReqInterval", "peerDelayReqInterval", S32<&Row::peerDelayReqInterval>},
      {12, "ptpbaseClockPortDSDelayMech", "delayMech", DelayMech<&Row::delayMech>},
      {13, "ptpbaseClockPortDSPeerMeanPathDelay", "peerMeanPathDelay", TimeInterval<&Row::peerMeanPathDelay>},
      // Always 0, and no attribute to name where that fails.
      {14, "ptpbaseClockPortDSGrantDuration", "", U32<&Row::grantDuration>},
      {15, "ptpbaseClockPortDSPTPVersion", "ptpVersion", U32<&Row::ptpVersion>},
  };
};

struct ptpbaseClockPortRunningTable {
  using Key = PtpSnmp::PortTableKey;
  using Row = PtpSnmp::PortTableEntry;
  static const auto& rows(const PtpSnmp::PtpMib& mib) { return mib.portTable(); }

  static constexpr char name[] = "ptpbaseClockPortRunningTable";
  static constexpr oid rootOid[] = {1, 3, 6, 1, 2, 1, 241, 1, 2, 9};
  static constexpr const char* indexNames[] = {
      "ptpbaseClockPortRunningDomainIndex",
      "ptpbaseClockPortRunningClockTypeIndex",
      "ptpbaseClockPortRunningClockInstanceIndex",
      "ptpbaseClockPortRunningPortNumberIndex",
  };
  static constexpr unsigned firstColumn = 5;
  static constexpr unsigned lastColumn = 14;
  static constexpr Column<Row> columns[] = {
      {5, "ptpbaseClockPortRunningName", "name", Name<&Row::name>},
      {6, "ptpbaseClockPortRunningState", "state", State<&Row::state>},
      {7, "ptpbaseClockPortRunningRole", "role", Role<&Row::role>},
      {8, "ptpbaseClockPortRunningInterfaceIndex", "interfaceIndex", S32<&Row::interfaceIndex>},
      {9, "ptpbaseClockPortRunningTransport", "transport", Transport<&Row::transport>},
      {10, "ptpbaseClockPortRunningEncapsulationType", "encapsulationType", Transport<&Row::encapsulationType>},
      {11, "ptpbaseClockPortRunningTxMode", "txMode", RxTxMode<&Row::txMode>},
      {12, "ptpbaseClockPortRunningRxMode", "rxMode", RxTxMode<&Row::rxMode>},
      // Received before sent here, sent before received in the clock's running table: the MIB numbers them
      // so.
      {13, "ptpbaseClockPortRunningPacketsReceived", "packetsReceived", Counter64<&Row::packetsReceived>},
      {14, "ptpbaseClockPortRunningPacketsSent", "packetsSent", Counter64<&Row::packetsSent>},
  };
};

struct ptpbaseClockPortTransDSTable {
  using Key = PtpSnmp::PortTransDSTableKey;
  using Row = PtpSnmp::PortTransDSTableEntry;
  static const auto& rows(const PtpSnmp::PtpMib& mib) { return mib.portTransDSTable(); }

  static constexpr char name[] = "ptpbaseClockPortTransDSTable";
  static constexpr oid rootOid[] = {1, 3, 6, 1, 2, 1, 241, 1, 2, 10};
  static constexpr const char* indexNames[] = {
      "ptpbaseClockPortTransDSDomainIndex",
      "ptpbaseClockPortTransDSInstanceIndex",
      "ptpbaseClockPortTransDSPortNumberIndex",
  };
  static constexpr unsigned firstColumn = 4;
  static constexpr unsigned lastColumn = 7;
  static constexpr Column<Row> columns[] = {
      // Eight octets, those of the clock: not the text form of the port data set's column.
      {4, "ptpbaseClockPortTransDSPortIdentity", "portIdentity", ClockIdentity<&Row::portIdentity>},
      {5, "ptpbaseClockPortTransDSlogMinPdelayReqInt", "logMinPdelayReqInt", S32<&Row::logMinPdelayReqInt>},
      {6, "ptpbaseClockPortTransDSFaultyFlag", "faultyFlag", Bool<&Row::faultyFlag>},
      {7, "ptpbaseClockPortTransDSPeerMeanPathDelay", "peerMeanPathDelay", TimeInterval<&Row::peerMeanPathDelay>},
  };
};

}  // namespace

PTPBASE_TABLE(ptpbaseClockPortTable)
PTPBASE_TABLE(ptpbaseClockPortDSTable)
PTPBASE_TABLE(ptpbaseClockPortRunningTable)
PTPBASE_TABLE(ptpbaseClockPortTransDSTable)

std::span<const CatalogueEntry> PtpSnmp::Mib::portCatalogue() noexcept {
  return catalogueOf<ptpbaseClockPortTable, ptpbaseClockPortDSTable, ptpbaseClockPortRunningTable,
                     ptpbaseClockPortTransDSTable>;
}
