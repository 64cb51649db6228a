// Histories of snapshots, written to a status that an agent follows. After each step the tables and the status are held
// beside what follows from the last snapshot that was accepted.
#include "StatusWriter.h"

#include <set>

#include "ExpectedRows.h"
#include "FollowedStatus.h"
#include "Fuzzer.h"

namespace {

using namespace host;

Ptp::PortIdentity drawIdentity(fuzz::ByteSource& input) {
  const std::uint8_t byte = input.byte();
  const auto number = static_cast<std::uint16_t>(byte % 16 == 15 ? 65535 : byte % 16);
  return {Ptp::ClockIdentity(Pelor::NetU64(byte / 16 % 3)), Pelor::NetU16(number)};
}

std::string drawInterface(fuzz::ByteSource& input) {
  const unsigned drawn = input.below(6);
  return drawn == 0 ? "" : "eth" + std::to_string(drawn);
}

PortSnapshot drawPort(fuzz::ByteSource& input) {
  PortSnapshot port;
  port.values.portIdentity = drawIdentity(input);
  port.values.name.assign(1 + input.below(3), 'p');
  if (input.oneIn(32)) port.values.name.resize(input.below(70), 'p');
  port.values.portState = static_cast<Ptp::PortState>(input.byte());
  port.interface = drawInterface(input);
  if (input.oneIn(2)) port.counters = Ptp::PacketCounters{input.byte(), input.byte()};
  return port;
}

void drawDefaultDS(fuzz::ByteSource& input, Ptp::DefaultDSValues& values) {
  values.clockMode = static_cast<Ptp::PtpMode>(input.oneIn(8) ? input.byte() : input.below(6));
  values.domainNumber = static_cast<std::uint8_t>(input.below(3) * 127);
  values.priority1 = input.byte();
}

// Changes one thing of the snapshot.
void change(StatusSnapshot& next, fuzz::ByteSource& input) {
  switch (input.below(12)) {
    case 0: next.defaultDS.reset(); break;
    case 1:
    case 2: drawDefaultDS(input, next.defaultDS.emplace()); break;
    case 3: next.currentDS.reset(); break;
    case 4: next.currentDS.emplace().offsetFromMaster = input.number<std::int64_t>(); break;
    case 5: next.mibData.reset(); break;
    case 6: next.mibData.emplace().counters.packetsSent = input.byte(); break;
    case 7: next.interfaces.erase(drawInterface(input)); break;
    case 8: next.interfaces[drawInterface(input)] = input.byte(); break;
    case 9: next.ports.erase(Ptp::PortDSKey(drawIdentity(input))); break;
    case 10: {
      PortSnapshot port = drawPort(input);
      const Ptp::PortDSKey key(port.values.portIdentity);
      next.ports.insert_or_assign(key, std::move(port));
      break;
    }
    default: next.ports.insert_or_assign(Ptp::PortDSKey(drawIdentity(input)), drawPort(input)); break;
  }
}

bool canBeServed(const StatusSnapshot& snapshot) {
  std::set<std::uint16_t> numbers;
  for (const auto& [key, port] : snapshot.ports) {
    const std::uint16_t number = port.values.portIdentity.portNumber.value();
    const std::size_t length = port.values.name.size();
    if (number == 0 || !numbers.insert(number).second || length < 1 || length > 64) return false;
  }
  return true;
}

template <class Held, class Values>
void requireEqual(const Held& held, const std::optional<Values>& values) {
  fuzz::require(static_cast<bool>(held) == values.has_value(), "a data set is there where the snapshot has it");
  fuzz::require(!held || held->values() == *values, "a data set holds the snapshot's values");
}

class Device {
 public:
  void step(fuzz::ByteSource& input) {
    StatusSnapshot next = good_;
    for (unsigned changes = 1 + input.below(4); changes > 0; --changes) change(next, input);
    bool accepted = true;
    try {
      live_.writer.apply(next);
    } catch (const StatusRefused& refusal) {
      fuzz::requireOneLine(refusal.what());
      accepted = false;
    }
    fuzz::require(accepted == canBeServed(next), "a snapshot is refused where it cannot be served");
    if (accepted) good_ = std::move(next);
    requireAgreement(good_.defaultDS ? good_ : StatusSnapshot{});
  }

 private:
  void requireAgreement(const StatusSnapshot& shown) const {
    using test::Counters;
    fuzz::require(test::rowsOf(*live_.mib, Counters::shown) == test::expectedRows(shown, Counters::shown),
                  "the tables hold the rows that follow from the snapshot");
    requireEqual(live_.status->defaultDS(), shown.defaultDS);
    requireEqual(live_.status->currentDS(), shown.currentDS);
    fuzz::require(static_cast<bool>(live_.status->ptpMibData()) == shown.mibData.has_value(), "the clock's counters");
    for (auto row = live_.mib->portTable().begin(); !row.atEnd(); row.advance()) requirePort(*row, shown);
  }

  static void requirePort(const PtpSnmp::PortTableEntry& row, const StatusSnapshot& shown) {
    const PortSnapshot& port = shown.ports.at(row.portDSKey());
    fuzz::require(row.name() == port.values.name && row.state() == port.values.portState, "a port's values");
    const auto index = port.interface.empty() ? shown.interfaces.end() : shown.interfaces.find(port.interface);
    fuzz::require(row.interfaceIndex() == (index == shown.interfaces.end() ? 0 : index->second), "a port's ifIndex");
  }

  test::FollowedStatus live_;
  StatusSnapshot good_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::ByteSource input(data, size);
  Device device;
  while (!input.empty()) device.step(input);
  return 0;
}
