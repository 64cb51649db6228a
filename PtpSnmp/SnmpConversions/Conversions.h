#pragma once

#include <cstdint>

#include "Ptp/DataSets.h"
#include "Ptp/Enums.h"
#include "Ptp/Identity.h"
#include "PtpSnmp/ClockType.h"

/// PTP values to the bytes of ASN.1 values. Each forward converter writes into the caller's buffer of the
/// given length and returns the number of bytes written: 0 where an octet string had too little room,
/// negative where the generic converter beneath failed.
namespace SnmpConversions {

std::int32_t PtpClockTypeToAsnInteger(const PtpSnmp::ClockType& value, unsigned char* buffer, std::int32_t length);

/// From the value of an INTEGER varbind. Throws Zarn::RangeException where it is not 1 to 4: 0, which the
/// forward direction writes for the code without a MIB integer, has no way back.
PtpSnmp::ClockType AsnIntegerToPtpClockType(const void* value);

/// Eight bytes, two's complement, most significant first: nanoseconds scaled by 2^16 (IEEE 1588-2008, 5.3.8).
std::int32_t PtpTimeIntervalToAsnOctetString(const Ptp::TimeInterval& value, unsigned char* buffer,
                                             std::int32_t length);

/// Eight bytes in the order in which the identity is transmitted.
std::int32_t ClockIdentityToAsnOctetString(const Ptp::ClockIdentity& value, unsigned char* buffer, std::int32_t length);

/// The identity's text form, not the ten bytes of IEEE 1588: operators compare it with what their tools
/// print.
std::int32_t PortIdentityToAsnOctetString(const Ptp::PortIdentity& value, unsigned char* buffer, std::int32_t length);

/// The delay mechanism of a transparent clock, as its PTP mode tells: e2e 1, p2p 2, else 254.
std::int32_t PtpModeAsDelayToAsnInteger(const Ptp::PtpMode& value, unsigned char* buffer, std::int32_t length);

std::int32_t PtpRoleToAsnInteger(const PtpMib::ClockRoleType& value, unsigned char* buffer, std::int32_t length);

/// One of RFC 8173's well-known transport types; nothing for another transport.
std::int32_t AddressTypeToAsnOid(const Ptp::TransportMode& value, unsigned char* buffer, std::int32_t length);

std::int32_t DelayMechToAsnInteger(const Ptp::DelayMechanism& value, unsigned char* buffer, std::int32_t length);
std::int32_t PortStateToAsnInteger(const Ptp::PortState& value, unsigned char* buffer, std::int32_t length);
std::int32_t RxTxModeToAsnInteger(const PtpMib::RxTxMode& value, unsigned char* buffer, std::int32_t length);

}  // namespace SnmpConversions
