// Long random histories of the device, written by the writer and behind its
// back, beside a reference that works out from the last good snapshot which
// rows should exist.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

#include "ExpectedRows.h"
#include "FollowedStatus.h"
#include "Source.h"

namespace host {
namespace {

using test::Counters;
using test::Rows;

/// Draws one event after another.
class Device {
 public:
  explicit Device(unsigned seed) : random_(seed) {}

  void step() {
    switch (draw(12)) {
      case 0: replaceDefaultDS(); break;
      case 1: dropDefaultDS(); break;
      case 2: switchNotifications(); break;
      case 3: hostile(); break;
      default: write(); break;
    }
    if (followed()) shown_ = test::expectedRows(good_, Counters::hidden);
  }
  void expectAgreement() const {
    ASSERT_EQ(test::rowsOf(*live_.mib, Counters::hidden), shown_);
    // Rows that are left from before read whatever their port's objects hold now.
    if (followed()) {
      ASSERT_EQ(test::rowsOf(*live_.mib, Counters::shown), test::expectedRows(good_, Counters::shown));
    }
  }

 private:
  bool followed() const { return heard_ && live_.status->defaultDS(); }

  unsigned draw(unsigned limit) { return std::uniform_int_distribution<unsigned>(0, limit - 1)(random_); }
  Ptp::PortDSKey drawKey() {
    static const std::array clocks = {"001122.fffe.334455", "aabbcc.fffe.ddeeff"};
    return Ptp::PortDSKey(
        Ptp::PortIdentity(Ptp::ClockIdentity(clocks[draw(2)]), Pelor::NetU16(static_cast<std::uint16_t>(draw(6)))));
  }
  PortSnapshot drawPort(std::uint16_t number) {
    PortSnapshot port;
    port.values.portIdentity.portNumber.valueIs(number);
    port.values.name = "port";
    port.interface = draw(2) == 0 ? "" : "eth" + std::to_string(draw(4));
    if (draw(3) != 0) port.counters = Ptp::PacketCounters{draw(1000) + 1, 2};
    return port;
  }

  // Renumbers all ports: each number is used once.
  void drawPorts(StatusSnapshot& snapshot) {
    std::array<std::uint16_t, 8> numbers = {1, 2, 3, 4, 5, 6, 7, 65535};
    std::shuffle(numbers.begin(), numbers.end(), random_);
    snapshot.ports.clear();
    for (unsigned i = draw(8); i > 0; --i) snapshot.ports.insert_or_assign(drawKey(), drawPort(numbers[i]));
  }
  // Changes one thing, several, or nothing.
  StatusSnapshot drawNext() {
    StatusSnapshot next = good_;
    if (!next.defaultDS || draw(4) == 0) drawPorts(next);
    if (!next.defaultDS) next.defaultDS.emplace().clockMode = Ptp::PtpMode::boundary;
    if (draw(3) == 0) next.defaultDS->clockMode = static_cast<Ptp::PtpMode>(draw(8));
    if (draw(3) == 0) next.defaultDS->domainNumber = static_cast<std::uint8_t>(draw(3) * 127);
    if (draw(4) == 0) next.mibData = draw(3) == 0 ? std::nullopt : std::optional<MibDataSnapshot>(std::in_place);
    if (!next.ports.empty() && draw(3) == 0) next.ports.erase(next.ports.begin());
    if (!next.ports.empty() && draw(3) == 0) {
      PortSnapshot& port = next.ports.rbegin()->second;
      port = drawPort(port.values.portIdentity.portNumber.value());
    }
    if (draw(10) == 0) next.defaultDS.reset();
    return next;
  }

  void write() {
    const StatusSnapshot next = drawNext();
    const bool withdrawn = !next.defaultDS;
    // The rows of a data set that was dropped behind the writer's back stay:
    // there is no mode left to set to 0.
    const bool emptied = withdrawn && followed();
    live_.writer.apply(next);
    good_ = withdrawn ? StatusSnapshot{} : next;
    if (emptied) shown_ = {};
  }
  void hostile() {
    StatusSnapshot next = drawNext();
    next.ports.insert_or_assign(drawKey(), drawPort(3));
    next.ports.insert_or_assign(Ptp::PortDSKey("ffffff.ffff.ffffff-9"), drawPort(3));
    EXPECT_THROW(live_.writer.apply(next), StatusRefused);
  }
  void replaceDefaultDS() {
    if (live_.status->defaultDS()) live_.status->defaultDSIs(Kestor::make<Ptp::DefaultDS>(*good_.defaultDS));
  }
  void dropDefaultDS() {
    if (!live_.status->defaultDS()) return;
    live_.status->defaultDSIs(nullptr);
  }
  // What was missed while they were off is made good by a new default data set.
  void switchNotifications() {
    heard_ = !heard_;
    live_.root->agent()->ptpSnmpSm()->hasNotificationActiveIs(heard_);
    if (!heard_) return;
    live_.status->defaultDSIs(nullptr);
    live_.status->publisher().publish(Ptp::Status::defaultDSAttribute);
    if (good_.defaultDS) live_.status->defaultDSIs(Kestor::make<Ptp::DefaultDS>(*good_.defaultDS));
  }

  std::mt19937 random_;
  test::FollowedStatus live_;
  StatusSnapshot good_;
  Rows shown_;
  bool heard_ = true;
};

class StatusWriterModel : public testing::TestWithParam<unsigned> {};

TEST_P(StatusWriterModel, AfterEachOfFiftyThousandEventsTheTablesMatchTheLastGoodSnapshot) {
  Device device(GetParam());
  for (int event = 0; event < 50'000; ++event) {
    device.step();
    ASSERT_NO_FATAL_FAILURE(device.expectAgreement()) << "after event " << event;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, StatusWriterModel, testing::Values(1U, 2U, 3U));

}  // namespace
}  // namespace host
