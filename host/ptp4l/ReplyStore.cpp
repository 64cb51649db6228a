#include "ReplyStore.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

namespace host::ptp4l {

namespace {

using Change = ReplyStore::Change;

// In units of 2^-16 ns, as the current data set has it; what lies beyond them is the greatest there is.
Ptp::TimeInterval interval(std::int64_t nanoseconds) {
  using Limits = std::numeric_limits<Ptp::TimeInterval>;
  return std::clamp(nanoseconds, Limits::min() >> 16, Limits::max() >> 16) * (1 << 16);
}

template <class Value>
Change replace(std::optional<Value>& held, std::optional<Value> given) {
  return std::exchange(held, std::move(given)) != held ? Change::values : Change::none;
}

// What a decoder makes of the data of a port, which begin with its identity.
template <class Decoder>
auto ofItsPort(Decoder decode, const Response& response) {
  ByteReader reader(response.data);
  return readPortIdentity(reader) == response.source ? decode(response.data) : std::nullopt;
}

}  // namespace

ReplyStore::Change ReplyStore::answered(const Response& response) {
  const std::uint16_t number = response.source.portNumber.value();
  switch (response.id) {
    case ManagementId::defaultDataSet: return takeDefaultDataSet(response);
    case ManagementId::currentDataSet: return replace(replies_.currentDS, decodeCurrentDataSet(response.data));
    case ManagementId::parentDataSet: return takeParentDataSet(response);
    case ManagementId::timePropertiesDataSet:
      return replace(replies_.timePropertiesDS, decodeTimePropertiesDataSet(response.data));
    case ManagementId::portDataSet: return takePortDataSet(response);
    case ManagementId::portPropertiesNp:
      return replace(port(number).interface, ofItsPort(decodePortProperties, response));
    case ManagementId::portStatsNp: return replace(port(number).counters, ofItsPort(decodePortStats, response));
    case ManagementId::clockDescription:
      return replace(port(number).description, decodeClockDescription(response.data));
    case ManagementId::timeStatusNp:
    case ManagementId::subscribeEventsNp: break;
  }
  return Change::none;
}

ReplyStore::Change ReplyStore::reported(const Response& response) {
  switch (response.id) {
    case ManagementId::timeStatusNp: return takeTimeStatus(response);
    case ManagementId::parentDataSet:
      return decodeParentDataSet(response.data) ? takeParentDataSet(response) : Change::none;
    case ManagementId::portDataSet:
      return ofItsPort(decodePortDataSet, response) ? takePortDataSet(response) : Change::none;
    default: return Change::none;
  }
}

// Another clock's identity, or fewer ports, mean that what is known of the rest is known of something else.
ReplyStore::Change ReplyStore::takeDefaultDataSet(const Response& response) {
  const auto given = decodeDefaultDataSet(response.data);
  if (!given) return Change::none;
  auto& held = replies_.defaultDS;
  const bool otherClock = held && held->clockIdentity != given->clockIdentity;
  if (otherClock) forget();
  held = given;
  replies_.ports.erase(replies_.ports.upper_bound(given->numberPorts.value()), replies_.ports.end());
  return otherClock ? Change::otherClock : Change::values;
}

ReplyStore::Change ReplyStore::takeParentDataSet(const Response& response) {
  auto& held = replies_.parentDS;
  const auto given = decodeParentDataSet(response.data);
  if (held == given) return Change::none;
  const bool otherParent = held && given &&
                           (held->parentPortIdentity != given->parentPortIdentity ||
                            held->grandmasterIdentity != given->grandmasterIdentity);
  held = given;
  return otherParent ? Change::topology : Change::values;
}

ReplyStore::Change ReplyStore::takePortDataSet(const Response& response) {
  auto& held = port(response.source.portNumber.value()).dataSet;
  const auto given = ofItsPort(decodePortDataSet, response);
  if (held == given) return Change::none;
  const bool otherState = held && given && held->portState != given->portState;
  held = given;
  return otherState ? Change::topology : Change::values;
}

// Only what the other data sets show too is of use.
ReplyStore::Change ReplyStore::takeTimeStatus(const Response& response) {
  const auto given = decodeTimeStatus(response.data);
  if (!given) return Change::none;
  if (replies_.parentDS && replies_.parentDS->grandmasterIdentity != given->gmIdentity) return Change::topology;
  if (!replies_.currentDS) return Change::none;
  const Ptp::TimeInterval offset = interval(given->masterOffset);
  return std::exchange(replies_.currentDS->offsetFromMaster, offset) != offset ? Change::values : Change::none;
}

void ReplyStore::forgetReply(ManagementId id, std::uint16_t number) {
  switch (id) {
    case ManagementId::currentDataSet: replies_.currentDS.reset(); break;
    case ManagementId::parentDataSet: replies_.parentDS.reset(); break;
    case ManagementId::timePropertiesDataSet: replies_.timePropertiesDS.reset(); break;
    case ManagementId::portDataSet: port(number).dataSet.reset(); break;
    case ManagementId::portPropertiesNp: port(number).interface.reset(); break;
    case ManagementId::portStatsNp: port(number).counters.reset(); break;
    case ManagementId::clockDescription: port(number).description.reset(); break;
    case ManagementId::defaultDataSet:
    case ManagementId::timeStatusNp:
    case ManagementId::subscribeEventsNp: break;
  }
}

}  // namespace host::ptp4l
