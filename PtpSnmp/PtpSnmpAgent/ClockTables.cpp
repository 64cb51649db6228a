// The handlers that decide which rows the clock-level tables hold. Each rebuilds its tables from scratch: it
// deletes every row, then adds those that the followed default data set calls for.
#include "PtpSnmpAgent/PtpSnmpSm.h"
#include "PtpSnmpAgent/Trace.h"

namespace PtpSnmp::Agent {

std::optional<ClockType> PtpSnmpSm::clockType() const {
  switch (static_cast<unsigned>(defaultDS_->values().clockMode)) {
    case 1:
    case 2: return ClockType::boundaryClock;
    case 3:
    case 4:
    case 5: return ClockType::transparentClock;
    default: return std::nullopt;
  }
}

std::uint32_t PtpSnmpSm::domainNumber() const { return defaultDS_->values().domainNumber; }

PtpSnmpSm::DefaultDSPtr PtpSnmpSm::statusDefaultDS() const noexcept {
  if (!ptpStatus_) return nullptr;
  return ptpStatus_->defaultDS();
}

void PtpSnmpSm::handleInitialized() {
  static constexpr char signature[] = "void PtpSnmp::Agent::PtpSnmpSm::handleInitialized()";
  agentTrace().trace(flowLevel, "Enter ", signature, " defaultDS: ", Kestor::shown(defaultDS_),
                     ", ptpStatus()->defaultDS(): ", Kestor::shown(statusDefaultDS()));
  handleDefaultDS();
  if (defaultDS_) {
    handlePtpTablesIndex();
    handlePortTablesIndexColl();
    handleSystemDomainTableIndex();
    handleSystemTableIndex();
  }
  agentTrace().trace(flowLevel, "Exit ", signature);
}

void PtpSnmpSm::handleDefaultDS() {
  static constexpr char signature[] = "void PtpSnmp::Agent::PtpSnmpSm::handleDefaultDS()";
  agentTrace().trace(flowLevel, "Enter ", signature, " ptpStatus->defaultDS: ", Kestor::shown(statusDefaultDS()));
  defaultDSIs(statusDefaultDS());
  agentTrace().trace(flowLevel, "Exit ", signature, " defaultDS: ", Kestor::shown(defaultDS_));
}

void PtpSnmpSm::handlePtpTablesIndex() {
  static constexpr char signature[] = "void PtpSnmp::Agent::PtpSnmpSm::handlePtpTablesIndex()";
  agentTrace().trace(flowLevel, "Enter ", signature, ": Deleting any current entries...");
  for (auto row = ptpMib_->ptpTable().begin(); !row.atEnd(); row.advance()) {
    agentTrace().trace(flowLevel, signature, " Deleting ptpTable entry w/ key: ", row->key());
    ptpMib_->ptpTableDel(row->key());
  }
  for (auto row = ptpMib_->transDefaultDSTable().begin(); !row.atEnd(); row.advance()) {
    agentTrace().trace(flowLevel, signature, " Deleting transDefaultDSTable entry w/ key: ", row->key());
    ptpMib_->transDefaultDSTableDel(row->key());
  }
  if (const auto type = clockType()) {
    const PtpTableKey key(domainNumber(), *type, instanceIndex);
    agentTrace().trace(flowLevel, signature, " Adding PtpTableEntry with key: ", key);
    ptpMib_->ptpTableIs(key, ptpStatus_);
    if (*type == ClockType::transparentClock) {
      const TransDefaultDSTableKey transKey(domainNumber(), instanceIndex);
      // No blank before "Adding" in this one, and programs that read these traces match the line so.
      agentTrace().trace(flowLevel, signature, "Adding transDefaultDSTableEntry with key: ", transKey);
      ptpMib_->transDefaultDSTableIs(transKey, ptpStatus_);
    }
  }
  agentTrace().trace(flowLevel, "Exit ", signature);
}

void PtpSnmpSm::handleSystemDomainTableIndex() {
  static constexpr char signature[] = "void PtpSnmp::Agent::PtpSnmpSm::handleSystemDomainTableIndex()";
  agentTrace().trace(flowLevel, "Enter ", signature, ": Deleting any current entries...");
  for (auto row = ptpMib_->systemDomainTable().begin(); !row.atEnd(); row.advance()) {
    agentTrace().trace(flowLevel, signature, " Deleting systemDomainTable entry w/ key: ", row->key());
    ptpMib_->systemDomainTableDel(row->key());
  }
  if (const auto type = clockType()) {
    agentTrace().trace(flowLevel, signature, " Adding systemDomainTableEntry with key: ", *type);
    ptpMib_->systemDomainTableIs(*type, ptpStatus_);
  }
  agentTrace().trace(flowLevel, "Exit ", signature);
}

void PtpSnmpSm::handleSystemTableIndex() {
  static constexpr char signature[] = "void PtpSnmp::Agent::PtpSnmpSm::handleSystemTableIndex()";
  agentTrace().trace(flowLevel, "Enter ", signature, ": Deleting any current entries...");
  for (auto row = ptpMib_->systemTable().begin(); !row.atEnd(); row.advance()) {
    agentTrace().trace(flowLevel, signature, " Deleting systemTable entry w/ key: ", row->key());
    ptpMib_->systemTableDel(row->key());
  }
  if (clockType()) {
    const SystemTableKey key(domainNumber(), instanceIndex);
    agentTrace().trace(flowLevel, signature, " Adding systemTableEntry with key: ", key);
    ptpMib_->systemTableIs(key, ptpStatus_);
  }
  agentTrace().trace(flowLevel, "Exit ", signature);
}

}  // namespace PtpSnmp::Agent
