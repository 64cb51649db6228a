#pragma once

#include <cstdint>

#include "IntfSnmp/IfMib.h"
#include "Kestor/Ptr.h"
#include "Ptp/Status.h"
#include "PtpSnmp/PtpMib.h"
#include "PtpSnmpAgent/Root.h"

namespace test {

/// A device: its PTP status, its interface map, and the container, which stands where the tables look for it.
class Device {
 public:
  Device();
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;
  ~Device();

  /// Lets the agent keep the container in step with the status, from now on.
  void track();

  const Kestor::Ptr<Ptp::Status> status;
  const Kestor::Ptr<IntfSnmp::IfMib> ifMib;
  const Kestor::Ptr<PtpSnmp::PtpMib> ptpMib;

 private:
  const Kestor::Ptr<PtpSnmp::Agent::Root> root_;
};

/// A device whose agent is at work, with its tables registered in the default context.
class ServedDevice : public Device {
 public:
  ServedDevice();
  ~ServedDevice();
};

/// A status with every data set and two ports, 1 and 300. Values sit at the limits of their types, or differ from
/// those beside them, so that a mix-up shows.
void populate(Device& device, Ptp::PtpMode mode, std::uint8_t domain);
void populateBoundaryClock(Device& device);     ///< domain 5
void populateTransparentClock(Device& device);  ///< domain 7

/// Adds a port "pN" with number N to the status.
void addPort(Device& device, std::uint16_t number);

}  // namespace test
