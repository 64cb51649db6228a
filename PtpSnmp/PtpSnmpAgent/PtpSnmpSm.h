#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>

#include "IntfSnmp/IfMib.h"
#include "Kestor/Publisher.h"
#include "Ptp/Status.h"
#include "PtpSnmp/PtpMib.h"
#include "Zarn/HashMap2018.h"

namespace PtpSnmp::Agent {

/// Keeps the six tables of the MIB container in step with the PTP status.
///
/// It listens to the status and to the default data set that it follows, and rebuilds the tables that a
/// change concerns, synchronously, inside the notification. It takes no lock: everything runs on the one
/// thread that delivers the notifications. An exception that leaves a notification ends the process.
class PtpSnmpSm final : public Kestor::Node, public Zarn::SlabAllocated<PtpSnmpSm> {
 public:
  using StatusPtr = Kestor::Ptr<const Ptp::Status>;
  using DefaultDSPtr = Kestor::Ptr<const Ptp::DefaultDS>;
  using IfMibPtr = Kestor::Ptr<const IntfSnmp::IfMib>;
  using PtpMibPtr = Kestor::Ptr<PtpMib>;

  struct HN_PortDSKeyToPortNumber : Ptp::PortDSKeyed {
    using Value = std::uint16_t;
  };
  using PortDSKeyToPortNumber = Zarn::HashMap2018<HN_PortDSKeyToPortNumber>;

  /// Subscribes to the status and fills the tables from it. If that throws, nothing stays subscribed.
  PtpSnmpSm(const StatusPtr& ptpStatus, const IfMibPtr& ifMib, const PtpMibPtr& ptpMib);
  /// Ends the subscriptions and releases the container, the interface map, the default data set and the
  /// status. Rows stay in the container.
  ~PtpSnmpSm() override;
  /// A new machine with its notifications on.
  static Kestor::Ptr<PtpSnmpSm> PtpSnmpSmIs(const StatusPtr& ptpStatus, const IfMibPtr& ifMib, const PtpMibPtr& ptpMib);
  const Zarn::TypeData& typeData() const noexcept override;
  static const Zarn::TypeData& type() noexcept;

  const StatusPtr& ptpStatus() const noexcept { return ptpStatus_; }
  /// The default data set followed now; null until the status has had one.
  const DefaultDSPtr& defaultDS() const noexcept { return defaultDS_; }
  const IfMibPtr& ifMib() const noexcept { return ifMib_; }
  const PtpMibPtr& ptpMib() const noexcept { return ptpMib_; }
  const PortDSKeyToPortNumber& portDSKeyToPortNumber() const noexcept { return portDSKeyToPortNumber_; }
  /// The port number under which the port's rows were filed, if they were.
  std::optional<std::uint16_t> portDSKeyToPortNumber(const Ptp::PortDSKey& key) const;

  bool hasNotificationActive() const noexcept { return flag(notificationActiveFlag); }
  /// Binds, or unbinds, both subscriptions.
  void hasNotificationActiveIs(bool on);
  /// While set, no notification and no new default data set runs a handler.
  void doZombieReactors(bool zombie);

  /// Follows another default data set and rebuilds every table from it, with notifications on or off. An
  /// empty one is followed no further: no handler runs, and the rows stay.
  void defaultDSIs(const DefaultDSPtr& defaultDS);
  /// Stops following and hands over the reference. Runs no handler.
  DefaultDSPtr defaultDSDel();

  void portDSKeyToPortNumberIs(const Ptp::PortDSKey& key, std::uint16_t portNumber);
  /// Forgets a key and returns its number, 0 for an absent key.
  std::uint16_t portDSKeyToPortNumberDel(const Ptp::PortDSKey& key);
  void portDSKeyToPortNumberDelAll();

  // The notification callbacks.
  static void ptpStatusDispatch(Kestor::Publisher&, Kestor::Subscriber&, Kestor::AttributeId, const void* key,
                                void* extra) noexcept;
  static void defaultDSDispatch(Kestor::Publisher&, Kestor::Subscriber&, Kestor::AttributeId, const void* key,
                                void* extra) noexcept;

  // The handlers. Those that rebuild read the held default data set: REQUIRES one.
  void handleInitialized();
  void handleDefaultDS();
  void handlePtpTablesIndex();
  void handleSystemTableIndex();
  void handleSystemDomainTableIndex();
  void handlePortTablesIndex(const Ptp::PortDSKey& key);
  void handlePortTablesIndexColl();

  static Zarn::MemAllocationTracker memAllocationTracker_;

 private:
  using Handler = void (PtpSnmpSm::*)();

  static constexpr std::uint32_t notificationActiveFlag = 1;
  static constexpr std::uint32_t zombieFlag = 2;

  // One clock instance is served per domain.
  static constexpr std::uint32_t instanceIndex = 1;

  void runUnlessZombie(std::initializer_list<Handler> handlers);
  // What the status holds, and nothing where there is no status.
  DefaultDSPtr statusDefaultDS() const noexcept;
  const Ptp::Status::PortDSMap& statusPortDS() const;
  void statusSlotIs(bool bound);
  void defaultDSSlotIs(bool bound);

  /// The type that the clock mode maps to; none where the mode is not indexed.
  std::optional<ClockType> clockType() const;
  std::uint32_t domainNumber() const;
  void deletePort(const Ptp::PortDSKey& key, ClockType clockType);
  void addPort(const Ptp::PortDSKey& key, const Ptp::PortDS& portDS, ClockType clockType);

  // In this order, so that the references are released in the opposite one.
  StatusPtr ptpStatus_;
  DefaultDSPtr defaultDS_;
  IfMibPtr ifMib_;
  PtpMibPtr ptpMib_;
  PortDSKeyToPortNumber portDSKeyToPortNumber_;
  Kestor::Subscriber defaultDSSlot_{this};
  Kestor::Subscriber statusSlot_{this};
};

}  // namespace PtpSnmp::Agent
