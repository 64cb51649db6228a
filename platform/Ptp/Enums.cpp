#include "Ptp/Enums.h"

namespace Ptp {

const Zarn::EnumData& enumData(PtpMode) {
  static constexpr Zarn::EnumeratorData enumerators[] = {
      {0, "disabled"},
      {1, "boundary"},
      {2, "ordinary"},
      {3, "endToEndTransparent"},
      {4, "endToEndTransparentSyntonized"},
      {5, "peerToPeerTransparent"},
  };
  static constexpr Zarn::EnumData data{"Ptp::PtpMode", enumerators};
  return data;
}

const Zarn::EnumData& enumData(PortState) {
  static constexpr Zarn::EnumeratorData enumerators[] = {
      {1, "initializing"}, {2, "faulty"},  {3, "disabled"},     {4, "listening"}, {5, "preMaster"},
      {6, "master"},       {7, "passive"}, {8, "uncalibrated"}, {9, "slave"},     {0x90, "slaveLocked"},
  };
  static constexpr Zarn::EnumData data{"Ptp::PortState", enumerators};
  return data;
}

const Zarn::EnumData& enumData(DelayMechanism) {
  static constexpr Zarn::EnumeratorData enumerators[] = {{0, "none"}, {1, "e2e"}, {2, "p2p"}, {0xfe, "disabled"}};
  static constexpr Zarn::EnumData data{"Ptp::DelayMechanism", enumerators};
  return data;
}

const Zarn::EnumData& enumData(TransportMode) {
  static constexpr Zarn::EnumeratorData enumerators[] = {{0, "ethernet"}, {1, "ipv4"}, {2, "ipv6"}};
  static constexpr Zarn::EnumData data{"Ptp::TransportMode", enumerators};
  return data;
}

}  // namespace Ptp

namespace PtpMib {

const Zarn::EnumData& enumData(ClockRoleType) {
  static constexpr Zarn::EnumeratorData enumerators[] = {{0, "master"}, {1, "slave"}};
  static constexpr Zarn::EnumData data{"PtpMib::ClockRoleType", enumerators};
  return data;
}

const Zarn::EnumData& enumData(RxTxMode) {
  static constexpr Zarn::EnumeratorData enumerators[] = {{0, "unicast"}, {1, "multicast"}, {2, "multicastMix"}};
  static constexpr Zarn::EnumData data{"PtpMib::RxTxMode", enumerators};
  return data;
}

}  // namespace PtpMib
