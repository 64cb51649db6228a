#include "PtpSnmp/PtpMib.h"

#include "Zarn/Exception.h"
#include "Zarn/TypeData.h"

namespace PtpSnmp {

// The four operations, once for all six tables.

template <class K, class Row, class... Arguments>
Kestor::Ptr<Row> PtpMib::rowIs(Zarn::RbTreeMap<K, Row>& table, Kestor::AttributeId attribute, const K& key,
                               const Arguments&... arguments) {
  const auto [row, made] = table.findOrInsert(key, [&] { return Kestor::make<Row>(key, arguments...); });
  if (made) {
    publisher().publish(attribute, &row->key());
  } else if (const std::string_view differing = row->differing(arguments...); !differing.empty()) {
    Zarn::throwMutatorReinstantiating(row->fwkType(), differing);
  }
  return row;
}

template <class K, class Row>
Kestor::Ptr<Row> PtpMib::rowDel(Zarn::RbTreeMap<K, Row>& table, Kestor::AttributeId attribute, const K& key) {
  Kestor::Ptr<Row> row = table.remove(key);
  if (row) publisher().publish(attribute, &row->key());
  return row;
}

template <class Table>
auto PtpMib::rowDelAt(Table& table, Kestor::AttributeId attribute, const typename Table::BasicIteratorConst& position) {
  const auto standing = table[position->key()];
  // The position may be older than a removal and a new row under the same key.
  if (standing != position.node()) return decltype(rowDel(table, attribute, position->key())){};
  return rowDel(table, attribute, position->key());
}

template <class Table>
void PtpMib::rowDelAll(Table& table, Kestor::AttributeId attribute) {
  const Kestor::Ptr<const PtpMib> self(this);  // a subscriber may release the container between two rows
  for (auto next = table.begin(); !next.atEnd();) {
    const auto current = next;
    next.advance();
    rowDelAt(table, attribute, current);
  }
}

PtpMib::~PtpMib() {
  ptpTableDelAll();
  transDefaultDSTableDelAll();
  portTableDelAll();
  portTransDSTableDelAll();
  systemTableDelAll();
  systemDomainTableDelAll();
}

Kestor::Ptr<PtpMib> PtpMib::PtpMibIs(const Kestor::String& name) { return Kestor::make<PtpMib>(name); }

Kestor::Ptr<PtpMib> ptpMibFactory(const Kestor::String& name) { return PtpMib::PtpMibIs(name); }

Kestor::Ptr<PtpTableEntry> PtpMib::ptpTableIs(const PtpTableKey& key, const Status& ptpStatus) {
  return rowIs(ptpTable_, ptpTableAttribute, key, ptpStatus);
}
Kestor::Ptr<PtpTableEntry> PtpMib::ptpTableDel(const PtpTableKey& key) {
  return rowDel(ptpTable_, ptpTableAttribute, key);
}
Kestor::Ptr<PtpTableEntry> PtpMib::ptpTableDel(const PtpTable::BasicIteratorConst& position) {
  return rowDelAt(ptpTable_, ptpTableAttribute, position);
}
void PtpMib::ptpTableDelAll() { rowDelAll(ptpTable_, ptpTableAttribute); }

Kestor::Ptr<TransDefaultDSTableEntry> PtpMib::transDefaultDSTableIs(TransDefaultDSTableKey key,
                                                                    const Status& ptpStatus) {
  return rowIs(transDefaultDSTable_, transDefaultDSTableAttribute, key, ptpStatus);
}
Kestor::Ptr<TransDefaultDSTableEntry> PtpMib::transDefaultDSTableDel(TransDefaultDSTableKey key) {
  return rowDel(transDefaultDSTable_, transDefaultDSTableAttribute, key);
}
Kestor::Ptr<TransDefaultDSTableEntry> PtpMib::transDefaultDSTableDel(
    const TransDefaultDSTable::BasicIteratorConst& position) {
  return rowDelAt(transDefaultDSTable_, transDefaultDSTableAttribute, position);
}
void PtpMib::transDefaultDSTableDelAll() { rowDelAll(transDefaultDSTable_, transDefaultDSTableAttribute); }

Kestor::Ptr<PortTableEntry> PtpMib::portTableIs(const PortTableKey& key, const Status& ptpStatus,
                                                const Ptp::PortDSKey& portDSKey, const IfMib& ifMib) {
  return rowIs(portTable_, portTableAttribute, key, ptpStatus, portDSKey, ifMib);
}
Kestor::Ptr<PortTableEntry> PtpMib::portTableDel(const PortTableKey& key) {
  return rowDel(portTable_, portTableAttribute, key);
}
Kestor::Ptr<PortTableEntry> PtpMib::portTableDel(const PortTable::BasicIteratorConst& position) {
  return rowDelAt(portTable_, portTableAttribute, position);
}
void PtpMib::portTableDelAll() { rowDelAll(portTable_, portTableAttribute); }

Kestor::Ptr<PortTransDSTableEntry> PtpMib::portTransDSTableIs(const PortTransDSTableKey& key, const Status& ptpStatus,
                                                              const Ptp::PortDSKey& portDSKey) {
  return rowIs(portTransDSTable_, portTransDSTableAttribute, key, ptpStatus, portDSKey);
}
Kestor::Ptr<PortTransDSTableEntry> PtpMib::portTransDSTableDel(const PortTransDSTableKey& key) {
  return rowDel(portTransDSTable_, portTransDSTableAttribute, key);
}
Kestor::Ptr<PortTransDSTableEntry> PtpMib::portTransDSTableDel(const PortTransDSTable::BasicIteratorConst& position) {
  return rowDelAt(portTransDSTable_, portTransDSTableAttribute, position);
}
void PtpMib::portTransDSTableDelAll() { rowDelAll(portTransDSTable_, portTransDSTableAttribute); }

Kestor::Ptr<SystemTableEntry> PtpMib::systemTableIs(SystemTableKey key, const Status& ptpStatus) {
  return rowIs(systemTable_, systemTableAttribute, key, ptpStatus);
}
Kestor::Ptr<SystemTableEntry> PtpMib::systemTableDel(SystemTableKey key) {
  return rowDel(systemTable_, systemTableAttribute, key);
}
Kestor::Ptr<SystemTableEntry> PtpMib::systemTableDel(const SystemTable::BasicIteratorConst& position) {
  return rowDelAt(systemTable_, systemTableAttribute, position);
}
void PtpMib::systemTableDelAll() { rowDelAll(systemTable_, systemTableAttribute); }

Kestor::Ptr<SystemDomainTableEntry> PtpMib::systemDomainTableIs(ClockType key, const Status& ptpStatus) {
  return rowIs(systemDomainTable_, systemDomainTableAttribute, key, ptpStatus);
}
Kestor::Ptr<SystemDomainTableEntry> PtpMib::systemDomainTableDel(ClockType key) {
  return rowDel(systemDomainTable_, systemDomainTableAttribute, key);
}
Kestor::Ptr<SystemDomainTableEntry> PtpMib::systemDomainTableDel(
    const SystemDomainTable::BasicIteratorConst& position) {
  return rowDelAt(systemDomainTable_, systemDomainTableAttribute, position);
}
void PtpMib::systemDomainTableDelAll() { rowDelAll(systemDomainTable_, systemDomainTableAttribute); }

Zarn::MemAllocationTracker PtpMib::memAllocationTracker_{"PtpSnmp::PtpMib"};

const Zarn::TypeData& PtpMib::type() noexcept {
  static constexpr Zarn::AttributeData attributes[] = {
      Zarn::attribute<&PtpMib::name, PtpMib>(nameAttribute, "name"),
      Zarn::attribute<&PtpMib::ptpTable_>(ptpTableAttribute, "ptpTable"),
      Zarn::attribute<&PtpMib::transDefaultDSTable_>(transDefaultDSTableAttribute, "transDefaultDSTable"),
      Zarn::attribute<&PtpMib::portTable_>(portTableAttribute, "portTable"),
      Zarn::attribute<&PtpMib::portTransDSTable_>(portTransDSTableAttribute, "portTransDSTable"),
      Zarn::attribute<&PtpMib::systemTable_>(systemTableAttribute, "systemTable"),
      Zarn::attribute<&PtpMib::systemDomainTable_>(systemDomainTableAttribute, "systemDomainTable"),
  };
  static constexpr Zarn::TypeData data{
      "PtpSnmp::PtpMib", attributes,
      [](const Kestor::String& name) -> Kestor::Ptr<Zarn::Entity> { return ptpMibFactory(name); }};
  return data;
}
const Zarn::TypeData& PtpMib::typeData() const noexcept { return type(); }

}  // namespace PtpSnmp
