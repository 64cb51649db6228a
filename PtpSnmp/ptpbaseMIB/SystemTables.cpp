// The tables of the system group (RFC 8173, ptpbaseMIBSystemInfo).
#include "PtpSnmp/PtpMib.h"
#include "ptpbaseMIB/Stamp.h"

namespace {

using namespace PtpSnmp::Mib;

struct ptpbaseSystemTable {
  using Key = PtpSnmp::SystemTableKey;
  using Row = PtpSnmp::SystemTableEntry;
  static const auto& rows(const PtpSnmp::PtpMib& mib) { return mib.systemTable(); }

  static constexpr char name[] = "ptpbaseSystemTable";
  static constexpr oid rootOid[] = {1, 3, 6, 1, 2, 1, 241, 1, 1, 1};
  static constexpr const char* indexNames[] = {
      "ptpDomainIndex",
      "ptpInstanceIndex",
  };
  static constexpr unsigned firstColumn = 3;
  static constexpr unsigned lastColumn = 3;
  static constexpr Column<Row> columns[] = {
      // The traces of this column lack the table's prefix, and those who read them expect it so.
      {3, "ptpDomainClockPortsTotal", "ptpDomainClockPortsTotal", U32<&Row::ptpDomainClockPortsTotal>},
  };
};

struct ptpbaseSystemDomainTable {
  using Key = PtpSnmp::ClockType;
  using Row = PtpSnmp::SystemDomainTableEntry;
  static const auto& rows(const PtpSnmp::PtpMib& mib) { return mib.systemDomainTable(); }

  static constexpr char name[] = "ptpbaseSystemDomainTable";
  static constexpr oid rootOid[] = {1, 3, 6, 1, 2, 1, 241, 1, 1, 2};
  static constexpr const char* indexNames[] = {
      "ptpbaseSystemDomainClockTypeIndex",
  };
  static constexpr unsigned firstColumn = 2;
  static constexpr unsigned lastColumn = 2;
  static constexpr Column<Row> columns[] = {
      {2, "ptpbaseSystemDomainTotals", "totals", U32<&Row::totals>},
  };
};

}  // namespace

PTPBASE_TABLE(ptpbaseSystemTable)
PTPBASE_TABLE(ptpbaseSystemDomainTable)

std::span<const CatalogueEntry> PtpSnmp::Mib::systemCatalogue() noexcept {
  return catalogueOf<ptpbaseSystemTable, ptpbaseSystemDomainTable>;
}
