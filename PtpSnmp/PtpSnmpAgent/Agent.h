#pragma once

#include "PtpSnmpAgent/PtpSnmpSm.h"

namespace PtpSnmp::Agent {

/// Holds the inputs and the output, and the state machine that connects them.
class Agent final : public Kestor::Node, public Zarn::SlabAllocated<Agent> {
 public:
  using StatusPtr = PtpSnmpSm::StatusPtr;
  using IfMibPtr = PtpSnmpSm::IfMibPtr;
  using PtpMibPtr = PtpSnmpSm::PtpMibPtr;

  Agent(const StatusPtr& ptpStatus, const PtpMibPtr& ptpMib, const IfMibPtr& ifMib);
  /// Switches the machine off and releases it, then the interface map, the container and the status. Rows
  /// stay.
  ~Agent() override;
  const Zarn::TypeData& typeData() const noexcept override;
  static const Zarn::TypeData& type() noexcept;

  const StatusPtr& ptpStatus() const noexcept { return ptpStatus_; }
  const PtpMibPtr& ptpMib() const noexcept { return ptpMib_; }
  const IfMibPtr& ifMib() const noexcept { return ifMib_; }
  const Kestor::Ptr<PtpSnmpSm>& ptpSnmpSm() const noexcept { return ptpSnmpSm_; }

  /// The machine for exactly these three objects: the one there is, or a new one in its place, with its
  /// notifications on. Mind the order of the last two arguments.
  Kestor::Ptr<PtpSnmpSm> ptpSnmpSmIs(const StatusPtr& ptpStatus, const IfMibPtr& ifMib, const PtpMibPtr& ptpMib);
  /// Switches the machine's notifications off and releases it.
  void ptpSnmpSmDel();

  bool hasNotificationActive() const noexcept { return flag(notificationActiveFlag); }

  static Zarn::MemAllocationTracker memAllocationTracker_;

 private:
  static constexpr std::uint32_t notificationActiveFlag = 1;

  // In this order, so that they are released in the opposite one.
  StatusPtr ptpStatus_;
  PtpMibPtr ptpMib_;
  IfMibPtr ifMib_;
  Kestor::Ptr<PtpSnmpSm> ptpSnmpSm_;
};

}  // namespace PtpSnmp::Agent
