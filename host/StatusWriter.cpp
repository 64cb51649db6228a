#include "StatusWriter.h"

#include <fmt/format.h>

#include <iterator>
#include <vector>

namespace host {
namespace {

constexpr std::size_t maxPortName = 64;  // RFC 8173, ptpbaseClockPortName

[[noreturn]] void refuse(const Ptp::PortDSKey& key, const std::string& why) {
  throw StatusRefused(fmt::format("ports[\"{}\"]{}", key.stringValue(), why));
}

bool hasCounters(const StatusSnapshot& snapshot, const PortSnapshot& port) {
  return snapshot.mibData.has_value() && port.counters.has_value();
}

// Brings a data set of the status in line: drops it, makes it, or writes it in place.
template <class Values>
void applyDataSet(Ptp::Status& status, const std::optional<Values>& values,
                  const Kestor::Ptr<Ptp::DataSet<Values>>& live,
                  void (Ptp::Status::*dataSetIs)(Kestor::Ptr<Ptp::DataSet<Values>>)) {
  if (!values) {
    (status.*dataSetIs)(nullptr);
  } else if (!live) {
    (status.*dataSetIs)(Kestor::make<Ptp::DataSet<Values>>(*values));
  } else {
    live->valuesIs(*values);
  }
}

}  // namespace

StatusWriter::StatusWriter(Kestor::Ptr<Ptp::Status> status, Kestor::Ptr<IntfSnmp::IfMib> ifMib)
    : status_(std::move(status)), ifMib_(std::move(ifMib)) {}

// What the rows and the tables take for granted: one row key names one port, and each cell has a value.
void StatusWriter::check(const StatusSnapshot& snapshot) {
  std::map<std::uint16_t, Ptp::PortDSKey> keyByNumber;
  for (const auto& [key, port] : snapshot.ports) {
    const std::uint16_t number = port.values.portIdentity.portNumber.value();
    if (number == 0) refuse(key, ".portIdentity: a port's number is 1 to 65535, not 0");
    const auto [other, isNew] = keyByNumber.emplace(number, key);
    if (!isNew) {
      refuse(other->second, fmt::format(" and ports[\"{}\"]: both carry port number {}", key.stringValue(), number));
    }
    const std::size_t length = port.values.name.size();
    if (length == 0 || length > maxPortName) {
      refuse(key, fmt::format(".portName: {} bytes, where 1 to {} are allowed", length, maxPortName));
    }
  }
}

void StatusWriter::apply(const StatusSnapshot& snapshot) {
  check(snapshot);
  if (!snapshot.defaultDS) {
    withdrawService();
    return;
  }
  applyInterfaces(snapshot);
  removePorts(snapshot);
  applyMibData(snapshot);
  applyDataSet(*status_, snapshot.currentDS, status_->currentDS(), &Ptp::Status::currentDSIs);
  applyDataSet(*status_, snapshot.parentDS, status_->parentDS(), &Ptp::Status::parentDSIs);
  applyDataSet(*status_, snapshot.timePropertiesDS, status_->timePropertiesDS(), &Ptp::Status::timePropertiesDSIs);
  if (status_->defaultDS()) {
    // Before ports are added, so that they are filed once, under the new domain and clock type.
    status_->defaultDS()->valuesIs(*snapshot.defaultDS);
    applyPorts(snapshot);
  } else {
    // After the ports: the tables are built once, from all of them, when the default data set appears.
    applyPorts(snapshot);
    status_->defaultDSIs(Kestor::make<Ptp::DefaultDS>(*snapshot.defaultDS));
  }
  forgetUnusedInterfaces(snapshot);
}

void StatusWriter::withdrawService() {
  if (status_->defaultDS()) status_->defaultDS()->clockModeIs(Ptp::PtpMode::disabled);
  const StatusSnapshot none;
  removePorts(none);
  applyMibData(none);
  status_->currentDSIs(nullptr);
  status_->parentDSIs(nullptr);
  status_->timePropertiesDSIs(nullptr);
  status_->defaultDSIs(nullptr);
  applyInterfaces(none);
  forgetUnusedInterfaces(none);
}

void StatusWriter::removePorts(const StatusSnapshot& snapshot) {
  const Kestor::Ptr<Ptp::PtpMibData> mibData = status_->ptpMibData();
  const auto stays = [&](const Ptp::PortDSKey& key, const Ptp::PortDS& live) {
    const auto port = snapshot.ports.find(key);
    if (port == snapshot.ports.end()) return false;
    const bool counted = mibData && mibData->ptpMibPortData.find(key) != nullptr;
    return port->second.values.portIdentity.portNumber == live.portIdentity.portNumber &&
           hasCounters(snapshot, port->second) == counted;
  };
  std::vector<Ptp::PortDSKey> gone;
  for (const auto& [key, live] : status_->portDS()) {
    if (!stays(key, *live)) gone.push_back(key);
  }
  for (const Ptp::PortDSKey& key : gone) {
    status_->portDSDel(key);
    if (mibData) mibData->ptpMibPortData.remove(key);
  }
}

void StatusWriter::applyMibData(const StatusSnapshot& snapshot) {
  if (!snapshot.mibData) {
    status_->ptpMibDataIs(nullptr);
    return;
  }
  if (!status_->ptpMibData()) status_->ptpMibDataIs(Kestor::make<Ptp::PtpMibData>());
  status_->ptpMibData()->counters = snapshot.mibData->counters;
  status_->ptpMibData()->domainClockPortsTotal = snapshot.mibData->domainClockPortsTotal;
}

void StatusWriter::applyPorts(const StatusSnapshot& snapshot) {
  for (const auto& [key, port] : snapshot.ports) {
    if (hasCounters(snapshot, port)) {
      Ptp::PtpMibData::PortData& records = status_->ptpMibData()->ptpMibPortData;
      if (const auto* record = records.find(key)) {
        (*record)->valuesIs(*port.counters);
      } else {
        records.insertOrAssign(key, Kestor::make<Ptp::PtpMibPortData>(*port.counters));
      }
    }
    const Kestor::Ptr<Ptp::PortDS> live = status_->portDS(key);
    Ptp::PortDSValues values = port.values;
    values.intfId = intfId(port.interface);
    if (live) {
      live->valuesIs(values);
    } else {
      status_->portDSIs(key, Kestor::make<Ptp::PortDS>(values));
    }
  }
}

Pelor::IntfId StatusWriter::intfId(const std::string& interface) {
  if (interface.empty()) return {};
  const auto [it, isNew] = intfIds_.try_emplace(interface);
  if (isNew) it->second.value = ++lastIntfId_;
  return it->second;
}

void StatusWriter::applyInterfaces(const StatusSnapshot& snapshot) {
  for (const auto& [name, id] : intfIds_) {
    if (!snapshot.interfaces.contains(name)) ifMib_->ifIndexByIntfIdDel(id);
  }
  for (const auto& [name, ifIndex] : snapshot.interfaces) {
    // One without a name would become that of every port whose interface is not known.
    if (!name.empty()) ifMib_->ifIndexByIntfIdIs(intfId(name), ifIndex);
  }
}

// Names come and go for years. An id is kept while a port or the interface map may use its name, and a while longer:
// looking through them is worth it only when most are unused.
void StatusWriter::forgetUnusedInterfaces(const StatusSnapshot& snapshot) {
  if (intfIds_.size() <= 2 * (snapshot.interfaces.size() + snapshot.ports.size())) return;
  std::map<std::string, Pelor::IntfId> used;
  const auto keep = [&](const std::string& name) {
    if (auto node = intfIds_.extract(name)) used.insert(std::move(node));
  };
  for (const auto& [key, port] : snapshot.ports) keep(port.interface);
  for (const auto& [name, ifIndex] : snapshot.interfaces) keep(name);
  intfIds_.swap(used);
}

}  // namespace host
