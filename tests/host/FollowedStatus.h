#pragma once

#include "PtpSnmpAgent/Root.h"
#include "StatusWriter.h"

namespace host::test {

/// A live status with its writer, and an agent that keeps the tables behind it.
struct FollowedStatus {
  FollowedStatus() { root->agentIs(status, mib, ifMib); }

  Kestor::Ptr<Ptp::Status> status = Kestor::make<Ptp::Status>("status");
  Kestor::Ptr<IntfSnmp::IfMib> ifMib = Kestor::make<IntfSnmp::IfMib>("ifMib");
  Kestor::Ptr<PtpSnmp::PtpMib> mib = PtpSnmp::ptpMibFactory("mib");
  Kestor::Ptr<PtpSnmp::Agent::Root> root = PtpSnmp::Agent::rootFactory("root");
  StatusWriter writer{status, ifMib};
};

}  // namespace host::test
