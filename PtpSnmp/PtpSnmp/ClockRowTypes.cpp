#include "PtpSnmp/ClockRows.h"
#include "Zarn/TypeData.h"

// The type records and allocation trackers of the clock-level rows. Attribute ids count in declaration order.
namespace PtpSnmp {

using Zarn::attribute;

Zarn::MemAllocationTracker PtpTableEntry::memAllocationTracker_{"PtpSnmp::PtpTableEntry"};

const Zarn::TypeData& PtpTableEntry::type() noexcept {
  static constexpr Zarn::AttributeData attributes[] = {
      attribute<&PtpTableEntry::key>(257, "key"),
      attribute<&PtpTableEntry::domainIndex>(258, "domainIndex"),
      attribute<&PtpTableEntry::clockTypeIndex>(259, "clockTypeIndex"),
      attribute<&PtpTableEntry::instanceIndex>(260, "instanceIndex"),
      attribute<&PtpTableEntry::ptpStatus>(261, "ptpStatus"),
      attribute<&PtpTableEntry::stepsRemoved>(262, "stepsRemoved"),
      attribute<&PtpTableEntry::offsetFromMaster>(263, "offsetFromMaster"),
      attribute<&PtpTableEntry::meanPathDelay>(264, "meanPathDelay"),
      attribute<&PtpTableEntry::parentPortIdentity>(265, "parentPortIdentity"),
      attribute<&PtpTableEntry::parentSourceAddrs>(266, "parentSourceAddrs"),
      attribute<&PtpTableEntry::parentStats>(267, "parentStats"),
      attribute<&PtpTableEntry::offset>(268, "offset"),
      attribute<&PtpTableEntry::clockPhChRate>(269, "clockPhChRate"),
      attribute<&PtpTableEntry::gmClockIdentity>(270, "gmClockIdentity"),
      attribute<&PtpTableEntry::gmClockPriority1>(271, "gmClockPriority1"),
      attribute<&PtpTableEntry::gmClockPriority2>(272, "gmClockPriority2"),
      attribute<&PtpTableEntry::gmClockQualityClass>(273, "gmClockQualityClass"),
      attribute<&PtpTableEntry::gmClockQualityAccuracy>(274, "gmClockQualityAccuracy"),
      attribute<&PtpTableEntry::gmClockQualityOffset>(275, "gmClockQualityOffset"),
      attribute<&PtpTableEntry::twoStepFlag>(276, "twoStepFlag"),
      attribute<&PtpTableEntry::clockIdentity>(277, "clockIdentity"),
      attribute<&PtpTableEntry::priority1>(278, "priority1"),
      attribute<&PtpTableEntry::priority2>(279, "priority2"),
      attribute<&PtpTableEntry::slaveOnly>(280, "slaveOnly"),
      attribute<&PtpTableEntry::qualityClass>(281, "qualityClass"),
      attribute<&PtpTableEntry::qualityAccuracy>(282, "qualityAccuracy"),
      attribute<&PtpTableEntry::qualityOffset>(283, "qualityOffset"),
      attribute<&PtpTableEntry::currentUTCOffsetValid>(284, "currentUTCOffsetValid"),
      attribute<&PtpTableEntry::currentUTCOffset>(285, "currentUTCOffset"),
      attribute<&PtpTableEntry::leap59>(286, "leap59"),
      attribute<&PtpTableEntry::leap61>(287, "leap61"),
      attribute<&PtpTableEntry::timeTraceable>(288, "timeTraceable"),
      attribute<&PtpTableEntry::freqTraceable>(289, "freqTraceable"),
      attribute<&PtpTableEntry::ptpTimescale>(290, "ptpTimescale"),
      attribute<&PtpTableEntry::source>(291, "source"),
      attribute<&PtpTableEntry::packetsSent>(292, "packetsSent"),
      attribute<&PtpTableEntry::packetsReceived>(293, "packetsReceived"),
  };
  static constexpr Zarn::TypeData data{"PtpSnmp::PtpTableEntry", attributes};
  return data;
}
const Zarn::TypeData& PtpTableEntry::typeData() const noexcept { return type(); }

Zarn::MemAllocationTracker TransDefaultDSTableEntry::memAllocationTracker_{"PtpSnmp::TransDefaultDSTableEntry"};

const Zarn::TypeData& TransDefaultDSTableEntry::type() noexcept {
  static constexpr Zarn::AttributeData attributes[] = {
      attribute<&TransDefaultDSTableEntry::key>(257, "key"),
      attribute<&TransDefaultDSTableEntry::domainIndex>(258, "domainIndex"),
      attribute<&TransDefaultDSTableEntry::instanceIndex>(259, "instanceIndex"),
      attribute<&TransDefaultDSTableEntry::ptpStatus>(260, "ptpStatus"),
      attribute<&TransDefaultDSTableEntry::clockIdentity>(261, "clockIdentity"),
      attribute<&TransDefaultDSTableEntry::numOfPorts>(262, "numOfPorts"),
      attribute<&TransDefaultDSTableEntry::modeAsDelay>(263, "modeAsDelay"),
      attribute<&TransDefaultDSTableEntry::primaryDomain>(264, "primaryDomain"),
  };
  static constexpr Zarn::TypeData data{"PtpSnmp::TransDefaultDSTableEntry", attributes};
  return data;
}
const Zarn::TypeData& TransDefaultDSTableEntry::typeData() const noexcept { return type(); }

Zarn::MemAllocationTracker SystemTableEntry::memAllocationTracker_{"PtpSnmp::SystemTableEntry"};

const Zarn::TypeData& SystemTableEntry::type() noexcept {
  static constexpr Zarn::AttributeData attributes[] = {
      attribute<&SystemTableEntry::key>(257, "key"),
      attribute<&SystemTableEntry::ptpDomainIndex>(258, "ptpDomainIndex"),
      attribute<&SystemTableEntry::ptpInstanceIndex>(259, "ptpInstanceIndex"),
      attribute<&SystemTableEntry::ptpStatus>(260, "ptpStatus"),
      attribute<&SystemTableEntry::ptpDomainClockPortsTotal>(261, "ptpDomainClockPortsTotal"),
  };
  static constexpr Zarn::TypeData data{"PtpSnmp::SystemTableEntry", attributes};
  return data;
}
const Zarn::TypeData& SystemTableEntry::typeData() const noexcept { return type(); }

Zarn::MemAllocationTracker SystemDomainTableEntry::memAllocationTracker_{"PtpSnmp::SystemDomainTableEntry"};

const Zarn::TypeData& SystemDomainTableEntry::type() noexcept {
  static constexpr Zarn::AttributeData attributes[] = {
      attribute<&SystemDomainTableEntry::key>(257, "key"),
      attribute<&SystemDomainTableEntry::clockTypeIndex>(258, "clockTypeIndex"),
      attribute<&SystemDomainTableEntry::ptpStatus>(259, "ptpStatus"),
      attribute<&SystemDomainTableEntry::totals>(260, "totals"),
  };
  static constexpr Zarn::TypeData data{"PtpSnmp::SystemDomainTableEntry", attributes};
  return data;
}
const Zarn::TypeData& SystemDomainTableEntry::typeData() const noexcept { return type(); }

}  // namespace PtpSnmp
