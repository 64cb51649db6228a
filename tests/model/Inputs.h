#pragma once

#include <string_view>

#include "IntfSnmp/IfMib.h"
#include "Ptp/Status.h"

namespace test {

inline const Ptp::PortDSKey port1(std::string_view("001122.fffe.334455-1"));
inline const Ptp::PortDSKey port2(std::string_view("001122.fffe.334455-2"));

/// What rows are made from: a status, a port of it, and the interface MIB.
struct Inputs {
  Kestor::Ptr<Ptp::Status> status = Kestor::make<Ptp::Status>("ptpStatus");
  Ptp::PortDSKey portDSKey = port1;
  Kestor::Ptr<IntfSnmp::IfMib> ifMib = Kestor::make<IntfSnmp::IfMib>("ifMib");
};

inline constexpr Pelor::IntfId interfaceOfPort1{0x0102030405060708};

/// A status with every data set, each of whose fields has a value of its own.
void fillStatus(Ptp::Status& status);

}  // namespace test
