#pragma once

#include <cstdint>

#include "Kestor/Ptr.h"
#include "Pelor/IntfId.h"
#include "Zarn/Entity.h"
#include "Zarn/HashMap2018.h"

namespace IntfSnmp {

/// The part of the interface MIB that maps an interface to its ifIndex (RFC 2863).
class IfMib final : public Zarn::Entity {
 public:
  struct HN_IfIndexByIntfId {
    using Key = Pelor::IntfId;
    using Value = std::uint32_t;
    static std::uint64_t hash(const Key& key, std::uint64_t seed) noexcept {
      return Zarn::singleAttributeHash(key.value, seed);
    }
  };
  using IfIndexByIntfId = Zarn::HashMap2018<HN_IfIndexByIntfId>;

  explicit IfMib(const Kestor::String& name) : Entity(name) {}
  const Zarn::TypeData& typeData() const noexcept override;

  const IfIndexByIntfId& ifIndexByIntfId() const noexcept { return ifIndexByIntfId_; }
  void ifIndexByIntfIdIs(Pelor::IntfId intfId, std::uint32_t ifIndex) {
    ifIndexByIntfId_.insertOrAssign(intfId, ifIndex);
  }
  void ifIndexByIntfIdDel(Pelor::IntfId intfId) { ifIndexByIntfId_.remove(intfId); }

 private:
  IfIndexByIntfId ifIndexByIntfId_;
};

}  // namespace IntfSnmp
