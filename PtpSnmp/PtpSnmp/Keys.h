#pragma once

#include <cstdint>
#include <tuple>

#include "PtpSnmp/ClockType.h"
#include "PtpSnmp/Key.h"

/// The keys of the index tables. Each carries the index columns of its rows (RFC 8173) and orders rows as the
/// MIB orders them: field by field, as unsigned numbers.
namespace PtpSnmp {

struct PtpTableKey : Key<PtpTableKey> {
  std::uint32_t domainIndex = 0;
  std::uint32_t instanceIndex = 0;
  ClockType clockTypeIndex{};  // last in memory, second in order

  PtpTableKey(std::uint32_t domain, ClockType clockType, std::uint32_t instance) noexcept
      : domainIndex(domain), instanceIndex(instance), clockTypeIndex(clockType) {}
  explicit PtpTableKey(Zarn::CharRange& text) { read(text, *this); }

  static constexpr char typeName[] = "PtpSnmp::PtpTableKey";
  static constexpr auto fields() {
    return std::tuple(KeyField{"domainIndex", &PtpTableKey::domainIndex},
                      KeyField{"clockTypeIndex", &PtpTableKey::clockTypeIndex},
                      KeyField{"instanceIndex", &PtpTableKey::instanceIndex});
  }
};

struct TransDefaultDSTableKey : Key<TransDefaultDSTableKey> {
  std::uint32_t domainIndex = 0;
  std::uint32_t instanceIndex = 0;

  TransDefaultDSTableKey(std::uint32_t domain, std::uint32_t instance) noexcept
      : domainIndex(domain), instanceIndex(instance) {}
  explicit TransDefaultDSTableKey(Zarn::CharRange& text) { read(text, *this); }

  static constexpr char typeName[] = "PtpSnmp::TransDefaultDSTableKey";
  static constexpr auto fields() {
    return std::tuple(KeyField{"domainIndex", &TransDefaultDSTableKey::domainIndex},
                      KeyField{"instanceIndex", &TransDefaultDSTableKey::instanceIndex});
  }
};

struct PortTableKey : Key<PortTableKey> {
  std::uint32_t domainIndex = 0;
  std::uint32_t instanceIndex = 0;
  std::uint32_t portNumberIndex = 0;
  ClockType clockTypeIndex{};  // last in memory, second in order

  PortTableKey(std::uint32_t domain, ClockType clockType, std::uint32_t instance, std::uint32_t portNumber) noexcept
      : domainIndex(domain), instanceIndex(instance), portNumberIndex(portNumber), clockTypeIndex(clockType) {}
  explicit PortTableKey(Zarn::CharRange& text) { read(text, *this); }

  static constexpr char typeName[] = "PtpSnmp::PortTableKey";
  static constexpr auto fields() {
    return std::tuple(KeyField{"domainIndex", &PortTableKey::domainIndex},
                      KeyField{"clockTypeIndex", &PortTableKey::clockTypeIndex},
                      KeyField{"instanceIndex", &PortTableKey::instanceIndex},
                      KeyField{"portNumberIndex", &PortTableKey::portNumberIndex});
  }
};

struct PortTransDSTableKey : Key<PortTransDSTableKey> {
  std::uint32_t domainIndex = 0;
  std::uint32_t instanceIndex = 0;
  std::uint32_t portNumberIndex = 0;

  PortTransDSTableKey(std::uint32_t domain, std::uint32_t instance, std::uint32_t portNumber) noexcept
      : domainIndex(domain), instanceIndex(instance), portNumberIndex(portNumber) {}
  explicit PortTransDSTableKey(Zarn::CharRange& text) { read(text, *this); }

  static constexpr char typeName[] = "PtpSnmp::PortTransDSTableKey";
  static constexpr auto fields() {
    return std::tuple(KeyField{"domainIndex", &PortTransDSTableKey::domainIndex},
                      KeyField{"instanceIndex", &PortTransDSTableKey::instanceIndex},
                      KeyField{"portNumberIndex", &PortTransDSTableKey::portNumberIndex});
  }
};

struct SystemTableKey : Key<SystemTableKey> {
  std::uint32_t ptpDomainIndex = 0;
  std::uint32_t ptpInstanceIndex = 0;

  SystemTableKey(std::uint32_t domain, std::uint32_t instance) noexcept
      : ptpDomainIndex(domain), ptpInstanceIndex(instance) {}
  explicit SystemTableKey(Zarn::CharRange& text) { read(text, *this); }

  static constexpr char typeName[] = "PtpSnmp::SystemTableKey";
  static constexpr auto fields() {
    return std::tuple(KeyField{"ptpDomainIndex", &SystemTableKey::ptpDomainIndex},
                      KeyField{"ptpInstanceIndex", &SystemTableKey::ptpInstanceIndex});
  }
};

}  // namespace PtpSnmp
