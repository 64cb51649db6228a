// The handlers that decide which rows the port-level tables hold.
#include "PtpSnmpAgent/PtpSnmpSm.h"
#include "PtpSnmpAgent/Trace.h"

namespace PtpSnmp::Agent {
namespace {

constexpr char portSignature[] = "void PtpSnmp::Agent::PtpSnmpSm::handlePortTablesIndex(const Ptp::PortDSKey&)";

}  // namespace

const Ptp::Status::PortDSMap& PtpSnmpSm::statusPortDS() const {
  static const Ptp::Status::PortDSMap none;
  return ptpStatus_ ? ptpStatus_->portDS() : none;
}

void PtpSnmpSm::handlePortTablesIndex(const Ptp::PortDSKey& key) {
  agentTrace().trace(flowLevel, "Enter ", portSignature, " with key: ", key);
  const auto type = clockType();
  if (!type) {
    agentTrace().trace(flowLevel, "Exit ", portSignature, ", unsupported clockType");
    return;
  }
  const Kestor::Ptr<Ptp::PortDS>* const found = statusPortDS().find(key);
  const Kestor::Ptr<const Ptp::PortDS> portDS = found != nullptr ? *found : nullptr;
  if (portDS) {
    addPort(key, *portDS, *type);
  } else {
    deletePort(key, *type);
  }
  agentTrace().trace(flowLevel, "Exit ", portSignature);
}

void PtpSnmpSm::deletePort(const Ptp::PortDSKey& key, ClockType type) {
  agentTrace().trace(flowLevel, portSignature, " PortDS with key ", key, " was deleted");
  // A port never filed counts as filed under 0, and what stands there goes.
  const std::uint16_t portNumber = portDSKeyToPortNumber(key).value_or(0);
  const PortTableKey portTableKey(domainNumber(), type, instanceIndex, portNumber);
  ptpMib_->portTableDel(portTableKey);
  agentTrace().trace(flowLevel, portSignature, " For this PortDSKey, portNumber is: ", portNumber,
                     ", PortTableKey is: ", portTableKey);
  const PortTransDSTableKey portTransDSTableKey(domainNumber(), instanceIndex, portNumber);
  ptpMib_->portTransDSTableDel(portTransDSTableKey);
  agentTrace().trace(flowLevel, portSignature, " PortTransDSTableKey is: ", portTransDSTableKey);
  portDSKeyToPortNumberDel(key);
}

// Never deletes: if the port's number changed under its key, the row under the old number stays until the
// next rebuild of the collection.
void PtpSnmpSm::addPort(const Ptp::PortDSKey& key, const Ptp::PortDS& portDS, ClockType type) {
  agentTrace().trace(flowLevel, portSignature, " PortDS with key ", key, " was added, or modified");
  const std::uint16_t portNumber = portDS.portIdentity.portNumber.value();
  ptpMib_->portTableIs(PortTableKey(domainNumber(), type, instanceIndex, portNumber), ptpStatus_, key, ifMib_);
  if (type == ClockType::transparentClock) {
    ptpMib_->portTransDSTableIs(PortTransDSTableKey(domainNumber(), instanceIndex, portNumber), ptpStatus_, key);
  }
  portDSKeyToPortNumberIs(key, portNumber);
}

void PtpSnmpSm::handlePortTablesIndexColl() {
  static constexpr char signature[] = "void PtpSnmp::Agent::PtpSnmpSm::handlePortTablesIndexColl()";
  agentTrace().trace(flowLevel, "Enter ", signature);
  for (auto row = ptpMib_->portTable().begin(); !row.atEnd(); row.advance()) {
    agentTrace().trace(flowLevel, signature, " Deleting portTable entry w/ key: ", row->key());
    ptpMib_->portTableDel(row->key());
  }
  for (auto row = ptpMib_->portTransDSTable().begin(); !row.atEnd(); row.advance()) {
    agentTrace().trace(flowLevel, signature, " Deleting portTransDSTable entry w/ key: ", row->key());
    ptpMib_->portTransDSTableDel(row->key());
  }
  // Only the keys that the status holds now: ports that are gone stay remembered, for their late deletions.
  for (const auto& [key, portDS] : statusPortDS()) portDSKeyToPortNumberDel(key);
  for (const auto& [key, portDS] : statusPortDS()) handlePortTablesIndex(key);
  agentTrace().trace(flowLevel, "Exit ", signature);
}

}  // namespace PtpSnmp::Agent
