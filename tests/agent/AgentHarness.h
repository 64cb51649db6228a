#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "PtpSnmpAgent/Root.h"
#include "Zarn/Trace.h"

namespace test {

using PtpSnmp::ClockType;
using PtpSnmp::PortTableKey;
using PtpSnmp::PortTransDSTableKey;
using PtpSnmp::PtpTableKey;
using PtpSnmp::SystemTableKey;
using PtpSnmp::TransDefaultDSTableKey;
using PtpSnmp::Agent::PtpSnmpSm;
using PtpSnmp::Agent::Root;
using testing::ElementsAre;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

template <class T>
std::string text(const T& value) {
  std::ostringstream os;
  os << value;
  return os.str();
}

inline Ptp::PortDSKey portKey(std::uint16_t port, std::string_view clock = "001122.fffe.334455") {
  return Ptp::PortDSKey(Ptp::PortIdentity(Ptp::ClockIdentity(clock), Pelor::NetU16(port)));
}

/// A port's data set. The number that it carries need not be the one that its key was made from.
inline Kestor::Ptr<Ptp::PortDS> portDS(std::uint16_t number) {
  Ptp::PortDSValues values;
  values.portIdentity = Ptp::PortIdentity(Ptp::ClockIdentity("001122.fffe.334455"), Pelor::NetU16(number));
  return Kestor::make<Ptp::PortDS>(values);
}

/// Any mode can be held, those without a name included.
inline Kestor::Ptr<Ptp::DefaultDS> defaultDS(unsigned mode, unsigned domain = 0) {
  Ptp::DefaultDSValues values;
  values.clockMode = static_cast<Ptp::PtpMode>(mode);
  values.domainNumber = static_cast<std::uint8_t>(domain);
  return Kestor::make<Ptp::DefaultDS>(values);
}

/// A status, an interface map and a container, and the agent between them; and a record, in one order, of each row
/// that came ("+ <key>") or went ("- <key>") and, where traces are on, of each line.
///
/// What a test does not ask for must not happen: a record that nobody took fails the test at its end.
class AgentHarness {
 public:
  enum class Traces { off, on };

  explicit AgentHarness(Traces traces = Traces::off) {
    Zarn::TraceSettings::reset();
    if (traces == Traces::on) {
      Zarn::TraceSettings::select("PtpSnmp/8");
      Zarn::TraceSettings::sinkIs([this](std::string_view line) { record_.emplace_back(line); });
    }
    mib->publisher().subscriberIs(
        mibSlot_, [](Kestor::Publisher&, Kestor::Subscriber& slot, Kestor::AttributeId attribute, const void* key,
                     void*) { static_cast<AgentHarness*>(slot.owner())->published(attribute, key); });
  }
  AgentHarness(const AgentHarness&) = delete;
  AgentHarness& operator=(const AgentHarness&) = delete;
  ~AgentHarness() {
    EXPECT_THAT(take(), IsEmpty()) << "happened, and nobody asked for it";
    onPublication = nullptr;
    Zarn::TraceSettings::sinkIs({});
    Zarn::TraceSettings::reset();
  }

  /// Starts the agent and forgets what that did.
  PtpSnmpSm& start() {
    root->agentIs(status, mib, ifMib);
    take();
    return machine();
  }
  PtpSnmpSm& machine() { return *root->agent()->ptpSnmpSm(); }

  /// What happened since the last call.
  Lines take() { return std::exchange(record_, {}); }

  /// Every row of the six tables, in table and key order.
  Lines rows() const {
    Lines all;
    const auto append = [&all](const auto& table) {
      for (auto row = table.begin(); !row.atEnd(); row.advance()) all.push_back(text(row->key()));
    };
    append(mib->ptpTable());
    append(mib->transDefaultDSTable());
    append(mib->portTable());
    append(mib->portTransDSTable());
    append(mib->systemTable());
    append(mib->systemDomainTable());
    return all;
  }

  Kestor::Ptr<Ptp::Status> status = Kestor::make<Ptp::Status>("status");
  Kestor::Ptr<PtpSnmp::PtpMib> mib = PtpSnmp::ptpMibFactory("mib");
  Kestor::Ptr<IntfSnmp::IfMib> ifMib = Kestor::make<IntfSnmp::IfMib>("ifMib");
  Kestor::Ptr<Root> root = PtpSnmp::Agent::rootFactory("root");

  /// Called inside each of the container's publications.
  std::function<void(Kestor::AttributeId)> onPublication;

 private:
  void published(Kestor::AttributeId attribute, const void* key) {
    using PtpSnmp::PtpMib;
    switch (attribute) {
      case PtpMib::ptpTableAttribute: record(mib->ptpTable(), key); break;
      case PtpMib::transDefaultDSTableAttribute: record(mib->transDefaultDSTable(), key); break;
      case PtpMib::portTableAttribute: record(mib->portTable(), key); break;
      case PtpMib::portTransDSTableAttribute: record(mib->portTransDSTable(), key); break;
      case PtpMib::systemTableAttribute: record(mib->systemTable(), key); break;
      case PtpMib::systemDomainTableAttribute: record(mib->systemDomainTable(), key); break;
      default: ADD_FAILURE() << "the container published attribute " << attribute;
    }
    if (onPublication) onPublication(attribute);
  }

  template <class Key, class Entry>
  void record(const Zarn::RbTreeMap<Key, Entry>& table, const void* address) {
    const Key& key = *static_cast<const Key*>(address);
    record_.push_back((table[key] ? "+ " : "- ") + text(key));
  }

  Kestor::Subscriber mibSlot_{this};
  Lines record_;
};

/// The handlers that the record's lines show, in the order in which they were entered.
inline Lines handlersIn(const Lines& record) {
  static constexpr std::string_view start = "PtpSnmp/8 Enter void PtpSnmp::Agent::PtpSnmpSm::";
  Lines names;
  for (const std::string& line : record) {
    if (line.starts_with(start)) names.push_back(line.substr(start.size(), line.find('(') - start.size()));
  }
  return names;
}

inline std::string added(const auto& key) { return "+ " + text(key); }
inline std::string deleted(const auto& key) { return "- " + text(key); }

}  // namespace test
