#pragma once

#include "Kestor/Publisher.h"
#include "PtpSnmp/ClockRows.h"
#include "PtpSnmp/Export.h"
#include "PtpSnmp/PortRows.h"
#include "Zarn/Entity.h"
#include "Zarn/RbTreeMap.h"

namespace PtpSnmp {

/// The SNMP view of the PTP status: six ordered tables of rows.
///
/// The status-tracking agent adds and removes rows; everybody else reads. For each table:
///
///   <table>Is(key, arguments...)   the row with this key, made from the arguments where there is none. Throws
///                                  Zarn::ReinstantiationException where there is one made from other
///                                  arguments, and changes nothing then.
///   <table>Del(key)                takes the row out and returns it; null where there is none.
///   <table>Del(iterator)           takes the row at the position out, if it still is in the table.
///   <table>DelAll()                takes out every row, in ascending key order.
///   <table>(key)                   the row, or null.
///   <table>()                      the ordered map, for iteration in key order.
///
/// Each row that comes or goes publishes a change of its table's attribute, carrying the key, when the table
/// has changed already. A notification must not throw: that ends the process.
class PtpMib final : public Zarn::Entity, public Zarn::SlabAllocated<PtpMib> {
 public:
  using Status = Kestor::Ptr<const Ptp::Status>;
  using IfMib = Kestor::Ptr<const IntfSnmp::IfMib>;

  using PtpTable = Zarn::RbTreeMap<PtpTableKey, PtpTableEntry>;
  using TransDefaultDSTable = Zarn::RbTreeMap<TransDefaultDSTableKey, TransDefaultDSTableEntry>;
  using PortTable = Zarn::RbTreeMap<PortTableKey, PortTableEntry>;
  using PortTransDSTable = Zarn::RbTreeMap<PortTransDSTableKey, PortTransDSTableEntry>;
  using SystemTable = Zarn::RbTreeMap<SystemTableKey, SystemTableEntry>;
  using SystemDomainTable = Zarn::RbTreeMap<ClockType, SystemDomainTableEntry>;

  static constexpr Kestor::AttributeId nameAttribute = 257;
  static constexpr Kestor::AttributeId ptpTableAttribute = 258;
  static constexpr Kestor::AttributeId transDefaultDSTableAttribute = 259;
  static constexpr Kestor::AttributeId portTableAttribute = 260;
  static constexpr Kestor::AttributeId portTransDSTableAttribute = 261;
  static constexpr Kestor::AttributeId systemTableAttribute = 262;
  static constexpr Kestor::AttributeId systemDomainTableAttribute = 263;

  explicit PtpMib(const Kestor::String& name) : Entity(name) {}
  /// Removes every row first, publishing each removal, table by table in the order above.
  ~PtpMib() override;
  static Kestor::Ptr<PtpMib> PtpMibIs(const Kestor::String& name);

  const Zarn::TypeData& typeData() const noexcept override;
  static const Zarn::TypeData& type() noexcept;

  const PtpTable& ptpTable() const noexcept { return ptpTable_; }
  Kestor::Ptr<const PtpTableEntry> ptpTable(const PtpTableKey& key) const { return ptpTable_[key]; }
  Kestor::Ptr<PtpTableEntry> ptpTableIs(const PtpTableKey& key, const Status& ptpStatus);
  Kestor::Ptr<PtpTableEntry> ptpTableDel(const PtpTableKey& key);
  Kestor::Ptr<PtpTableEntry> ptpTableDel(const PtpTable::BasicIteratorConst& position);
  void ptpTableDelAll();

  const TransDefaultDSTable& transDefaultDSTable() const noexcept { return transDefaultDSTable_; }
  Kestor::Ptr<const TransDefaultDSTableEntry> transDefaultDSTable(const TransDefaultDSTableKey& key) const {
    return transDefaultDSTable_[key];
  }
  Kestor::Ptr<TransDefaultDSTableEntry> transDefaultDSTableIs(TransDefaultDSTableKey key, const Status& ptpStatus);
  Kestor::Ptr<TransDefaultDSTableEntry> transDefaultDSTableDel(TransDefaultDSTableKey key);
  Kestor::Ptr<TransDefaultDSTableEntry> transDefaultDSTableDel(const TransDefaultDSTable::BasicIteratorConst& position);
  void transDefaultDSTableDelAll();

  const PortTable& portTable() const noexcept { return portTable_; }
  Kestor::Ptr<const PortTableEntry> portTable(const PortTableKey& key) const { return portTable_[key]; }
  Kestor::Ptr<PortTableEntry> portTableIs(const PortTableKey& key, const Status& ptpStatus,
                                          const Ptp::PortDSKey& portDSKey, const IfMib& ifMib);
  Kestor::Ptr<PortTableEntry> portTableDel(const PortTableKey& key);
  Kestor::Ptr<PortTableEntry> portTableDel(const PortTable::BasicIteratorConst& position);
  void portTableDelAll();

  const PortTransDSTable& portTransDSTable() const noexcept { return portTransDSTable_; }
  Kestor::Ptr<const PortTransDSTableEntry> portTransDSTable(const PortTransDSTableKey& key) const {
    return portTransDSTable_[key];
  }
  Kestor::Ptr<PortTransDSTableEntry> portTransDSTableIs(const PortTransDSTableKey& key, const Status& ptpStatus,
                                                        const Ptp::PortDSKey& portDSKey);
  Kestor::Ptr<PortTransDSTableEntry> portTransDSTableDel(const PortTransDSTableKey& key);
  Kestor::Ptr<PortTransDSTableEntry> portTransDSTableDel(const PortTransDSTable::BasicIteratorConst& position);
  void portTransDSTableDelAll();

  const SystemTable& systemTable() const noexcept { return systemTable_; }
  Kestor::Ptr<const SystemTableEntry> systemTable(const SystemTableKey& key) const { return systemTable_[key]; }
  Kestor::Ptr<SystemTableEntry> systemTableIs(SystemTableKey key, const Status& ptpStatus);
  Kestor::Ptr<SystemTableEntry> systemTableDel(SystemTableKey key);
  Kestor::Ptr<SystemTableEntry> systemTableDel(const SystemTable::BasicIteratorConst& position);
  void systemTableDelAll();

  const SystemDomainTable& systemDomainTable() const noexcept { return systemDomainTable_; }
  Kestor::Ptr<const SystemDomainTableEntry> systemDomainTable(ClockType key) const { return systemDomainTable_[key]; }
  Kestor::Ptr<SystemDomainTableEntry> systemDomainTableIs(ClockType key, const Status& ptpStatus);
  Kestor::Ptr<SystemDomainTableEntry> systemDomainTableDel(ClockType key);
  Kestor::Ptr<SystemDomainTableEntry> systemDomainTableDel(const SystemDomainTable::BasicIteratorConst& position);
  void systemDomainTableDelAll();

  static Zarn::MemAllocationTracker memAllocationTracker_;

 private:
  template <class K, class Row, class... Arguments>
  Kestor::Ptr<Row> rowIs(Zarn::RbTreeMap<K, Row>& table, Kestor::AttributeId attribute, const K& key,
                         const Arguments&... arguments);
  template <class K, class Row>
  Kestor::Ptr<Row> rowDel(Zarn::RbTreeMap<K, Row>& table, Kestor::AttributeId attribute, const K& key);
  template <class Table>
  auto rowDelAt(Table& table, Kestor::AttributeId attribute, const typename Table::BasicIteratorConst& position);
  template <class Table>
  void rowDelAll(Table& table, Kestor::AttributeId attribute);

  PtpTable ptpTable_;
  TransDefaultDSTable transDefaultDSTable_;
  PortTable portTable_;
  PortTransDSTable portTransDSTable_;
  SystemTable systemTable_;
  SystemDomainTable systemDomainTable_;
};

/// Makes a container with six empty tables. The framework calls it through the type's record.
PTPSNMP_EXPORT Kestor::Ptr<PtpMib> ptpMibFactory(const Kestor::String& name);

}  // namespace PtpSnmp
