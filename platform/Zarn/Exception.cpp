#include "Zarn/Exception.h"

#include <fmt/format.h>

namespace Zarn {

// Out of line, so that each type's identity lives in this library alone and a catch works across modules.
Exception::~Exception() = default;
RangeException::~RangeException() = default;
ReinstantiationException::~ReinstantiationException() = default;
UnhashableTypeException::~UnhashableTypeException() = default;
NameNotFoundException::~NameNotFoundException() = default;

void throwMutatorReinstantiating(std::string_view type, std::string_view attribute) {
  throw ReinstantiationException(
      fmt::format("{} exists already and was asked for with a different {}", type, attribute));
}

}  // namespace Zarn
