#include "PtpSnmp/ClockType.h"

#include "Zarn/ValueText.h"

namespace PtpSnmp {

const Zarn::EnumData& enumData(ClockType) {
  static constexpr Zarn::EnumeratorData enumerators[] = {
      {0, "ordinaryClock"}, {1, "boundaryClock"}, {2, "transparentClock"}, {3, "boundaryNode"}, {4, "unspecifiedClock"},
  };
  static constexpr Zarn::EnumData data{"PtpSnmp::ClockType", enumerators};
  return data;
}

ClockType ClockTypeInstance(unsigned int code) { return static_cast<ClockType>(enumData(ClockType{}).code(code)); }

ClockType ClockTypeInstance(const Kestor::String& name) {
  return static_cast<ClockType>(enumData(ClockType{}).code(name));
}

Kestor::String stringValue(ClockType clockType) { return Zarn::enumText(clockType); }

std::ostream& operator<<(std::ostream& os, const ClockType& clockType) { return os << stringValue(clockType); }

void sequenceToValue(Zarn::CharRange& text, ClockType* value) { Zarn::enumFromText(text, value); }

}  // namespace PtpSnmp
