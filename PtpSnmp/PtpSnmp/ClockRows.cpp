#include "PtpSnmp/ClockRows.h"

#include <type_traits>

#include "Zarn/TypeData.h"

namespace PtpSnmp {
namespace {

// Reads one value from a data set of the status, holding the data set while it does; a zero value where the
// status or the data set is absent.
template <class DataSet, class Read>
auto valueFrom(const Kestor::Ptr<const Ptp::Status>& status,
               const Kestor::Ptr<DataSet>& (Ptp::Status::*dataSet)() const noexcept, Read read) noexcept {
  using Value = std::remove_cvref_t<decltype(read(std::declval<const DataSet&>()))>;
  if (!status) return Value{};
  const Kestor::Ptr<const DataSet> held = (*status.*dataSet)();
  if (!held) return Value{};
  return Value(read(*held));
}

template <class Read>
auto fromDefaultDS(const Kestor::Ptr<const Ptp::Status>& status, Read read) noexcept {
  return valueFrom(status, &Ptp::Status::defaultDS, [read](const Ptp::DefaultDS& ds) { return read(ds.values()); });
}
template <class Read>
auto fromCurrentDS(const Kestor::Ptr<const Ptp::Status>& status, Read read) noexcept {
  return valueFrom(status, &Ptp::Status::currentDS, read);
}
template <class Read>
auto fromParentDS(const Kestor::Ptr<const Ptp::Status>& status, Read read) noexcept {
  return valueFrom(status, &Ptp::Status::parentDS, read);
}
template <class Read>
auto fromTimePropertiesDS(const Kestor::Ptr<const Ptp::Status>& status, Read read) noexcept {
  return valueFrom(status, &Ptp::Status::timePropertiesDS, read);
}
template <class Read>
auto fromMibData(const Kestor::Ptr<const Ptp::Status>& status, Read read) noexcept {
  return valueFrom(status, &Ptp::Status::ptpMibData, read);
}

std::string_view differingStatus(const Kestor::Ptr<const Ptp::Status>& held,
                                 const Kestor::Ptr<const Ptp::Status>& given) noexcept {
  return held == given ? "" : "ptpStatus";
}

}  // namespace

std::ostream& operator<<(std::ostream& os, const ParentSourceAddrs& addrs) {
  return os << addrs.portIdentity << ' ' << addrs.source.address << ' ' << addrs.source.word << ' '
            << addrs.source.halfWord;
}

// PtpTableEntry: the current data set.

std::uint16_t PtpTableEntry::stepsRemoved() const noexcept {
  return fromCurrentDS(ptpStatus_, [](const auto& ds) { return ds.stepsRemoved.value(); });
}
Ptp::TimeInterval PtpTableEntry::offsetFromMaster() const noexcept {
  return fromCurrentDS(ptpStatus_, [](const auto& ds) { return ds.offsetFromMaster; });
}
Ptp::TimeInterval PtpTableEntry::meanPathDelay() const noexcept {
  return fromCurrentDS(ptpStatus_, [](const auto& ds) { return ds.meanPathDelay; });
}

// PtpTableEntry: the parent data set.

Ptp::PortIdentity PtpTableEntry::parentPortIdentity() const noexcept {
  return fromParentDS(ptpStatus_, [](const auto& ds) { return ds.parentPortIdentity; });
}
ParentSourceAddrs PtpTableEntry::parentSourceAddrs() const noexcept {
  // The zero record is what it should be: no identity, port 0, and the IPv4 any-address 0.0.0.0.
  return fromParentDS(ptpStatus_, [](const auto& ds) {
    return ParentSourceAddrs{ds.parentPortIdentity, ds.parentSource};
  });
}
bool PtpTableEntry::parentStats() const noexcept {
  return fromParentDS(ptpStatus_, [](const auto& ds) { return ds.parentStats; });
}
std::int32_t PtpTableEntry::offset() const noexcept {
  return fromParentDS(ptpStatus_,
                      [](const auto& ds) { return std::int32_t{ds.observedParentOffsetScaledLogVariance.value()}; });
}
std::int32_t PtpTableEntry::clockPhChRate() const noexcept {
  return fromParentDS(ptpStatus_, [](const auto& ds) { return ds.observedParentClockPhaseChangeRate; });
}
Ptp::ClockIdentity PtpTableEntry::gmClockIdentity() const noexcept {
  return fromParentDS(ptpStatus_, [](const auto& ds) { return ds.grandmasterIdentity; });
}
std::uint8_t PtpTableEntry::gmClockPriority1() const noexcept {
  return fromParentDS(ptpStatus_, [](const auto& ds) { return ds.grandmasterPriority1; });
}
std::uint8_t PtpTableEntry::gmClockPriority2() const noexcept {
  return fromParentDS(ptpStatus_, [](const auto& ds) { return ds.grandmasterPriority2; });
}
std::uint8_t PtpTableEntry::gmClockQualityClass() const noexcept {
  return fromParentDS(ptpStatus_, [](const auto& ds) { return ds.grandmasterClockQuality.clockClass; });
}
std::uint8_t PtpTableEntry::gmClockQualityAccuracy() const noexcept {
  return fromParentDS(ptpStatus_, [](const auto& ds) { return ds.grandmasterClockQuality.clockAccuracy; });
}
std::uint16_t PtpTableEntry::gmClockQualityOffset() const noexcept {
  return fromParentDS(ptpStatus_,
                      [](const auto& ds) { return ds.grandmasterClockQuality.offsetScaledLogVariance.value(); });
}

// PtpTableEntry: the default data set.

bool PtpTableEntry::twoStepFlag() const noexcept {
  return fromDefaultDS(ptpStatus_, [](const auto& ds) { return ds.twoStepFlag; });
}
Ptp::ClockIdentity PtpTableEntry::clockIdentity() const noexcept {
  return fromDefaultDS(ptpStatus_, [](const auto& ds) { return ds.clockIdentity; });
}
std::uint8_t PtpTableEntry::priority1() const noexcept {
  return fromDefaultDS(ptpStatus_, [](const auto& ds) { return ds.priority1; });
}
std::uint8_t PtpTableEntry::priority2() const noexcept {
  return fromDefaultDS(ptpStatus_, [](const auto& ds) { return ds.priority2; });
}
std::uint8_t PtpTableEntry::qualityClass() const noexcept {
  return fromDefaultDS(ptpStatus_, [](const auto& ds) { return ds.clockQuality.clockClass; });
}
std::uint8_t PtpTableEntry::qualityAccuracy() const noexcept {
  return fromDefaultDS(ptpStatus_, [](const auto& ds) { return ds.clockQuality.clockAccuracy; });
}
std::uint16_t PtpTableEntry::qualityOffset() const noexcept {
  return fromDefaultDS(ptpStatus_, [](const auto& ds) { return ds.clockQuality.offsetScaledLogVariance.value(); });
}

// PtpTableEntry: the time-properties data set.

bool PtpTableEntry::currentUTCOffsetValid() const noexcept {
  return fromTimePropertiesDS(ptpStatus_, [](const auto& ds) { return ds.currentUtcOffsetValid; });
}
std::int16_t PtpTableEntry::currentUTCOffset() const noexcept {
  return fromTimePropertiesDS(ptpStatus_,
                              [](const auto& ds) { return static_cast<std::int16_t>(ds.currentUtcOffset.value()); });
}
bool PtpTableEntry::leap59() const noexcept {
  return fromTimePropertiesDS(ptpStatus_, [](const auto& ds) { return ds.leap59; });
}
bool PtpTableEntry::leap61() const noexcept {
  return fromTimePropertiesDS(ptpStatus_, [](const auto& ds) { return ds.leap61; });
}
bool PtpTableEntry::timeTraceable() const noexcept {
  return fromTimePropertiesDS(ptpStatus_, [](const auto& ds) { return ds.timeTraceable; });
}
bool PtpTableEntry::freqTraceable() const noexcept {
  return fromTimePropertiesDS(ptpStatus_, [](const auto& ds) { return ds.frequencyTraceable; });
}
bool PtpTableEntry::ptpTimescale() const noexcept {
  return fromTimePropertiesDS(ptpStatus_, [](const auto& ds) { return ds.ptpTimescale; });
}
std::uint8_t PtpTableEntry::source() const noexcept {
  return fromTimePropertiesDS(ptpStatus_, [](const auto& ds) { return ds.timeSource; });
}

// PtpTableEntry: the MIB data record.

std::uint64_t PtpTableEntry::packetsSent() const noexcept {
  return fromMibData(ptpStatus_, [](const Ptp::PtpMibData& data) { return data.counters.packetsSent; });
}
std::uint64_t PtpTableEntry::packetsReceived() const noexcept {
  return fromMibData(ptpStatus_, [](const Ptp::PtpMibData& data) { return data.counters.packetsReceived; });
}

std::string_view PtpTableEntry::differing(const Kestor::Ptr<const Ptp::Status>& ptpStatus) const noexcept {
  return differingStatus(ptpStatus_, ptpStatus);
}

// TransDefaultDSTableEntry

Ptp::ClockIdentity TransDefaultDSTableEntry::clockIdentity() const noexcept {
  return fromDefaultDS(ptpStatus_, [](const auto& ds) { return ds.clockIdentity; });
}
std::uint16_t TransDefaultDSTableEntry::numOfPorts() const noexcept {
  return fromDefaultDS(ptpStatus_, [](const auto& ds) { return ds.numberPorts.value(); });
}
Ptp::PtpMode TransDefaultDSTableEntry::modeAsDelay() const noexcept {
  return fromDefaultDS(ptpStatus_, [](const auto& ds) { return ds.clockMode; });
}
std::uint8_t TransDefaultDSTableEntry::primaryDomain() const noexcept {
  return fromDefaultDS(ptpStatus_, [](const auto& ds) { return ds.domainNumber; });
}
std::string_view TransDefaultDSTableEntry::differing(const Kestor::Ptr<const Ptp::Status>& ptpStatus) const noexcept {
  return differingStatus(ptpStatus_, ptpStatus);
}

// SystemTableEntry

std::uint16_t SystemTableEntry::ptpDomainClockPortsTotal() const noexcept {
  return fromMibData(ptpStatus_, [](const Ptp::PtpMibData& data) { return data.domainClockPortsTotal; });
}
std::string_view SystemTableEntry::differing(const Kestor::Ptr<const Ptp::Status>& ptpStatus) const noexcept {
  return differingStatus(ptpStatus_, ptpStatus);
}

// SystemDomainTableEntry

std::uint32_t SystemDomainTableEntry::totals() const noexcept {
  return fromMibData(ptpStatus_, [](const Ptp::PtpMibData&) { return std::uint32_t{1}; });
}
std::string_view SystemDomainTableEntry::differing(const Kestor::Ptr<const Ptp::Status>& ptpStatus) const noexcept {
  return differingStatus(ptpStatus_, ptpStatus);
}

}  // namespace PtpSnmp
