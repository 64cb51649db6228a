#pragma once

#include <cstdint>
#include <ostream>

#include "Kestor/String.h"
#include "Zarn/CharRange.h"
#include "Zarn/EnumData.h"

namespace PtpSnmp {

/// The clock type of a table index. Its MIB integer (RFC 8173, PtpClockType) is the code plus 1; the fifth
/// code has none and is written as 0.
enum class ClockType : std::uint8_t {
  ordinaryClock = 0,
  boundaryClock = 1,
  transparentClock = 2,
  boundaryNode = 3,
  unspecifiedClock = 4,
};

const Zarn::EnumData& enumData(ClockType);

/// The enumerator of a stored code, or of a name. Throws Zarn::RangeException.
ClockType ClockTypeInstance(unsigned int code);
ClockType ClockTypeInstance(const Kestor::String& name);

Kestor::String stringValue(ClockType clockType);
std::ostream& operator<<(std::ostream& os, const ClockType& clockType);

/// Reads a name from the cursor. Throws Zarn::RangeException.
void sequenceToValue(Zarn::CharRange& text, ClockType* value);

}  // namespace PtpSnmp
