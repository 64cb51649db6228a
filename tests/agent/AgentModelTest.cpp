// Long random histories of the status, beside a small reference that works out which rows should exist.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <random>
#include <set>

#include "AgentHarness.h"

namespace test {
namespace {

constexpr unsigned portKeys = 12;

/// What the agent is expected to know and to show, in plain values. It shares no code with the agent.
class Reference {
 public:
  struct Clock {
    unsigned mode, domain;
  };

  void follow(Clock* clock) {
    if (clock == followed_) return;
    followed_ = clock;
    if (followed_ != nullptr) rebuild(true);
  }
  void changed(const Clock* clock, bool mode) {
    if (listensToClock && clock == followed_) rebuild(mode);
  }
  void port(unsigned key) {
    if (followed_ != nullptr) file(key);
  }

  Lines rows() const {
    Lines all;
    append(all, ptpRows_);
    append(all, transRows_);
    for (const auto& [domain, type, number] : portRows_) {
      all.push_back(
          fmt::format("PtpSnmp::PortTableKey(domainIndex={},clockTypeIndex={},instanceIndex=1,portNumberIndex={})",
                      domain, type, number));
    }
    for (const auto& [domain, number] : portTransRows_) {
      all.push_back(fmt::format("PtpSnmp::PortTransDSTableKey(domainIndex={},instanceIndex=1,portNumberIndex={})",
                                domain, number));
    }
    append(all, systemRows_);
    append(all, systemDomainRows_);
    return all;
  }

  std::array<std::optional<unsigned>, portKeys> status;  // each port's number
  bool listensToClock = true;

 private:
  static void append(Lines& all, const std::optional<std::string>& row) {
    if (row) all.push_back(*row);
  }
  const char* type() const {
    if (followed_->mode == 1 || followed_->mode == 2) return "boundaryClock";
    return followed_->mode >= 3 && followed_->mode <= 5 ? "transparentClock" : "";
  }
  bool transparent() const { return type()[0] == 't'; }

  void rebuild(bool systemDomain) {
    const bool indexed = *type() != 0;
    const unsigned domain = followed_->domain;
    ptpRows_ = transRows_ = systemRows_ = std::nullopt;
    if (systemDomain) systemDomainRows_ = indexed ? std::optional<std::string>(type()) : std::nullopt;
    if (indexed) {
      ptpRows_ = fmt::format("PtpSnmp::PtpTableKey(domainIndex={},clockTypeIndex={},instanceIndex=1)", domain, type());
      systemRows_ = fmt::format("PtpSnmp::SystemTableKey(ptpDomainIndex={},ptpInstanceIndex=1)", domain);
    }
    if (transparent())
      transRows_ = fmt::format("PtpSnmp::TransDefaultDSTableKey(domainIndex={},instanceIndex=1)", domain);
    portRows_.clear();
    portTransRows_.clear();
    for (unsigned key = 0; key < portKeys; ++key) {
      if (!status[key]) continue;  // a port that is gone stays remembered
      remembered_.erase(key);
      file(key);
    }
  }

  void file(unsigned key) {
    if (*type() == 0) return;
    if (status[key]) {
      portRows_.emplace(followed_->domain, type(), *status[key]);
      if (transparent()) portTransRows_.emplace(followed_->domain, *status[key]);
      remembered_[key] = *status[key];
    } else {
      const unsigned number = remembered_.contains(key) ? remembered_[key] : 0;
      portRows_.erase({followed_->domain, type(), number});
      portTransRows_.erase({followed_->domain, number});
      remembered_.erase(key);
    }
  }

  Clock* followed_ = nullptr;
  std::map<unsigned, unsigned> remembered_;
  std::optional<std::string> ptpRows_, transRows_, systemRows_, systemDomainRows_;
  std::set<std::tuple<unsigned, std::string, unsigned>> portRows_;  // "boundaryClock" sorts first as its code does
  std::set<std::pair<unsigned, unsigned>> portTransRows_;
};

/// Draws one event after another, and gives each to the status and to the reference.
class History {
 public:
  explicit History(unsigned seed) : random_(seed) { device_.start(); }

  void step() {
    switch (draw(10)) {
      case 0: changeMode(); break;
      case 1: changeDomain(); break;
      case 2: replaceClock(draw(4) != 0); break;
      case 3: switchNotifications(); break;
      case 4:
      case 5: removePort(draw(portKeys)); break;
      default: putPort(draw(portKeys)); break;
    }
    device_.take();
  }
  void expectAgreement() const { ASSERT_EQ(device_.rows(), reference_.rows()); }

 private:
  unsigned draw(unsigned limit) { return std::uniform_int_distribution<unsigned>(0, limit - 1)(random_); }

  void changeMode() {
    if (clocks_.empty()) return;
    const unsigned chosen = draw(static_cast<unsigned>(clocks_.size()));
    auto& [live, model] = clocks_[chosen];
    const unsigned mode = draw(8);
    const bool same = mode == model->mode;
    model->mode = mode;
    live->clockModeIs(static_cast<Ptp::PtpMode>(mode));
    if (!same) reference_.changed(model.get(), true);
  }
  void changeDomain() {
    if (clocks_.empty()) return;
    const unsigned chosen = draw(static_cast<unsigned>(clocks_.size()));
    auto& [live, model] = clocks_[chosen];
    const unsigned domain = draw(3) * 100;
    const bool same = domain == model->domain;
    model->domain = domain;
    live->domainNumberIs(static_cast<std::uint8_t>(domain));
    if (!same) reference_.changed(model.get(), false);
  }
  // Old clocks live on and go on changing: the agent must not hear them.
  void replaceClock(bool present) {
    if (clocks_.size() > 3) clocks_.erase(clocks_.begin());
    if (!present && !device_.status->defaultDS()) return;  // no change, so nobody is told
    Reference::Clock* clock = nullptr;
    if (present) {
      const unsigned mode = draw(8), domain = draw(3) * 100;
      clocks_.emplace_back(defaultDS(mode, domain), std::make_shared<Reference::Clock>(Reference::Clock{mode, domain}));
      clock = clocks_.back().second.get();
      retired_.push_back(clocks_.back());
    }
    device_.status->defaultDSIs(present ? clocks_.back().first : nullptr);
    if (device_.machine().hasNotificationActive()) reference_.follow(clock);
  }
  void switchNotifications() {
    const bool on = draw(3) != 0;
    device_.machine().hasNotificationActiveIs(on);
    reference_.listensToClock = on;
  }

  // A key carries one of two numbers that no other key carries, so that rows never collide. Key 0 may be port 0.
  void putPort(unsigned key) {
    const unsigned number = key + (draw(4) == 0 ? portKeys : 0);
    device_.status->portDSIs(portKey(static_cast<std::uint16_t>(key)), portDS(static_cast<std::uint16_t>(number)));
    reference_.status[key] = number;
    if (device_.machine().hasNotificationActive()) reference_.port(key);
  }
  void removePort(unsigned key) {
    const bool present = reference_.status[key].has_value();
    reference_.status[key] = std::nullopt;
    device_.status->portDSDel(portKey(static_cast<std::uint16_t>(key)));
    if (!present) device_.status->publisher().publish(Ptp::Status::portDSAttribute, &kept(key));
    if (device_.machine().hasNotificationActive()) reference_.port(key);
  }
  const Ptp::PortDSKey& kept(unsigned key) { return kept_ = portKey(static_cast<std::uint16_t>(key)); }

  std::mt19937 random_;
  AgentHarness device_;
  Reference reference_;
  Ptp::PortDSKey kept_;
  using Clock = std::pair<Kestor::Ptr<Ptp::DefaultDS>, std::shared_ptr<Reference::Clock>>;
  std::vector<Clock> clocks_;
  std::vector<Clock> retired_;  // a retired clock's address must not be taken for a new one's
};

class AgentModel : public testing::TestWithParam<unsigned> {};

TEST_P(AgentModel, AfterEachOfFiftyThousandEventsTheTablesAgreeWithTheReference) {
  History history(GetParam());
  for (int event = 0; event < 50'000; ++event) {
    history.step();
    ASSERT_NO_FATAL_FAILURE(history.expectAgreement()) << "after event " << event;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, AgentModel, testing::Values(1U, 2U, 3U));

}  // namespace
}  // namespace test
