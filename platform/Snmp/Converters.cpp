#include "Snmp/Converters.h"

#include <fmt/format.h>

#include "Zarn/Exception.h"

namespace Snmp::detail {

void throwDoesNotFit(unsigned long number) {
  throw Zarn::RangeException(fmt::format("{} does not fit an unsigned 32-bit integer", number));
}

void throwDoesNotFit(long number) {
  throw Zarn::RangeException(fmt::format("{} does not fit a signed 32-bit integer", number));
}

}  // namespace Snmp::detail
