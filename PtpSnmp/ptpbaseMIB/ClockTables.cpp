// The tables of one clock (RFC 8173, ptpbaseMIBClockInfo). The first five share the rows of one container
// table.
#include "PtpSnmp/PtpMib.h"
#include "ptpbaseMIB/Stamp.h"

namespace {

using namespace PtpSnmp::Mib;

struct ptpbaseClockCurrentDSTable {
  using Key = PtpSnmp::PtpTableKey;
  using Row = PtpSnmp::PtpTableEntry;
  static const auto& rows(const PtpSnmp::PtpMib& mib) { return mib.ptpTable(); }

  static constexpr char name[] = "ptpbaseClockCurrentDSTable";
  static constexpr oid rootOid[] = {1, 3, 6, 1, 2, 1, 241, 1, 2, 1};
  static constexpr const char* indexNames[] = {
      "ptpbaseClockCurrentDSDomainIndex",
      "ptpbaseClockCurrentDSClockTypeIndex",
      "ptpbaseClockCurrentDSInstanceIndex",
  };
  static constexpr unsigned firstColumn = 4;
  static constexpr unsigned lastColumn = 6;
  static constexpr Column<Row> columns[] = {
      {4, "ptpbaseClockCurrentDSStepsRemoved", "stepsRemoved", U32<&Row::stepsRemoved>},
      {5, "ptpbaseClockCurrentDSOffsetFromMaster", "offsetFromMaster", TimeInterval<&Row::offsetFromMaster>},
      {6, "ptpbaseClockCurrentDSMeanPathDelay", "meanPathDelay", TimeInterval<&Row::meanPathDelay>},
  };
};

struct ptpbaseClockParentDSTable {
  using Key = PtpSnmp::PtpTableKey;
  using Row = PtpSnmp::PtpTableEntry;
  static const auto& rows(const PtpSnmp::PtpMib& mib) { return mib.ptpTable(); }

  static constexpr char name[] = "ptpbaseClockParentDSTable";
  static constexpr oid rootOid[] = {1, 3, 6, 1, 2, 1, 241, 1, 2, 2};
  static constexpr const char* indexNames[] = {
      "ptpbaseClockParentDSDomainIndex",
      "ptpbaseClockParentDSClockTypeIndex",
      "ptpbaseClockParentDSInstanceIndex",
  };
  static constexpr unsigned firstColumn = 4;
  static constexpr unsigned lastColumn = 13;
  static constexpr Column<Row> columns[] = {
      {4, "ptpbaseClockParentDSParentPortIdentity", "parentPortIdentity", PortIdentity<&Row::parentPortIdentity>},
      {5, "ptpbaseClockParentDSParentStats", "parentStats", Bool<&Row::parentStats>},
      {6, "ptpbaseClockParentDSOffset", "offset", S32<&Row::offset>},
      {7, "ptpbaseClockParentDSClockPhChRate", "clockPhChRate", S32<&Row::clockPhChRate>},
      {8, "ptpbaseClockParentDSGMClockIdentity", "gmClockIdentity", ClockIdentity<&Row::gmClockIdentity>},
      {9, "ptpbaseClockParentDSGMClockPriority1", "gmClockPriority1", U32<&Row::gmClockPriority1>},
      {10, "ptpbaseClockParentDSGMClockPriority2", "gmClockPriority2", U32<&Row::gmClockPriority2>},
      {11, "ptpbaseClockParentDSGMClockQualityClass", "gmClockQualityClass", S32<&Row::gmClockQualityClass>},
      {12, "ptpbaseClockParentDSGMClockQualityAccuracy", "gmClockQualityAccuracy", S32<&Row::gmClockQualityAccuracy>},
      // Unsigned here, while the default data set's quality offset is signed: so the MIB types them.
      {13, "ptpbaseClockParentDSGMClockQualityOffset", "gmClockQualityOffset", U32<&Row::gmClockQualityOffset>},
  };
};

struct ptpbaseClockDefaultDSTable {
  using Key = PtpSnmp::PtpTableKey;
  using Row = PtpSnmp::PtpTableEntry;
  static const auto& rows(const PtpSnmp::PtpMib& mib) { return mib.ptpTable(); }

  static constexpr char name[] = "ptpbaseClockDefaultDSTable";
  static constexpr oid rootOid[] = {1, 3, 6, 1, 2, 1, 241, 1, 2, 3};
  static constexpr const char* indexNames[] = {
      "ptpbaseClockDefaultDSDomainIndex",
      "ptpbaseClockDefaultDSClockTypeIndex",
      "ptpbaseClockDefaultDSInstanceIndex",
  };
  static constexpr unsigned firstColumn = 4;
  static constexpr unsigned lastColumn = 11;
  static constexpr Column<Row> columns[] = {
      {4, "ptpbaseClockDefaultDSTwoStepFlag", "twoStepFlag", Bool<&Row::twoStepFlag>},
      {5, "ptpbaseClockDefaultDSClockIdentity", "clockIdentity", ClockIdentity<&Row::clockIdentity>},
      {6, "ptpbaseClockDefaultDSPriority1", "priority1", U32<&Row::priority1>},
      {7, "ptpbaseClockDefaultDSPriority2", "priority2", U32<&Row::priority2>},
      {8, "ptpbaseClockDefaultDSSlaveOnly", "slaveOnly", Bool<&Row::slaveOnly>},
      {9, "ptpbaseClockDefaultDSQualityClass", "qualityClass", S32<&Row::qualityClass>},
      {10, "ptpbaseClockDefaultDSQualityAccuracy", "qualityAccuracy", S32<&Row::qualityAccuracy>},
      {11, "ptpbaseClockDefaultDSQualityOffset", "qualityOffset", S32<&Row::qualityOffset>},
  };
};

struct ptpbaseClockRunningTable {
  using Key = PtpSnmp::PtpTableKey;
  using Row = PtpSnmp::PtpTableEntry;
  static const auto& rows(const PtpSnmp::PtpMib& mib) { return mib.ptpTable(); }

  static constexpr char name[] = "ptpbaseClockRunningTable";
  static constexpr oid rootOid[] = {1, 3, 6, 1, 2, 1, 241, 1, 2, 4};
  static constexpr const char* indexNames[] = {
      "ptpbaseClockRunningDomainIndex",
      "ptpbaseClockRunningClockTypeIndex",
      "ptpbaseClockRunningInstanceIndex",
  };
  static constexpr unsigned firstColumn = 4;
  static constexpr unsigned lastColumn = 6;
  static constexpr Column<Row> columns[] = {
      // Column 4, the clock's running state, is not known and not served.
      {5, "ptpbaseClockRunningPacketsSent", "packetsSent", Counter64<&Row::packetsSent>},
      {6, "ptpbaseClockRunningPacketsReceived", "packetsReceived", Counter64<&Row::packetsReceived>},
  };
};

struct ptpbaseClockTimePropertiesDSTable {
  using Key = PtpSnmp::PtpTableKey;
  using Row = PtpSnmp::PtpTableEntry;
  static const auto& rows(const PtpSnmp::PtpMib& mib) { return mib.ptpTable(); }

  static constexpr char name[] = "ptpbaseClockTimePropertiesDSTable";
  static constexpr oid rootOid[] = {1, 3, 6, 1, 2, 1, 241, 1, 2, 5};
  static constexpr const char* indexNames[] = {
      "ptpbaseClockTimePropertiesDSDomainIndex",
      "ptpbaseClockTimePropertiesDSClockTypeIndex",
      "ptpbaseClockTimePropertiesDSInstanceIndex",
  };
  static constexpr unsigned firstColumn = 4;
  static constexpr unsigned lastColumn = 11;
  static constexpr Column<Row> columns[] = {
      {4, "ptpbaseClockTimePropertiesDSCurrentUTCOffsetValid", "currentUTCOffsetValid",
       Bool<&Row::currentUTCOffsetValid>},
      {5, "ptpbaseClockTimePropertiesDSCurrentUTCOffset", "currentUTCOffset", S32<&Row::currentUTCOffset>},
      {6, "ptpbaseClockTimePropertiesDSLeap59", "leap59", Bool<&Row::leap59>},
      {7, "ptpbaseClockTimePropertiesDSLeap61", "leap61", Bool<&Row::leap61>},
      {8, "ptpbaseClockTimePropertiesDSTimeTraceable", "timeTraceable", Bool<&Row::timeTraceable>},
      {9, "ptpbaseClockTimePropertiesDSFreqTraceable", "freqTraceable", Bool<&Row::freqTraceable>},
      {10, "ptpbaseClockTimePropertiesDSPTPTimescale", "ptpTimescale", Bool<&Row::ptpTimescale>},
      {11, "ptpbaseClockTimePropertiesDSSource", "source", S32<&Row::source>},
  };
};

struct ptpbaseClockTransDefaultDSTable {
  using Key = PtpSnmp::TransDefaultDSTableKey;
  using Row = PtpSnmp::TransDefaultDSTableEntry;
  static const auto& rows(const PtpSnmp::PtpMib& mib) { return mib.transDefaultDSTable(); }

  static constexpr char name[] = "ptpbaseClockTransDefaultDSTable";
  static constexpr oid rootOid[] = {1, 3, 6, 1, 2, 1, 241, 1, 2, 6};
  static constexpr const char* indexNames[] = {
      "ptpbaseClockTransDefaultDSDomainIndex",
      "ptpbaseClockTransDefaultDSInstanceIndex",
  };
  static constexpr unsigned firstColumn = 3;
  static constexpr unsigned lastColumn = 6;
  static constexpr Column<Row> columns[] = {
      {3, "ptpbaseClockTransDefaultDSClockIdentity", "clockIdentity", ClockIdentity<&Row::clockIdentity>},
      // The only Counter32: the MIB types this number of ports so.
      {4, "ptpbaseClockTransDefaultDSNumOfPorts", "numOfPorts", U32AsCounter32<&Row::numOfPorts>},
      {5, "ptpbaseClockTransDefaultDSDelay", "modeAsDelay", ModeAsDelay<&Row::modeAsDelay>},
      {6, "ptpbaseClockTransDefaultDSPrimaryDomain", "primaryDomain", U32<&Row::primaryDomain>},
  };
};

}  // namespace

PTPBASE_TABLE(ptpbaseClockCurrentDSTable)
PTPBASE_TABLE(ptpbaseClockParentDSTable)
PTPBASE_TABLE(ptpbaseClockDefaultDSTable)
PTPBASE_TABLE(ptpbaseClockRunningTable)
PTPBASE_TABLE(ptpbaseClockTimePropertiesDSTable)
PTPBASE_TABLE(ptpbaseClockTransDefaultDSTable)

std::span<const CatalogueEntry> PtpSnmp::Mib::clockCatalogue() noexcept {
  return catalogueOf<ptpbaseClockCurrentDSTable, ptpbaseClockParentDSTable, ptpbaseClockDefaultDSTable,
                     ptpbaseClockRunningTable, ptpbaseClockTimePropertiesDSTable, ptpbaseClockTransDefaultDSTable>;
}
